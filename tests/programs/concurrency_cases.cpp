// Cases of threads and tasks that take the process with them: `concurrency_cases NAME [VALUE]`.
#include <zvc/zvc.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <stdexcept>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

ZV_MODULE("concurrency_cases", nullptr, nullptr)

namespace {

using Body = zvc::Delegate<void(const ZvSystem::ThreadInfo&, unsigned int, void*)>;
using End = zvc::Delegate<void(const ZvSystem::ThreadInfo&)>;

void Add(ZvSystem::TaskQueue queue, unsigned int count, Body body, End end = {}) {
    ZvSystem::AddTask(queue, body, count, end, nullptr);
}

template <class Condition>
void WaitUntil(Condition condition) {
    while (!condition()) std::this_thread::yield();
}

int NoThread(const char*) {
    // The stack of a new thread does not fit into what the process may take.
    rlimit limit;
    getrlimit(RLIMIT_AS, &limit);
    const rlimit all = limit;
    ZvObject$ parameter = new ZvObject;
    zvc::Delegate<void(ZvObject$&)> routine([](ZvObject$&) { std::printf("ran\n"); });
    ZvThread thread(routine);
    limit.rlim_cur = 1 << 20;
    setrlimit(RLIMIT_AS, &limit);
    const bool started = thread.Start(parameter);
    setrlimit(RLIMIT_AS, &all);
    void* handle;
    std::memcpy(&handle, reinterpret_cast<const char*>(&thread) + sizeof(ZvObject), sizeof handle);
    std::printf("start %d handle %d kept %d flag %d alive %d\n", started, handle != nullptr, parameter->ReferenceCount() == 2,
                thread.Start(), thread.IsAlive());
    return 0;
}

// Neither end of the queue: the task never runs, and a batch never ends, although other tasks run.
int QueueValue(const char* value) {
    static std::atomic<int> ran{0}, ended{0}, backRan{0};
    Add(static_cast<ZvSystem::TaskQueue>(std::atoi(value)), 1, [](const ZvSystem::ThreadInfo&, unsigned int, void*) { ++ran; });
    ZvSystem::StartTask();
    Add(ZvSystem::TaskQueueBack, 1, [](const ZvSystem::ThreadInfo&, unsigned int, void*) { ++backRan; });
    std::thread([] {
        ZvSystem::EndTask();
        ++ended;
    }).detach();
    WaitUntil([] { return backRan == 1; });
    ZvThread::Sleep(200);
    std::printf("ran %d, ended %d, back task ran %d\n", ran.load(), ended.load(), backRan.load());
    std::fflush(stdout);
    std::_Exit(0);
}

int CountZero(const char*) {
    static std::atomic<unsigned int> busy{0}, done{0};
    const unsigned int others = ZvSystem::GetNumberOfProcessor() - 1;
    if (others != 0)
        Add(ZvSystem::TaskQueueBack, others, [](const ZvSystem::ThreadInfo&, unsigned int, void*) {
            ++busy;
            WaitUntil([] { return done >= 4; });
        });
    WaitUntil([&] { return busy == others; });
    static std::string numbers;
    Add(ZvSystem::TaskQueueBack, 0, [](const ZvSystem::ThreadInfo&, unsigned int piece, void*) {
        if (done < 4) numbers += std::to_string(piece) + " ";
        ++done;
    });
    WaitUntil([] { return done >= 4; });
    std::printf("%s\n", numbers.c_str());
    return 0;                                     // with four thousand million pieces to go
}

int EndWithoutStart(const char*) {
    ZvSystem::EndTask();
    ZvSystem::StartTask();
    ZvSystem::EndTask();
    std::printf("returned\n");
    return 0;
}

int QueuedAtExit(const char*) {
    static std::atomic<int> begun{0};
    const auto slow = [](const ZvSystem::ThreadInfo&, unsigned int, void*) {
        ++begun;
        ZvThread::Sleep(1);
    };
    const auto end = [](const ZvSystem::ThreadInfo&) { std::printf("ended\n"); };
    Add(ZvSystem::TaskQueueBack, 100000000, slow, end);
    Add(ZvSystem::TaskQueueBack, 1, [](const ZvSystem::ThreadInfo&, unsigned int, void*) { std::printf("ran\n"); }, end);
    WaitUntil([] { return begun != 0; });
    std::printf("leaving\n");
    return 3;
}

int ExitInTask(const char*) {
    static std::atomic<bool> added{false};        // nobody is inside the library when it ends
    Add(ZvSystem::TaskQueueBack, 1, [](const ZvSystem::ThreadInfo&, unsigned int, void*) {
        WaitUntil([] { return added.load(); });
        std::exit(5);
    });
    added = true;
    for (;;) pause();
}

int ExitInFork(const char*) {
    const pid_t child = fork();
    if (child == 0) std::exit(4);
    int status = 0;
    waitpid(child, &status, 0);
    std::printf("child %d\n", WIFEXITED(status) ? WEXITSTATUS(status) : -1);
    return 0;
}

int ThrowInBody(const char*) {
    ZvSystem::StartTask();
    Add(ZvSystem::TaskQueueBack, 1, [](const ZvSystem::ThreadInfo&, unsigned int, void*) { throw std::runtime_error("thrown in a task"); });
    ZvSystem::EndTask();
    return 0;
}

int ThrowInEnd(const char*) {
    ZvSystem::StartTask();
    Add(ZvSystem::TaskQueueBack, 1, {}, [](const ZvSystem::ThreadInfo&) { throw std::runtime_error("thrown in a task"); });
    ZvSystem::EndTask();
    return 0;
}

}

int main(int argc, char** argv) {
    const std::map<std::string, int (*)(const char*)> cases = {
        {"no_thread", &NoThread},           {"queue_value", &QueueValue},     {"count_zero", &CountZero},
        {"end_without_start", &EndWithoutStart}, {"queued_at_exit", &QueuedAtExit}, {"exit_in_task", &ExitInTask},
        {"exit_in_fork", &ExitInFork},      {"throw_in_body", &ThrowInBody},  {"throw_in_end", &ThrowInEnd}};
    const auto found = cases.find(argc > 1 ? argv[1] : "");
    return found == cases.end() ? 2 : found->second(argc > 2 ? argv[2] : "");
}
