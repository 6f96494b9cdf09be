#include "Progress.h"

#include <cstdio>

namespace imagetool {

namespace {
constexpr unsigned long Interval = 100;            // milliseconds
constexpr double ShownAfter = 0.3;                 // seconds

double SecondsSince(unsigned long long ticks) {
    return static_cast<double>(ZvSystem::RealTimeNow() - ticks) / static_cast<double>(ZvSystem::RealTimeFrequency());
}
}

Progress::Progress(Mode mode) : m_mode(mode) {
    if (mode == Never) return;
    zvc::Delegate<void()> run(this, &Progress::Run);
    m_thread = new ZvThread(run);
    m_thread->Start();
}

Progress::~Progress() {
    m_over = true;
    if (m_thread) m_thread->Join();
    Clear();
}

void Progress::Step(const std::string& text) {
    const std::lock_guard lock(m_mutex);
    m_text = text;
    m_since = ZvSystem::RealTimeNow();
    if (m_drawn || m_mode == Always) Draw();
}

void Progress::Clear() {
    const std::lock_guard lock(m_mutex);
    if (m_drawn) std::fprintf(stderr, "\r\033[K");
    m_drawn = false;
    m_text.clear();
}

void Progress::Run() {
    while (!m_over) {
        {
            const std::lock_guard lock(m_mutex);
            if (!m_text.empty() && (m_drawn || SecondsSince(m_since) > ShownAfter)) Draw();
        }
        ZvThread::Sleep(Interval);
    }
}

void Progress::Draw() {
    std::fprintf(stderr, "\r%s, %.1f s\033[K", m_text.c_str(), SecondsSince(m_since));
    m_drawn = true;
}

}
