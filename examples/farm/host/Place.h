#pragma once

#include "RemoteRenderer.h"
#include "StartScripts.h"

#include <atomic>
#include <memory>

namespace farm {

class Progress;

/// What all places work on.
struct Job {
    const Options& options;
    ZvObject$ scene;
    Tiles& tiles;
    Picture& picture;
    const StartScripts& scripts;
    Progress& progress;
};

/// A place for one worker after the other, and the thread that keeps one at work there: starts it, hands it tiles, and when
/// it dies or hangs gives its tile back and starts the next.
class Place {
public:
    struct Account {
        int workers = 0;                    ///< that were started
        int tiles = 0;
        long long rays = 0;
        double seconds = 0;                 ///< of waiting for tiles
        bool sharesMemory = false;
    };

    Place(Job& job, size_t number);
    void Start();
    bool IsOver() { return !m_thread->IsAlive(); }
    void Join() { m_thread->Join(); }

    /// Kills the worker when its answer is overdue. Any thread.
    void KillIfOverdue();
    /// Kills the worker at once. Any thread.
    void Kill();

    /// What was done here, once the thread is over.
    const Account& GetAccount() const { return m_account; }
    std::string Name() const;

private:
    class Awaiting;

    void Run();
    bool Serve(const Tile& tile);
    void StartWorker();
    void Lose(const char* when);

    Job& m_job;
    const size_t m_number;
    ZvHandle<ZvThread, ZvObject$> m_thread;
    std::unique_ptr<RemoteRenderer> m_worker;
    Account m_account;
    std::atomic<void*> m_process{nullptr};      // of the worker, for who kills it
    std::atomic<double> m_due{0};               // the time by which its answer must be there; 0 while none is awaited
    std::atomic<bool> m_overdue{false};
};

}
