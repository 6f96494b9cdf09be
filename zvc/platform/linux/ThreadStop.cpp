#include "zvc/platform/linux/ThreadStop.h"

#include "zvc/platform/Thread.h"
#include "zvc/platform/linux/Futex.h"
#include "zvc/platform/linux/ProcFile.h"
#include "zvc/platform/linux/SignalStack.h"

#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/mman.h>

namespace zvc::platform {

namespace {

constexpr uint32_t MaximumThreads = 4096;
// Milliseconds to answer: for all threads, as each may have the signal blocked for a moment; and for those that do not block
// it, on a machine at its limit.
constexpr uint32_t FirstTime = 100;
constexpr uint32_t LastTime = 2000;
constexpr int Rounds = 8;                        // threads that are still running can start others

enum SlotState : uint32_t { Asked, Answering, Answered, GivenUp };

struct Slot {
    pid_t id;
    SlotState state;
    CoreThread thread;
};

Slot* s_slots = nullptr;
const CoreThread** s_list = nullptr;
uint32_t s_count = 0;                            // slots in use; grows while the signals are on their way
uint32_t s_answers = 0;                          // futex
uint32_t s_standing = 0;                         // futex: 0, or the number of the stop that is under way
uint32_t s_stops = 0;
struct sigaction s_previous;

pid_t CallerId() noexcept { return static_cast<pid_t>(syscall(SYS_gettid)); }

template <class T>
T Load(const T& word) noexcept {
    return __atomic_load_n(&word, __ATOMIC_ACQUIRE);
}

template <class T>
void Store(T& word, T value) noexcept {
    __atomic_store_n(&word, value, __ATOMIC_RELEASE);
}

// The number of a thread's own file, as "/proc/self/task/17/status", in text.
void ThreadFile(char (&text)[64], pid_t id, const char* name) noexcept {
    char digits[12];
    size_t count = 0;
    for (auto rest = static_cast<uint32_t>(id); rest != 0; rest /= 10) digits[count++] = static_cast<char>('0' + rest % 10);
    char* end = stpcpy(text, "/proc/self/task/");
    while (count != 0) *end++ = digits[--count];
    *end++ = '/';
    std::strcpy(end, name);
}

// Calls each(id) for every thread but the calling one.
template <class Each>
void ForEachOther(Each each) noexcept {
    struct Entry {
        uint64_t node;
        int64_t next;
        unsigned short size;
        unsigned char type;
        char name[1];
    };
    alignas(8) char entries[2048];
    const pid_t caller = CallerId();
    const int directory = open("/proc/self/task", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (directory < 0) return;
    for (long size; (size = syscall(SYS_getdents64, directory, entries, sizeof entries)) > 0;) {
        for (long at = 0; at < size;) {
            const auto* entry = reinterpret_cast<const Entry*>(entries + at);
            const char* name = entry->name;
            const auto id = static_cast<pid_t>(TakeDecimal(name));
            if (id != 0 && id != caller) each(id);
            at += entry->size;
        }
    }
    close(directory);
}

// Whoever moves a slot out of Asked, its thread or the one that stops it, fills it in.
bool Claim(Slot& slot, SlotState as) noexcept {
    SlotState asked = Asked;
    return __atomic_compare_exchange_n(&slot.state, &asked, as, false, __ATOMIC_ACQ_REL, __ATOMIC_ACQUIRE);
}

void Answer(const ucontext_t& context) noexcept {
    const uint32_t stop = Load(s_standing);
    const pid_t caller = CallerId();
    const uint32_t count = Load(s_count);
    uint32_t own = 0;
    while (own != count && s_slots[own].id != caller) ++own;
    if (stop == 0 || own == count) return;
    if (Claim(s_slots[own], Answering)) {
        CaptureThread(s_slots[own].thread, caller, 0, context);
        Store(s_slots[own].state, Answered);
        __atomic_fetch_add(&s_answers, 1, __ATOMIC_RELEASE);
        FutexWake(&s_answers);
    }
    while (Load(s_standing) == stop) FutexWait(&s_standing, stop);
}

// The signal can also bring a stack. Set from within a handler it would be lost at the handler's end, which puts back what
// the frame says; so it goes into the frame.
void OnStopSignal(int, siginfo_t* info, void* frame) {
    if (info->si_pid != getpid()) return;
    const int error = errno;
    auto& context = *static_cast<ucontext_t*>(frame);
    if (info->si_code == SI_QUEUE) {
        void* const made = info->si_value.sival_ptr;
        if ((context.uc_stack.ss_flags & SS_DISABLE) != 0) context.uc_stack = DescribeSignalStack(made);
        else FreeSignalStack(made);
    } else {
        Answer(context);
    }
    errno = error;
}

struct ThreadState {
    bool ended;
    bool deaf;                   // it keeps the signal blocked
};

ThreadState StateOf(pid_t id) noexcept {
    char path[64], buffer[2048];
    ThreadFile(path, id, "status");
    ProcFile status(path, buffer, sizeof buffer);
    ThreadState state{true, false};
    while (const char* line = status.Next()) {
        if (const char* letter = After(line, "State:\t")) state.ended = *letter == 'Z' || *letter == 'X';
        if (const char* mask = After(line, "SigBlk:\t")) state.deaf = (TakeHex(mask) >> (StopSignal() - 1) & 1) != 0;
    }
    return state;
}

// What the kernel tells of a thread that did not answer: "number arguments... stack-pointer program-counter" of the call it
// is in. A thread that runs gets a record without registers, so that it is seen at all.
void AskKernel(Slot& slot) noexcept {
    char path[64], buffer[512];
    ThreadFile(path, slot.id, "syscall");
    ProcFile file(path, buffer, sizeof buffer);
    const char* line = file.Next();
    user_regs_struct registers{};
    registers.orig_rax = ~0ull;
    if (line != nullptr && *line != 'r') {
        const char* word[2] = {line, line};
        for (const char* at = line; *at != 0; ++at) {
            if (*at != ' ') continue;
            word[0] = word[1];
            word[1] = at + 1;
        }
        for (const char*& at : word)
            if (const char* digits = After(at, "0x")) at = digits;
        registers.rsp = TakeHex(word[0]);
        registers.rip = TakeHex(word[1]);
        registers.cs = 0x33;
        registers.ss = 0x2B;
    }
    std::memset(&slot.thread, 0, sizeof slot.thread);
    std::memcpy(&slot.thread.status.pr_reg, &registers, sizeof registers);
    slot.thread.status.pr_pid = slot.id;
}

void SignalNewThreads() noexcept {
    ForEachOther([](pid_t id) {
        uint32_t count = s_count;
        for (uint32_t i = 0; i != count; ++i)
            if (s_slots[i].id == id) return;
        if (count == MaximumThreads || StateOf(id).ended) return;
        s_slots[count].id = id;
        s_slots[count].state = Asked;
        Store(s_count, count + 1);
        syscall(SYS_tgkill, getpid(), id, StopSignal());
    });
}

// True when all but so many have answered in time.
bool WaitForAnswers(uint32_t but, const timespec* deadline) noexcept {
    for (uint32_t answers; (answers = Load(s_answers)) + but < s_count;)
        if (FutexWait(&s_answers, answers, deadline) < 0 && errno == ETIMEDOUT) return false;
    return true;
}

uint32_t CountDeafThreads() noexcept {
    uint32_t count = 0;
    for (uint32_t i = 0; i != s_count; ++i)
        if (Load(s_slots[i].state) == Asked && StateOf(s_slots[i].id).deaf) ++count;
    return count;
}

}

bool PrepareThreadStop() noexcept {
    const auto reserve = [](size_t size) {
        void* const memory = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        return memory == MAP_FAILED ? nullptr : memory;
    };
    if (s_slots == nullptr) s_slots = static_cast<Slot*>(reserve(MaximumThreads * sizeof(Slot)));
    if (s_list == nullptr) s_list = static_cast<const CoreThread**>(reserve(MaximumThreads * sizeof(CoreThread*)));
    if (s_slots == nullptr || s_list == nullptr) return false;
    struct sigaction action {};
    action.sa_sigaction = OnStopSignal;
    action.sa_flags = SA_SIGINFO | SA_RESTART | SA_ONSTACK;
    sigfillset(&action.sa_mask);
    return sigaction(StopSignal(), &action, &s_previous) == 0;
}

void EndThreadStop() noexcept {
    struct sigaction current {};
    if (sigaction(StopSignal(), nullptr, &current) != 0 || current.sa_sigaction != OnStopSignal) return;
    signal(StopSignal(), SIG_IGN);                                 // drops those that have not arrived, which could end the process
    sigaction(StopSignal(), &s_previous, nullptr);
}

size_t StopThreads(int signal, const ucontext_t& context, const CoreThread* const*& threads) noexcept {
    s_slots[0].id = CallerId();
    CaptureThread(s_slots[0].thread, s_slots[0].id, signal, context);
    Store(s_slots[0].state, Answered);
    Store(s_answers, 1u);
    Store(s_count, 1u);
    if (++s_stops == 0) ++s_stops;
    Store(s_standing, s_stops);
    timespec first, last;
    Deadline(FirstTime, first);
    Deadline(LastTime, last);
    for (int round = 0; round != Rounds; ++round) {
        const uint32_t before = s_count;
        SignalNewThreads();
        if (s_count == before) break;
        if (!WaitForAnswers(0, &first)) WaitForAnswers(CountDeafThreads(), &last);
    }
    for (uint32_t i = 0; i != s_count; ++i) {
        if (Claim(s_slots[i], GivenUp)) AskKernel(s_slots[i]);
        while (Load(s_slots[i].state) == Answering) YieldOnce();
        s_list[i] = &s_slots[i].thread;
    }
    threads = s_list;
    return s_count;
}

void ReleaseThreads() noexcept {
    Store(s_standing, 0u);
    FutexWake(&s_standing);
}

void GiveSignalStacks() noexcept {
    TakeSignalStack();
    ForEachOther([](pid_t id) {
        void* const made = MakeSignalStack();
        if (made == nullptr) return;
        siginfo_t info{};
        info.si_signo = StopSignal();
        info.si_code = SI_QUEUE;
        info.si_pid = getpid();
        info.si_uid = getuid();
        info.si_value.sival_ptr = made;
        if (syscall(SYS_rt_tgsigqueueinfo, getpid(), id, StopSignal(), &info) != 0) FreeSignalStack(made);
    });
}

}
