// Uses the task pool, and looks for a module, before the library's end and after it: an exit handler that was there before the library runs when all of
// the library's statics are gone, while it is still mapped.
#include "zvc/concurrency/Delegate.h"
#include "zvc/core/ZvSystem.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <sched.h>

namespace {

using Body = zvc::Delegate<void(const ZvSystem::ThreadInfo&, unsigned int, void*)>;
using End = zvc::Delegate<void(const ZvSystem::ThreadInfo&)>;

void (*s_addTask)(ZvSystem::TaskQueue, Body&, unsigned int, End&, void*);
void (*s_startTask)();
ZvModuleState* (*s_findModule)(const char*);
std::atomic<int> s_pieces{0};

template <class Function>
void Find(void* library, Function& function, const char* name) {
    function = reinterpret_cast<Function>(dlsym(library, name));
    if (function == nullptr) std::printf("%s\n", dlerror());
}

void AddOne() {
    Body body([](const ZvSystem::ThreadInfo&, unsigned int, void*) { ++s_pieces; });
    End end;
    s_addTask(ZvSystem::TaskQueueBack, body, 1, end, nullptr);
}

void AfterTheEnd() {
    s_pieces = 0;
    s_startTask();
    AddOne();
    std::printf("after: %d pieces\n", s_pieces.load());
    std::printf("after: %s\n", s_findModule("ZVC") != nullptr ? "a module" : "no module");
}

}

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    std::atexit(&AfterTheEnd);
    void* library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) return 1;
    Find(library, s_addTask,
         "_ZN8ZvSystem7AddTaskENS_9TaskQueueERN3zvc8DelegateIFvRKNS_10ThreadInfoEjPvEEEjRNS2_IFvS5_EEES6_");
    Find(library, s_startTask, "_ZN8ZvSystem9StartTaskEv");
    Find(library, s_findModule, "_ZN8ZvSystem10FindModuleEPKc");
    AddOne();
    while (s_pieces == 0) sched_yield();
    std::printf("before: %d piece\n", s_pieces.load());
    std::printf("before: %s\n", s_findModule("ZVC") != nullptr ? "a module" : "no module");
}
