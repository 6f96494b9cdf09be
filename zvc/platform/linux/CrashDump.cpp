#include "zvc/platform/CrashDump.h"

#include "zvc/platform/linux/Futex.h"
#include "zvc/platform/linux/SignalStack.h"
#include "zvc/platform/linux/ThreadObject.h"
#include "zvc/platform/linux/ThreadStop.h"

#include <cstring>
#include <x86intrin.h>

namespace zvc::platform {

namespace {

// What the processor and the kernel answer to a program that does what it cannot: memory that is not there or not
// allowed, also beyond the end of a stack or a mapped file; what is no instruction; a division; a breakpoint.
constexpr int Faults[] = {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGTRAP};

struct sigaction s_earlier[sizeof Faults / sizeof Faults[0]];
bool s_installed = false;
char s_paths[2][4096];                       // the one in use is never written to
const char* s_path = nullptr;
uint32_t s_owner = 0;                        // futex: the thread that writes a dump

struct sigaction& EarlierOf(int signal) noexcept {
    size_t i = 0;
    while (Faults[i] != signal) ++i;
    return s_earlier[i];
}

bool IsFunction(const struct sigaction& action) noexcept { return action.sa_handler != SIG_DFL && action.sa_handler != SIG_IGN; }

// One dump at a time. A thread that crashes meanwhile stands still like all others, and has its turn if the process lives on.
void Enter() noexcept {
    const uint32_t caller = CurrentThreadId();
    uint32_t owner = 0;
    while (!__atomic_compare_exchange_n(&s_owner, &owner, caller, false, __ATOMIC_ACQUIRE, __ATOMIC_RELAXED)) {
        sigset_t stop;
        sigemptyset(&stop);
        sigaddset(&stop, StopSignal());
        pthread_sigmask(SIG_UNBLOCK, &stop, nullptr);
        FutexWait(&s_owner, owner);
        pthread_sigmask(SIG_BLOCK, &stop, nullptr);
        owner = 0;
    }
}

void Leave() noexcept {
    __atomic_store_n(&s_owner, 0, __ATOMIC_RELEASE);
    FutexWake(&s_owner);
}

void Dump(int signal, const siginfo_t& cause, const ucontext_t& context) noexcept {
    Enter();
    const char* const path = __atomic_load_n(&s_path, __ATOMIC_ACQUIRE);
    if (path != nullptr) {
        const CoreThread* const* threads = nullptr;
        const size_t count = StopThreads(signal, context, threads);
        WriteCore(path, threads, count, cause);
    }
    if (!IsFunction(EarlierOf(signal))) return;      // the end comes now; nothing shall run in between and end differently
    if (path != nullptr) ReleaseThreads();
    Leave();
}

// As the kernel would have called it, but for the stack.
void CallEarlier(int signal, siginfo_t* info, ucontext_t& context) noexcept {
    struct sigaction& registered = EarlierOf(signal);
    const struct sigaction earlier = registered;
    if ((static_cast<unsigned int>(earlier.sa_flags) & SA_RESETHAND) != 0) registered.sa_handler = SIG_DFL;
    sigset_t mask;
    sigorset(&mask, &context.uc_sigmask, &earlier.sa_mask);
    if ((earlier.sa_flags & SA_NODEFER) == 0) sigaddset(&mask, signal);
    pthread_sigmask(SIG_SETMASK, &mask, nullptr);
    if ((earlier.sa_flags & SA_SIGINFO) != 0) earlier.sa_sigaction(signal, info, &context);
    else earlier.sa_handler(signal);
}

// With the default in its place the same signal again, which comes when this handler returns: the instruction alone need not
// fault a second time.
void EndProcess(int signal, siginfo_t* info) noexcept {
    struct sigaction action {};
    action.sa_handler = SIG_DFL;
    sigaction(signal, &action, nullptr);
    syscall(SYS_rt_tgsigqueueinfo, getpid(), CurrentThreadId(), signal, info);
}

// A fault of alignment comes from a flag that makes the processor look at it, and the handler has it still.
void AllowMisalignment() noexcept {
    constexpr unsigned long long AlignmentCheck = 0x40000;
    __writeeflags(__readeflags() & ~AlignmentCheck);
}

// A signal that was sent is not for the dump, only for whoever stood here before.
void OnFault(int signal, siginfo_t* info, void* frame) {
    AllowMisalignment();
    const int error = errno;
    auto& context = *static_cast<ucontext_t*>(frame);
    const bool fault = info->si_code > 0;
    if (fault) Dump(signal, *info, context);
    const struct sigaction& earlier = EarlierOf(signal);
    if (IsFunction(earlier)) CallEarlier(signal, info, context);
    else if (fault || earlier.sa_handler == SIG_DFL) EndProcess(signal, info);
    errno = error;
}

const ThreadHook SignalStacks{&TakeSignalStack, &FreeSignalStack};

void Install() noexcept {
    if (!PrepareCore() || !PrepareThreadStop()) return;
    SetThreadHook(&SignalStacks);
    GiveSignalStacks();
    struct sigaction action {};
    action.sa_sigaction = OnFault;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_RESTART;
    sigfillset(&action.sa_mask);
    for (int signal : Faults) {
        sigaction(signal, nullptr, &EarlierOf(signal));            // before the handler can ask for it
        sigaction(signal, &action, nullptr);
    }
    s_installed = true;
}

// After the library's static destructors: the handler's code can be unmapped next.
__attribute__((destructor(101))) void Uninstall() noexcept {
    if (!s_installed) return;
    for (int signal : Faults) {
        struct sigaction current {};
        if (sigaction(signal, nullptr, &current) != 0 || current.sa_sigaction != OnFault) continue;
        sigaction(signal, &EarlierOf(signal), nullptr);
    }
    EndThreadStop();
    s_installed = false;
}

}

void SetCrashDumpPath(const char* path) noexcept {
    char* const place = s_path == s_paths[0] ? s_paths[1] : s_paths[0];
    const size_t size = std::strlen(path) + 1;
    std::memcpy(place, size <= sizeof s_paths[0] ? path : "", size <= sizeof s_paths[0] ? size : 1);   // no file has a longer one
    __atomic_store_n(&s_path, place, __ATOMIC_RELEASE);
    if (s_installed) GiveSignalStacks();
    else Install();
}

void ClearCrashDumpPath() noexcept { __atomic_store_n(&s_path, nullptr, __ATOMIC_RELEASE); }

}
