#include "Farm.h"

#include "Interrupt.h"
#include "Progress.h"

namespace farm {

namespace {

constexpr unsigned long LookEvery = 100;                // milliseconds

}

Farm::Farm(Job& job) : m_job(job) {
    for (size_t i = 0; i < job.options.hosts.size(); ++i) m_places.push_back(std::make_unique<Place>(job, i));
}

bool Farm::Run() {
    for (const auto& place : m_places) place->Start();
    Supervise();
    for (const auto& place : m_places) place->Join();
    m_job.progress.Show();
    m_job.progress.End();
    return m_job.tiles.DoneCount() == m_job.tiles.Count();
}

void Farm::Supervise() {
    for (int seen = 0; !AllOver(); ZvThread::Sleep(LookEvery)) {
        m_job.progress.Show();
        for (const auto& place : m_places) place->KillIfOverdue();
        if (Interrupts() != seen) {
            m_job.progress.Note(seen == 0 ? "interrupted: the tiles under way are finished first (once more: they are not)"
                                          : "interrupted again");
            m_job.tiles.Stop();
            seen = Interrupts();
        }
        if (seen < 2) continue;
        for (const auto& place : m_places) place->Kill();
    }
}

bool Farm::AllOver() const {
    for (const auto& place : m_places)
        if (!place->IsOver()) return false;
    return true;
}

}
