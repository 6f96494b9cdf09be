// Calls into a worker process, beside their peers: each with the host and the worker on one core, and free. Waking the other
// core costs more than a whole call, and hides everything else. On one core the time is that of both processes on it, which
// is what a call takes when nobody else uses the core: other work on the machine does not show. Free it is the wall clock.

#include "remoting/Bare.h"
#include "sum.capnp.h"
#include "sum.grpc.pb.h"

#include <benchmark/benchmark.h>
#include <capnp/rpc-twoparty.h>
#include <grpcpp/grpcpp.h>
#include <kj/async-io.h>
#include <zvc/platform/Process.h>
#include <zvc/zvc.h>

#include <atomic>
#include <barrier>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <deque>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <optional>
#include <sched.h>
#include <spawn.h>
#include <string>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr size_t Large = 64 << 20;
constexpr unsigned int Callers = 4;
constexpr int CallsOfACaller = 25;                // in an iteration of four callers

[[noreturn]] void Stop(const char* what) {
    std::perror(what);
    std::abort();
}

std::string Beside(const char* name) { return (std::filesystem::read_symlink("/proc/self/exe").parent_path() / name).string(); }

// ---- processors ----------------------------------------------------------------------------------------------------------

/// Keeps every thread of a process on the first processor, or lets it free.
void Place(pid_t process, bool oneCore) {
    cpu_set_t set;
    CPU_ZERO(&set);
    for (int i = 0; i < (oneCore ? 1 : CPU_SETSIZE); ++i) CPU_SET(i, &set);
    DIR* directory = opendir(("/proc/" + std::to_string(process) + "/task").c_str());
    if (directory == nullptr) return;
    while (const dirent* entry = readdir(directory))
        if (entry->d_name[0] != '.') sched_setaffinity(std::atoi(entry->d_name), sizeof set, &set);
    closedir(directory);
}

/// Both processes of one benchmark.
class Placed {
public:
    Placed(pid_t worker, bool oneCore) {
        Place(getpid(), oneCore);
        Place(worker, oneCore);
    }
    ~Placed() { Place(getpid(), false); }
};

/// Time that this process and a worker had on a processor, in seconds.
double ProcessorTime(pid_t worker) {
    clockid_t clock;
    timespec mine{}, its{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &mine);
    if (clock_getcpuclockid(worker, &clock) == 0) clock_gettime(clock, &its);
    return static_cast<double>(mine.tv_sec + its.tv_sec) + static_cast<double>(mine.tv_nsec + its.tv_nsec) * 1e-9;
}

/// Iterations of a hundred calls, placed and timed as the benchmark is to be.
template <class Hundred>
void Measure(benchmark::State& state, pid_t worker, bool oneCore, Hundred hundred) {
    Placed placed(worker, oneCore);
    for (auto _ : state) {
        const double before = oneCore ? ProcessorTime(worker) : 0;
        const auto start = std::chrono::steady_clock::now();
        hundred();
        state.SetIterationTime(oneCore ? ProcessorTime(worker) - before
                                       : std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
}

template <class Call>
void MeasureOne(benchmark::State& state, pid_t worker, bool oneCore, Call call) {
    Measure(state, worker, oneCore, [&] {
        for (int i = 0; i < 100; ++i) benchmark::DoNotOptimize(call());
    });
}

// ---- workers -------------------------------------------------------------------------------------------------------------

/// A bare child with pipes to its input and from its output, and perhaps a descriptor as its number 3.
class Child {
public:
    Child(const char* program, std::initializer_list<const char*> words, int third = -1) {
        int there[2], back[2];
        if (pipe2(there, O_CLOEXEC) != 0 || pipe2(back, O_CLOEXEC) != 0) Stop("pipe2");
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, there[0], 0);
        posix_spawn_file_actions_adddup2(&actions, back[1], 1);
        if (third >= 0) posix_spawn_file_actions_adddup2(&actions, third, 3);
        const std::string path = Beside(program);
        std::vector<char*> arguments{const_cast<char*>(program)};
        for (const char* word : words) arguments.push_back(const_cast<char*>(word));
        arguments.push_back(nullptr);
        if (posix_spawn(&id, path.c_str(), &actions, nullptr, arguments.data(), environ) != 0) Stop(program);
        posix_spawn_file_actions_destroy(&actions);
        close(there[0]);
        close(back[1]);
        in = back[0];
        out = there[1];
    }
    ~Child() {
        if (out >= 0) close(out);
        waitpid(id, nullptr, 0);
        if (in >= 0) close(in);
    }
    pid_t id = 0;
    int in = -1, out = -1;
};

template <class T>
void ReadAll(int descriptor, T& value) {
    auto* p = reinterpret_cast<char*>(&value);
    for (size_t left = sizeof value; left != 0;) {
        const ssize_t n = read(descriptor, p, left);
        if (n <= 0) Stop("read");
        p += n;
        left -= static_cast<size_t>(n);
    }
}

void WriteAll(int descriptor, const void* data, size_t size) {
    for (auto* p = static_cast<const char*>(data); size != 0;) {
        const ssize_t n = write(descriptor, p, size);
        if (n <= 0) Stop("write");
        p += n;
        size -= static_cast<size_t>(n);
    }
}

void Check(benchmark::State& state, int got, int expected) {
    if (got != expected) state.SkipWithError("wrong sum");
}

// ---- ours ----------------------------------------------------------------------------------------------------------------

template <class T>
ZvObject$ Box(T value) {
    return new ZvPrimitive<T>(value);
}

int IntOf(const remoting::MethodResponse$& response) {
    const ZvHandle<ZvPrimitive<int>, ZvValue$> box = response ? response->GetReturnValue() : ZvObject$();
    return box ? box->value : -1;
}

class OurWorker {
public:
    OurWorker() : m_channel(new ZvChannel(8, new ZvString(Beside("zvc_bench_remoting_worker").c_str()))) {
        m_channel->StartListening();
        m_channel->Send(new remoting::ConstructingCall(m_int, new ZvPrimArray<ZvObject$>(0, nullptr)));
        const remoting::ConstructingResponse$ made = m_channel->GetResponse(0);
        m_summer = made->CreatedObject();
    }
    ~OurWorker() {
        m_channel->StopListening();
        while (m_channel->GetMethod()) {}
        zvc::platform::WaitForHandle(m_channel->GetProcess()->GetProcessHandle(), zvc::platform::Infinite);
    }
    pid_t Id() const { return static_cast<pid_t>(m_channel->GetProcess()->GetProcessId()); }
    int Sum(int a, int b, unsigned int slot) {
        const ZvArguments$ arguments = new ZvPrimArray<ZvObject$>(2, nullptr);
        (*arguments)[0] = Box(a);
        (*arguments)[1] = Box(b);
        return IntOf(m_summer->Invoke(m_int, m_sum, arguments, slot));
    }
    int SumOf(const ZvString$& method, const ZvObject$& array) {
        const ZvArguments$ arguments = new ZvPrimArray<ZvObject$>(1, nullptr);
        (*arguments)[0] = array;
        return IntOf(m_summer->Invoke(m_int, method, arguments, 0));
    }

private:
    ZvChannel$ m_channel;
    ZvObjRef$ m_summer;
    const ZvType$ m_int{&ZvPrimitive<int>::s_type};
    const ZvString$ m_sum = new ZvString("Sum");
};

// ---- a round trip, one caller ---------------------------------------------------------------------------------------------

void Ours1(benchmark::State& state, bool oneCore) {
    OurWorker worker;
    Check(state, worker.Sum(2, 3, 0), 5);
    MeasureOne(state, worker.Id(), oneCore, [&] { return worker.Sum(2, 3, 0); });
}

struct CapnpWorker {
    CapnpWorker() {
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) Stop("socketpair");
        child.emplace("zvc_bench_remoting_peers", std::initializer_list<const char*>{"capnp", "3"}, ends[1]);
        close(ends[1]);
        io.emplace(kj::setupAsyncIo());
        stream = io->lowLevelProvider->wrapSocketFd(ends[0]);
        client = kj::heap<capnp::TwoPartyClient>(*stream);
        summer.emplace(client->bootstrap().castAs<Summer>());
    }
    ~CapnpWorker() {
        summer.reset();
        client = nullptr;
        stream = nullptr;
        io.reset();
        close(ends[0]);
    }
    auto Send(int a, int b) {
        auto request = summer->sumRequest();
        request.setA(a);
        request.setB(b);
        return request.send();
    }
    int ends[2];
    std::optional<Child> child;
    std::optional<kj::AsyncIoContext> io;
    kj::Own<kj::AsyncIoStream> stream;
    kj::Own<capnp::TwoPartyClient> client;
    std::optional<Summer::Client> summer;
};

void Capnp1(benchmark::State& state, bool oneCore) {
    CapnpWorker worker;
    Check(state, worker.Send(2, 3).wait(worker.io->waitScope).getSum(), 5);
    MeasureOne(state, worker.child->id, oneCore, [&] { return worker.Send(2, 3).wait(worker.io->waitScope).getSum(); });
}

void Grpc1(benchmark::State& state, bool oneCore) {
    const std::string socket = (std::filesystem::temp_directory_path() / ("zvc-bench-" + std::to_string(getpid()))).string();
    std::filesystem::remove(socket);
    {
        Child child("zvc_bench_remoting_peers", {"grpc", socket.c_str()});
        char ready;
        ReadAll(child.in, ready);
        const auto stub = rpc::Summer::NewStub(grpc::CreateChannel("unix:" + socket, grpc::InsecureChannelCredentials()));
        const auto sum = [&] {
            grpc::ClientContext context;
            rpc::Pair pair;
            rpc::Total total;
            pair.set_a(2);
            pair.set_b(3);
            return stub->Sum(&context, pair, &total).ok() ? total.sum() : -1;
        };
        Check(state, sum(), 5);
        MeasureOne(state, child.id, oneCore, sum);
    }
    std::filesystem::remove(socket);
}

int BareSum(bare::End& end, int a, int b, int slot) {
    bare::Message message{slot, a, b, 0};
    end.Send(message);
    end.Take(slot, message);
    return message.a;
}

struct BareWorker {
    Child child{"zvc_bench_remoting_worker", {"bare"}};
    bare::End end{std::exchange(child.in, -1), std::exchange(child.out, -1), static_cast<int>(Callers)};
};

void Bare1(benchmark::State& state, bool oneCore) {
    BareWorker worker;
    Check(state, BareSum(worker.end, 2, 3, 0), 5);
    MeasureOne(state, worker.child.id, oneCore, [&] { return BareSum(worker.end, 2, 3, 0); });
}

// ---- four callers ---------------------------------------------------------------------------------------------------------

/// An iteration: each of four threads makes its calls, and the next one begins when all are done.
template <class Call>
void Many(benchmark::State& state, pid_t worker, bool oneCore, Call call) {
    std::barrier gate(Callers + 1);
    std::atomic<bool> over{false};
    std::vector<std::thread> threads;
    for (unsigned int slot = 0; slot < Callers; ++slot)
        threads.emplace_back([&, slot] {
            for (;;) {
                gate.arrive_and_wait();
                if (over) return;
                for (int i = 0; i < CallsOfACaller; ++i) call(slot);
                gate.arrive_and_wait();
            }
        });
    Measure(state, worker, oneCore, [&] {
        gate.arrive_and_wait();
        gate.arrive_and_wait();
    });
    over = true;
    gate.arrive_and_wait();
    for (std::thread& thread : threads) thread.join();
}

void Ours4(benchmark::State& state, bool oneCore) {
    OurWorker worker;
    Check(state, worker.Sum(2, 3, 0), 5);
    Many(state, worker.Id(), oneCore, [&](unsigned int slot) { benchmark::DoNotOptimize(worker.Sum(2, 3, slot)); });
}

void Bare4(benchmark::State& state, bool oneCore) {
    BareWorker worker;
    Check(state, BareSum(worker.end, 2, 3, 0), 5);
    Many(state, worker.child.id, oneCore,
         [&](unsigned int slot) { benchmark::DoNotOptimize(BareSum(worker.end, 2, 3, static_cast<int>(slot))); });
}

void Capnp4(benchmark::State& state, bool oneCore) {
    CapnpWorker worker;
    Check(state, worker.Send(2, 3).wait(worker.io->waitScope).getSum(), 5);
    Measure(state, worker.child->id, oneCore, [&] {
        std::deque<decltype(worker.Send(2, 3))> underWay;
        const size_t calls = Callers * CallsOfACaller;
        for (size_t i = 0; i < calls + Callers; ++i) {
            if (i >= Callers) {
                benchmark::DoNotOptimize(underWay.front().wait(worker.io->waitScope).getSum());
                underWay.pop_front();
            }
            if (i < calls) underWay.push_back(worker.Send(2, 3));
        }
    });
}

// ---- much data ------------------------------------------------------------------------------------------------------------

constexpr size_t LargeCount = Large / sizeof(float);

void hand_64MiB_shared_ours(benchmark::State& state) {
    OurWorker worker;
    ZvString$ name = new ZvString;
    name->Format("zvc bench %d", getpid());
    const ZvObject$ shared = new ZvSharePrimArray<float>(name, LargeCount, nullptr);
    float* const values = static_cast<float*>(static_cast<ZvSharePrimArray<float>*>(shared.Get())->GetBaseAddress());
    std::fill(values, values + LargeCount, 1.0f);
    const ZvString$ method = new ZvString("SumShared");
    Check(state, worker.SumOf(method, shared), static_cast<int>(LargeCount));
    for (auto _ : state) benchmark::DoNotOptimize(worker.SumOf(method, shared));
}
BENCHMARK(hand_64MiB_shared_ours)->Name("hand_64MiB_shared/ours")->UseRealTime();

void hand_64MiB_shared_mapped(benchmark::State& state) {
    const int memory = memfd_create("zvc-bench", MFD_CLOEXEC);
    if (memory < 0 || ftruncate(memory, static_cast<off_t>(Large)) != 0) Stop("memfd_create");
    auto* const values = static_cast<float*>(mmap(nullptr, Large, PROT_READ | PROT_WRITE, MAP_SHARED, memory, 0));
    std::fill(values, values + LargeCount, 1.0f);
    {
        Child child("zvc_bench_remoting_worker", {"mapped", std::to_string(Large).c_str()}, memory);
        const auto sum = [&] {
            int result;
            WriteAll(child.out, "x", 1);
            ReadAll(child.in, result);
            return result;
        };
        Check(state, sum(), static_cast<int>(LargeCount));
        for (auto _ : state) benchmark::DoNotOptimize(sum());
    }
    munmap(values, Large);
    close(memory);
}
BENCHMARK(hand_64MiB_shared_mapped)->Name("hand_64MiB_shared/mapped")->UseRealTime();

void hand_64MiB_by_value_ours(benchmark::State& state) {
    OurWorker worker;
    const ZvHandle<ZvPrimArray<float>, ZvArrayValue$> values = new ZvPrimArray<float>(LargeCount, nullptr);
    for (size_t i = 0; i < LargeCount; ++i) (*values)[i] = 1.0f;
    const ZvString$ method = new ZvString("SumArray");
    Check(state, worker.SumOf(method, static_cast<const ZvObject$&>(values)), static_cast<int>(LargeCount));
    for (auto _ : state) benchmark::DoNotOptimize(worker.SumOf(method, static_cast<const ZvObject$&>(values)));
}
BENCHMARK(hand_64MiB_by_value_ours)->Name("hand_64MiB_by_value/ours")->UseRealTime();

void hand_64MiB_by_value_pipe(benchmark::State& state) {
    const std::vector<float> values(LargeCount, 1.0f);
    Child child("zvc_bench_remoting_worker", {"pipe", std::to_string(Large).c_str()});
    const auto sum = [&] {
        int result;
        WriteAll(child.out, values.data(), Large);
        ReadAll(child.in, result);
        return result;
    };
    Check(state, sum(), static_cast<int>(LargeCount));
    for (auto _ : state) benchmark::DoNotOptimize(sum());
}
BENCHMARK(hand_64MiB_by_value_pipe)->Name("hand_64MiB_by_value/pipe")->UseRealTime();

// ---- start ----------------------------------------------------------------------------------------------------------------

void start_worker_ours(benchmark::State& state) {
    for (auto _ : state) {
        std::optional<OurWorker> worker(std::in_place);       // its first reply is there
        state.PauseTiming();
        worker.reset();
        state.ResumeTiming();
    }
}

void start_worker_posix_spawn(benchmark::State& state) {
    for (auto _ : state) {
        std::optional<Child> child(std::in_place, "zvc_bench_remoting_worker", std::initializer_list<const char*>{"byte"});
        char byte;
        ReadAll(child->in, byte);
        state.PauseTiming();
        child.reset();
        state.ResumeTiming();
    }
}
BENCHMARK(start_worker_ours)->Name("start_worker/ours")->UseRealTime();
BENCHMARK(start_worker_posix_spawn)->Name("start_worker/posix_spawn")->UseRealTime();

#define BOTH_PLACES(function, workload, peer)                                                            \
    BENCHMARK_CAPTURE(function, free, false)->Name(workload "_free/" peer)->UseManualTime();             \
    BENCHMARK_CAPTURE(function, one_core, true)->Name(workload "_one_core/" peer)->UseManualTime();
BOTH_PLACES(Ours1, "sum_1_caller", "ours")
BOTH_PLACES(Capnp1, "sum_1_caller", "capnp")
BOTH_PLACES(Grpc1, "sum_1_caller", "grpc")
BOTH_PLACES(Bare1, "sum_1_caller", "bare")
BOTH_PLACES(Ours4, "sum_4_callers", "ours")
BOTH_PLACES(Capnp4, "sum_4_callers", "capnp")
BOTH_PLACES(Bare4, "sum_4_callers", "bare")

}
