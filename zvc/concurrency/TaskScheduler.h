#pragma once

// The worker pool behind ZvSystem's AddTask, StartTask and EndTask. Internal; not for clients.

#include "zvc/concurrency/Delegate.h"
#include "zvc/concurrency/ZvThread.h"
#include "zvc/core/ZvDeclare.h"
#include "zvc/core/ZvSystem.h"

#include <atomic>
#include <cstdint>
#include <vector>

/// One worker for each processor, and one queue of tasks. A task is a number of pieces, numbered from the last one down to 0 in
/// the order in which they are handed out; all free workers take pieces of the task at the head, and the tasks behind it wait.
///
/// The object's own monitor is the batch lock. The queue object's monitor guards the queue and wakes the workers, the done
/// object's monitor wakes whoever waits for the end of all tasks. The workers start while the loader may still hold its
/// lock and no descriptor stands yet: until there is work they wait on these monitors and look at addresses only.
class TaskScheduler : public ZvObject {
    ZV_DECLARE_CLASS(TaskScheduler)
    ZV_DECLARE_TABLES()
public:
    using Body = zvc::Delegate<void(const ZvSystem::ThreadInfo&, unsigned int, void*)>;
    using End = zvc::Delegate<void(const ZvSystem::ThreadInfo&)>;

    /// Starts the workers.
    explicit TaskScheduler(unsigned int workers);

    /// Stops and joins them, each after the piece that it is in. Tasks that are still queued are never run, and abandoned
    /// with their delegates.
    ~TaskScheduler() override;

    /// Queues copies of both delegates as a task of count pieces; 0 counts as 2^32. A value that is no TaskQueue puts the task
    /// nowhere: it stays pending for ever.
    void Add(ZvSystem::TaskQueue queue, const Body& body, unsigned int count, const End& end, void* user);

    /// Waits until no task is pending.
    void WaitForAll();

    /// The one scheduler; null before the library's start and from its shutdown on.
    static TaskScheduler* Get() { return s_instance.load(std::memory_order_acquire); }

private:
    struct Task;
    class Courtesy;

    /// A piece that was handed out.
    struct Piece {
        Task* task = nullptr;
        int64_t left = 0;                         // pieces that the task had, this one among them
        explicit operator bool() const { return task != nullptr; }
    };

    void Work(ZvObject$& index);
    Piece NextPiece();
    void RunPieces(const Piece& first, const ZvSystem::ThreadInfo& info);
    void Finish(Task& task, const ZvSystem::ThreadInfo& info);
    void Link(Task& task, Task* before, Task* behind);
    void Unlink(Task& task);
    void Stop();

    std::atomic<bool> m_stopping{false};
    const unsigned int m_workerCount;
    std::vector<ZvHandle<ZvThread, ZvObject$>> m_workers;
    Task* m_last = nullptr;                       // of the queue; guarded by the queue object's monitor
    std::atomic<Task*> m_first{nullptr};          // the same; read without the monitor by who only compares
    std::atomic<uint32_t> m_pending{0};           // tasks added and not yet ended
    const uint32_t m_process;                     // the one that has the workers: a fork has none
    ZvObject$ m_queueObject;
    ZvObject$ m_doneObject;

    static std::atomic<TaskScheduler*> s_instance;
};
