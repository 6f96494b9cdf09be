#include "zvc/platform/Process.h"

#include "support/Child.h"
#include "support/Sanitizers.h"
#include "zvc/platform/File.h"
#include "zvc/platform/Pipe.h"
#include "zvc/platform/Thread.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <dirent.h>
#include <filesystem>
#include <fstream>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace zvc::platform;

namespace {

class Started {
public:
    explicit Started(const std::string& words) {
        const std::string program = Beside("child"), line = "child " + words;
        ProcessStart start;
        start.program = program.c_str();
        start.commandLine = line.c_str();
        EXPECT_TRUE(ProcessCreate(start, &info));
    }
    ~Started() {
        ProcessKill(info.process, 1);
        CloseHandle(info.process);
        CloseHandle(info.thread);
    }
    uint32_t Code() const {
        uint32_t code = 0;
        EXPECT_TRUE(ProcessExitCode(info.process, &code));
        return code;
    }
    uint32_t End() const {
        EXPECT_EQ(WaitForHandle(info.process, Infinite), WaitResult::Signalled);
        return Code();
    }
    ProcessInfo info;
};

// The state letter in the system's table; '-' when there is no such process.
char StateOf(uint32_t process) {
    std::ifstream in("/proc/" + std::to_string(process) + "/stat");
    std::string text;
    std::getline(in, text);
    const size_t bracket = text.rfind(')');
    return bracket == std::string::npos ? '-' : text[bracket + 2];
}

size_t OpenDescriptors() {
    size_t count = 0;
    DIR* directory = opendir("/proc/self/fd");
    while (readdir(directory) != nullptr) ++count;
    closedir(directory);
    return count;
}

bool Create(const char* program, const char* line, ProcessInfo* info) {
    ProcessStart start;
    start.program = program;
    start.commandLine = line;
    return ProcessCreate(start, info);
}

bool StartsAndEndsWell(const char* program, const char* line) {
    ProcessInfo info;
    uint32_t code = 1;
    return Create(program, line, &info) && WaitForHandle(info.process, Infinite) == WaitResult::Signalled &&
           ProcessExitCode(info.process, &code) && code == 0;
}

}

TEST(Process, CommandLinesAreSplitIntoWords) {
    struct Row {
        const char* line;
        std::vector<std::string> words;
    };
    const Row rows[] = {
        {nullptr, {}},
        {"", {}},
        {"a", {"a"}},
        {"a b  c\td ", {"a", "b", "c", "d"}},
        {" a", {"", "a"}},                                    // a blank in front: the first word is empty
        {R"("a b" c)", {"a b", "c"}},
        {R"(a"b c"d e)", {"ab cd", "e"}},
        {R"(c:\dir\a b)", {R"(c:\dir\a)", "b"}},
        {R"("c:\dir\" x)", {R"(c:\dir\)", "x"}},              // no escapes in the first word
        {R"(p a\b\\c)", {"p", R"(a\b\\c)"}},                  // backslashes not in front of a quote stand as they are
        {R"(p \"x)", {"p", R"("x)"}},
        {R"(p \\"x y")", {"p", R"(\x y)"}},
        {R"(p \\\"x)", {"p", R"(\"x)"}},
        {R"(p \\\\"x y")", {"p", R"(\\x y)"}},
        {R"(p "a ""b"" c" d)", {"p", R"(a "b" c)", "d"}},
        {R"(p "" x)", {"p", "", "x"}},
        {R"(p "a\\" b)", {"p", R"(a\)", "b"}},
        {R"(p "open end)", {"p", "open end"}},
        {R"(p a"b"c"d e")", {"p", "abcd e"}},
    };
    for (const Row& row : rows) EXPECT_EQ(SplitCommandLine(row.line), row.words) << (row.line ? row.line : "null");
}

TEST(Process, EndsWithItsExitCode) {
    for (const uint32_t code : {0u, 1u, 7u, 255u}) EXPECT_EQ(Started("code " + std::to_string(code)).End(), code);
}

TEST(Process, EndBySignalIsTheSignalAnd128) {
    EXPECT_EQ(Started("die 15").End(), 128u + SIGTERM);
    EXPECT_EQ(Started("die 9").End(), 128u + SIGKILL);
}

TEST(Process, IsStillActiveUntilItsEndAndThenAsItWasKilled) {
    const Started child("sleep");
    EXPECT_EQ(child.Code(), ProcessStillActive);
    EXPECT_EQ(WaitForHandle(child.info.process, 0), WaitResult::TimedOut);
    EXPECT_EQ(WaitForHandle(child.info.process, 20), WaitResult::TimedOut);
    EXPECT_TRUE(ProcessKill(child.info.process, 1234));
    EXPECT_EQ(child.End(), 1234u);
    EXPECT_FALSE(ProcessKill(child.info.process, 5));
    EXPECT_EQ(child.Code(), 1234u);
}

TEST(Process, FirstOfTwoKillsGivesTheCode) {
    const Started child("sleep");
    EXPECT_TRUE(ProcessKill(child.info.process, 3));
    ProcessKill(child.info.process, 4);
    EXPECT_EQ(child.End(), 3u);
}

TEST(Process, ThreadHandleIsAnotherOneThatEndsWithTheProcess) {
    const Started child("sleep");
    EXPECT_NE(child.info.thread, nullptr);
    EXPECT_NE(child.info.thread, child.info.process);
    EXPECT_EQ(child.info.threadId, child.info.processId);
    EXPECT_EQ(WaitForHandle(child.info.thread, 0), WaitResult::TimedOut);
    ProcessKill(child.info.process, 0);
    EXPECT_EQ(WaitForHandle(child.info.thread, Infinite), WaitResult::Signalled);
}

TEST(Process, AllWaitersWake) {
    const Started child("sleep");
    std::vector<std::thread> waiters;
    for (int i = 0; i < 4; ++i)
        waiters.emplace_back([&] { EXPECT_EQ(WaitForHandle(child.info.process, Infinite), WaitResult::Signalled); });
    ProcessKill(child.info.process, 0);
    for (std::thread& waiter : waiters) waiter.join();
}

TEST(Process, HandlesCanBeClosedWhileItRuns) {
    ProcessInfo info;
    ASSERT_TRUE(Create(Beside("child").c_str(), "child sleep", &info));
    EXPECT_TRUE(CloseHandle(info.process));
    EXPECT_FALSE(CloseHandle(info.process));
    EXPECT_EQ(WaitForHandle(info.process, 0), WaitResult::Failed);
    uint32_t code;
    EXPECT_FALSE(ProcessExitCode(info.process, &code));
    EXPECT_FALSE(ProcessKill(info.process, 0));
    EXPECT_NE(StateOf(info.processId), '-');
    EXPECT_TRUE(ProcessKill(info.thread, 0));
    EXPECT_EQ(WaitForHandle(info.thread, Infinite), WaitResult::Signalled);
    EXPECT_TRUE(CloseHandle(info.thread));
}

TEST(Process, NobodyAskingStillLeavesNoZombie) {
    std::vector<uint32_t> ids;
    for (int i = 0; i < 8; ++i) {
        ProcessInfo info;
        ASSERT_TRUE(Create(Beside("child").c_str(), "child code 3", &info));
        ids.push_back(info.processId);
        if (i % 2 == 0) CloseHandle(info.process);
    }
    for (const uint32_t id : ids)
        while (StateOf(id) != '-') SleepFor(1);          // a zombie would hang here
}

TEST(Process, OtherChildrenOfTheHostAreLeftAlone) {
    const pid_t own = fork();
    if (own == 0) _exit(9);
    EXPECT_EQ(Started("code 0").End(), 0u);
    int status = 0;
    ASSERT_EQ(waitpid(own, &status, 0), own);
    EXPECT_EQ(WEXITSTATUS(status), 9);
}

TEST(Process, HostMayWaitForItByItsNumber) {
    for (int i = 0; i < 8; ++i) {
        const Started child("code 5");
        int status = 0;
        const bool known = i % 2 == 0;                    // its end, at this end
        if (known) {
            EXPECT_EQ(child.End(), 5u);
        }
        ASSERT_EQ(waitpid(static_cast<pid_t>(child.info.processId), &status, 0), static_cast<pid_t>(child.info.processId));
        EXPECT_TRUE(WIFEXITED(status));
        EXPECT_EQ(WEXITSTATUS(status), 5);
        EXPECT_EQ(WaitForHandle(child.info.process, Infinite), WaitResult::Signalled);
        if (known) {
            EXPECT_EQ(child.Code(), 5u);
        }
    }
}

TEST(Process, EndThatSomebodyElseCollectedHasNoKnownCode) {
    struct sigaction ignore {}, before;
    ignore.sa_handler = SIG_IGN;                          // the system collects children by itself then
    sigaction(SIGCHLD, &ignore, &before);
    EXPECT_EQ(Started("code 3").End(), ProcessCodeUnknown);
    sigaction(SIGCHLD, &before, nullptr);
}

TEST(Process, ForkOfTheHostDoesNotWaitForItsChildren) {
    const Started child("sleep");
    const pid_t fork1 = fork();
    if (fork1 == 0) {
        const bool fine = WaitForHandle(child.info.process, Infinite) == WaitResult::Failed && !ProcessKill(child.info.process, 0);
        _exit(fine ? 0 : 1);
    }
    int status = 1;
    waitpid(fork1, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(child.Code(), ProcessStillActive);
}

TEST(Process, HostEndsWithItsOwnCodeWhileItsChildRuns) { EXPECT_EQ(Started("parent").End(), 7u); }

TEST(Process, FailureIsNothingStartedAndNothingKept) {
    char plain[] = "/tmp/zvc-plain-XXXXXX";
    close(mkstemp(plain));
    struct Row {
        const char* program;
        const char* line;
    };
    for (const Row& row : {Row{"/nonexistent/program", nullptr}, Row{plain, nullptr}, Row{"/tmp", nullptr},
                           Row{nullptr, "no-such-program-anywhere x"}, Row{nullptr, "\"no such\" x"}, Row{nullptr, nullptr},
                           Row{nullptr, ""}, Row{nullptr, "   "}, Row{"", nullptr}, Row{"child", nullptr}}) {
        const size_t descriptors = OpenDescriptors();
        ProcessInfo info{reinterpret_cast<Handle>(1), reinterpret_cast<Handle>(1), 1, 1};
        EXPECT_FALSE(Create(row.program, row.line, &info)) << (row.program ? row.program : row.line ? row.line : "null");
        EXPECT_EQ(info.process, nullptr);
        EXPECT_EQ(info.thread, nullptr);
        EXPECT_EQ(info.processId, 0u);
        EXPECT_EQ(info.threadId, 0u);
        EXPECT_EQ(OpenDescriptors(), descriptors);
    }
    unlink(plain);
}

TEST(Process, CommandLineAloneFindsItsFirstWordInThePath) {
    EXPECT_TRUE(StartsAndEndsWell(nullptr, "true"));
    EXPECT_TRUE(StartsAndEndsWell(nullptr, "\"true\" with words"));
    EXPECT_TRUE(StartsAndEndsWell(nullptr, (Beside("child") + " code 0").c_str()));
    EXPECT_FALSE(StartsAndEndsWell("true", nullptr));      // a program is a path: no search
}

TEST(Process, UnquotedNameWithBlanksIsTriedFromItsShortestFormOn) {
    char folder[] = "/tmp/zvc-blank-XXXXXX";
    ASSERT_NE(mkdtemp(folder), nullptr);
    const std::string path = std::string(folder) + "/two  words here";
    std::filesystem::copy_file("/bin/true", path);
    EXPECT_TRUE(StartsAndEndsWell(nullptr, (path + " and more").c_str()));
    EXPECT_TRUE(StartsAndEndsWell(nullptr, path.c_str()));
    EXPECT_TRUE(StartsAndEndsWell(nullptr, ("\"" + path + "\" x").c_str()));
    EXPECT_FALSE(StartsAndEndsWell(nullptr, ("\"" + std::string(folder) + "/two\"  words here").c_str()));
    std::filesystem::copy_file("/bin/false", std::string(folder) + "/two");
    EXPECT_FALSE(StartsAndEndsWell(nullptr, path.c_str()));      // the shortest that is there
    std::filesystem::remove_all(folder);
}

TEST(Process, StandsWithStandardStreamsClosedInTheParent) {
    const pid_t host = fork();
    if (host == 0) {
        close(0);
        close(1);
        close(2);
        Handle reading, writing;
        ProcessInfo info;
        const std::string program = Beside("child");
        ProcessStart start;
        start.program = program.c_str();
        start.commandLine = "child words x";
        if (!PipeCreate(&reading, &writing)) _exit(1);
        start.output = writing;
        if (!ProcessCreate(start, &info)) _exit(2);
        char text[64] = {};
        uint32_t done = 0;
        if (!FileRead(reading, text, sizeof text, &done)) _exit(3);
        if (std::string(text, done) != "[child]\n[words]\n[x]\n") _exit(4);
        if (write(1, "x", 1) >= 0 || errno != EBADF) _exit(5);         // the pipe has not taken a standard number
        _exit(0);
    }
    int status = 1;
    waitpid(host, &status, 0);
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST(Process, ManyThreadsStartAtOnce) {
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([t] {
            for (int i = 0; i < 5; ++i) {
                const uint32_t code = static_cast<uint32_t>(10 * t + i);
                EXPECT_EQ(Started("code " + std::to_string(code)).End(), code);
            }
        });
    for (std::thread& thread : threads) thread.join();
}

TEST(Process, ShellAnswersNumbersAndNeverHandles) {
    EXPECT_EQ(ShellOpen("/nonexistent/file"), 2u);
    EXPECT_EQ(ShellOpen("no-such-file-anywhere"), 2u);
    EXPECT_GT(ShellOpen("/bin/true"), 32u);
    EXPECT_GT(ShellOpen("true"), 32u);
    EXPECT_EQ(WaitForHandle(reinterpret_cast<Handle>(ShellOpen("/bin/true")), 0), WaitResult::Failed);
}

TEST(Process, ShellHandsAFileToTheDesktopsOpener) {
    char folder[] = "/tmp/zvc-shell-XXXXXX";
    ASSERT_NE(mkdtemp(folder), nullptr);
    const std::string opener = std::string(folder) + "/xdg-open", document = std::string(folder) + "/a document.txt";
    const std::string said = std::string(folder) + "/said";
    std::ofstream(document) << "text";
    const std::string before = std::getenv("PATH");
    setenv("PATH", folder, 1);
    EXPECT_EQ(ShellOpen(document.c_str()), 31u);               // nobody to open it
    std::ofstream(opener) << "#!/bin/sh\nprintf '%s %s' $# \"$1\" > '" << said << ".new'\n/bin/mv '" << said << ".new' '" << said << "'\n";
    chmod(opener.c_str(), 0755);
    EXPECT_GT(ShellOpen(document.c_str()), 32u);
    setenv("PATH", before.c_str(), 1);
    while (!std::filesystem::exists(said)) SleepFor(1);
    std::ifstream in(said);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), "1 " + document);
    std::filesystem::remove_all(folder);
}

TEST(Pipe, BytesComeOutAsTheyWentIn) {
    Handle reading, writing;
    ASSERT_TRUE(PipeCreate(&reading, &writing));
    uint32_t done = 0;
    EXPECT_TRUE(FileWrite(writing, "abc", 3, &done));
    char text[8] = {};
    EXPECT_TRUE(FileRead(reading, text, sizeof text, &done));
    EXPECT_EQ(std::string(text, done), "abc");
    EXPECT_FALSE(FileRead(writing, text, 1, &done));
    EXPECT_FALSE(FileWrite(reading, "x", 1, &done));
    CloseHandle(writing);
    EXPECT_FALSE(FileRead(reading, text, 1, &done));          // no writer is left
    CloseHandle(reading);
}

TEST(Pipe, BrokenOneIsAFailureAndNoSignal) {
    Handle reading, writing;
    ASSERT_TRUE(PipeCreate(&reading, &writing));
    CloseHandle(reading);
    uint32_t done = 0;
    EXPECT_TRUE(FileFlush(writing));                                       // nothing was written that is lost
    EXPECT_FALSE(FileWrite(writing, "abc", 3, &done));
    EXPECT_FALSE(FileFlush(writing));
    CloseHandle(writing);
}

TEST(Pipe, FailsWithNullHandlesWhenDescriptorsRunOut) {
    const pid_t host = fork();
    if (host == 0) {
        while (open("/dev/null", O_RDONLY) >= 0) {}
        Handle reading = reinterpret_cast<Handle>(1), writing = reinterpret_cast<Handle>(1);
        _exit(!PipeCreate(&reading, &writing) && reading == nullptr && writing == nullptr ? 0 : 1);
    }
    int status = 1;
    waitpid(host, &status, 0);
    EXPECT_EQ(status, 0);
}

TEST(Pipe, StandardHandlesStandOnDescriptorsOfTheirOwn) {
    const pid_t host = fork();
    if (host == 0) {
        int ends[2];
        if (pipe(ends) != 0 || dup2(ends[1], 1) < 0) _exit(1);
        const Handle out = StandardHandle(StandardStream::Output);
        uint32_t done = 0;
        char c = 0;
        if (!FileWrite(out, "x", 1, &done) || read(ends[0], &c, 1) != 1 || c != 'x') _exit(2);
        if (FileRead(out, &c, 1, &done)) _exit(3);
        CloseHandle(out);
        if (write(1, "y", 1) != 1) _exit(4);
        close(0);
        _exit(StandardHandle(StandardStream::Input) == nullptr ? 0 : 5);
    }
    int status = 1;
    waitpid(host, &status, 0);
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST(Pipe, StandardStreamOnAPipeIsNoTerminal) {
    const pid_t host = fork();
    if (host == 0) {
        int ends[2];
        if (pipe(ends) != 0 || dup2(ends[1], 2) < 0) _exit(1);
        if (IsTerminal(StandardStream::Error)) _exit(2);
        const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
        if (terminal < 0 || dup2(terminal, 2) < 0) _exit(3);
        if (!IsTerminal(StandardStream::Error)) _exit(4);
        close(2);
        _exit(IsTerminal(StandardStream::Error) ? 5 : 0);
    }
    int status = 1;
    waitpid(host, &status, 0);
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

// ---- transfers that are ended from outside --------------------------------------------------------------------------------

namespace {

struct Cancellable {
    Cancellable() {
        EXPECT_TRUE(PipeCreate(&reading, &writing));
        EXPECT_TRUE(FileMakeCancellable(reading));
        EXPECT_TRUE(FileMakeCancellable(writing));
    }
    ~Cancellable() {
        CloseHandle(reading);
        CloseHandle(writing);
    }
    Handle reading = nullptr, writing = nullptr;
};

/// A thread that waits in a read, which is to fail before this ends.
class FailingRead {
public:
    explicit FailingRead(Handle handle)
        : m_thread([handle] {
              char byte;
              uint32_t done = 1;
              EXPECT_FALSE(FileRead(handle, &byte, 1, &done));
              EXPECT_EQ(done, 0u);
          }) {
        SleepFor(5);
    }
    ~FailingRead() { m_thread.join(); }
    FailingRead(const FailingRead&) = delete;

private:
    std::thread m_thread;
};

}

TEST(Cancel, TransfersGoOnAsBeforeUntilThen) {
    Cancellable pipe;
    char bytes[8];
    uint32_t done = 0;
    EXPECT_TRUE(FileWrite(pipe.writing, "abc", 3, &done));
    EXPECT_EQ(done, 3u);
    EXPECT_TRUE(FileRead(pipe.reading, bytes, sizeof bytes, &done));
    EXPECT_EQ(std::string(bytes, done), "abc");
    CloseHandle(pipe.writing);
    EXPECT_FALSE(FileRead(pipe.reading, bytes, sizeof bytes, &done));      // the end of the pipe
}

TEST(Cancel, EndsAReadThatWaitsAndAllLaterOnes) {
    Cancellable pipe;
    char byte;
    uint32_t done = 1;
    std::thread reader([&] { EXPECT_FALSE(FileRead(pipe.reading, &byte, 1, &done)); });
    SleepFor(5);
    FileCancel(pipe.reading);
    reader.join();
    EXPECT_EQ(done, 0u);
    EXPECT_TRUE(FileWrite(pipe.writing, "x", 1, &done));
    EXPECT_FALSE(FileRead(pipe.reading, &byte, 1, &done));                 // although there is something
}

TEST(Cancel, EndsEveryReadThatWaits) {
    Cancellable pipe;
    const FailingRead first(pipe.reading), second(pipe.reading), third(pipe.reading), fourth(pipe.reading);
    FileCancel(pipe.reading);
    FileCancel(pipe.reading);                                              // once more is nothing more
}

TEST(Cancel, LeavesAPipeThatNobodyReadsAsItIs) {
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    const Handle reading = FileAdopt(ends[0], FileAccessRead);
    EXPECT_TRUE(FileMakeCancellable(reading));
    EXPECT_EQ(write(ends[1], "ab", 2), 2);
    char bytes[8];
    uint32_t done = 0;
    EXPECT_TRUE(FileRead(reading, bytes, 1, &done));                       // and is gone again before the end
    FileCancel(reading);
    EXPECT_FALSE(FileRead(reading, bytes, 1, &done));
    EXPECT_EQ(read(ends[0], bytes, sizeof bytes), 1);
    EXPECT_EQ(bytes[0], 'b');
    CloseHandle(reading);
    close(ends[1]);
}

TEST(Cancel, EndsAReadThatWaitsSinceBeforeTheProcessWasNamed) {
    Cancellable pipe;
    Started child("words");
    const FailingRead reader(pipe.reading);
    EXPECT_TRUE(FileEndWithProcess(pipe.reading, child.info.process));     // too late for this one
    FileCancel(pipe.reading);
}

TEST(Cancel, EndsAReadOfASocket) {
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
    const Handle reading = FileAdopt(ends[0], FileAccessRead);
    EXPECT_TRUE(FileMakeCancellable(reading));
    char bytes[8];
    uint32_t done = 0;
    EXPECT_EQ(write(ends[1], "abc", 3), 3);
    EXPECT_TRUE(FileRead(reading, bytes, sizeof bytes, &done));
    EXPECT_EQ(std::string(bytes, done), "abc");
    {
        const FailingRead reader(reading);
        FileCancel(reading);
    }
    CloseHandle(reading);
    close(ends[1]);
}

TEST(Cancel, NeedsNoFreeDescriptor) {
    Cancellable pipe;
    const FailingRead reader(pipe.reading);
    const int next = dup(0);                                               // the lowest that is free, and so the first to be had
    ASSERT_GE(next, 0);
    close(next);
    rlimit old;
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &old), 0);
    rlimit none = old;
    none.rlim_cur = static_cast<rlim_t>(next);
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    EXPECT_EQ(dup(0), -1);
    FileCancel(pipe.reading);
    EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &old), 0);
}

TEST(Cancel, EndsAReadOfAProcessThatHasBecomeAnotherUsers) {
    if (geteuid() != 0) GTEST_SKIP() << "only root can become another user";
    if (ZVC_THREAD_SANITIZER) GTEST_SKIP() << "the sanitizer starts no threads behind a fork";
    const pid_t changed = fork();
    if (changed == 0) {
        Cancellable pipe;
        if (setuid(65534) != 0) _exit(2);
        {
            const FailingRead reader(pipe.reading);
            FileCancel(pipe.reading);
        }
        _exit(testing::Test::HasFailure() ? 3 : 0);
    }
    int status = 1;
    waitpid(changed, &status, 0);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST(Cancel, EndsAReadOfANamedPipeAndLeavesItsMode) {
    const std::string path = (std::filesystem::temp_directory_path() / ("zvc-cancel-" + std::to_string(getpid()))).string();
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    const int descriptor = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    const int writer = open(path.c_str(), O_WRONLY | O_CLOEXEC);
    fcntl(descriptor, F_SETFL, 0);
    const Handle reading = FileAdopt(descriptor, FileAccessRead);
    EXPECT_TRUE(FileMakeCancellable(reading));
    struct stat status;
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777u, 0600u);
    {
        const FailingRead reader(reading);
        FileCancel(reading);
    }
    CloseHandle(reading);
    close(writer);
    unlink(path.c_str());
}

TEST(Cancel, LeavesThePipeItsEnd) {
    Cancellable pipe;
    const FailingRead reader(pipe.reading);
    CloseHandle(pipe.writing);                                             // the last writer: nobody here holds another one
}

TEST(Cancel, EndsAWriteThatWaitsForRoomAndAllLaterOnes) {
    Cancellable pipe;
    const std::string large(1 << 20, 'x');
    uint32_t done = 0;
    std::thread writer([&] { EXPECT_FALSE(FileWrite(pipe.writing, large.data(), 1 << 20, &done)); });
    SleepFor(5);
    FileCancel(pipe.writing);
    writer.join();
    EXPECT_LT(done, 1u << 20);
    EXPECT_FALSE(FileWrite(pipe.writing, "x", 1, &done));
    EXPECT_EQ(done, 0u);
}

TEST(Cancel, IsNothingForAHandleThatWasNotPrepared) {
    Handle reading, writing;
    ASSERT_TRUE(PipeCreate(&reading, &writing));
    FileCancel(reading);
    FileCancel(nullptr);
    uint32_t done = 0;
    char byte;
    EXPECT_TRUE(FileWrite(writing, "x", 1, &done));
    EXPECT_TRUE(FileRead(reading, &byte, 1, &done));
    CloseHandle(reading);
    CloseHandle(writing);
    EXPECT_FALSE(FileMakeCancellable(reading));
    const Handle file = FileOpen("/proc/self/exe", FileAccessRead, FileOpenExisting, false);
    EXPECT_FALSE(FileMakeCancellable(file));                               // a regular file: nothing to wait for
    CloseHandle(file);
}

TEST(Cancel, ReadEndsWithTheProcessBehindWhatIsLeft) {
    Cancellable pipe;
    ProcessStart start;
    const std::string program = Beside("child");
    start.program = program.c_str();
    start.commandLine = "child words";
    start.output = pipe.writing;                                           // which stays open here
    ProcessInfo info;
    ASSERT_TRUE(ProcessCreate(start, &info));
    EXPECT_TRUE(FileEndWithProcess(pipe.reading, info.process));
    EXPECT_FALSE(FileEndWithProcess(pipe.reading, info.process));          // one process for a handle
    EXPECT_FALSE(FileEndWithProcess(pipe.writing, nullptr));
    std::string all;
    char bytes[4];
    for (uint32_t done = 0; FileRead(pipe.reading, bytes, sizeof bytes, &done);) all.append(bytes, done);
    EXPECT_EQ(all, "[child]\n[words]\n");
    CloseHandle(info.process);
    CloseHandle(info.thread);
}
