#include "zvc/concurrency/ZvThread.h"

#include "zvc/platform/Thread.h"

#include <algorithm>

using namespace zvc::platform;

ZV_DEFINE_CLASS(ZvThread, (ZvObject))

const int ZvThread::PRIORITY_IDLE;
const int ZvThread::PRIORITY_LOWEST;
const int ZvThread::PRIORITY_BACKGROUND;
const int ZvThread::PRIORITY_NORMAL;
const int ZvThread::PRIORITY_FOREGROUND;
const int ZvThread::PRIORITY_HIGHEST;
const int ZvThread::PRIORITY_TIME_CRITICAL;

static_assert(ZvThread::PRIORITY_IDLE == ThreadPriorityIdle && ZvThread::PRIORITY_LOWEST == ThreadPriorityLowest &&
              ZvThread::PRIORITY_BACKGROUND == ThreadPriorityBelowNormal && ZvThread::PRIORITY_NORMAL == ThreadPriorityNormal &&
              ZvThread::PRIORITY_FOREGROUND == ThreadPriorityAboveNormal &&
              ZvThread::PRIORITY_HIGHEST == ThreadPriorityHighest &&
              ZvThread::PRIORITY_TIME_CRITICAL == ThreadPriorityTimeCritical);

namespace {
constexpr uint32_t KilledExitCode = 1;
}

ZvThread::ZvThread(zvc::Delegate<void()>& routine) : m_routine(routine) {}

ZvThread::ZvThread(zvc::Delegate<void(ZvObject$&)>& routine) : m_parameterRoutine(routine) {}

ZvThread::ZvThread(const ZvThread& other) = default;

ZvThread& ZvThread::operator=(const ZvThread& other) = default;

ZvThread::~ZvThread() {
    Terminate();
    if (m_handle != nullptr) CloseHandle(m_handle);       // false when a copy has closed it already
}

uint32_t ZvThread::base_start_routine(void* self) {
    static_cast<ZvThread*>(self)->m_routine();
    return 0;
}

uint32_t ZvThread::start_with_parameter(void* self) {
    auto* thread = static_cast<ZvThread*>(self);
    thread->m_parameterRoutine(thread->m_parameter);
    return 0;
}

// Deliberately without a look at an earlier start, whose handle is overwritten and never closed. All fields are written before
// the routine begins, which may ask for them, and change the flag by suspending itself.
bool ZvThread::Begin(uint32_t (*entry)(void*)) {
    m_running = true;
    if (ThreadCreate(entry, this, &m_threadID, &m_handle) != nullptr) return true;
    m_running = false;
    return false;
}

bool ZvThread::Start() { return m_routine ? Begin(&base_start_routine) : m_running; }

bool ZvThread::Start(ZvObject$ parameter) {
    if (!m_parameterRoutine) return m_running;
    m_parameter = parameter;
    return Begin(&start_with_parameter);
}

bool ZvThread::IsAlive() {
    uint32_t code = 0;
    return m_handle != nullptr && ThreadExitCode(m_handle, &code) && code == ThreadStillActive;
}

bool ZvThread::Suspend() {
    if (!IsAlive()) return false;
    m_running = false;
    ThreadSuspend(m_handle);
    return true;                                          // whatever the kernel answered
}

bool ZvThread::Resume() {
    if (!IsAlive() || ThreadResume(m_handle) == 0xFFFFFFFF) return false;
    m_running = true;
    return true;
}

void ZvThread::Terminate() {
    if (IsAlive()) ThreadKill(m_handle, KilledExitCode);
}

void ZvThread::Join() {
    if (IsAlive()) WaitForHandle(m_handle, Infinite);
}

void ZvThread::OnDispose() { Join(); }

int ZvThread::GetPriority() { return ThreadGetPriority(m_handle); }

int ZvThread::SetPriority(int priority) { return ThreadSetPriority(m_handle, priority) ? 1 : 0; }

unsigned long ZvThread::GetThreadID() { return m_threadID; }

void ZvThread::Sleep(unsigned long milliseconds) {
    SleepFor(static_cast<uint32_t>(std::min<unsigned long>(milliseconds, Infinite)));
}

void ZvThread::YieldToAnyThread() { YieldOnce(); }
