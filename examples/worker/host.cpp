// A host with worker processes: calls with values and references, a call back, memory that both see, several callers, the
// orderly stop, and a worker that is killed in the middle of a call.
//
//     worker_host [worker program]

#include "Stubs.h"

#include <zvc/platform/Event.h>
#include <zvc/platform/Process.h>

#include <atomic>
#include <cstdio>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

namespace studio {

/// An object of the host that the worker calls.
class Progress : public ZvMarshalByRefObject {
    ZV_DECLARE_CLASS(Progress)
    ZV_DECLARE_TABLES()
public:
    void Report(int percent) {
        std::printf(" %d%%", percent);
        m_reported.Set();
    }
    /// What was marshalled holds its reference, and the reference holds it: whoever is done with it lets it go.
    void Forget() { m_objRef = ZvObjRef$(); }

    zvc::platform::Event m_reported;
};
ZV_DECLARE_HANDLE(Progress, ZvMarshalByRefObject$);

}

ZV_DEFINE_CLASS(studio::Progress, (ZvMarshalByRefObject), ZV_TABLES)
ZV_FIELDS(studio::Progress)
ZV_METHODS(studio::Progress, ZV_METHOD(Report, "percent"))
ZV_CONSTRUCTORS(studio::Progress)

namespace {

using namespace studio;

constexpr int Width = 256, Height = 256;
constexpr double Exposure = 0.25;

/// A worker process and the channel to it. It is watched, so that nobody waits for an answer that cannot come any more.
struct Worker {
    explicit Worker(const std::string& program) {
        channel = new ZvChannel(Slots, new ZvString(program.c_str()));
        channel->WatchPeer();
        channel->StartListening();
    }
    ~Worker() {
        channel->Abandon();
        zvc::platform::ProcessKill(Process(), 1);                 // nothing for one that has ended
    }
    void* Process() const { return channel->GetProcess()->GetProcessHandle(); }

    /// The first reference. Null when the worker could not make a renderer, or is gone.
    ZvObjRef$ Activate() const {
        const ZvArguments$ arguments = new ZvPrimArray<ZvObject$>(1, nullptr);
        (*arguments)[0] = new ZvPrimitive<double>(Exposure);
        channel->Send(new remoting::ConstructingCall(ZvType$(&Renderer::s_type), arguments));
        const remoting::ConstructingResponse$ response = channel->GetResponse(0);
        return response ? response->CreatedObject() : ZvObject$();
    }

    /// The handshake of two stops. Answers the worker's exit code.
    uint32_t Stop() const {
        channel->StopListening();
        while (channel->GetMethod()) {}
        uint32_t code = 0;
        zvc::platform::WaitForHandle(Process(), zvc::platform::Infinite);
        zvc::platform::ProcessExitCode(Process(), &code);
        return code;
    }

    ZvChannel$ channel;
};

/// While it stands, another thread serves what the worker calls in the host: an asynchronous section of the channel.
class Serving {
public:
    explicit Serving(const ZvChannel$& channel) : m_channel(channel) {
        m_channel->BeginAsync();
        m_thread = std::thread([this] { remoting::Pump(m_channel).Run(); });
    }
    ~Serving() {
        m_channel->EndAsync();
        m_thread.join();
    }

private:
    ZvChannel$ m_channel;
    std::thread m_thread;
};

Picture$ NewPicture(const char* name) {
    ZvString$ full = new ZvString;
    full->Format("worker example %u %s", zvc::platform::CurrentProcessId(), name);
    return new Picture(full, static_cast<size_t>(Width) * Height, nullptr);
}

bool IsRight(const Picture$& picture) {
    for (int y = 0; y < Height; ++y)
        for (int x = 0; x < Width; ++x)
            if ((*picture)[static_cast<unsigned long long>(y * Width + x)] != Renderer::Sample(x, y, Exposure)) return false;
    return true;
}

/// Each thread has a slot of its own. The kinds of call that they make have been made before by one thread alone: the two
/// ends number types as they first meet them, and new ones must not cross on the way.
int RenderByMany(RendererStub& renderer, const Picture$& picture) {
    std::atomic<int> samples{0};
    std::vector<std::thread> threads;
    for (unsigned int slot = 0; slot < Slots; ++slot)
        threads.emplace_back([&, slot] {
            const int rows = Height / static_cast<int>(Slots);
            for (int row = 0; row < rows; row += 4) samples += renderer.Render(picture, Width, static_cast<int>(slot) * rows + row, 4, slot);
        });
    for (std::thread& thread : threads) thread.join();
    return samples;
}

bool TalkToAWorker(const std::string& program) {
    Worker worker(program);
    RendererStub renderer(worker.Activate());
    std::printf("A worker runs, and made a renderer for us.\n");
    std::printf("Values:      2 + 3 = %d\n", renderer.Sum(2, 3, 0));
    std::printf("Texts:       %s\n", renderer.Describe(new ZvString("a wave"), 0)->CStr());

    const Picture$ first = NewPicture("first");
    Progress$ progress = new Progress;
    std::printf("Call back:  ");
    {
        Serving serving(worker.channel);
        renderer.RenderAll(first, Width, progress, 0);
    }
    std::printf(", as the worker told an object of ours\n");
    std::printf("Shared:      %d samples in memory that both see, %s\n", Width * Height, IsRight(first) ? "all right" : "WRONG");

    const Picture$ second = NewPicture("second");
    renderer.Render(second, Width, 0, 1, 0);
    const int samples = RenderByMany(renderer, second);
    std::printf("Callers:     %u threads had %d samples rendered, %s\n", Slots, samples, IsRight(second) ? "all right" : "WRONG");
    const uint32_t code = worker.Stop();
    std::printf("Stopped:     the worker ended by itself with code %u\n", code);
    progress->Forget();
    return code == 0 && samples == Width * Height && IsRight(first) && IsRight(second);
}

bool LoseAWorker(const std::string& program) {
    Worker worker(program);
    RendererStub renderer(worker.Activate());
    Progress$ progress = new Progress;
    std::printf("Killed:     ");
    bool noticed = false;
    {
        Serving serving(worker.channel);
        std::thread caller([&] {
            try {
                renderer.Stall(progress, 1);
            } catch (const ZvException&) {
                noticed = true;
            }
        });
        progress->m_reported.Wait(zvc::platform::Infinite);       // it is in the middle of the call
        zvc::platform::ProcessKill(worker.Process(), 1);
        caller.join();
    }
    const bool gone = worker.channel->WaitForPeerGone(zvc::platform::Infinite);
    std::printf(", then the worker was killed; its caller %s\n", gone && noticed ? "was told" : "WAS NOT TOLD");
    progress->Forget();

    Worker next(program);
    const int sum = RendererStub(next.Activate()).Sum(20, 22, 0);
    std::printf("Replaced:    the next one answers %d\n", sum);
    return gone && noticed && sum == 42 && next.Stop() == 0;
}

}

int main(int argc, char** argv) {
    const std::string program = argc > 1 ? argv[1] : (std::filesystem::path(argv[0]).parent_path() / "worker").string();
    if (!std::filesystem::exists(program)) {
        std::fprintf(stderr, "worker_host: %s: is not there\n", program.c_str());
        return 1;
    }
    try {
        return TalkToAWorker(program) && LoseAWorker(program) ? 0 : 1;
    } catch (ZvException& e) {
        std::fprintf(stderr, "worker_host: %s\n", e.What()->CStr());
        return 1;
    }
}
