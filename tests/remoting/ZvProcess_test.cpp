#include "zvc/remoting/ZvProcess.h"

#include "support/Child.h"
#include "support/Folder.h"
#include "support/Sanitizers.h"
#include "zvc/platform/Process.h"
#include "zvc/platform/Thread.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <fstream>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

using zvc::platform::WaitForHandle;
using zvc::platform::WaitResult;

size_t OpenDescriptors() {
    size_t count = 0;
    DIR* directory = opendir("/proc/self/fd");
    while (readdir(directory) != nullptr) ++count;
    closedir(directory);
    return count;
}

size_t Children() {
    std::ifstream in("/proc/self/task/" + std::to_string(getpid()) + "/children");
    size_t count = 0;
    for (std::string id; in >> id;) ++count;
    return count;
}

std::string FileText(const std::string& path) {
    while (!std::filesystem::exists(path)) zvc::platform::SleepFor(1);
    std::ifstream in(path);
    return {std::istreambuf_iterator<char>(in), {}};
}

}

TEST(ZvProcessStartInfo, NewOneHasAllFlagsFalseAndNoStrings) {
    const ZvProcessStartInfo info;
    EXPECT_FALSE(info.GetRedirectStandardError());
    EXPECT_FALSE(info.GetRedirectStandardInput());
    EXPECT_FALSE(info.GetRedirectStandardOutput());
    EXPECT_FALSE(info.IsUseShellExecute());
    EXPECT_EQ(info.GetFileName(), nullptr);
    EXPECT_EQ(info.GetArguments(), nullptr);
}

TEST(ZvProcessStartInfo, EachFlagIsOnItsOwn) {
    using Info = ZvProcessStartInfo;
    struct Flag {
        void (Info::*set)(bool);
        bool (Info::*get)() const;
    };
    const Flag flags[] = {{&Info::SetRedirectStandardError, &Info::GetRedirectStandardError},
                          {&Info::SetRedirectStandardInput, &Info::GetRedirectStandardInput},
                          {&Info::SetRedirectStandardOutput, &Info::GetRedirectStandardOutput},
                          {&Info::UseShellExecute, &Info::IsUseShellExecute}};
    for (const Flag& one : flags) {
        Info info;
        (info.*one.set)(true);
        for (const Flag& other : flags) EXPECT_EQ((info.*other.get)(), one.get == other.get);
        (info.*one.set)(false);
        EXPECT_FALSE((info.*one.get)());
    }
}

TEST(ZvProcessStartInfo, CopiesShareTheStrings) {
    const ZvString$ name = Text("name"), arguments = Text("arguments");
    ZvProcessStartInfo info(name, arguments);
    info.SetRedirectStandardInput(true);
    info.UseShellExecute(true);
    const ZvProcessStartInfo copy(info);
    ZvProcessStartInfo assigned;
    assigned = info;
    for (const ZvProcessStartInfo* one : {&copy, static_cast<const ZvProcessStartInfo*>(&assigned)}) {
        EXPECT_EQ(one->GetFileName(), name);
        EXPECT_EQ(one->GetArguments(), arguments);
        EXPECT_TRUE(one->GetRedirectStandardInput());
        EXPECT_FALSE(one->GetRedirectStandardOutput());
        EXPECT_FALSE(one->GetRedirectStandardError());
        EXPECT_TRUE(one->IsUseShellExecute());
    }
    info.SetFileName(nullptr);
    info.SetArguments(Text("others"));
    EXPECT_EQ(info.GetFileName(), nullptr);
    EXPECT_EQ(*info.GetArguments(), "others");
    EXPECT_EQ(copy.GetFileName(), name);
}

TEST(ZvProcess, ClassesAreReflectedAndCannotBeCreatedByName) {
    for (ZvType* type : {&ZvProcess::s_type, &ZvProcessStartInfo::s_type}) {
        EXPECT_EQ(type->GetBaseType(), &ZvObject::s_type);
        EXPECT_EQ(type->GetSchema(), 0x80000001u);
        EXPECT_EQ(type->GetClassSpec(), 1u);
        EXPECT_FALSE(type->HasCodec());
        EXPECT_EQ(type->CreateObject(), nullptr);
        EXPECT_EQ(ZvSystem::FindType(type->GetName()), type);
    }
    EXPECT_EQ(*ZvProcess::s_type.GetName(), "ZvProcess");
    EXPECT_EQ(*ZvProcessStartInfo::s_type.GetName(), "ZvProcessStartInfo");
    const ZvObject$ process = new ZvProcess, info = new ZvProcessStartInfo;
    EXPECT_EQ(process->GetType(), &ZvProcess::s_type);
    EXPECT_EQ(info->GetType(), &ZvProcessStartInfo::s_type);
    EXPECT_NE(ZvProcess$(process), nullptr);
    EXPECT_EQ(ZvProcess$(info), nullptr);
}

TEST(ZvProcess, NewOneIsNullThroughout) {
    const ZvProcess process;
    EXPECT_EQ(process.GetStartInfo(), nullptr);
    EXPECT_EQ(process.GetProcessHandle(), nullptr);
    EXPECT_EQ(process.GetThreadHandle(), nullptr);
    EXPECT_EQ(process.GetProcessId(), 0u);
    EXPECT_EQ(process.GetThreadId(), 0u);
    EXPECT_EQ(process.GetStandardInputStream(), nullptr);
    EXPECT_EQ(process.GetStandardOutputStream(), nullptr);
    EXPECT_EQ(process.GetStandardErrorStream(), nullptr);
}

TEST(ZvProcess, StartWithoutAStartInfoIsFalse) { EXPECT_FALSE(ZvProcess().Start()); }

TEST(ZvProcess, StartOfNullIsNullAndCreatesNoProcess) {
    const size_t children = Children();
    EXPECT_EQ(ZvProcess::Start(ZvProcessStartInfo$()), nullptr);
    EXPECT_EQ(ZvProcess::Start(ZvString$()), nullptr);
    EXPECT_EQ(ZvProcess::Start(ZvString$(), ZvString$()), nullptr);
    EXPECT_EQ(Children(), children);
}

TEST(ZvProcess, StartInfoWithNeitherNameNorArgumentsIsFalse) {
    EXPECT_EQ(ZvProcess::Start(ZvProcessStartInfo$(new ZvProcessStartInfo)), nullptr);
}

TEST(ZvProcess, StartedOneHasHandlesAndNumbers) {
    const ZvProcess$ process = ZvProcess::Start(Text(Beside("child")), Text("x code 5"));
    ASSERT_NE(process, nullptr);
    EXPECT_NE(process->GetProcessHandle(), nullptr);
    EXPECT_NE(process->GetThreadHandle(), nullptr);
    EXPECT_NE(process->GetProcessHandle(), process->GetThreadHandle());
    EXPECT_NE(process->GetProcessId(), 0u);
    EXPECT_NE(process->GetThreadId(), 0u);
    EXPECT_NE(process->GetProcessId(), static_cast<unsigned long>(getpid()));
    EXPECT_EQ(process->GetStandardInputStream(), nullptr);
    EXPECT_EQ(process->GetStandardOutputStream(), nullptr);
    EXPECT_EQ(process->GetStandardErrorStream(), nullptr);
    EXPECT_EQ(EndOf(process), 5u);
}

TEST(ZvProcess, StaticStartsMakeTheStartInfo) {
    const ZvString$ program = Text(Beside("child")), words = Text("x code 0");
    const ZvProcess$ one = ZvProcess::Start(program), two = ZvProcess::Start(program, words);
    ASSERT_NE(one, nullptr);
    ASSERT_NE(two, nullptr);
    EXPECT_EQ(one->GetStartInfo()->GetFileName(), program);
    EXPECT_EQ(one->GetStartInfo()->GetArguments(), nullptr);
    EXPECT_EQ(two->GetStartInfo()->GetFileName(), program);
    EXPECT_EQ(two->GetStartInfo()->GetArguments(), words);
    const ZvProcessStartInfo$ info = new ZvProcessStartInfo(program, words);
    EXPECT_EQ(ZvProcess::Start(info)->GetStartInfo(), info);
}

TEST(ZvProcess, MissingProgramIsFalseAndNull) {
    EXPECT_EQ(ZvProcess::Start(Text("/nonexistent/program")), nullptr);
    EXPECT_EQ(ZvProcess::Start(Text("/nonexistent/program"), Text("program")), nullptr);
    EXPECT_EQ(ZvProcess::Start(ZvString$(), Text("no-such-program-anywhere")), nullptr);
    ZvProcess process;
    process.SetStartInfo(new ZvProcessStartInfo(Text(Beside("child")), Text("child code 0")));
    ASSERT_TRUE(process.Start());
    process.SetStartInfo(new ZvProcessStartInfo(Text("/nonexistent/program")));
    EXPECT_FALSE(process.Start());
    EXPECT_EQ(process.GetProcessHandle(), nullptr);
    EXPECT_EQ(process.GetThreadHandle(), nullptr);
    EXPECT_EQ(process.GetProcessId(), 0u);
    EXPECT_EQ(process.GetThreadId(), 0u);
}

TEST(ZvProcess, NullFileNameLetsTheCommandLineDecide) {
    const ZvProcess$ process = ZvProcess::Start(ZvString$(), Text(Beside("child") + " code 6"));
    ASSERT_NE(process, nullptr);
    EXPECT_EQ(EndOf(process), 6u);
}

TEST(ZvProcess, ArgumentsAreTheWholeCommandLine) {
    EXPECT_EQ(OutputOf("words \"a b\" c"), "[child]\n[words]\n[a b]\n[c]\n");
    ZvProcessStartInfo$ info = new ZvProcessStartInfo(Text(Beside("child")), Text("first words third"));
    info->SetRedirectStandardOutput(true);
    const ZvProcess$ process = ZvProcess::Start(info);
    EXPECT_EQ(ReadUntil(process->GetStandardOutputStream(), "[third]\n"), "[first]\n[words]\n[third]\n");
}

TEST(ZvProcess, WithoutArgumentsTheOnlyWordIsTheFileName) {
    const Folder folder;
    const std::string script = folder / "script", said = folder / "said";
    std::ofstream(script) << "#!/bin/sh\nprintf '%s %s' $# \"$0\" > '" << said << ".new'\nmv '" << said << ".new' '" << said << "'\n";
    chmod(script.c_str(), 0755);
    ASSERT_NE(ZvProcess::Start(Text(script)), nullptr);
    EXPECT_EQ(FileText(said), "0 " + script);
}

TEST(ZvProcess, RedirectedStreamsReachTheChild) {
    ZvProcessStartInfo$ info = ChildInfo("echo");
    info->SetRedirectStandardInput(true);
    info->SetRedirectStandardOutput(true);
    ZvProcess process;
    process.SetStartInfo(info);
    ASSERT_TRUE(process.Start());
    EXPECT_EQ(process.GetStandardErrorStream(), nullptr);
    const ZvStream$ in = process.GetStandardInputStream(), out = process.GetStandardOutputStream();
    EXPECT_EQ(in->GetType(), ZvSystem::FindType("ZvFileStream"));
    EXPECT_EQ(out->GetType(), ZvSystem::FindType("ZvFileStream"));
    EXPECT_TRUE(in->CanWrite());
    EXPECT_FALSE(in->CanRead());
    EXPECT_TRUE(out->CanRead());
    EXPECT_FALSE(out->CanWrite());
    EXPECT_EQ(in->Write("there and back\n", 15LL), 15);
    in->Flush();
    EXPECT_FALSE(in->Fail());
    EXPECT_EQ(ReadUntil(out, "\n"), "there and back\n");
    EXPECT_FALSE(out->Fail());
    zvc::platform::ProcessKill(process.GetProcessHandle(), 0);
}

TEST(ZvProcess, StandardErrorComesToTheParentAlone) {
    ZvProcessStartInfo$ info = ChildInfo("complain loudly");
    info->SetRedirectStandardError(true);
    const ZvProcess$ process = ZvProcess::Start(info);
    EXPECT_EQ(process->GetStandardInputStream(), nullptr);
    EXPECT_EQ(process->GetStandardOutputStream(), nullptr);
    EXPECT_TRUE(process->GetStandardErrorStream()->CanRead());
    EXPECT_EQ(ReadUntil(process->GetStandardErrorStream(), "\n"), "loudly\n");
}

TEST(ZvProcess, ChildsInputEndsWhenTheParentsStreamIsReleased) {
    ZvProcessStartInfo$ info = ChildInfo("echo");
    info->SetRedirectStandardInput(true);
    void* handle = nullptr;
    {
        const ZvProcess$ process = ZvProcess::Start(info);
        handle = process->GetProcessHandle();
        EXPECT_EQ(WaitForHandle(handle, 20), WaitResult::TimedOut);
    }
    EXPECT_EQ(WaitForHandle(handle, 60000), WaitResult::Signalled);
}

TEST(ZvProcess, WithoutRedirectionTheChildGetsTheNullDevice) {
    const Folder folder;
    const ZvProcess$ process = ZvProcess::Start(Text(Beside("child")), Text("child streams " + (folder / "said")));
    EXPECT_EQ(EndOf(process), 0u);
    EXPECT_EQ(FileText(folder / "said"), "1 1 1");         // end of file at once; what is written goes nowhere
}

TEST(ZvProcess, ChildHoldsItsThreeHandlesAndNothingOfOurs) {
    const int leaky = open("/dev/zero", O_RDONLY);         // without close-on-exec
    ZvProcessStartInfo$ all = ChildInfo("echo");           // its pipes are open in this process
    all->SetRedirectStandardInput(true);
    all->SetRedirectStandardOutput(true);
    all->SetRedirectStandardError(true);
    const ZvProcess$ first = ZvProcess::Start(all);
    EXPECT_EQ(OutputOf("descriptors"), "0 /dev/null\n1 pipe\n2 /dev/null\n");
    close(leaky);
    zvc::platform::ProcessKill(first->GetProcessHandle(), 0);
}

TEST(ZvProcess, ParentKeepsTheChildsEndsOpen) {
    const size_t before = OpenDescriptors();
    ZvProcessStartInfo$ info = ChildInfo("code 0");
    info->SetRedirectStandardInput(true);
    info->SetRedirectStandardOutput(true);
    info->SetRedirectStandardError(true);
    ZvProcess$ process = ZvProcess::Start(info);
    EXPECT_EQ(EndOf(process), 0u);
    EXPECT_EQ(OpenDescriptors(), before + 6);
    EXPECT_EQ(process->GetStandardInputStream()->Write("x", 1LL), 1);      // nobody reads it, and nothing is broken
    process = nullptr;
    EXPECT_EQ(OpenDescriptors(), before + 3);              // the streams' own ends are closed
}

TEST(ZvProcess, WriteToABrokenPipeIsAFailureAndNoSignal) {
    ZvProcessStartInfo$ info = ChildInfo("code 0");
    info->SetRedirectStandardInput(true);
    std::vector<int> before;
    for (int i = 3; i < 256; ++i)
        if (fcntl(i, F_GETFD) >= 0) before.push_back(i);
    const ZvProcess$ process = ZvProcess::Start(info);
    EXPECT_EQ(EndOf(process), 0u);
    // The parent's own copy of the child's end is the only reader that is left: take it away.
    for (int i = 3; i < 256; ++i) {
        const int flags = fcntl(i, F_GETFL);
        struct stat status;
        if (flags < 0 || std::find(before.begin(), before.end(), i) != before.end() || fstat(i, &status) != 0) continue;
        if (S_ISFIFO(status.st_mode) && (flags & O_ACCMODE) == O_RDONLY) dup2(open("/dev/null", O_RDONLY | O_CLOEXEC), i);
    }
    const ZvStream$ in = process->GetStandardInputStream();
    EXPECT_EQ(in->Write("x", 1LL), 0);
    EXPECT_TRUE(in->Fail());
}

TEST(ZvProcess, ChildStartsWithoutBlockedOrIgnoredSignals) {
    struct sigaction ignore {}, before;
    ignore.sa_handler = SIG_IGN;
    sigaction(SIGPIPE, &ignore, &before);
    sigset_t blocked, old;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &blocked, &old);
    EXPECT_EQ(OutputOf("signals"), "done\n");
    pthread_sigmask(SIG_SETMASK, &old, nullptr);
    sigaction(SIGPIPE, &before, nullptr);
}

TEST(ZvProcess, ChildInheritsEnvironmentAndDirectory) {
    setenv("ZVC_TEST_WORD", "inherited", 1);
    EXPECT_EQ(OutputOf("environment ZVC_TEST_WORD"), "inherited\n");
    EXPECT_EQ(OutputOf("directory"), std::filesystem::current_path().string() + "\n");
}

TEST(ZvProcess, OneProcessImageForEachStart) {
    const Folder folder;
    const std::string script = folder / "script", said = folder / "said";
    std::ofstream(script) << "#!/bin/sh\necho started >> '" << said << "'\n";
    chmod(script.c_str(), 0755);
    EXPECT_EQ(EndOf(ZvProcess::Start(Text(script))), 0u);
    EXPECT_EQ(EndOf(ZvProcess::Start(ZvString$(), Text(script + " word"))), 0u);
    EXPECT_EQ(FileText(said), "started\nstarted\n");
}

TEST(ZvProcess, SecondStartReplacesHandlesAndStreams) {
    ZvProcessStartInfo$ info = ChildInfo("echo");
    info->SetRedirectStandardInput(true);
    ZvProcess process;
    process.SetStartInfo(info);
    ASSERT_TRUE(process.Start());
    void* const first = process.GetProcessHandle();
    const ZvStream* const stream = process.GetStandardInputStream().Get();
    const ZvStream$ kept = process.GetStandardInputStream();
    ASSERT_TRUE(process.Start());
    EXPECT_NE(process.GetProcessHandle(), first);
    EXPECT_NE(process.GetStandardInputStream().Get(), stream);
    EXPECT_EQ(kept->ReferenceCount(), 1);
    EXPECT_EQ(WaitForHandle(first, 0), WaitResult::TimedOut);      // still running, its handle lost but open
    zvc::platform::ProcessKill(first, 0);
    zvc::platform::ProcessKill(process.GetProcessHandle(), 0);
}

TEST(ZvProcess, DestroyingItDoesNotStopTheChild) {
    ZvProcess$ process = ZvProcess::Start(Text(Beside("child")), Text("child sleep"));
    void* const handle = process->GetProcessHandle();
    process = nullptr;
    EXPECT_EQ(WaitForHandle(handle, 20), WaitResult::TimedOut);
    EXPECT_TRUE(zvc::platform::ProcessKill(handle, 0));
    EXPECT_EQ(WaitForHandle(handle, 60000), WaitResult::Signalled);
}

TEST(ZvProcess, CopiesTakeHandlesAsValuesAndShareTheRest) {
    ZvProcessStartInfo$ info = ChildInfo("code 0");
    info->SetRedirectStandardInput(true);
    info->SetRedirectStandardOutput(true);
    info->SetRedirectStandardError(true);
    const ZvProcess$ process = ZvProcess::Start(info);
    const ZvProcess copy(*process);
    ZvProcess assigned;
    assigned = *process;
    for (const ZvProcess* one : {&copy, static_cast<const ZvProcess*>(&assigned)}) {
        EXPECT_EQ(one->GetStartInfo(), info);
        EXPECT_EQ(one->GetProcessHandle(), process->GetProcessHandle());
        EXPECT_EQ(one->GetThreadHandle(), process->GetThreadHandle());
        EXPECT_EQ(one->GetProcessId(), process->GetProcessId());
        EXPECT_EQ(one->GetThreadId(), process->GetThreadId());
        EXPECT_EQ(one->GetStandardInputStream(), process->GetStandardInputStream());
        EXPECT_EQ(one->GetStandardOutputStream(), process->GetStandardOutputStream());
        EXPECT_EQ(one->GetStandardErrorStream(), process->GetStandardErrorStream());
    }
}

TEST(ZvProcess, ShellExecuteDropsTheArguments) {
    const Folder folder;
    const std::string script = folder / "script", said = folder / "said";
    std::ofstream(script) << "#!/bin/sh\necho $# > '" << said << ".new'\nmv '" << said << ".new' '" << said << "'\n";
    chmod(script.c_str(), 0755);
    ZvProcessStartInfo$ info = new ZvProcessStartInfo(Text(script), Text("script with words"));
    info->UseShellExecute(true);
    ZvProcess process;
    process.SetStartInfo(info);
    EXPECT_TRUE(process.Start());
    EXPECT_EQ(FileText(said), "0\n");
    EXPECT_NE(process.GetProcessHandle(), nullptr);
    EXPECT_EQ(WaitForHandle(process.GetProcessHandle(), 0), WaitResult::Failed);      // a number, and no handle
    EXPECT_EQ(process.GetThreadHandle(), nullptr);
    EXPECT_EQ(process.GetProcessId(), 0u);
    EXPECT_EQ(process.GetThreadId(), 0u);
}

TEST(ZvProcess, ShellExecuteTakesTheShellsErrorNumbersForSuccess) {
    ZvProcessStartInfo$ info = new ZvProcessStartInfo(Text("/nonexistent/file"));
    info->UseShellExecute(true);
    const ZvProcess$ process = ZvProcess::Start(info);
    ASSERT_NE(process, nullptr);
    EXPECT_EQ(process->GetProcessHandle(), reinterpret_cast<void*>(2));
}

TEST(ZvProcess, FailureOfAPipeIsNotTested) {
    if (ZVC_ADDRESS_SANITIZER) GTEST_SKIP() << "the sanitizer looks at memory through a pipe of its own";
    const pid_t host = fork();
    if (host == 0) {
        // So few descriptors that no pipe can be made, while the child still gets its null devices.
        const rlimit limit{3, 3};
        for (int i = 3; i < 1024; ++i) close(i);
        setrlimit(RLIMIT_NOFILE, &limit);
        ZvProcessStartInfo$ info = ChildInfo("code 0");
        info->SetRedirectStandardInput(true);
        const ZvProcess$ process = ZvProcess::Start(info);
        if (!process || !process->GetStandardInputStream()) _exit(1);
        if (process->GetStandardInputStream()->Write("x", 1LL) != 0 || !process->GetStandardInputStream()->Fail()) _exit(2);
        _exit(0);
    }
    int status = 1;
    waitpid(host, &status, 0);
    EXPECT_EQ(WEXITSTATUS(status), 0);
}
