// The image of a process that crashes with 500 MB of data, beside copying as many bytes from file to file.

#include <zvc/zvc.h>

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr size_t DataSize = 500u << 20;
const char* const Source = "dumps_bench.source";
const char* const Target = "dumps_bench.target";

using Clock = std::chrono::steady_clock;

double Since(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

// The target is made anew each time, with nothing left to be written from the time before.
void Clean() {
    unlink(Target);
    sync();
}

// Never returns: fills its memory, tells that it is ready, and crashes when it is told to.
[[noreturn]] void Crash(int ready, int go) {
    ZvSystem::SetDumpPath(Target);
    auto* data = static_cast<char*>(ZvSystem::Malloc(DataSize));
    std::memset(data, 7, DataSize);
    benchmark::DoNotOptimize(data);
    char byte = 1;
    if (write(ready, &byte, 1) == 1 && read(go, &byte, 1) == 1) {
        volatile int* volatile nowhere = nullptr;
        *nowhere = 1;
    }
    _exit(1);
}

// From the fault to the end of the process.
void DumpProcess(benchmark::State& state) {
    for (auto _ : state) {
        Clean();
        int ready[2], go[2];
        if (pipe(ready) != 0 || pipe(go) != 0) return state.SkipWithError("no pipe");
        const pid_t child = fork();
        if (child == 0) Crash(ready[1], go[0]);
        char byte = 1;
        if (read(ready[0], &byte, 1) != 1) return state.SkipWithError("the process did not start");
        const auto start = Clock::now();
        if (write(go[1], &byte, 1) != 1) return state.SkipWithError("no pipe");
        int status = 0;
        waitpid(child, &status, 0);
        state.SetIterationTime(Since(start));
        for (int end : {ready[0], ready[1], go[0], go[1]}) close(end);
        if (!WIFSIGNALED(status) || WTERMSIG(status) != SIGSEGV) return state.SkipWithError("the process did not crash");
    }
    const int file = open(Target, O_RDONLY);
    const off_t size = lseek(file, 0, SEEK_END);
    close(file);
    if (size < static_cast<off_t>(DataSize)) return state.SkipWithError("the image is not whole");
    unlink(Target);
}

void Cat(benchmark::State& state) {
    {
        FILE* file = std::fopen(Source, "wb");
        const char block[65536] = {7};
        for (size_t i = 0; i != DataSize / sizeof block; ++i) std::fwrite(block, sizeof block, 1, file);
        std::fclose(file);
    }
    for (auto _ : state) {
        Clean();
        const auto start = Clock::now();
        const pid_t child = fork();
        if (child == 0) {
            dup2(open(Target, O_CREAT | O_WRONLY | O_TRUNC, 0600), STDOUT_FILENO);
            execlp("cat", "cat", Source, static_cast<char*>(nullptr));
            _exit(1);
        }
        int status = 0;
        waitpid(child, &status, 0);
        state.SetIterationTime(Since(start));
        if (status != 0) return state.SkipWithError("cat failed");
    }
    unlink(Source);
    unlink(Target);
}

BENCHMARK(DumpProcess)->Name("dump of a process with 500 MB/ours")->UseManualTime()->Iterations(2)->Unit(benchmark::kMillisecond);
BENCHMARK(Cat)->Name("dump of a process with 500 MB/cat")->UseManualTime()->Iterations(2)->Unit(benchmark::kMillisecond);

}
