#include <zvc/zvc.h>

#include "support/Program.h"
#include "support/Sanitizers.h"
#include "zvc/platform/Thread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <stdexcept>
#include <thread>
#include <vector>

namespace {

using Thread$ = ZvHandle<ZvThread, ZvObject$>;

/// The kernel's handle, which stands behind what every object has.
zvc::platform::Handle HandleOf(const ZvThread& thread) {
    zvc::platform::Handle handle;
    std::memcpy(&handle, reinterpret_cast<const char*>(&thread) + sizeof(ZvObject), sizeof handle);
    return handle;
}

uint32_t ExitCodeOf(const ZvThread& thread) {
    uint32_t code = 0xABCD;
    EXPECT_TRUE(zvc::platform::ThreadExitCode(HandleOf(thread), &code));
    return code;
}

/// A routine that counts until it is told to stop.
class Counter {
public:
    zvc::Delegate<void()> Routine() { return {this, &Counter::Count}; }
    void Stop() { m_stop = true; }
    bool Unwound() const { return m_unwound; }
    void WaitUntilItCounts() const {
        const long before = m_count;
        while (m_count == before) std::this_thread::yield();
    }
    bool Counts() const {
        const long before = m_count;
        ZvThread::Sleep(20);
        return m_count != before;
    }

private:
    void Count() {
        struct Guard {
            std::atomic<bool>& unwound;
            ~Guard() { unwound = true; }
        } guard{m_unwound};
        while (!m_stop) ++m_count;
    }
    std::atomic<long> m_count{0};
    std::atomic<bool> m_stop{false}, m_unwound{false};
};

/// The running flag, through the start that does not fit a thread without parameter: it does nothing and answers the flag.
bool RunningFlag(ZvThread& thread) { return thread.Start(ZvObject$()); }

}

TEST(ZvThread, PrioritiesAreTheKernels) {
    EXPECT_EQ(ZvThread::PRIORITY_IDLE, -15);
    EXPECT_EQ(ZvThread::PRIORITY_LOWEST, -2);
    EXPECT_EQ(ZvThread::PRIORITY_BACKGROUND, -1);
    EXPECT_EQ(ZvThread::PRIORITY_NORMAL, 0);
    EXPECT_EQ(ZvThread::PRIORITY_FOREGROUND, 1);
    EXPECT_EQ(ZvThread::PRIORITY_HIGHEST, 2);
    EXPECT_EQ(ZvThread::PRIORITY_TIME_CRITICAL, 15);
    const int* address = &ZvThread::PRIORITY_IDLE;          // a constant with a place of its own
    EXPECT_EQ(*address, -15);
}

TEST(ZvThread, RunsTheRoutineAndEndsWithExitCodeZero) {
    std::atomic<int> calls{0};
    zvc::Delegate<void()> routine([&] { ++calls; });
    ZvThread thread(routine);
    EXPECT_FALSE(thread.IsAlive());
    EXPECT_TRUE(thread.Start());
    thread.Join();
    EXPECT_EQ(calls, 1);
    EXPECT_FALSE(thread.IsAlive());
    EXPECT_EQ(ExitCodeOf(thread), 0u);
}

TEST(ZvThread, DelegateIsCopiedSoThatTheCallersMayDieAtOnce) {
    std::string text;
    auto routine = std::make_unique<zvc::Delegate<void()>>([&] { text += 'A'; });
    *routine += [&] { text += 'B'; };
    *routine += [&] { text += 'C'; };
    ZvThread thread(*routine);
    routine.reset();
    thread.Start();
    thread.Join();
    EXPECT_EQ(text, "BCA");
}

TEST(ZvThread, ParameterIsStoredAndHandedByReference) {
    ZvObject$ given = new ZvObject, seen;
    ZvObject$ other = new ZvObject;
    zvc::Delegate<void(ZvObject$&)> routine([&](ZvObject$& parameter) {
        seen = parameter;
        parameter = other;
    });
    {
        ZvThread thread(routine);
        EXPECT_TRUE(thread.Start(given));
        thread.Join();
        EXPECT_EQ(seen, given);
        EXPECT_EQ(given->ReferenceCount(), 2);    // the routine let go of the stored one
        EXPECT_EQ(other->ReferenceCount(), 2);    // which is held to the end of the object
    }
    EXPECT_EQ(other->ReferenceCount(), 1);
}

TEST(ZvThread, ParameterIsHeldUntilDestruction) {
    ZvObject$ given = new ZvObject;
    zvc::Delegate<void(ZvObject$&)> routine([](ZvObject$&) {});
    {
        ZvThread thread(routine);
        thread.Start(given);
        thread.Join();
        EXPECT_EQ(given->ReferenceCount(), 2);
    }
    EXPECT_EQ(given->ReferenceCount(), 1);
}

TEST(ZvThread, StartWithoutParameterOfAThreadWithOneStartsNothing) {
    std::atomic<int> calls{0};
    zvc::Delegate<void(ZvObject$&)> routine([&](ZvObject$&) { ++calls; });
    ZvThread thread(routine);
    EXPECT_FALSE(thread.Start());
    EXPECT_FALSE(thread.IsAlive());
    EXPECT_EQ(HandleOf(thread), nullptr);
    EXPECT_EQ(calls, 0);
}

TEST(ZvThread, StartWithAParameterOfAThreadWithoutOneDoesNotKeepIt) {
    std::atomic<int> calls{0};
    zvc::Delegate<void()> routine([&] { ++calls; });
    ZvThread thread(routine);
    ZvObject$ parameter = new ZvObject;
    EXPECT_FALSE(thread.Start(parameter));
    EXPECT_EQ(parameter->ReferenceCount(), 1);
    EXPECT_FALSE(thread.IsAlive());
    EXPECT_EQ(HandleOf(thread), nullptr);
    EXPECT_EQ(calls, 0);
}

TEST(ZvThread, StartThatDoesNotFitAnswersTheFlagAsItStands) {
    zvc::Delegate<void()> routine([] {});
    ZvThread thread(routine);
    EXPECT_FALSE(RunningFlag(thread));
    thread.Start();
    EXPECT_TRUE(RunningFlag(thread));
    thread.Join();
    EXPECT_TRUE(RunningFlag(thread));             // never cleared at the end
}

TEST(ZvThread, EmptyDelegateStartsNothing) {
    zvc::Delegate<void()> empty;
    ZvThread thread(empty);
    EXPECT_FALSE(thread.Start());
    EXPECT_EQ(HandleOf(thread), nullptr);
}

TEST(ZvThread, JoinOfOneThatWasNeverStartedReturnsAtOnce) {
    zvc::Delegate<void()> routine([] {});
    ZvThread thread(routine);
    thread.Join();
    thread.OnDispose();
    EXPECT_FALSE(thread.IsAlive());
    EXPECT_EQ(thread.GetThreadID(), 0u);
}

TEST(ZvThread, OperationsOnOneThatIsNotAliveDoNothing) {
    zvc::Delegate<void()> routine([] {});
    ZvThread never(routine), ended(routine);
    ended.Start();
    ended.Join();
    for (ZvThread* thread : {&never, &ended}) {
        EXPECT_FALSE(thread->IsAlive());
        EXPECT_FALSE(thread->Suspend());
        EXPECT_FALSE(thread->Resume());
        thread->Terminate();
        thread->Join();
    }
    EXPECT_EQ(ExitCodeOf(ended), 0u);
    EXPECT_TRUE(RunningFlag(ended));              // neither of the two touched it
    EXPECT_EQ(never.GetPriority(), 0x7FFFFFFF);   // what the kernel answers for no handle
    EXPECT_EQ(never.SetPriority(ZvThread::PRIORITY_NORMAL), 0);
}

TEST(ZvThread, ThreadIdIsTheThreadsOwn) {
    std::atomic<unsigned long> own{0};
    zvc::Delegate<void()> routine([&] { own = zvc::platform::CurrentThreadId(); });
    ZvThread thread(routine);
    thread.Start();
    thread.Join();
    EXPECT_EQ(thread.GetThreadID(), own);
    EXPECT_NE(own, zvc::platform::CurrentThreadId());
}

TEST(ZvThread, RoutineFindsItsThreadAliveAndNumbered) {
    for (int i = 0; i != 1000; ++i) {                 // nothing holds the thread back while its creator is still at the start
        ZvThread* thread = nullptr;
        bool alive = false;
        unsigned long own = 0, told = 0;
        zvc::Delegate<void()> routine([&] {
            told = thread->GetThreadID();
            alive = thread->IsAlive();
            own = zvc::platform::CurrentThreadId();
        });
        ZvThread started(routine);
        thread = &started;
        started.Start();
        started.Join();
        ASSERT_TRUE(alive);
        ASSERT_EQ(told, own);
    }
}

TEST(ZvThread, IsAliveWhileItRunsWithTheExitCodeOfARunningThread) {
    Counter counter;
    auto routine = counter.Routine();
    ZvThread thread(routine);
    thread.Start();
    counter.WaitUntilItCounts();
    EXPECT_TRUE(thread.IsAlive());
    EXPECT_EQ(ExitCodeOf(thread), 259u);
    counter.Stop();
    thread.Join();
    EXPECT_FALSE(thread.IsAlive());
    EXPECT_NE(HandleOf(thread), nullptr);         // the end does not clear it
}

TEST(ZvThread, SecondStartBeginsASecondThreadAndForgetsTheFirst) {
    std::atomic<int> begun{0};
    std::atomic<bool> go{false};
    zvc::Delegate<void()> routine([&] {
        ++begun;
        while (!go) std::this_thread::yield();
        --begun;
    });
    ZvThread thread(routine);
    EXPECT_TRUE(thread.Start());
    const auto first = HandleOf(thread);
    const auto firstId = thread.GetThreadID();
    EXPECT_TRUE(thread.Start());
    while (begun != 2) std::this_thread::yield();
    EXPECT_NE(HandleOf(thread), first);
    EXPECT_NE(thread.GetThreadID(), firstId);
    go = true;
    thread.Join();
    EXPECT_EQ(zvc::platform::WaitForHandle(first, zvc::platform::Infinite), zvc::platform::WaitResult::Signalled);
    EXPECT_EQ(begun, 0);
    EXPECT_TRUE(zvc::platform::CloseHandle(first));          // it was never closed
}

TEST(ZvThread, SuspendClearsTheFlagAndTheThreadStaysAlive) {
    Counter counter;
    auto routine = counter.Routine();
    ZvThread thread(routine);
    thread.Start();
    counter.WaitUntilItCounts();
    EXPECT_TRUE(thread.Suspend());
    EXPECT_FALSE(RunningFlag(thread));
    EXPECT_TRUE(thread.IsAlive());
    EXPECT_FALSE(counter.Counts());
    EXPECT_TRUE(thread.Resume());
    EXPECT_TRUE(RunningFlag(thread));
    counter.WaitUntilItCounts();
    counter.Stop();
    thread.Join();
}

TEST(ZvThread, SuspendedTwiceMustBeResumedTwice) {
    Counter counter;
    auto routine = counter.Routine();
    ZvThread thread(routine);
    thread.Start();
    counter.WaitUntilItCounts();
    EXPECT_TRUE(thread.Suspend());
    EXPECT_TRUE(thread.Suspend());
    EXPECT_TRUE(thread.Resume());
    EXPECT_TRUE(RunningFlag(thread));             // which says nothing about the count
    EXPECT_FALSE(counter.Counts());
    EXPECT_TRUE(thread.Resume());
    counter.WaitUntilItCounts();
    EXPECT_TRUE(thread.Resume());                 // of a thread that is not suspended: no failure
    counter.Stop();
    thread.Join();
}

TEST(ZvThread, SuspendIsTrueWhateverTheKernelAnswers) {
    Counter counter;
    auto routine = counter.Routine();
    ZvThread thread(routine);
    thread.Start();
    counter.WaitUntilItCounts();
    for (int i = 0; i < 130; ++i) EXPECT_TRUE(thread.Suspend());      // the kernel refuses after 127
    for (int i = 0; i < 127; ++i) EXPECT_TRUE(thread.Resume());
    counter.WaitUntilItCounts();
    counter.Stop();
    thread.Join();
}

TEST(ZvThread, TerminateEndsItWithExitCodeOneAndWithoutUnwinding) {
    Counter counter;
    auto routine = counter.Routine();
    ZvThread thread(routine);
    thread.Start();
    counter.WaitUntilItCounts();
    thread.Terminate();
    EXPECT_FALSE(thread.IsAlive());
    EXPECT_EQ(ExitCodeOf(thread), 1u);
    EXPECT_FALSE(counter.Counts());
    EXPECT_FALSE(counter.Unwound());
    EXPECT_TRUE(RunningFlag(thread));
}

TEST(ZvThread, TerminateOfASuspendedOne) {
    Counter counter;
    auto routine = counter.Routine();
    ZvThread thread(routine);
    thread.Start();
    thread.Suspend();
    thread.Terminate();
    EXPECT_FALSE(thread.IsAlive());
    EXPECT_EQ(ExitCodeOf(thread), 1u);
}

TEST(ZvThread, DestructionWhileItRunsKillsItWithExitCodeOne) {
    // The handle goes with the object: the exit code is seen by who looks all the time, though not each time.
    for (uint32_t last = 259; last == 259;) {
        Counter counter;
        auto routine = counter.Routine();
        auto thread = std::make_unique<ZvThread>(routine);
        thread->Start();
        counter.WaitUntilItCounts();
        const auto handle = HandleOf(*thread);
        std::atomic<bool> looking{false};
        std::thread watcher([&] {
            for (uint32_t code; zvc::platform::ThreadExitCode(handle, &code); last = code) looking = true;
        });
        while (!looking) std::this_thread::yield();
        thread.reset();
        watcher.join();
        EXPECT_TRUE(last == 1 || last == 259) << last;
        EXPECT_FALSE(counter.Counts());
        EXPECT_FALSE(counter.Unwound());
    }
}

TEST(ZvThread, LastReleaseJoinsACountedThread) {
    std::atomic<bool> finished{false};
    zvc::Delegate<void()> routine([&] {
        ZvThread::Sleep(50);
        finished = true;
    });
    Thread$ thread = new ZvThread(routine);
    thread->Start();
    thread = Thread$();
    EXPECT_TRUE(finished);
}

TEST(ZvThread, SeveralWaitersJoin) {
    Counter counter;
    auto routine = counter.Routine();
    ZvThread thread(routine);
    thread.Start();
    std::atomic<int> returned{0};
    std::vector<std::thread> waiters;
    for (int i = 0; i < 5; ++i)
        waiters.emplace_back([&] {
            thread.Join();
            ++returned;
        });
    counter.WaitUntilItCounts();
    EXPECT_EQ(returned, 0);
    counter.Stop();
    for (auto& waiter : waiters) waiter.join();
    EXPECT_EQ(returned, 5);
}

TEST(ZvThread, CopiesSpeakOfOneThreadAndBothCloseIt) {
    ZvObject$ parameter = new ZvObject;
    std::atomic<int> calls{0};
    zvc::Delegate<void(ZvObject$&)> routine([&](ZvObject$&) { ++calls; });
    ZvThread original(routine);
    original.Start(parameter);
    original.Join();
    {
        ZvThread copy(original);
        EXPECT_EQ(HandleOf(copy), HandleOf(original));
        EXPECT_EQ(copy.GetThreadID(), original.GetThreadID());
        EXPECT_EQ(parameter->ReferenceCount(), 3);
        EXPECT_TRUE(copy.Start());                // the flag, copied as well
        EXPECT_FALSE(copy.IsAlive());
    }
    EXPECT_FALSE(original.IsAlive());             // its handle was closed with the copy
    EXPECT_EQ(parameter->ReferenceCount(), 2);
    ZvThread assigned(routine);
    assigned = original;
    EXPECT_TRUE(assigned.Start(ZvObject$(new ZvObject)));
    assigned.Join();
    EXPECT_EQ(calls, 2);                          // it has a delegate of its own
}

TEST(ZvThread, PriorityIsAnsweredAsItWasSet) {
    Counter counter;
    auto routine = counter.Routine();
    ZvThread thread(routine);
    thread.Start();
    EXPECT_EQ(thread.GetPriority(), ZvThread::PRIORITY_NORMAL);
    for (int priority : {-15, -2, -1, 1, 2, 15, 0}) {
        EXPECT_EQ(thread.SetPriority(priority), 1);
        EXPECT_EQ(thread.GetPriority(), priority);
    }
    for (int priority : {-16, -14, -3, 3, 14, 16, 1000}) {
        EXPECT_EQ(thread.SetPriority(priority), 0);
        EXPECT_EQ(thread.GetPriority(), 0);
    }
    counter.Stop();
    thread.Join();
}

TEST(ZvThread, SleepTakesAtLeastItsTimeAndYieldReturns) {
    const auto start = std::chrono::steady_clock::now();
    ZvThread::Sleep(20);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(20));
    ZvThread::Sleep(0);
    ZvThread::YieldToAnyThread();
}

TEST(ZvThread, StartAnswersFalseWhenTheSystemHasNoThreadToGive) {
    if (ZVC_ADDRESS_SANITIZER || ZVC_THREAD_SANITIZER)
        GTEST_SKIP() << "the sanitizer ends the program when it has no memory for a thread's record";
    const Outcome outcome = RunProgram(BesideTests("concurrency_cases") + " no_thread");
    EXPECT_EQ(outcome.output, "start 0 handle 0 kept 1 flag 0 alive 0\n");
    EXPECT_EQ(outcome.code, 0);
}

TEST(ZvThreadDeathTest, ExceptionThatLeavesTheRoutineEndsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            zvc::Delegate<void()> routine([] { throw std::runtime_error("routine"); });
            ZvThread thread(routine);
            thread.Start();
            thread.Join();
        },
        "routine");
}

TEST(ZvThread, IsAReflectedClassWithoutFactory) {
    ZvType* type = ZvSystem::FindType("ZvThread");
    ASSERT_EQ(type, &ZvThread::s_type);
    EXPECT_EQ(type->GetBaseType(), &ZvObject::s_type);
    EXPECT_EQ(type->GetSchema(), 0x80000001u);
    EXPECT_EQ(type->GetClassSpec(), 1u);
    EXPECT_FALSE(type->HasCodec());
    EXPECT_EQ(type->CreateObject(), nullptr);
    zvc::Delegate<void()> routine;
    ZvThread thread(routine);
    EXPECT_EQ(thread.GetType(), type);
    EXPECT_TRUE(thread.IsKindOf(&ZvObject::s_type));
}
