// The log file and the debugger's output.

#include <zvc/platform/Debugger.h>
#include <zvc/zvc.h>

#include <gtest/gtest.h>

#include "support/Program.h"

#include <csignal>
#include <functional>
#include <sys/ptrace.h>
#include <unistd.h>

namespace {

// What a child process sends to its standard error, with or without this process as its debugger; nothing when a process may
// not be debugged here.
struct Sent {
    bool possible;
    int status;
    std::string text;
    size_t longest;              // of the pieces that arrived
};

Sent SentBy(bool debugged, const std::function<void()>& act) {
    int ends[2];
    if (pipe(ends) != 0) return {};
    const pid_t child = fork();
    if (child == 0) {
        dup2(ends[1], STDERR_FILENO);
        if (debugged && ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(99);
        act();
        _exit(0);
    }
    close(ends[1]);
    Sent sent{true, 0, {}, 0};
    char buffer[4096];
    const auto drain = [&] {
        for (ssize_t count; (count = read(ends[0], buffer, sizeof buffer)) > 0;) {
            sent.text.append(buffer, static_cast<size_t>(count));
            sent.longest = std::max(sent.longest, static_cast<size_t>(count));
        }
    };
    while (waitpid(child, &sent.status, 0) == child && WIFSTOPPED(sent.status)) {
        ptrace(PTRACE_CONT, child, nullptr, reinterpret_cast<void*>(static_cast<intptr_t>(WSTOPSIG(sent.status))));
    }
    drain();
    close(ends[0]);
    sent.possible = !(WIFEXITED(sent.status) && WEXITSTATUS(sent.status) == 99);
    return sent;
}

#define ASSERT_DEBUGGED(sent) \
    if (!(sent).possible) GTEST_SKIP() << "processes may not be debugged here"

}

TEST(ZvLog, NothingHappensBeforeItIsOpenAndAfterItIsClosed) {
    ScratchDirectory directory;
    ZvLogPrintf("into nothing %d\n", 1);
    ZvLog("file", "function", 1, "into nothing\n");
    ZvCloseLog();
    ZvOpenLog(directory.File("log").c_str());
    ZvCloseLog();
    ZvCloseLog();
    ZvLogPrintf("into nothing\n");
    ZvLog("file", "function", 1, "into nothing\n");
    EXPECT_EQ(FileText(directory.File("log")), "");
}

TEST(ZvLog, EveryRecordIsInTheFileAtOnce) {
    ScratchDirectory directory;
    ZvOpenLog(directory.File("log").c_str());
    ZvLogPrintf("%d and %s", 5, "text");
    EXPECT_EQ(FileText(directory.File("log")), "5 and text");       // no prefix, no line end
    ZvLogPrintf("|next\n");
    EXPECT_EQ(FileText(directory.File("log")), "5 and text|next\n");
    ZvCloseLog();
    EXPECT_EQ(FileText(directory.File("log")), "5 and text|next\n");
}

TEST(ZvLog, PrefixIsFileFunctionAndLineDirectlyFollowedByTheText) {
    ScratchDirectory directory;
    ZvOpenLog(directory.File("log").c_str());
    ZvLog("Scene.cpp", "Scene::Load", 12, "%s missing", "mesh");
    EXPECT_EQ(FileText(directory.File("log")), "Scene.cpp:Scene::Load(12):mesh missing");
    ZvLog("a", "b", 0, "%s", "");
    ZvLog("a", "b", size_t(0xFFFFFFFF), "!");                       // the line is printed as an int
    ZvLog("a", "b", size_t(0x100000002), "!");
    ZvCloseLog();
    EXPECT_EQ(FileText(directory.File("log")), "Scene.cpp:Scene::Load(12):mesh missinga:b(0):a:b(-1):!a:b(2):!");
}

TEST(ZvLog, PrefixAndTextHaveNoLimit) {
    ScratchDirectory directory;
    const std::string file(5000, 'f'), text(300000, 't');
    ZvOpenLog(directory.File("log").c_str());
    ZvLog(file.c_str(), "g", 3, "%s", text.c_str());
    ZvCloseLog();
    EXPECT_EQ(FileText(directory.File("log")), file + ":g(3):" + text);
}

TEST(ZvLog, OpeningEmptiesAnExistingFile) {
    ScratchDirectory directory;
    std::ofstream(directory.File("log")) << "from yesterday";
    ZvOpenLog(directory.File("log").c_str());
    EXPECT_EQ(FileText(directory.File("log")), "");
    ZvLogPrintf("today");
    ZvCloseLog();
    EXPECT_EQ(FileText(directory.File("log")), "today");
}

TEST(ZvLog, SecondOpeningReplacesTheFirst) {
    ScratchDirectory directory;
    ZvOpenLog(directory.File("first").c_str());
    ZvLogPrintf("one");
    ZvOpenLog(directory.File("second").c_str());
    ZvLogPrintf("two");
    ZvCloseLog();
    ZvLogPrintf("three");                                           // the first one does not come back
    EXPECT_EQ(FileText(directory.File("first")), "one");
    EXPECT_EQ(FileText(directory.File("second")), "two");
}

TEST(ZvLog, FailedOpeningTurnsLoggingOff) {
    ScratchDirectory directory;
    ZvOpenLog(directory.File("log").c_str());
    ZvLogPrintf("one");
    ZvOpenLog(directory.File("none/log").c_str());
    ZvLogPrintf("two");
    ZvLog("file", "function", 1, "two");
    ZvCloseLog();
    EXPECT_EQ(FileText(directory.File("log")), "one");
    EXPECT_FALSE(std::filesystem::exists(directory.File("none")));
}

TEST(ZvVCOUT, DebuggerGetsPrefixAndText) {
    const Sent sent = SentBy(true, [] { ZvVCOUT_Printf("Scene.cpp", 12, "%d meshes\n", 3); });
    ASSERT_DEBUGGED(sent);
    EXPECT_EQ(sent.text, "Scene.cpp(12):3 meshes\n");
    EXPECT_EQ(sent.longest, sent.text.size());                      // in one call
    EXPECT_EQ(SentBy(true, [] { ZvVCOUT_Printf("f", size_t(0xFFFFFFFE), "%s", ""); }).text, "f(-2):");
}

TEST(ZvVCOUT, DebuggerGetsTheTextAloneFromPrintf0) {
    const Sent sent = SentBy(true, [] { ZvVCOUT_Printf0("%s %c", "only", 'x'); });
    ASSERT_DEBUGGED(sent);
    EXPECT_EQ(sent.text, "only x");
}

TEST(ZvVCOUT, TextHasNoLimit) {
    const std::string text(50000, 't');
    const Sent sent = SentBy(true, [&] { ZvVCOUT_Printf("file", 1, "%s.", text.c_str()); });
    ASSERT_DEBUGGED(sent);
    EXPECT_EQ(sent.text, "file(1):" + text + ".");
}

TEST(ZvVCOUT, WithoutADebuggerThereIsNoEffect) {
    const Sent sent = SentBy(false, [] {
        ZvVCOUT_Printf("file", 1, "text");
        ZvVCOUT_Printf0("text");
    });
    EXPECT_EQ(sent.text, "");
    EXPECT_EQ(WEXITSTATUS(sent.status), 0);
}

TEST(ZvVCOUT, PrefixOf127BytesStillFits) {
    const std::string file(123, 'f');                               // and "(1):"
    const Sent sent = SentBy(true, [&] { ZvVCOUT_Printf(file.c_str(), 1, "text"); });
    ASSERT_DEBUGGED(sent);
    EXPECT_EQ(sent.text, file + "(1):text");
}

TEST(ZvVCOUT, PrefixOf128BytesEndsTheProcess) {
    const std::string file(124, 'f');
    for (size_t line : {size_t(1), size_t(1234567)}) {
        const Sent sent = SentBy(false, [&] { ZvVCOUT_Printf(file.c_str(), line, "text"); });
        EXPECT_TRUE(WIFSIGNALED(sent.status) && WTERMSIG(sent.status) == SIGABRT) << sent.status;
        EXPECT_NE(sent.text.find("invalid parameter"), std::string::npos) << sent.text;
    }
}

TEST(Debugger, AttachedOnlyWhenThereIsOne) {
    EXPECT_EQ(WEXITSTATUS(SentBy(false, [] { _exit(zvc::platform::DebuggerAttached() ? 1 : 2); }).status), 2);
    const Sent sent = SentBy(true, [] { _exit(zvc::platform::DebuggerAttached() ? 1 : 2); });
    ASSERT_DEBUGGED(sent);
    EXPECT_EQ(WEXITSTATUS(sent.status), 1);
}

TEST(Debugger, OutputLeavesTheErrorNumberAlone) {
    errno = 1234;
    zvc::platform::DebuggerOutput("text");
    EXPECT_EQ(errno, 1234);
}
