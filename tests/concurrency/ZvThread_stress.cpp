#include <zvc/zvc.h>

#include "support/Killing.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

namespace {

/// Counts until it is told to stop, with a wait in the kernel now and then.
struct Worker {
    std::atomic<long> count{0};
    std::atomic<bool> stop{false};
    zvc::Delegate<void()> routine{this, &Worker::Run};
    ZvThread thread{routine};

    void Run() {
        while (!stop)
            if (++count % 1000 == 0) ZvThread::Sleep(count % 5000 == 0 ? 1 : 0);
    }
};

}

TEST(ZvThreadStress, ThreadsStartedAndKilledAtAnyMoment) {
    SKIP_WHERE_WAITING_THREADS_CANNOT_BE_KILLED();
    for (int n = 0; n < 300; ++n) {
        Worker worker;
        ASSERT_TRUE(worker.thread.Start());
        for (int i = 0; i < n % 40; ++i) std::this_thread::yield();
        if (n % 3 == 0) worker.thread.Suspend();
        worker.thread.Terminate();
        EXPECT_FALSE(worker.thread.IsAlive());
        const long count = worker.count;
        std::this_thread::yield();
        EXPECT_EQ(worker.count, count);
    }
}

TEST(ZvThreadStress, SuspendedThreadsStandStillUntilTheyAreResumed) {
    std::vector<std::unique_ptr<Worker>> workers;
    for (int i = 0; i < 4; ++i) {
        workers.push_back(std::make_unique<Worker>());
        ASSERT_TRUE(workers.back()->thread.Start());
    }
    for (int n = 0; n < 300; ++n) {
        Worker& worker = *workers[static_cast<size_t>(n % 4)];
        const int times = 1 + n % 3;
        for (int i = 0; i < times; ++i) EXPECT_TRUE(worker.thread.Suspend());
        const long count = worker.count;
        std::this_thread::yield();
        EXPECT_EQ(worker.count, count);
        for (int i = 0; i < times; ++i) EXPECT_TRUE(worker.thread.Resume());
    }
    for (const auto& worker : workers) {
        worker->stop = true;
        worker->thread.Join();
    }
}

TEST(ZvThreadStress, RoutinesThatEndWhileTheyAreSuspendedOrKilled) {
    SKIP_WHERE_WAITING_THREADS_CANNOT_BE_KILLED();
    for (int n = 0; n < 500; ++n) {
        std::atomic<bool> ran{false};
        zvc::Delegate<void()> routine([&] { ran = true; });
        ZvThread thread(routine);
        ASSERT_TRUE(thread.Start());
        if (n % 2 == 0) {
            if (thread.Suspend()) thread.Resume();
            thread.Join();
            EXPECT_TRUE(ran);
        } else {
            thread.Terminate();
        }
        EXPECT_FALSE(thread.IsAlive());
    }
}
