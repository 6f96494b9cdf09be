#include "Place.h"

#include "Progress.h"
#include "Time.h"

#include <zvc/platform/Process.h>

namespace farm {

namespace {

constexpr int MostFailures = 3;                     // in a row; then the place is given up

}

/// Stands where an answer of the worker is awaited.
class Place::Awaiting {
public:
    explicit Awaiting(Place& place) : m_place(place) { m_place.m_due = Seconds() + m_place.m_job.options.patience; }
    ~Awaiting() { m_place.m_due = 0; }
    Awaiting(const Awaiting&) = delete;
    Awaiting& operator=(const Awaiting&) = delete;

private:
    Place& m_place;
};

Place::Place(Job& job, size_t number) : m_job(job), m_number(number) {
    zvc::Delegate<void()> routine(this, &Place::Run);
    m_thread = new ZvThread(routine);
}

void Place::Start() { m_thread->Start(); }

std::string Place::Name() const {
    const std::string& host = m_job.options.hosts[m_number];
    return "worker " + std::to_string(m_number + 1) + (host.empty() ? "" : " on " + host);
}

void Place::Run() {
    int failures = 0;
    for (Tile tile; failures < MostFailures && m_job.tiles.Take(tile);) {
        if (Serve(tile)) {
            failures = 0;
            m_job.tiles.Done();
        } else {
            ++failures;
            m_job.tiles.GiveBack(tile);
        }
    }
    if (failures == MostFailures) m_job.progress.Note(Name() + " is given up");
    if (!m_worker) return;
    {
        const Awaiting awaiting(*this);
        m_worker->Stop();
    }
    m_process = nullptr;
    m_worker.reset();
}

bool Place::Serve(const Tile& tile) {
    const double start = Seconds();
    const Awaiting awaiting(*this);
    if (!m_worker) {
        StartWorker();
        if (!m_worker->Activate(m_job.scene, m_job.picture, m_job.options.byValue)) {
            Lose("did not start");
            return false;
        }
        m_account.sharesMemory = m_worker->SharesMemory();
        ZvLogPrintf("%9.3f %s is ready; tiles go %s\n", Seconds(), Name().c_str(),
                    m_account.sharesMemory ? "into shared memory" : "through the channel");
    }
    long long rays = 0;
    if (!m_worker->Render(tile, m_job.picture, rays)) {
        Lose("ended without an answer");
        return false;
    }
    ++m_account.tiles;
    m_account.rays += rays;
    m_account.seconds += Seconds() - start;
    m_job.progress.Count(rays);
    ZvLogPrintf("%9.3f %s rendered %dx%d at %d,%d: %lld rays\n", Seconds(), Name().c_str(), tile.width, tile.height, tile.x,
                tile.y, rays);
    return true;
}

void Place::StartWorker() {
    m_overdue = false;
    m_worker = std::make_unique<RemoteRenderer>(m_job.scripts.Path(m_number));
    m_process = m_worker->Process();
    ++m_account.workers;
}

void Place::Lose(const char* when) {
    m_process = nullptr;
    m_worker.reset();
    std::string text = Name() + (m_overdue ? " did not answer in time" : std::string(" ") + when);
    if (const std::string words = m_job.scripts.LastWords(m_number); !words.empty()) text += " (" + words + ")";
    m_job.progress.Note(text);
}

void Place::KillIfOverdue() {
    const double due = m_due;
    if (due == 0 || Seconds() < due) return;
    m_overdue = true;
    Kill();
}

// A handle that is closed meanwhile is nobody's: it is never given out again.
void Place::Kill() { zvc::platform::ProcessKill(m_process, 1); }

}
