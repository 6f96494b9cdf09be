// Programs that crash, and what a debugger reads from the images they leave.

#include <zvc/zvc.h>

#include <gtest/gtest.h>

#include "support/Program.h"
#include "support/Sanitizers.h"

#include <csignal>

namespace {

class CrashDump : public testing::Test {
protected:
    void SetUp() override {
        if (ZVC_THREAD_SANITIZER) GTEST_SKIP() << "the sanitizer keeps signals back from the threads";
        // Sanitizers have handlers for faults of their own.
        setenv("ASAN_OPTIONS", "handle_segv=0:handle_sigbus=0:handle_sigill=0:handle_sigfpe=0:detect_leaks=0:use_sigaltstack=0", 1);
    }

    std::string Path() const { return m_directory.File("dump"); }
    bool IsThere() const { return std::filesystem::exists(Path()); }
    Outcome Crash(const std::string& arguments) const { return RunProgram(BesideTests("crash") + " " + Path() + " " + arguments); }

    /// What the debugger answers to commands on the dump.
    std::string Ask(std::initializer_list<const char*> commands) const {
        std::string line = "gdb -nx -batch -iex 'set debuginfod enabled off' -iex 'set auto-load safe-path /' -ex 'set width 0'";
        for (const char* command : commands) line += std::string(" -ex '") + command + "'";
        return RunProgram(line + " " + BesideTests("crash") + " " + Path()).output;
    }

    ScratchDirectory m_directory;
};

struct Way {
    const char* kind;
    int signal;
    const char* crashed;             // how the debugger names the innermost function
};

std::ostream& operator<<(std::ostream& out, const Way& way) { return out << way.kind; }

class CrashDumpOf : public CrashDump, public testing::WithParamInterface<Way> {
protected:
    void ExpectDump(const char* where) {
        const Way& way = GetParam();
        const Outcome outcome = Crash(std::string(way.kind) + " " + where);
        EXPECT_EQ(outcome.signal, way.signal) << outcome.output;
        EXPECT_EQ(outcome.output, "");
        const std::string text = Ask({"backtrace 3", "print $_siginfo.si_signo", "frame function InnermostCrash", "info locals", "print s_kind"});
        EXPECT_NE(text.find("\n$1 = " + std::to_string(way.signal) + "\n"), std::string::npos) << text;
        EXPECT_NE(text.find(way.crashed, text.find("\n#0")), std::string::npos) << text;
        EXPECT_LT(text.find(way.crashed, text.find("\n#0")), text.find("\n#1")) << text;
        EXPECT_NE(text.find("InnermostCrash (localValue=4711)"), std::string::npos) << text;
        EXPECT_NE(text.find("\nlocalNumber = 4711.25\n"), std::string::npos) << text;
        EXPECT_NE(text.find("\"text of the crashing function\"\n"), std::string::npos) << text;
        EXPECT_NE(text.find(std::string("\n$2 = \"") + way.kind + "\"\n"), std::string::npos) << text;
    }
};

}

TEST_P(CrashDumpOf, FirstThreadShowsFunctionAndVariables) { ExpectDump("main"); }

TEST_P(CrashDumpOf, ThreadOfTheLibraryShowsFunctionAndVariables) { ExpectDump("thread"); }

INSTANTIATE_TEST_SUITE_P(Faults, CrashDumpOf,
                         testing::Values(Way{"null", SIGSEGV, "InnermostCrash"}, Way{"read", SIGSEGV, "InnermostCrash"},
                                         Way{"readonly", SIGSEGV, "InnermostCrash"}, Way{"jump", SIGSEGV, "0x0000000000001234 in ?? ()"},
                                         Way{"overflow", SIGSEGV, "OverflowTheStack"}, Way{"privileged", SIGSEGV, "InnermostCrash"},
                                         Way{"bus", SIGBUS, "TouchBehindTheFile"}, Way{"misaligned", SIGBUS, "InnermostCrash"},
                                         Way{"illegal", SIGILL, "InnermostCrash"}, Way{"divide", SIGFPE, "InnermostCrash"},
                                         Way{"float", SIGFPE, "DivideNumbers"}, Way{"breakpoint", SIGTRAP, "InnermostCrash"},
                                         Way{"step", SIGTRAP, "InnermostCrash"}),
                         [](const auto& info) { return info.param.kind; });

TEST_F(CrashDump, ShowsTheOtherThreadsWhereTheyStand) {
    EXPECT_EQ(Crash("null main others").signal, SIGSEGV);
    const std::string text = Ask({"thread apply all backtrace"});
    const auto thread = [&](const char* function) {
        const size_t at = text.find(function);
        return at == std::string::npos ? std::string() : text.substr(text.rfind("\nThread ", at), at - text.rfind("\nThread ", at));
    };
    for (const char* function : {"WaitInARead", "WaitForAMutex", "SpinForEver", "StandSuspended"})
        EXPECT_NE(text.find(std::string("::") + function + " ()"), std::string::npos) << function << "\n" << text;
    // One that hears no signal is seen as far as the kernel tells where it is, which is a sanitizer's own read otherwise.
    if (!ZVC_ADDRESS_SANITIZER) {
        EXPECT_NE(text.find("::WaitInARead ()", text.find("::WaitInARead ()") + 1), std::string::npos) << text;
    }
    EXPECT_NE(thread("::WaitInARead ()").find("read"), std::string::npos) << text;
    EXPECT_NE(thread("::StandSuspended ()").find("OnControlSignal"), std::string::npos) << text;
    // The first thread, the five, and the library's own workers, one for each processor.
    size_t threads = 0;
    for (size_t at = 0; (at = text.find("\nThread ", at)) != std::string::npos; ++at) ++threads;
    EXPECT_EQ(threads, 6 + ZvSystem::GetNumberOfProcessor()) << text;
}

TEST_F(CrashDump, BeginsWithTheThreadThatCrashed) {
    EXPECT_EQ(Crash("divide thread others").signal, SIGFPE);
    const std::string text = Ask({"thread", "print t_mark", "thread apply all -s print t_mark", "info threads"});
    EXPECT_NE(text.find("[Current thread is 1 "), std::string::npos) << text;
    EXPECT_NE(text.find("\n$1 = 77\n"), std::string::npos) << text;      // its own thread-local variable
    EXPECT_NE(text.find(" = 7\n"), std::string::npos) << text;           // the first thread's
}

TEST_F(CrashDump, HoldsVectorRegisters) {
    EXPECT_EQ(Crash("vector main").signal, SIGILL);
    const std::string text = Ask({"print $xmm5.v2_int64", "print $mxcsr", "print $rbx"});
    EXPECT_NE(text.find("\n$1 = {1311768467463790320, 1311768467463790320}\n"), std::string::npos) << text;
    EXPECT_EQ(text.find("warning"), std::string::npos) << text;
}

TEST_F(CrashDump, HoldsSharedLibraries) {
    EXPECT_EQ(Crash("null thread").signal, SIGSEGV);
    const std::string text = Ask({"info sharedlibrary", "backtrace"});
    EXPECT_NE(text.find("libzvc.so"), std::string::npos) << text;
    EXPECT_NE(text.find("libc.so.6"), std::string::npos) << text;
    EXPECT_NE(text.find("zvc::platform::ThreadObject::Main"), std::string::npos) << text;
}

TEST_F(CrashDump, OverflowOnAThreadThatWasThereBefore) {
    EXPECT_EQ(Crash("overflow earlier").signal, SIGSEGV);
    const std::string text = Ask({"backtrace 2"});
    EXPECT_NE(text.find("OverflowTheStack"), std::string::npos) << text;
}

TEST_F(CrashDump, OverflowOnAThreadThatCallsItself) {
    EXPECT_EQ(Crash("overflow calling").signal, SIGSEGV);
    EXPECT_NE(Ask({"backtrace 2"}).find("OverflowTheStack"), std::string::npos);
}

TEST_F(CrashDump, ThreadOfTheProgram) {
    EXPECT_EQ(Crash("null foreign").signal, SIGSEGV);
    EXPECT_NE(Ask({"backtrace 2"}).find("InnermostCrash (localValue=4711)"), std::string::npos);
}

// The handler needs neither memory nor a lock that somebody holds: it would stand here for ever.
TEST_F(CrashDump, CrashInsideTheAllocatorThatHoldsItsLock) {
#if ZVC_ADDRESS_SANITIZER
    GTEST_SKIP() << "the sanitizer's allocator is another one";
#endif
    EXPECT_EQ(Crash("allocator main others").signal, SIGSEGV);
    const std::string text = Ask({"backtrace"});
    EXPECT_NE(text.find("CrashInTheAllocator ()"), std::string::npos) << text;
    EXPECT_NE(text.find("InnermostCrash (localValue=4711)"), std::string::npos) << text;
}

TEST_F(CrashDump, CrashWhileOtherThreadsHoldTheLoaderAndTheStreams) {
    EXPECT_EQ(Crash("null main locked").signal, SIGSEGV);
    const std::string text = Ask({"thread apply all backtrace"});
    for (const char* function : {"InnermostCrash (localValue=4711)", "StandInTheLoader (", "HoldTheStreams ("})
        EXPECT_NE(text.find(function), std::string::npos) << text;
}

TEST_F(CrashDump, TwoThreadsAtOnce) {
    EXPECT_EQ(Crash("illegal two").signal, SIGILL);
    EXPECT_NE(Ask({"backtrace 2"}).find("InnermostCrash (localValue=4711)"), std::string::npos);
}

TEST_F(CrashDump, FirstThreadHasEnded) {
    EXPECT_EQ(Crash("null orphan").signal, SIGSEGV);
    EXPECT_NE(Ask({"backtrace 2"}).find("InnermostCrash (localValue=4711)"), std::string::npos);
}

TEST_F(CrashDump, HundredThreads) {
    EXPECT_EQ(Crash("null main hundred").signal, SIGSEGV);
    const std::string text = Ask({"info threads", "thread 1", "backtrace 1"});
    EXPECT_NE(text.find("\n  101 "), std::string::npos) << text;
    EXPECT_NE(text.find("InnermostCrash (localValue=4711)"), std::string::npos) << text;
}

TEST_F(CrashDump, ReplacesTheFileThatIsThere) {
    std::ofstream(Path()) << std::string(200 << 20, 'x');
    EXPECT_EQ(Crash("null main").signal, SIGSEGV);
    EXPECT_EQ(FileText(Path()).substr(0, 4), "\x7F"
                                             "ELF");
    EXPECT_LT(std::filesystem::file_size(Path()), 200u << 20);
    EXPECT_NE(Ask({"backtrace 2"}).find("InnermostCrash (localValue=4711)"), std::string::npos);
}

TEST_F(CrashDump, LaterPathReplacesTheEarlier) {
    EXPECT_EQ(RunProgram(BesideTests("crash") + " " + Path() + " null main again").signal, SIGSEGV);
    EXPECT_FALSE(IsThere());
    EXPECT_TRUE(std::filesystem::exists(Path() + ".again"));
}

TEST_F(CrashDump, NullLeavesAnEarlierPathInForce) {
    EXPECT_EQ(Crash("null main null").signal, SIGSEGV);
    EXPECT_TRUE(IsThere());
}

TEST_F(CrashDump, WithoutAPathThereIsNone) {
    EXPECT_EQ(RunProgram(BesideTests("crash") + " - null main null").signal, SIGSEGV);
}

TEST_F(CrashDump, FileThatCannotBeMadeChangesNothingElse) {
    EXPECT_EQ(RunProgram(BesideTests("crash") + " " + Path() + "/none/file null main").signal, SIGSEGV);
    EXPECT_EQ(RunProgram(BesideTests("crash") + " " + std::string(5000, 'p') + " null main").signal, SIGSEGV);
    EXPECT_EQ(RunProgram(BesideTests("crash") + " '' null main").signal, SIGSEGV);
    EXPECT_FALSE(IsThere());
}

TEST_F(CrashDump, FullDiskEndsWithTheSignalAllTheSame) {
    // The limit's own signal is not to end the process first.
    const Outcome outcome = RunProgram("sh -c 'ulimit -f 64; exec " + BesideTests("crash") + " " + Path() + " divide main'");
    EXPECT_EQ(outcome.signal, SIGFPE) << outcome.output;
}

TEST_F(CrashDump, CrashInAStaticDestructorIsDumped) {
    EXPECT_EQ(Crash("null none static").signal, SIGSEGV);
    EXPECT_NE(Ask({"backtrace"}).find("~CrashAtExit"), std::string::npos);
}

TEST_F(CrashDump, CrashBehindTheLibrarysEndIsNot) {
    const Outcome outcome = Crash("null none late");
    EXPECT_EQ(outcome.output, "survived\n");
    EXPECT_EQ(outcome.signal, SIGSEGV);
    EXPECT_FALSE(IsThere());
}

TEST_F(CrashDump, EventsOutsideTheTablePassUntouched) {
    EXPECT_EQ(Crash("abort main").signal, SIGABRT);
    EXPECT_EQ(Crash("terminate main").signal, SIGABRT);
    EXPECT_EQ(Crash("term main").signal, SIGTERM);
    EXPECT_EQ(Crash("raise main").signal, SIGSEGV);         // sent, and no fault
    EXPECT_EQ(Crash("kill main").signal, SIGILL);
    EXPECT_FALSE(IsThere());
}

TEST_F(CrashDump, EarlierHandlerIsCalledAfterTheImage) {
    const Outcome outcome = Crash("null main leave");
    EXPECT_EQ(outcome.output, "earlier handler\n");
    EXPECT_EQ(outcome.code, 42);
    EXPECT_NE(Ask({"backtrace 1"}).find("InnermostCrash (localValue=4711)"), std::string::npos);
}

TEST_F(CrashDump, EarlierHandlerThatGivesUpEndsInTheSignal) {
    const Outcome outcome = Crash("null thread reset");
    EXPECT_EQ(outcome.output, "earlier handler\n");
    EXPECT_EQ(outcome.signal, SIGSEGV);
    EXPECT_TRUE(IsThere());
}

TEST_F(CrashDump, EarlierHandlerMayGoOnWithAllThreads) {
    const Outcome outcome = Crash("null main recover others");
    EXPECT_EQ(outcome.output, "earlier handler 1\nrecovered\nthe others go on\n");
    EXPECT_EQ(outcome.code, 5);
    EXPECT_TRUE(IsThere());
}

TEST_F(CrashDump, EarlierHandlerForOneTimeIsCalledOnce) {
    const Outcome outcome = Crash("null main once");
    EXPECT_EQ(outcome.output, "earlier handler\n");
    EXPECT_EQ(outcome.signal, SIGSEGV);
    EXPECT_TRUE(IsThere());
}

TEST_F(CrashDump, EarlierHandlerGetsWhatIsSent) {
    for (const char* kind : {"raise", "kill"}) {
        const Outcome outcome = Crash(std::string(kind) + " main goon");
        EXPECT_EQ(outcome.output, "earlier handler\nsurvived\n");
        EXPECT_EQ(outcome.code, 6);
    }
    EXPECT_FALSE(IsThere());
}

TEST_F(CrashDump, IgnoredSignalIsIgnoredUnlessItIsAFault) {
    EXPECT_EQ(Crash("kill main ignore").output, "survived\n");
    EXPECT_FALSE(IsThere());
    EXPECT_EQ(Crash("illegal main ignore").signal, SIGILL);
    EXPECT_TRUE(IsThere());
}

TEST_F(CrashDump, LogHoldsEveryRecordBeforeTheCrash) {
    EXPECT_EQ(Crash("null main log").signal, SIGSEGV);
    EXPECT_EQ(FileText(Path() + ".log"), "first record\nfile.cpp:Function(12):second record\n");
}

TEST_F(CrashDump, MemoryMarkedByItsOwnerIsLeftOut) {
    EXPECT_EQ(Crash("null main secret").signal, SIGSEGV);
    const std::string text = Ask({"x/s s_kept", "x/s s_secret", "x/s s_untouched"});
    EXPECT_NE(text.find("kept in the image"), std::string::npos) << text;
    EXPECT_EQ(FileText(Path()).find(std::string("marked ") + "as secret"), std::string::npos);
    const size_t secret = text.find(":", text.find("kept in the image") + 1);
    EXPECT_EQ(text.substr(secret, 5), ":\t\"\"\n") << text;
}

TEST(ZvSystem, MemoryUsageIsZeroBeforeAndAfterAllocations) {
    EXPECT_EQ(ZvSystem::MemoryUsage(), 0u);
    void* block = ZvSystem::Malloc(1000);
    EXPECT_EQ(ZvSystem::MemoryUsage(), 0u);
    ZvSystem::Free(block);
    EXPECT_EQ(ZvSystem::MemoryUsage(), 0u);
}

TEST(ZvSystem, StartLeaksAndEndLeaksHaveNoEffectOnAllocations) {
    ZvSystem::StartLeaks(0);
    ZvSystem::StartLeaks(~size_t(0));
    ZvObject$ object = new ZvString("kept");
    void* block = ZvSystem::Malloc(16);
    ZvSystem::EndLeaks();
    ZvSystem::EndLeaks();
    EXPECT_STREQ(ZvString$(object)->CStr(), "kept");
    EXPECT_EQ(object->ReferenceCount(), 1);
    ZvSystem::Free(block);
    ZvObject::DebugObjectRelease();
    EXPECT_EQ(ZvSystem::MemoryUsage(), 0u);
}
