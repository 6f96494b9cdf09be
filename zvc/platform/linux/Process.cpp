#include "zvc/platform/Process.h"

#include "zvc/platform/CriticalSection.h"
#include "zvc/platform/Thread.h"
#include "zvc/platform/linux/Descriptor.h"
#include "zvc/platform/linux/Futex.h"
#include "zvc/platform/linux/Object.h"
#include "zvc/platform/linux/ProcFile.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <spawn.h>
#include <sys/eventfd.h>
#include <sys/syscall.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zvc::platform {

namespace {

/// When a process began, in the system's ticks; 0 when there is none, or nobody can tell.
uint64_t StartOf(pid_t process) noexcept {
    char path[32], buffer[512];
    std::snprintf(path, sizeof path, "/proc/%d/stat", process);
    ProcFile file(path, buffer, sizeof buffer);
    const char* at = file.Next();
    if (at != nullptr) at = std::strrchr(at, ')');      // its name may hold anything
    for (int field = 2; at != nullptr && field < 22; ++field) at = std::strchr(at + 1, ' ');
    return at != nullptr ? TakeDecimal(++at) : 0;
}

class ProcessObject;
CriticalSection s_section;                              // of the list
ProcessObject* s_first = nullptr;                       // all whose watchers have work
Handle s_last = nullptr;                                // the watcher that was done last: it may be on its way out still
uint32_t s_unloading = 0;                               // futex: 1 once nobody can wait for a child any more

/// How long a dead child stays in the system's table for a host that waits for it by its number, in milliseconds.
constexpr uint32_t TimeToCollect = 2000;

/// A child, and the thread that waits for its end and collects it: a dead child must not stay in the system's table until
/// somebody asks, and a signal handler or a wait for any child would take the host's own children away from it. The end is
/// told at once and collected a while later, for the host may wait for this child by itself, as for any other.
class ProcessObject final : public Object {
public:
    ProcessObject() noexcept : Object(ObjectKind::Process), m_owner(getpid()) {}
    static bool Is(ObjectKind kind) noexcept { return kind == ObjectKind::Process; }

    /// Starts the watcher, which then waits for Begin.
    bool Watch() noexcept;

    /// The child runs, or there is none (0). Releases the watcher.
    void Begin(pid_t process) noexcept {
        m_process = process;
        Publish(process == 0 ? Ended : Running);
    }

    WaitResult Wait(uint32_t timeout) noexcept override;
    uint32_t ExitCode() const noexcept { return Now() == Ended ? m_code : ProcessStillActive; }
    bool Kill(uint32_t code) noexcept;
    int EndDescriptor() noexcept;

    /// Ends the watchers, for this code is going to be unmapped.
    static void EndWatchers() noexcept;

private:
    enum State : uint32_t { Preparing, Running, Ended };
    ~ProcessObject() override = default;

    State Now() const noexcept { return static_cast<State>(__atomic_load_n(&m_state, __ATOMIC_ACQUIRE)); }
    void Publish(State state) noexcept {
        __atomic_store_n(&m_state, static_cast<uint32_t>(state), __ATOMIC_RELEASE);
        FutexWake(&m_state);
    }
    static uint32_t Watcher(void* process) noexcept;
    void AwaitEnd() noexcept;
    void Tell(const siginfo_t* end) noexcept;
    void Collect() noexcept;
    void Leave() noexcept;
    uint32_t CodeOf(const siginfo_t& end) const noexcept;
    void Enlist() noexcept;
    bool Delist() noexcept;

    const pid_t m_owner;
    pid_t m_process = 0;
    uint32_t m_state = Preparing;
    uint32_t m_code = 0;
    uint32_t m_killCode = 0;
    bool m_killed = false;
    bool m_dead = false;                                // has ended, and is not collected yet
    uint64_t m_start = 0;                               // when the child began: tells it from a later one of its number
    CriticalSection m_section;                          // a killer must not meet the number of a process that was collected
    Handle m_watcher = nullptr;
    ProcessObject* m_next = nullptr;
};

void ProcessObject::Enlist() noexcept {
    SectionLock lock(s_section);
    m_next = s_first;
    s_first = this;
}

/// False when it is not in the list: whoever took it out sees to the watcher.
bool ProcessObject::Delist() noexcept {
    ProcessObject** link = &s_first;
    while (*link != nullptr && *link != this) link = &(*link)->m_next;
    if (*link == nullptr) return false;
    *link = m_next;
    return true;
}

// The host's signals are no business of the watcher's.
bool ProcessObject::Watch() noexcept {
    Retain();                                           // the watcher's reference
    Enlist();
    sigset_t all, old;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &old);
    m_watcher = ThreadCreate(&Watcher, this, nullptr);
    pthread_sigmask(SIG_SETMASK, &old, nullptr);
    if (m_watcher != nullptr) return true;
    SectionLock lock(s_section);
    if (Delist()) Release();
    return false;
}

uint32_t ProcessObject::Watcher(void* process) noexcept {
    auto* const self = static_cast<ProcessObject*>(process);
    while (self->Now() == Preparing) FutexWait(&self->m_state, Preparing);
    if (self->Now() == Running) self->AwaitEnd();
    self->Leave();
    return 0;
}

void ProcessObject::AwaitEnd() noexcept {
    siginfo_t end{};
    int failed;
    do failed = waitid(P_PID, static_cast<id_t>(m_process), &end, WEXITED | WNOWAIT);
    while (failed != 0 && errno == EINTR);
    Tell(failed == 0 ? &end : nullptr);
    timespec at;
    const timespec* const limit = Deadline(TimeToCollect, at);
    while (m_dead && __atomic_load_n(&s_unloading, __ATOMIC_ACQUIRE) == 0)
        if (FutexWait(&s_unloading, 0, limit) < 0 && errno == ETIMEDOUT) break;
}

// Without an end somebody else has collected it.
void ProcessObject::Tell(const siginfo_t* end) noexcept {
    Region region;
    SectionLock lock(m_section);
    m_dead = end != nullptr;
    m_start = StartOf(m_process);
    m_code = m_dead ? CodeOf(*end) : ProcessCodeUnknown;
    Publish(Ended);
}

// The number may be another child's as soon as the host has collected this one.
void ProcessObject::Collect() noexcept {
    siginfo_t end;
    if (m_dead && StartOf(m_process) == m_start) waitid(P_PID, static_cast<id_t>(m_process), &end, WEXITED | WNOHANG);
    m_dead = false;
}

// Nobody joins a watcher but the next one to leave, and the last is joined before this code goes: so no stack is kept, and
// no thread runs where nothing is mapped any more.
void ProcessObject::Leave() noexcept {
    Region region;
    Collect();
    Handle previous;
    {
        SectionLock lock(s_section);
        if (!Delist()) return;
        previous = s_last;
        s_last = m_watcher;
    }
    WaitForHandle(previous, Infinite);
    CloseHandle(previous);
    Release();
}

uint32_t ProcessObject::CodeOf(const siginfo_t& end) const noexcept {
    if (end.si_code == CLD_EXITED) return static_cast<uint32_t>(end.si_status);
    if (m_killed && end.si_status == SIGKILL) return m_killCode;
    return 128 + static_cast<uint32_t>(end.si_status);
}

WaitResult ProcessObject::Wait(uint32_t timeout) noexcept {
    if (m_owner != getpid()) return WaitResult::Failed;       // after a fork: it is nobody's child here
    timespec at;
    const timespec* const deadline = timeout == 0 ? nullptr : Deadline(timeout, at);
    for (;;) {
        const State now = Now();
        if (now == Ended) return WaitResult::Signalled;
        if (timeout == 0) return WaitResult::TimedOut;
        if (FutexWait(&m_state, now, deadline) < 0 && errno == ETIMEDOUT && Now() != Ended) return WaitResult::TimedOut;
    }
}

bool ProcessObject::Kill(uint32_t code) noexcept {
    Region region;
    SectionLock lock(m_section);
    if (m_owner != getpid() || Now() != Running) return false;
    if (!m_killed) m_killCode = code;
    m_killed = true;
    return kill(m_process, SIGKILL) == 0;
}

// While the section is held the number is not given to another process.
int ProcessObject::EndDescriptor() noexcept {
    SectionLock lock(m_section);
    if (m_owner != getpid()) return -1;
    return Now() == Ended ? eventfd(1, EFD_CLOEXEC) : static_cast<int>(syscall(SYS_pidfd_open, m_process, 0));
}

// Those whose children live on are ended, the others go by themselves.
void ProcessObject::EndWatchers() noexcept {
    __atomic_store_n(&s_unloading, 1u, __ATOMIC_RELEASE);
    FutexWake(&s_unloading);
    for (;;) {
        ProcessObject* first;
        {
            SectionLock lock(s_section);
            first = s_first;
            if (first == nullptr) break;
            s_first = first->m_next;
        }
        if (first->Now() != Ended) ThreadKill(first->m_watcher, 0);
        WaitForHandle(first->m_watcher, Infinite);
        CloseHandle(first->m_watcher);
        first->Collect();
        first->Release();
    }
    WaitForHandle(s_last, Infinite);
    CloseHandle(s_last);
}

__attribute__((destructor(102))) void EndWatchers() noexcept { ProcessObject::EndWatchers(); }

/// The child's three streams as descriptors of this process, above the numbers they get in the child.
class Streams {
public:
    explicit Streams(const ProcessStart& start) noexcept
        : m_descriptors{DuplicateDescriptor(start.input), DuplicateDescriptor(start.output), DuplicateDescriptor(start.error)} {}
    ~Streams() {
        for (const int descriptor : m_descriptors)
            if (descriptor >= 0) close(descriptor);
    }
    Streams(const Streams&) = delete;
    Streams& operator=(const Streams&) = delete;

    /// A closed descriptor would be given to the first file that the child opens: hence the null device.
    void AddTo(posix_spawn_file_actions_t* actions) const noexcept {
        for (int i = 0; i < 3; ++i) {
            if (m_descriptors[i] >= 0) posix_spawn_file_actions_adddup2(actions, m_descriptors[i], i);
            else posix_spawn_file_actions_addopen(actions, i, "/dev/null", i == 0 ? O_RDONLY : O_WRONLY, 0);
        }
        posix_spawn_file_actions_addclosefrom_np(actions, 3);
    }

private:
    int m_descriptors[3];
};

/// What every child is started with.
class Spawner {
public:
    explicit Spawner(const Streams& streams) noexcept {
        posix_spawn_file_actions_init(&m_actions);
        streams.AddTo(&m_actions);
        posix_spawnattr_init(&m_attributes);
        sigset_t none, all;
        sigemptyset(&none);
        sigfillset(&all);
        posix_spawnattr_setsigmask(&m_attributes, &none);
        posix_spawnattr_setsigdefault(&m_attributes, &all);
        posix_spawnattr_setflags(&m_attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    ~Spawner() {
        posix_spawnattr_destroy(&m_attributes);
        posix_spawn_file_actions_destroy(&m_actions);
    }
    Spawner(const Spawner&) = delete;
    Spawner& operator=(const Spawner&) = delete;

    /// 0 or the error number. With search the program is looked for in PATH when it is a bare name.
    int Spawn(const char* program, const std::vector<std::string>& words, bool search, pid_t* process) const {
        std::vector<char*> arguments;
        for (const std::string& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
        arguments.push_back(nullptr);
        const auto spawn = search ? posix_spawnp : posix_spawn;
        return spawn(process, program, &m_actions, &m_attributes, arguments.data(), environ);
    }

    /// A command line alone says what to start. A name with blanks that is not quoted is tried from its shortest form on.
    int SpawnLine(const char* line, const std::vector<std::string>& words, pid_t* process) const {
        int error = Spawn(words[0].c_str(), words, true, process);
        if (line[0] == '"') return error;
        const std::string all = line;
        for (size_t i = 0; error == ENOENT && i < all.size(); ++i) {
            const size_t blank = all.find_first_of(" \t", i);
            if (blank != i) error = Spawn(all.substr(0, blank).c_str(), words, false, process);
            if (blank == std::string::npos) break;
            i = blank;
        }
        return error;
    }

private:
    posix_spawn_file_actions_t m_actions;
    posix_spawnattr_t m_attributes;
};

/// 0 or the error number.
int SpawnStart(const ProcessStart& start, pid_t* process) {
    std::vector<std::string> words = SplitCommandLine(start.commandLine);
    if (words.empty() && start.program == nullptr) return ENOENT;
    if (words.empty()) words.push_back(start.program);
    const Streams streams(start);
    const Spawner spawner(streams);
    return start.program != nullptr ? spawner.Spawn(start.program, words, false, process)
                                    : spawner.SpawnLine(start.commandLine, words, process);
}

/// Runs spawn, which answers 0 or an error number, with somebody there to watch what it started.
template <class F>
int Launch(ProcessInfo* info, F spawn) noexcept {
    *info = {};
    auto* object = new (std::nothrow) ProcessObject;
    if (object == nullptr) return ENOMEM;
    object->Retain();                                   // both handles, and the work here
    object->Retain();
    const Handle process = EnterObject(object);
    const Handle thread = EnterObject(object);
    pid_t id = 0;
    int error = ENOMEM;
    if (process != nullptr && thread != nullptr && object->Watch()) {
        try {
            error = spawn(&id);
        } catch (const std::bad_alloc&) {}
        object->Begin(error == 0 ? id : 0);
    }
    if (error == 0) {
        *info = {process, thread, static_cast<uint32_t>(id), static_cast<uint32_t>(id)};
    } else {
        process != nullptr ? static_cast<void>(CloseHandle(process)) : object->Release();
        thread != nullptr ? static_cast<void>(CloseHandle(thread)) : object->Release();
    }
    object->Release();
    return error;
}

constexpr uintptr_t ShellSuccess = 42, ShellNotFound = 2, ShellNoOpener = 31;

/// Starts words[0], found in PATH when it is a bare name. 0 or the error number.
int LaunchWords(const std::vector<std::string>& words) noexcept {
    ProcessInfo info;
    const int error = Launch(&info, [&](pid_t* id) {
        const Streams none(ProcessStart{});
        return Spawner(none).Spawn(words[0].c_str(), words, true, id);
    });
    CloseHandle(info.process);
    CloseHandle(info.thread);
    return error;
}

/// Characters up to a blank outside quotes; backslashes stand for themselves.
std::string FirstWord(const char*& at) {
    std::string word;
    for (bool quoted = false; *at != '\0' && (quoted || (*at != ' ' && *at != '\t')); ++at) {
        if (*at == '"') quoted = !quoted;
        else word += *at;
    }
    return word;
}

std::string NextWord(const char*& at) {
    std::string word;
    for (bool quoted = false;;) {
        const size_t backslashes = std::strspn(at, "\\");
        at += backslashes;
        if (*at != '"') {
            word.append(backslashes, '\\');
            if (*at == '\0' || (!quoted && (*at == ' ' || *at == '\t'))) return word;
            word += *at++;
            continue;
        }
        word.append(backslashes / 2, '\\');
        if (backslashes % 2 == 1) {
            word += '"';
        } else if (quoted && at[1] == '"') {
            word += '"';
            ++at;
        } else {
            quoted = !quoted;
        }
        ++at;
    }
}

}

std::vector<std::string> SplitCommandLine(const char* commandLine) {
    std::vector<std::string> words;
    const char* at = commandLine;
    if (at == nullptr || *at == '\0') return words;
    words.push_back(FirstWord(at));
    for (;;) {
        at += std::strspn(at, " \t");
        if (*at == '\0') return words;
        words.push_back(NextWord(at));
    }
}

bool ProcessCreate(const ProcessStart& start, ProcessInfo* info) noexcept {
    return Launch(info, [&](pid_t* id) { return SpawnStart(start, id); }) == 0;
}

bool ProcessExitCode(Handle handle, uint32_t* code) noexcept {
    Use<ProcessObject> process(handle);
    if (process) *code = process->ExitCode();
    return static_cast<bool>(process);
}

int ProcessEndDescriptor(Handle process) noexcept {
    Use<ProcessObject> object(process);
    return object ? object->EndDescriptor() : -1;
}

bool ProcessKill(Handle handle, uint32_t code) noexcept {
    Use<ProcessObject> process(handle);
    return process && process->Kill(code);
}

uint32_t CurrentProcessId() noexcept { return static_cast<uint32_t>(getpid()); }

uintptr_t ShellOpen(const char* file) noexcept try {
    struct stat status;
    const bool present = stat(file, &status) == 0;
    if (!present && std::strchr(file, '/') != nullptr) return ShellNotFound;
    const bool isProgram = !present || (S_ISREG(status.st_mode) && access(file, X_OK) == 0);
    // A program of this directory goes before one of that name in PATH.
    const std::string path = present && std::strchr(file, '/') == nullptr ? std::string("./") + file : file;
    const int error = isProgram ? LaunchWords({path}) : LaunchWords({"xdg-open", path});
    if (error == 0) return ShellSuccess;
    return isProgram && error == ENOENT ? ShellNotFound : ShellNoOpener;
} catch (const std::bad_alloc&) {
    return ShellNoOpener;
}

}
