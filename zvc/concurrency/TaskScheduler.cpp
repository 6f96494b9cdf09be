#include "zvc/concurrency/TaskScheduler.h"

#include "zvc/core/ZvFieldMacros.h"
#include "zvc/core/ZvMethodMacros.h"
#include "zvc/platform/Clock.h"
#include "zvc/platform/Process.h"
#include "zvc/platform/System.h"
#include "zvc/platform/Thread.h"
#include "zvc/values/ZvPrimitive.h"

ZV_DEFINE_CLASS(TaskScheduler, (ZvObject), ZV_TABLES)
ZV_FIELDS(TaskScheduler)
ZV_METHODS(TaskScheduler)
ZV_CONSTRUCTORS(TaskScheduler)

// Alive before the state that owns the scheduler, and after it.
constinit std::atomic<TaskScheduler*> TaskScheduler::s_instance{nullptr};

/// A task from Add to the end of its last piece. It stands in the queue as long as it has pieces to hand out.
struct TaskScheduler::Task {
    Task(const Body& taskBody, unsigned int count, const End& taskEnd, void* taskUser)
        : body(taskBody), end(taskEnd), user(taskUser), toStart(PiecesOf(count)), toFinish(PiecesOf(count)) {}

    // Deliberately not refused: a count of 0 goes to all ones at the first piece, which is 2^32 pieces.
    static int64_t PiecesOf(unsigned int count) { return count == 0 ? int64_t(1) << 32 : int64_t(count); }

    const Body body;
    const End end;
    void* const user;
    Task* previous = nullptr;
    Task* next = nullptr;
    bool queued = false;
    char apart[64];                               // the counter goes from worker to worker, what stands above is only read
    std::atomic<int64_t> toStart;                 // 0 and below: no piece is left
    std::atomic<int64_t> toFinish;                // with one for each worker that is at the task
    char end_apart[64];
};

TaskScheduler::TaskScheduler(unsigned int workers)
    : m_workerCount(workers), m_process(zvc::platform::CurrentProcessId()), m_queueObject(new ZvObject), m_doneObject(new ZvObject) {
    Lock();                                       // makes the monitor: whoever ends a batch that was not begun gets by
    Unlock();
    m_workers.reserve(m_workerCount);
    for (unsigned int i = 0; i != m_workerCount; ++i) {
        zvc::Delegate<void(ZvObject$&)> work(std::make_pair(this, &TaskScheduler::Work));
        m_workers.emplace_back(new ZvThread(work));
        m_workers.back()->Start(ZvObject$(new ZvPrimitive<unsigned int>(i)));
    }
    s_instance.store(this, std::memory_order_release);
}

TaskScheduler::~TaskScheduler() {
    s_instance.store(nullptr, std::memory_order_release);
    if (m_process == zvc::platform::CurrentProcessId()) Stop();
    m_doneObject = ZvObject$();
    m_queueObject = ZvObject$();
    const unsigned long self = zvc::platform::CurrentThreadId();
    for (auto& worker : m_workers)
        if (worker->GetThreadID() == self) worker->Retain();      // exit was called by a task: its thread must not kill itself
}

// With the lock held at the notification: a worker between its look at the flag and its wait would miss it.
void TaskScheduler::Stop() {
    m_queueObject->Lock();
    m_stopping = true;
    m_queueObject->NotifyAll();
    m_queueObject->Unlock();
    for (auto& worker : m_workers) worker->Join();
    m_stopping = false;
}

void TaskScheduler::Link(Task& task, Task* before, Task* behind) {
    task.previous = before;
    task.next = behind;
    task.queued = true;
    if (behind != nullptr) behind->previous = &task;
    else m_last = &task;
    if (before != nullptr) before->next = &task;
    else m_first = &task;
}

void TaskScheduler::Unlink(Task& task) {
    if (!task.queued) return;
    task.queued = false;
    if (task.next != nullptr) task.next->previous = task.previous;
    else m_last = task.previous;
    if (task.previous != nullptr) task.previous->next = task.next;
    else m_first = task.next;
}

void TaskScheduler::Add(ZvSystem::TaskQueue queue, const Body& body, unsigned int count, const End& end, void* user) {
    auto* task = new Task(body, count, end, user);
    m_pending.fetch_add(1);
    m_queueObject->Lock();
    if (queue == ZvSystem::TaskQueueFront) Link(*task, nullptr, m_first);
    else if (queue == ZvSystem::TaskQueueBack) Link(*task, m_last, nullptr);
    m_queueObject->Unlock();
    // Whoever waits by now was there before the task was, and is seen; the others see the task.
    if (count == 1) m_queueObject->Notify();
    else m_queueObject->NotifyAll();
}

// Going to sleep and being woken takes tens of microseconds on a processor that goes idle for it: longer than many a batch. So who
// waits looks a short while whether it is over before it sleeps, and lets others run between the looks.
template <class Condition>
static void LookWhile(Condition condition) {
    constexpr int Looks = 100, RoundsOfALook = 16;
    for (int look = 0; look != Looks; ++look) {
        for (int round = 0; round != RoundsOfALook; ++round) {
            if (!condition()) return;
            zvc::platform::SpinOnce();
        }
        zvc::platform::YieldOnce();
    }
}

void TaskScheduler::WaitForAll() {
    LookWhile([this] { return m_pending != 0; });
    m_doneObject->Lock();
    while (m_pending != 0) m_doneObject->Wait();
    m_doneObject->Unlock();
}

// The descriptor is asked only if it is another: at the library's start this one is an address and no object yet.
void TaskScheduler::Work(ZvObject$& index) {
    using Index = ZvPrimitive<unsigned int>;
    if (!index || (index->GetType() != &Index::s_type && index->GetType()->CalcOffset(&Index::s_type) == ZvNoOffset)) return;
    const ZvSystem::ThreadInfo info{static_cast<Index*>(index.Get())->value};
    while (const Piece first = NextPiece()) RunPieces(first, info);
}

// The first task with pieces left, and the number of pieces it had before one of them was taken for this worker, which the task
// then counts; no task when the workers are to end. A task in the queue is alive: whoever takes its last piece takes it out
// before that piece is run.
TaskScheduler::Piece TaskScheduler::NextPiece() {
    LookWhile([this] { return m_first.load(std::memory_order_relaxed) == nullptr && !m_stopping.load(std::memory_order_relaxed); });
    ZvLock lock(m_queueObject.Get());
    for (;;) {
        while (m_first == nullptr && !m_stopping) m_queueObject->Wait();
        if (m_stopping) return {};                // even if tasks are left
        Task* task = m_first;
        const int64_t left = task->toStart.fetch_sub(1);
        if (left > 0) task->toFinish.fetch_add(1);
        if (left <= 1) Unlink(*task);
        if (left > 0) return {task, left};
    }
}

// Passing the counter of pieces from worker to worker takes longer than a piece of a few nanoseconds, which one worker alone gets
// through sooner. So while the pieces go by as fast as that, all workers but the first step back for a moment behind each piece.
// Nothing else changes: the next piece is whoever's comes for it.
class TaskScheduler::Courtesy {
public:
    Courtesy(unsigned int worker, int64_t left)
        : m_rounds(worker * RoundsOfAWorker), m_left(left), m_since(m_rounds != 0 ? zvc::platform::ClockTicks() : 0) {}

    void AfterPiece(int64_t left) {
        if (m_rounds == 0) return;
        if (--m_untilLook == 0) Look(left);
        if (m_tiny)
            for (unsigned int i = 0; i != m_rounds; ++i) zvc::platform::SpinOnce();
    }

private:
    static constexpr unsigned int PiecesOfALook = 8;
    static constexpr int64_t TinyPiece = 40;                      // nanoseconds from one piece to the next, of all workers together
    static constexpr unsigned int RoundsOfAWorker = 64;

    void Look(int64_t left) {
        const uint64_t now = zvc::platform::ClockTicks();
        m_tiny = static_cast<int64_t>(now - m_since) < (m_left - left) * TinyPiece;
        m_since = now;
        m_left = left;
        m_untilLook = PiecesOfALook;
    }

    const unsigned int m_rounds;
    int64_t m_left;
    uint64_t m_since;
    unsigned int m_untilLook = PiecesOfALook;
    bool m_tiny = false;
};

// Runs pieces as long as the task stands at the head: a task that is put before it goes first. The pieces run are subtracted at
// the end in one step: before that the task cannot be finished, since this worker is still at it. Whoever comes to a task has a
// piece of it, so that the end of a task is never run by a worker that ran none.
void TaskScheduler::RunPieces(const Piece& first, const ZvSystem::ThreadInfo& info) {
    Task& task = *first.task;
    Courtesy courtesy(info.index, first.left);
    int64_t done = 1;
    int64_t left = first.left;
    for (;;) {
        task.body(info, static_cast<unsigned int>(left - 1), task.user);
        ++done;
        courtesy.AfterPiece(left);
        if (m_first.load(std::memory_order_relaxed) != &task || m_stopping.load(std::memory_order_relaxed)) break;
        left = task.toStart.fetch_sub(1);
        if (left <= 0) break;
        if (left == 1) {
            ZvLock lock(m_queueObject.Get());
            Unlink(task);
        }
    }
    if (task.toFinish.fetch_sub(done) == done) Finish(task, info);
}

void TaskScheduler::Finish(Task& task, const ZvSystem::ThreadInfo& info) {
    task.end(info);
    delete &task;
    if (m_pending.fetch_sub(1) != 1) return;
    // Through the lock first: whoever saw a task pending waits by then. Behind it, so that no one wakes up to wait again.
    m_doneObject->Lock();
    m_doneObject->Unlock();
    m_doneObject->NotifyAll();
}

void ZvSystem::AddTask(TaskQueue queue, zvc::Delegate<void(const ThreadInfo&, unsigned int, void*)>& body, unsigned int count,
                       zvc::Delegate<void(const ThreadInfo&)>& end, void* user) {
    if (TaskScheduler* scheduler = TaskScheduler::Get()) scheduler->Add(queue, body, count, end, user);
}

void ZvSystem::StartTask() {
    if (TaskScheduler* scheduler = TaskScheduler::Get()) scheduler->Lock();
}

void ZvSystem::EndTask() {
    TaskScheduler* scheduler = TaskScheduler::Get();
    scheduler->WaitForAll();                      // deliberately without a look whether it is there
    scheduler->Unlock();
}
