// A worker for the tests of channels: serves one object that works, hangs and dies as it is told. ZVC_WORKSHOP in its
// environment makes it fail before that.

#include <zvc/platform/Pipe.h>
#include <zvc/zvc.h>

#include <csignal>
#include <cstdlib>
#include <string>
#include <unistd.h>

ZV_MODULE("App", nullptr, nullptr)

namespace {

[[noreturn]] void Die() {
    raise(SIGKILL);
    std::abort();
}

[[noreturn]] void Sleep() {
    for (;;) pause();
}

}

/// In the middle of writing it the process dies, or stands still.
class Unfinished : public ZvObject {
    ZV_DECLARE_CLASS(Unfinished)
    ZV_DECLARE_CREATE(Unfinished)
public:
    Unfinished() = default;
    explicit Unfinished(bool dies) : m_dies(dies) {}
    void Encode(ZvStream$&, ZvCoder*) const override {
        if (m_dies) Die();
        Sleep();
    }

private:
    bool m_dies = true;
};
ZV_DECLARE_HANDLE(Unfinished, ZvObject$);
ZV_DEFINE_CLASS(Unfinished, (ZvObject), .codec = true, .create = &Create)

class Workshop : public ZvMarshalByRefObject {
    ZV_DECLARE_CLASS(Workshop)
    ZV_DECLARE_TABLES()
public:
    int Sum(int a, int b) { return a + b; }
    int Kill(int) { Die(); }
    int Hang(int) { Sleep(); }
    /// A large part of it goes out.
    ZvObject$ HalfAnAnswer(bool dies) {
        const ZvArguments$ answer = new ZvPrimArray<ZvObject$>(2, nullptr);
        (*answer)[0] = new ZvPrimArray<int>(500000, nullptr);
        (*answer)[1] = new Unfinished(dies);
        return static_cast<const ZvObject$&>(answer);
    }
};
ZV_DECLARE_HANDLE(Workshop, ZvMarshalByRefObject$);
ZV_DEFINE_CLASS(Workshop, (ZvMarshalByRefObject), ZV_TABLES)
ZV_FIELDS(Workshop)
ZV_METHODS(Workshop, ZV_METHOD(Sum, "a", "b"), ZV_METHOD(Kill, "code"), ZV_METHOD(Hang, "seconds"),
           ZV_METHOD(HalfAnAnswer, "dies"))
ZV_CONSTRUCTORS(Workshop, ZV_CONSTRUCTOR())

int main() {
    const char* const fault = std::getenv("ZVC_WORKSHOP");
    const std::string start = fault != nullptr ? fault : "";
    if (start == "exits") return 7;
    if (start == "dies") Die();
    if (start == "hangs") Sleep();
    if (start == "prints") {
        // Words where objects should be.
        if (write(1, "Hello, world\n", 13) != 13) return 1;
        Sleep();
    }
    remoting::RemotingConfigulation::RegisterActivatedType(ZvType$(&Workshop::s_type));
    ZvChannel$ channel = new ZvChannel(4);
    if (start == "deaf") Sleep();
    if (start == "chatty") {
        // What it prints from now on does no harm.
        zvc::platform::StandardOutputToError();
        if (write(1, "Hello, world\n", 13) != 13) return 1;
    }
    channel->StartListening();
    if (start == "closes") {
        channel->StopListening();
        channel->Abandon();
        return 0;
    }
    remoting::Pump(channel).Run();
    channel->StopListening();
    remoting::RemotingConfigulation::Shutdown();
    return 0;
}
