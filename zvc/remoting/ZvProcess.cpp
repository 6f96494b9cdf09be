#include "zvc/remoting/ZvProcess.h"

#include "zvc/platform/Pipe.h"
#include "zvc/platform/Process.h"
#include "zvc/serialization/ZvFileStream.h"
#include "zvc/values/ZvString.h"

namespace platform = zvc::platform;

ZV_DEFINE_CLASS(ZvProcessStartInfo, (ZvObject))
ZV_DEFINE_CLASS(ZvProcess, (ZvObject))

ZvProcessStartInfo::ZvProcessStartInfo(const ZvString$& fileName, const ZvString$& arguments)
    : m_fileName(fileName), m_arguments(arguments) {}
ZvProcessStartInfo::ZvProcessStartInfo(const ZvProcessStartInfo& other) = default;
ZvProcessStartInfo& ZvProcessStartInfo::operator=(const ZvProcessStartInfo& other) = default;
ZvProcessStartInfo::~ZvProcessStartInfo() = default;

ZvProcess::ZvProcess() = default;
ZvProcess::ZvProcess(const ZvProcess& other) = default;
ZvProcess& ZvProcess::operator=(const ZvProcess& other) = default;
ZvProcess::~ZvProcess() = default;

namespace {

// The child's end stays open here as well: meant so. A pipe that cannot be made is not noticed either: the child gets the
// null device, and each transfer of the stream fails.
ZvStream$ ReadFromChild(platform::Handle* childEnd) {
    platform::Handle own = nullptr;
    platform::PipeCreate(&own, childEnd);
    return new ZvFileStream(own, ZvFile::Read);
}

ZvStream$ WriteToChild(platform::Handle* childEnd) {
    platform::Handle own = nullptr;
    platform::PipeCreate(childEnd, &own);
    return new ZvFileStream(own, ZvFile::Write);
}

}

bool ZvProcess::Start() {
    if (!m_startInfo) return false;
    platform::ProcessStart start;
    if (m_startInfo->GetRedirectStandardError()) m_standardError = ReadFromChild(&start.error);
    if (m_startInfo->GetRedirectStandardInput()) m_standardInput = WriteToChild(&start.input);
    if (m_startInfo->GetRedirectStandardOutput()) m_standardOutput = ReadFromChild(&start.output);

    const ZvString$ fileName = m_startInfo->GetFileName();
    const ZvString$ arguments = m_startInfo->GetArguments();
    if (m_startInfo->IsUseShellExecute()) {
        // No arguments, and any answer but 0 is a success, even the shell's small error numbers: meant so.
        m_processHandle = reinterpret_cast<void*>(platform::ShellOpen(fileName->CStr()));
        return m_processHandle != nullptr;
    }
    if (fileName) start.program = fileName->CStr();
    if (arguments) start.commandLine = arguments->CStr();
    platform::ProcessInfo info;
    platform::ProcessCreate(start, &info);
    m_processHandle = info.process;
    m_threadHandle = info.thread;
    m_processId = info.processId;
    m_threadId = info.threadId;
    return m_processHandle != nullptr;
}

ZvProcess$ ZvProcess::Start(const ZvProcessStartInfo$& info) {
    if (!info) return nullptr;
    ZvProcess$ process = new ZvProcess;
    process->SetStartInfo(info);
    return process->Start() ? process : ZvProcess$();
}

ZvProcess$ ZvProcess::Start(const ZvString$& fileName) {
    if (!fileName) return nullptr;
    return Start(ZvProcessStartInfo$(new ZvProcessStartInfo(fileName)));
}

ZvProcess$ ZvProcess::Start(const ZvString$& fileName, const ZvString$& arguments) {
    if (!fileName && !arguments) return nullptr;
    return Start(ZvProcessStartInfo$(new ZvProcessStartInfo(fileName, arguments)));
}
