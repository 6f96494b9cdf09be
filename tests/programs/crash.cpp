// Crashes: crash PATH KIND [WHERE] [OPTION...]. PATH is where the dump goes, "-" for none. Compiled without optimisation, so that
// a debugger finds the functions and the variables.

#include <zvc/platform/Event.h>
#include <zvc/platform/Thread.h>
#include <zvc/zvc.h>

#include <atomic>
#include <cfenv>
#include <csetjmp>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <link.h>
#include <mutex>
#include <pthread.h>
#include <set>
#include <string>
#include <sys/mman.h>
#include <thread>
#include <unistd.h>

#define CRASHES __attribute__((noinline, no_sanitize("undefined", "address", "thread")))

ZV_MODULE("crash", nullptr, nullptr)

thread_local int t_mark = 0;

namespace {

std::set<std::string>& s_options = *new std::set<std::string>;      // never destroyed
std::string s_kind;
int* volatile s_null = nullptr;
volatile int s_zero = 0;
std::atomic<int> s_waiting{0};
std::atomic<int> s_ended{0};
std::atomic<bool> s_spin{true};
int s_pipe[2];
std::mutex s_mutex;
volatile int s_sink = 0;
sigjmp_buf s_back;

bool Has(const char* option) { return s_options.count(option) != 0; }

CRASHES int OverflowTheStack(int depth) {
    volatile char room[2000];
    room[0] = static_cast<char>(depth);
    if (depth < 0) return 0;
    return OverflowTheStack(depth + 1) + room[static_cast<size_t>(depth) % sizeof room];
}

CRASHES void TouchBehindTheFile() {
    char name[] = "/tmp/zvc-crash-XXXXXX";
    const int file = mkstemp(name);
    unlink(name);
    if (ftruncate(file, 4096) != 0) return;
    auto* bytes = static_cast<volatile char*>(mmap(nullptr, 8192, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0));
    bytes[4096] = 1;
}

CRASHES void DivideNumbers() {
    feenableexcept(FE_DIVBYZERO);                    // only then it is a fault
    volatile double quotient = 1;
    quotient = quotient / s_zero;
}

// A freed block whose link back is broken: the allocator falls over it while it holds its own lock.
CRASHES void CrashInTheAllocator() {
    void* const block = std::malloc(2000);
    void* volatile between = std::malloc(2000);
    auto* volatile links = static_cast<void* volatile*>(block);
    std::free(block);
    links[1] = reinterpret_cast<void*>(16);
    void* volatile crashing = std::malloc(3000);
    s_sink = between == crashing;
}

CRASHES void InnermostCrash(int localValue) {
    volatile double localNumber = localValue + 0.25;
    const char* localText = "text of the crashing function";
    if (s_kind == "null") *s_null = static_cast<int>(localNumber);
    else if (s_kind == "read") s_sink = *s_null;
    else if (s_kind == "divide") s_sink = localValue / s_zero;
    else if (s_kind == "illegal") __asm__ volatile("ud2");
    else if (s_kind == "privileged") __asm__ volatile("hlt");
    else if (s_kind == "breakpoint") __asm__ volatile("int3");
    else if (s_kind == "bus") TouchBehindTheFile();
    else if (s_kind == "jump") reinterpret_cast<void (*)()>(0x1234)();
    else if (s_kind == "readonly") const_cast<volatile char*>(localText)[0] = 'T';
    else if (s_kind == "misaligned") __asm__ volatile("pushf; orl $0x40000, (%%rsp); popf; movl $1, 1(%0)" : : "r"(&localNumber) : "memory");
    else if (s_kind == "overflow") OverflowTheStack(0);
    else if (s_kind == "float") DivideNumbers();
    else if (s_kind == "step") __asm__ volatile("pushf; orl $0x100, (%%rsp); popf; nop" : : : "memory");
    else if (s_kind == "vector") __asm__ volatile("movq %0, %%xmm5; punpcklqdq %%xmm5, %%xmm5; ud2" : : "r"(0x123456789ABCDEF0LL) : "xmm5");
    else if (s_kind == "allocator") CrashInTheAllocator();
    else if (s_kind == "abort") std::abort();
    else if (s_kind == "terminate") throw std::string("nobody catches this");
    else if (s_kind == "raise") raise(SIGSEGV);
    else if (s_kind == "kill") kill(getpid(), SIGILL);
    else if (s_kind == "term") kill(getpid(), SIGTERM);
    s_sink = localText[0];
}

CRASHES void CallTheCrash(int value) {
    InnermostCrash(value);
    s_sink = value;
}

// What the other threads are in when the process crashes.
CRASHES void WaitInARead() {
    char byte;
    ++s_waiting;
    s_sink = static_cast<int>(read(s_pipe[0], &byte, 1));
}
CRASHES void WaitForAMutex() {
    ++s_waiting;
    s_mutex.lock();
    ++s_ended;
}
CRASHES void SpinForEver() {
    ++s_waiting;
    while (s_spin) {}
    ++s_ended;
}
CRASHES void BlockAllSignals() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, nullptr);
    WaitInARead();
}
CRASHES void StandSuspended() {
    ++s_waiting;
    while (s_spin) {}
}

// Threads that hold what a careless handler would wait for: the loader's lock, and those of the standard streams.
CRASHES int StandInTheLoader(dl_phdr_info*, size_t, void*) {
    for (++s_waiting;;) zvc::platform::SleepFor(1000);
}
CRASHES void HoldTheStreams() {
    flockfile(stdout);
    flockfile(stderr);
    for (++s_waiting;;) zvc::platform::SleepFor(1000);
}
void TakeLocks() {
    std::thread([] { dl_iterate_phdr(StandInTheLoader, nullptr); }).detach();
    std::thread(HoldTheStreams).detach();
    while (s_waiting != 2) zvc::platform::SleepFor(1);
}

uint32_t CrashOnThread(void*) {
    t_mark = 77;
    CallTheCrash(4711);
    return 0;
}

void SayAndLeave(int) {
    std::printf("earlier handler\n");
    std::fflush(stdout);
    _exit(42);
}

void SayAndRecover(int, siginfo_t* info, void*) {
    std::printf("earlier handler %d\n", info->si_code);
    std::fflush(stdout);
    siglongjmp(s_back, 1);
}

void SayAndReset(int signal) {
    std::printf("earlier handler\n");
    std::fflush(stdout);
    std::signal(signal, SIG_DFL);
}

void SayAndGoOn(int) {
    std::printf("earlier handler\n");
    std::fflush(stdout);
}

void InstallEarlier() {
    struct sigaction action {};
    if (Has("leave")) action.sa_handler = SayAndLeave;
    else if (Has("reset")) action.sa_handler = SayAndReset;
    else if (Has("goon")) action.sa_handler = SayAndGoOn;
    else if (Has("once")) action.sa_handler = SayAndGoOn, action.sa_flags = static_cast<int>(SA_RESETHAND);
    else if (Has("ignore")) action.sa_handler = SIG_IGN;
    else if (Has("recover")) action.sa_sigaction = SayAndRecover, action.sa_flags = SA_SIGINFO;
    else return;
    for (int signal : {SIGSEGV, SIGILL}) sigaction(signal, &action, nullptr);
}

void StartOthers() {
    if (!Has("others")) return;
    if (pipe(s_pipe) != 0) std::exit(3);
    s_mutex.lock();
    std::thread(WaitInARead).detach();
    std::thread(WaitForAMutex).detach();
    std::thread(SpinForEver).detach();
    std::thread(BlockAllSignals).detach();
    const zvc::platform::Handle suspended = zvc::platform::ThreadCreate([](void*) { return StandSuspended(), 0u; }, nullptr, nullptr);
    while (s_waiting != 5) zvc::platform::SleepFor(1);
    zvc::platform::SleepFor(20);                     // until those that wait are in the kernel
    zvc::platform::ThreadSuspend(suspended);
}

// Memory that is to be dumped, memory that is not, and memory that nobody has touched.
char* s_kept = nullptr;
char* s_secret = nullptr;
char* s_untouched = nullptr;

char* MakePages(const char* text, const char* more) {
    auto* pages = static_cast<char*>(mmap(nullptr, 65536, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    if (text != nullptr) std::strcat(std::strcpy(pages, text), more);
    return pages;
}

void KeepASecret() {
    s_kept = MakePages("kept ", "in the image");
    MakePages(nullptr, nullptr);
    s_secret = MakePages("marked ", "as secret");
    madvise(s_secret, 65536, MADV_DONTDUMP);
    s_untouched = MakePages(nullptr, nullptr);
}

void StartAHundred() {
    if (pipe(s_pipe) != 0) std::exit(3);
    for (int i = 0; i != 100; ++i) std::thread(WaitInARead).detach();
    while (s_waiting != 100) zvc::platform::SleepFor(1);
}

// After a fault that was survived: the spinning thread ends, the waiting one comes through.
void SeeTheOthersGoOn() {
    s_spin = false;
    s_mutex.unlock();
    for (int i = 0; i != 1000 && s_ended != 2; ++i) zvc::platform::SleepFor(5);
    std::printf(s_ended == 2 ? "the others go on\n" : "the others stand still\n");
}

void RunOnThread() {
    const zvc::platform::Handle thread = zvc::platform::ThreadCreate(CrashOnThread, nullptr, nullptr);
    zvc::platform::WaitForHandle(thread, zvc::platform::Infinite);
}

// Crashes as the library's threads do, on a thread that was there before the path was set.
void RunOnEarlierThread(const char* path) {
    std::atomic<bool> ready{false};
    std::thread thread([&] {
        while (!ready) zvc::platform::YieldOnce();
        CrashOnThread(nullptr);
    });
    ZvSystem::SetDumpPath(path);
    ready = true;
    thread.join();
}

// Two threads fault at once: one of them is dumped, and the other one stands in it.
void RunOnTwoThreads() {
    std::atomic<int> ready{0};
    const auto run = [&] {
        ++ready;
        while (ready != 2) {}
        CrashOnThread(nullptr);
    };
    std::thread a(run), b(run);
    a.join();
    b.join();
}

struct CrashAtExit {
    ~CrashAtExit() {
        if (Has("static")) CallTheCrash(4711);
    }
} s_crashAtExit;

// Called behind all static destructors, those of the library among them: what is registered first comes last.
CRASHES void CrashBehindTheLibrary(void*) {
    if (Has("late")) *s_null = 1;
}

extern "C" int __cxa_atexit(void (*)(void*), void*, void*);
void RegisterFirst() { __cxa_atexit(CrashBehindTheLibrary, nullptr, nullptr); }
__attribute__((section(".preinit_array"), used)) void (*s_registerFirst)() = &RegisterFirst;

}

int main(int argc, char** argv) {
    if (argc < 3) return 2;
    const std::string path = argv[1], where = argc > 3 ? argv[3] : "main";
    s_kind = argv[2];
    for (int i = 4; i < argc; ++i) s_options.insert(argv[i]);
    t_mark = 7;
    InstallEarlier();
    if (path != "-" && where != "earlier") ZvSystem::SetDumpPath(path.c_str());
    if (Has("null")) ZvSystem::SetDumpPath(nullptr);
    if (Has("again")) ZvSystem::SetDumpPath((path + ".again").c_str());
    if (Has("hundred")) StartAHundred();
    if (Has("secret")) KeepASecret();
    if (Has("locked")) TakeLocks();
    StartOthers();
    if (Has("log")) {
        ZvOpenLog((path + ".log").c_str());
        ZvLogPrintf("first record\n");
        ZvLog("file.cpp", "Function", 12, "second %s\n", "record");
    }
    if (Has("recover") && sigsetjmp(s_back, 1) != 0) {
        std::printf("recovered\n");
        if (Has("others")) SeeTheOthersGoOn();
        std::fflush(stdout);
        _exit(5);
    }
    if (where == "thread") RunOnThread();
    else if (where == "foreign") std::thread([] { CrashOnThread(nullptr); }).join();
    else if (where == "earlier") RunOnEarlierThread(path.c_str());
    else if (where == "two") RunOnTwoThreads();
    else if (where == "calling") std::thread([&] { ZvSystem::SetDumpPath(path.c_str()), CrashOnThread(nullptr); }).join();
    else if (where == "main") CallTheCrash(4711);
    else if (where == "orphan") {                     // the first thread is gone already
        std::thread([] {
            zvc::platform::SleepFor(50);
            CrashOnThread(nullptr);
        }).detach();
        pthread_exit(nullptr);
    }
    std::printf("survived\n");
    std::fflush(stdout);
    return 6;
}
