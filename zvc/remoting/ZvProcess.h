#pragma once

#include "zvc/core/ZvDeclare.h"

ZV_DECLARE_HANDLE(ZvProcess, ZvObject$);
ZV_DECLARE_HANDLE(ZvProcessStartInfo, ZvObject$);

/// What a ZvProcess starts, and how. A plain record: nothing is looked at before the start, and one record may serve many
/// starts. One thread at a time.
class ZV_API ZvProcessStartInfo : public ZvObject {
    ZV_DECLARE_CLASS(ZvProcessStartInfo)
public:
    ZvProcessStartInfo(const ZvString$& fileName = ZvString$(), const ZvString$& arguments = ZvString$());
    ZvProcessStartInfo(const ZvProcessStartInfo& other);               ///< shares the two strings, as the assignment does
    ZvProcessStartInfo& operator=(const ZvProcessStartInfo& other);
    ~ZvProcessStartInfo() override;

    /// Which of the child's standard streams are connected to the parent. The others lead to the null device.
    void SetRedirectStandardError(bool redirect) { m_redirectStandardError = redirect; }
    bool GetRedirectStandardError() const { return m_redirectStandardError; }
    void SetRedirectStandardInput(bool redirect) { m_redirectStandardInput = redirect; }
    bool GetRedirectStandardInput() const { return m_redirectStandardInput; }
    void SetRedirectStandardOutput(bool redirect) { m_redirectStandardOutput = redirect; }
    bool GetRedirectStandardOutput() const { return m_redirectStandardOutput; }

    /// Open the file as the desktop would, instead of starting it as a program. The arguments are dropped then.
    void UseShellExecute(bool use) { m_useShellExecute = use; }
    bool IsUseShellExecute() const { return m_useShellExecute; }

    /// The program, a path as it stands; null lets the first word of the arguments decide.
    void SetFileName(const ZvString$& fileName) { m_fileName = fileName; }
    ZvString$ GetFileName() const { return m_fileName; }

    /// The whole command line: its first word is what the child sees as its own name, for the file name is not put in
    /// front. Null: the child's only word is the file name.
    void SetArguments(const ZvString$& arguments) { m_arguments = arguments; }
    ZvString$ GetArguments() const { return m_arguments; }

private:
    bool m_redirectStandardError = false;
    bool m_redirectStandardInput = false;
    bool m_redirectStandardOutput = false;
    bool m_useShellExecute = false;
    ZvString$ m_fileName;
    ZvString$ m_arguments;
    [[maybe_unused]] int m_stored = 3;                                 // kept, and read by nothing
};

/// A child program, with its standard streams at hand. The class only starts it: waiting, the exit code and killing go
/// through the process handle and zvc/platform/Process.h. Destroying the object neither stops the child nor closes a
/// handle other than those of the three streams. One thread at a time.
class ZV_API ZvProcess : public ZvObject {
    ZV_DECLARE_CLASS(ZvProcess)
public:
    ZvProcess();
    ZvProcess(const ZvProcess& other);                                 ///< shares streams and start info, as the assignment does
    ZvProcess& operator=(const ZvProcess& other);
    ~ZvProcess() override;

    /// Starts what the start info describes: false without one, and when nothing could be started. A second start replaces
    /// handles, numbers and the streams that are redirected now; the handles of the first are lost.
    ///
    /// The parent keeps its own copies of the child's ends of the pipes open, for good: the end of the child is not the end
    /// of its output. Programs tell the end from what they read, or from the process handle.
    bool Start();

    /// A new started process; null when there is nothing to start, or it could not be started.
    static ZvProcess$ Start(const ZvProcessStartInfo$& info);
    static ZvProcess$ Start(const ZvString$& fileName);
    static ZvProcess$ Start(const ZvString$& fileName, const ZvString$& arguments);

    void SetStartInfo(const ZvProcessStartInfo$& info) { m_startInfo = info; }
    ZvProcessStartInfo$ GetStartInfo() const { return m_startInfo; }

    /// A platform handle; with shell execute the number that the shell answered, which is no handle.
    void* GetProcessHandle() const { return m_processHandle; }
    void* GetThreadHandle() const { return m_threadHandle; }
    unsigned long GetProcessId() const { return m_processId; }
    unsigned long GetThreadId() const { return m_threadId; }

    /// The parent's ends: it writes to the child's input, and reads its output and its errors. Null when not redirected.
    /// They are streams on pipes: a read brings what is there, and waits while there is nothing.
    ZvStream$ GetStandardInputStream() const { return m_standardInput; }
    ZvStream$ GetStandardOutputStream() const { return m_standardOutput; }
    ZvStream$ GetStandardErrorStream() const { return m_standardError; }

private:
    ZvProcessStartInfo$ m_startInfo;
    void* m_processHandle = nullptr;
    void* m_threadHandle = nullptr;
    unsigned long m_processId = 0;
    unsigned long m_threadId = 0;
    ZvStream$ m_standardInput;
    ZvStream$ m_standardOutput;
    ZvStream$ m_standardError;
    [[maybe_unused]] int m_stored = 20000000;                          // kept, and read by nothing
};
