#include <zvc/zvc.h>

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

namespace {

using Body = zvc::Delegate<void(const ZvSystem::ThreadInfo&, unsigned int, void*)>;
using End = zvc::Delegate<void(const ZvSystem::ThreadInfo&)>;

/// A task whose pieces each run once, and whose end comes once, after all of them.
class CountedTask {
public:
    explicit CountedTask(unsigned int pieces) : m_ran(pieces) {}

    void Add(ZvSystem::TaskQueue queue) {
        Body body(this, &CountedTask::Piece);
        End end(this, &CountedTask::AtEnd);
        ZvSystem::AddTask(queue, body, static_cast<unsigned int>(m_ran.size()), end, this);
    }
    void ExpectComplete() const {
        EXPECT_EQ(m_ends, 1);
        EXPECT_EQ(m_finishedAtEnd, m_ran.size());
        for (const auto& times : m_ran) EXPECT_EQ(times, 1);
    }

private:
    void Piece(const ZvSystem::ThreadInfo& info, unsigned int number, void* user) {
        EXPECT_LT(info.index, ZvSystem::GetNumberOfProcessor());
        EXPECT_EQ(user, this);
        ++m_ran[number];
        ++m_finished;
    }
    void AtEnd(const ZvSystem::ThreadInfo&) {
        m_finishedAtEnd = m_finished.load();
        ++m_ends;
    }

    std::vector<std::atomic<int>> m_ran;
    std::atomic<size_t> m_finished{0}, m_finishedAtEnd{0};
    std::atomic<int> m_ends{0};
};

using Tasks = std::vector<std::unique_ptr<CountedTask>>;

}

TEST(TaskSchedulerStress, BatchesOfEverySizeComeToTheirEnd) {
    for (unsigned int round = 0; round < 2000; ++round) {
        Tasks tasks;
        ZvSystem::StartTask();
        for (unsigned int i = 0; i != round % 7; ++i) {
            tasks.push_back(std::make_unique<CountedTask>(1 + (round * 7 + i * 13) % 40));
            tasks.back()->Add(i % 2 == 0 ? ZvSystem::TaskQueueBack : ZvSystem::TaskQueueFront);
        }
        ZvSystem::EndTask();
        for (const auto& task : tasks) task->ExpectComplete();
    }
}

TEST(TaskSchedulerStress, BatchOfOneWakesASleepingWorker) {
    for (int round = 0; round < 3000; ++round) {
        CountedTask task(1);
        ZvSystem::StartTask();
        task.Add(ZvSystem::TaskQueueBack);
        ZvSystem::EndTask();
        task.ExpectComplete();
    }
}

TEST(TaskSchedulerStress, ManyThreadsHaveTheirBatchesOneAfterAnother) {
    std::atomic<int> inside{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([&] {
            for (unsigned int round = 0; round < 150; ++round) {
                CountedTask task(1 + round % 20), other(3);
                ZvSystem::StartTask();
                EXPECT_EQ(++inside, 1);
                task.Add(ZvSystem::TaskQueueBack);
                other.Add(ZvSystem::TaskQueueFront);
                --inside;
                ZvSystem::EndTask();
                task.ExpectComplete();
                other.ExpectComplete();
            }
        });
    for (std::thread& thread : threads) thread.join();
}

TEST(TaskSchedulerStress, TasksAddedByTasksAndByThreadsWithoutABatchAllRun) {
    std::atomic<int> ran{0}, toAdd{3000};
    Body body;
    End end;
    body = [&](const ZvSystem::ThreadInfo&, unsigned int number, void*) {
        ++ran;
        if (number == 0 && --toAdd > 0) ZvSystem::AddTask(ZvSystem::TaskQueue(toAdd % 2), body, 4, end, nullptr);
    };
    ZvSystem::StartTask();
    ZvSystem::AddTask(ZvSystem::TaskQueueBack, body, 4, end, nullptr);
    std::vector<std::thread> threads;
    std::vector<Tasks> tasks(3);
    for (Tasks& mine : tasks)
        threads.emplace_back([&mine] {
            for (unsigned int i = 0; i < 300; ++i) {
                mine.push_back(std::make_unique<CountedTask>(1 + i % 9));
                mine.back()->Add(ZvSystem::TaskQueue(i % 2));
            }
        });
    for (std::thread& thread : threads) thread.join();
    ZvSystem::EndTask();
    EXPECT_EQ(ran, 3000 * 4);
    for (const Tasks& mine : tasks)
        for (const auto& task : mine) task->ExpectComplete();
}
