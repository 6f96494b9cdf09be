#include "zvc/concurrency/TaskScheduler.h"

#include <zvc/zvc.h>

#include "support/Program.h"
#include "zvc/platform/Clock.h"
#include "zvc/platform/System.h"

#include <gtest/gtest.h>

#include <csignal>
#include <atomic>
#include <dlfcn.h>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace {

using Body = zvc::Delegate<void(const ZvSystem::ThreadInfo&, unsigned int, void*)>;
using End = zvc::Delegate<void(const ZvSystem::ThreadInfo&)>;

const unsigned int Workers = ZvSystem::GetNumberOfProcessor();

void Add(ZvSystem::TaskQueue queue, unsigned int count, Body body, End end = {}, void* user = nullptr) {
    ZvSystem::AddTask(queue, body, count, end, user);
}

template <class Condition>
void WaitUntil(Condition condition) {
    while (!condition()) std::this_thread::yield();
}

/// Has every worker in a piece of its own until that worker is freed, so that what is added meanwhile waits.
class BusyWorkers {
public:
    BusyWorkers() : m_free(Workers) {
        Add(ZvSystem::TaskQueueFront, Workers, [this](const ZvSystem::ThreadInfo&, unsigned int piece, void*) {
            ++m_inside;
            WaitUntil([&] { return m_free[piece].load(); });
            --m_inside;
        });
        WaitUntil([this] { return m_inside == Workers; });
    }
    ~BusyWorkers() {
        for (auto& worker : m_free) worker = true;
        WaitUntil([this] { return m_inside == 0; });
    }
    void FreeOne() { m_free[0] = true; }

private:
    std::vector<std::atomic<bool>> m_free;
    std::atomic<unsigned int> m_inside{0};
};

/// What ran, in its order. Whole only when one worker runs it.
class Record {
public:
    Body Writing(const std::string& name) {
        return [this, name](const ZvSystem::ThreadInfo&, unsigned int piece, void*) { Write(name + std::to_string(piece)); };
    }
    void Write(const std::string& what) {
        std::lock_guard lock(m_mutex);
        m_text += what + " ";
        ++m_count;
    }
    void WaitFor(int count) {
        WaitUntil([&] { return m_count == count; });
    }
    std::string Text() {
        std::lock_guard lock(m_mutex);
        return m_text;
    }

private:
    std::mutex m_mutex;
    std::string m_text;
    std::atomic<int> m_count{0};
};

Outcome Case(const std::string& name) { return RunProgram("timeout 60 " + BesideTests("concurrency_cases") + " " + name); }

}

TEST(TaskScheduler, TaskOfFivePiecesIsHandedOutFromFourDownToZero) {
    Record record;
    BusyWorkers busy;
    Add(ZvSystem::TaskQueueBack, 5, record.Writing("p"), [&](const ZvSystem::ThreadInfo&) { record.Write("end"); });
    busy.FreeOne();
    record.WaitFor(6);
    EXPECT_EQ(record.Text(), "p4 p3 p2 p1 p0 end ");
}

TEST(TaskScheduler, EachPieceRunsOnceAndTheEndOnceAfterAllOfThem) {
    constexpr unsigned int Pieces = 1000;
    std::vector<std::atomic<int>> times(Pieces);
    std::atomic<unsigned int> ran{0}, ranAtEnd{0};
    std::atomic<int> ends{0};
    ZvSystem::StartTask();
    Add(
        ZvSystem::TaskQueueBack, Pieces,
        [&](const ZvSystem::ThreadInfo&, unsigned int piece, void*) {
            ++times[piece];
            ++ran;
        },
        [&](const ZvSystem::ThreadInfo& info) {
            EXPECT_LT(info.index, Workers);
            ranAtEnd = ran.load();
            ++ends;
        });
    ZvSystem::EndTask();
    for (const auto& n : times) EXPECT_EQ(n, 1);
    EXPECT_EQ(ends, 1);
    EXPECT_EQ(ranAtEnd, Pieces);
}

TEST(TaskScheduler, AllWorkersShareTheTaskAtTheHead) {
    std::atomic<unsigned int> inside{0};
    std::mutex mutex;
    std::set<unsigned int> indices;
    ZvSystem::StartTask();
    Add(ZvSystem::TaskQueueBack, Workers, [&](const ZvSystem::ThreadInfo& info, unsigned int, void*) {
        ++inside;
        WaitUntil([&] { return inside == Workers; });        // for ever, unless each worker has a piece at the same time
        std::lock_guard lock(mutex);
        indices.insert(info.index);
    });
    ZvSystem::EndTask();
    ASSERT_EQ(indices.size(), Workers);
    EXPECT_EQ(*indices.begin(), 0u);
    EXPECT_EQ(*indices.rbegin(), Workers - 1);
}

TEST(TaskScheduler, TasksOfTheBackRunInOrderAndOneOfTheFrontOvertakesThem) {
    Record record;
    BusyWorkers busy;
    Add(ZvSystem::TaskQueueBack, 2, record.Writing("a"));
    Add(ZvSystem::TaskQueueBack, 2, record.Writing("b"));
    Add(ZvSystem::TaskQueueFront, 2, record.Writing("f"));
    busy.FreeOne();
    record.WaitFor(6);
    EXPECT_EQ(record.Text(), "f1 f0 a1 a0 b1 b0 ");
}

TEST(TaskScheduler, TasksOfTheFrontRunTheLastAddedFirst) {
    Record record;
    BusyWorkers busy;
    for (const char* name : {"x", "y", "z"}) Add(ZvSystem::TaskQueueFront, 1, record.Writing(name));
    busy.FreeOne();
    record.WaitFor(3);
    EXPECT_EQ(record.Text(), "z0 y0 x0 ");
}

TEST(TaskScheduler, TaskOfTheFrontGoesAheadOfPiecesThatAreNotYetHandedOut) {
    Record record;
    BusyWorkers busy;
    Add(ZvSystem::TaskQueueBack, 4, [&](const ZvSystem::ThreadInfo&, unsigned int piece, void*) {
        record.Write("a" + std::to_string(piece));
        if (piece == 2) Add(ZvSystem::TaskQueueFront, 2, record.Writing("f"));
    });
    Add(ZvSystem::TaskQueueBack, 1, record.Writing("b"));
    busy.FreeOne();
    record.WaitFor(7);
    EXPECT_EQ(record.Text(), "a3 a2 f1 f0 a1 a0 b0 ");
}

TEST(TaskScheduler, TaskAddedByATaskBelongsToTheBatch) {
    std::atomic<int> ran{0};
    ZvSystem::StartTask();
    Add(ZvSystem::TaskQueueBack, 1, [&](const ZvSystem::ThreadInfo&, unsigned int, void*) {
        Add(ZvSystem::TaskQueueBack, 3, [&](const ZvSystem::ThreadInfo&, unsigned int, void*) {
            ZvThread::Sleep(5);
            ++ran;
        });
    });
    ZvSystem::EndTask();
    EXPECT_EQ(ran, 3);
}

TEST(TaskScheduler, SleepingWorkerWakesOnAddTask) {
    for (unsigned int count : {1u, 2u}) {
        std::atomic<unsigned int> ran{0};
        ZvThread::Sleep(20);
        Add(ZvSystem::TaskQueueBack, count, [&](const ZvSystem::ThreadInfo&, unsigned int, void*) { ++ran; });
        WaitUntil([&] { return ran == count; });             // without a batch, and without an EndTask
    }
}

TEST(TaskScheduler, UserDataGoesToEachPiece) {
    int mark = 0;
    for (void* user : {static_cast<void*>(&mark), static_cast<void*>(nullptr)}) {
        std::atomic<int> seen{0};
        ZvSystem::StartTask();
        Add(
            ZvSystem::TaskQueueBack, 10,
            [&, user](const ZvSystem::ThreadInfo&, unsigned int, void* given) { seen += given == user ? 1 : 0; }, {}, user);
        ZvSystem::EndTask();
        EXPECT_EQ(seen, 10);
    }
}

TEST(TaskScheduler, EitherDelegateMayBeEmpty) {
    std::atomic<int> ends{0};
    ZvSystem::StartTask();
    Add(ZvSystem::TaskQueueBack, 3, {});
    Add(ZvSystem::TaskQueueBack, 3, {}, [&](const ZvSystem::ThreadInfo&) { ++ends; });
    ZvSystem::EndTask();
    EXPECT_EQ(ends, 1);
}

TEST(TaskScheduler, CallersDelegatesAreCopiedAndStayAsTheyAre) {
    const auto counted = std::make_shared<int>(0);
    std::atomic<int> ran{0};
    Body body = [counted, &ran](const ZvSystem::ThreadInfo&, unsigned int, void*) { ++ran; };
    End end = [counted, &ran](const ZvSystem::ThreadInfo&) { ran += 100; };
    {
        BusyWorkers busy;
        {
            Body dying = body;
            End dyingEnd = end;
            ZvSystem::AddTask(ZvSystem::TaskQueueBack, dying, 2, dyingEnd, nullptr);
        }
        EXPECT_EQ(counted.use_count(), 5);
    }
    ZvSystem::StartTask();
    ZvSystem::EndTask();
    EXPECT_EQ(ran, 102);
    EXPECT_EQ(counted.use_count(), 3);            // the copies went with the task
    body({0}, 0, nullptr);
    EXPECT_EQ(ran, 103);
}

TEST(TaskScheduler, EveryTargetOfABodyIsCalledTheHeadLast) {
    Record record;
    BusyWorkers busy;
    Body body = record.Writing("head");
    body += record.Writing("second");
    ZvSystem::AddTask(ZvSystem::TaskQueueBack, body, 2, *std::make_unique<End>(), nullptr);
    busy.FreeOne();
    record.WaitFor(4);
    EXPECT_EQ(record.Text(), "second1 head1 second0 head0 ");
}

TEST(TaskScheduler, EndTaskWithNothingAddedReturnsAtOnce) {
    ZvSystem::StartTask();
    ZvSystem::EndTask();
}

TEST(TaskScheduler, EndTaskWaitsForTasksThatOthersAdded) {
    std::atomic<bool> ran{false};
    Add(ZvSystem::TaskQueueBack, 1, [&](const ZvSystem::ThreadInfo&, unsigned int, void*) {
        ZvThread::Sleep(20);
        ran = true;
    });
    ZvSystem::StartTask();
    ZvSystem::EndTask();
    EXPECT_TRUE(ran);
}

TEST(TaskScheduler, BatchLockKeepsOtherBatchesOutUntilEndTask) {
    std::atomic<bool> begun{false};
    ZvSystem::StartTask();
    ZvSystem::StartTask();                        // the lock is recursive
    std::thread other([&] {
        ZvSystem::StartTask();
        begun = true;
        ZvSystem::EndTask();
    });
    ZvSystem::EndTask();
    ZvThread::Sleep(20);
    EXPECT_FALSE(begun);
    ZvSystem::EndTask();
    other.join();
    EXPECT_TRUE(begun);
}

TEST(TaskScheduler, AddTaskDoesNotAskForTheBatchLock) {
    std::atomic<bool> ran{false};
    ZvSystem::StartTask();
    std::thread other([&] {
        Add(ZvSystem::TaskQueueBack, 1, [&](const ZvSystem::ThreadInfo&, unsigned int, void*) { ran = true; });
    });
    other.join();
    ZvSystem::EndTask();
    EXPECT_TRUE(ran);
}

TEST(TaskScheduler, QueueValues) {
    EXPECT_EQ(ZvSystem::TaskQueueFront, 0);
    EXPECT_EQ(ZvSystem::TaskQueueBack, 1);
    static_assert(sizeof(ZvSystem::ThreadInfo) == sizeof(unsigned int));
    static_assert(std::is_same_v<decltype(ZvSystem::ThreadInfo::index), unsigned int>);
}

TEST(TaskScheduler, QueueValueOfNeitherKindIsNeverRunAndEndTaskNeverReturns) {
    for (const char* value : {"2", "-1"}) {
        const Outcome outcome = Case(std::string("queue_value ") + value);
        EXPECT_EQ(outcome.output, "ran 0, ended 0, back task ran 1\n");
        EXPECT_EQ(outcome.code, 0);
    }
}

TEST(TaskScheduler, CountOfZeroHandsOutNumbersFromAllOnesDown) {
    const Outcome outcome = Case("count_zero");
    EXPECT_EQ(outcome.output, "4294967295 4294967294 4294967293 4294967292 \n");
    EXPECT_EQ(outcome.code, 0);
}

TEST(TaskScheduler, EndTaskWithoutStartTaskReturns) {
    const Outcome outcome = Case("end_without_start");
    EXPECT_EQ(outcome.output, "returned\n");
    EXPECT_EQ(outcome.code, 0);
}

TEST(TaskScheduler, TasksThatAreQueuedAtTheEndAreNeverRun) {
    const Outcome outcome = Case("queued_at_exit");
    EXPECT_EQ(outcome.output, "leaving\n");
    EXPECT_EQ(outcome.code, 3);
}

TEST(TaskScheduler, ExitCalledByATaskEndsTheProcessWithItsCode) {
    const Outcome outcome = Case("exit_in_task");
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.code, 5);
}

TEST(TaskScheduler, ExitOfAForkedChildDoesNotWaitForWorkersThatItDoesNotHave) {
    setenv("ASAN_OPTIONS", "detect_leaks=0", 1);        // which looks for the workers
    const Outcome outcome = Case("exit_in_fork");
    EXPECT_EQ(outcome.output, "child 4\n");
    EXPECT_EQ(outcome.code, 0);
}

TEST(TaskScheduler, AddTaskAndStartTaskAfterTheEndDoNothing) {
    const Outcome outcome = RunProgram("timeout 60 " + BesideTests("after_end_dlopen") + " " + BesideTests("../lib/libzvc.so.0"));
    EXPECT_EQ(outcome.output, "before: 1 piece\nafter: 0 pieces\n");
    EXPECT_EQ(outcome.code, 0);
}

TEST(TaskSchedulerDeathTest, ExceptionThatLeavesABodyOrAnEndEndsTheProcess) {
    for (const char* where : {"throw_in_body", "throw_in_end"}) {
        const Outcome outcome = Case(where);
        EXPECT_NE(outcome.output.find("thrown in a task"), std::string::npos) << outcome.output;
        EXPECT_EQ(outcome.signal, SIGABRT);
    }
}

TEST(TaskScheduler, IsReflectedWithEmptyMapsAndNotExported) {
    ZvType* type = ZvSystem::FindType("TaskScheduler");
    ASSERT_NE(type, nullptr);
    EXPECT_EQ(type->GetBaseType(), &ZvObject::s_type);
    EXPECT_EQ(type->GetSchema(), 0x80000001u);
    EXPECT_EQ(type->GetClassSpec(), 1u);
    EXPECT_FALSE(type->HasCodec());
    EXPECT_EQ(type->CreateObject(), nullptr);
    ASSERT_NE(type->GetFieldMap(), nullptr);
    EXPECT_EQ(type->GetFieldMap()->Length(), 0);
    ASSERT_NE(type->GetMethodMap(), nullptr);
    EXPECT_EQ(type->GetMethodMap()->GetNumMethod(), 0u);
    EXPECT_EQ(type->Construct(ZvArguments$(new ZvPrimArray<ZvObject$>(0, nullptr))), nullptr);
    EXPECT_EQ(dlsym(RTLD_DEFAULT, "_ZN13TaskScheduler6s_typeE"), nullptr);
    EXPECT_EQ(dlsym(RTLD_DEFAULT, "_ZTV13TaskScheduler"), nullptr);
    EXPECT_NE(dlsym(RTLD_DEFAULT, "_ZTV7ZvTimer"), nullptr);             // what an exported one looks like
}

TEST(ZvSystem, ClockAndProcessors) {
    EXPECT_EQ(ZvSystem::GetNumberOfProcessor(), zvc::platform::ProcessorCount());
    EXPECT_GE(ZvSystem::GetNumberOfProcessor(), 1u);
    const unsigned long long frequency = ZvSystem::RealTimeFrequency();
    EXPECT_EQ(frequency, zvc::platform::ClockFrequency());
    const unsigned long long start = ZvSystem::RealTimeNow();
    ZvThread::Sleep(20);
    EXPECT_GE((ZvSystem::RealTimeNow() - start) * 1000, 20 * frequency);
    for (unsigned long long last = 0, i = 0; i < 1000; ++i) {
        const unsigned long long now = ZvSystem::RealTimeNow();
        EXPECT_GE(now, last);
        last = now;
    }
}
