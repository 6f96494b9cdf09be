#include <zvc/zvc.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

/// A timer that stops itself at a number of ticks.
struct Ticker {
    Ticker(unsigned int delay, unsigned int period, int last) : timer(delay, period) {
        timer.Tick() = [this, last] {
            if (++ticks == last) timer.Stop();
        };
    }
    ZvTimer timer;
    std::atomic<int> ticks{0};
};

/// Runs a timer, and how long it took at least.
std::chrono::milliseconds TimeOf(ZvTimer& timer) {
    const auto start = Clock::now();
    timer.Run();
    return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start);
}

}

TEST(ZvTimer, TicksUntilItIsStopped) {
    Ticker ticker(1, 1, 5);
    ticker.timer.Run();
    EXPECT_EQ(ticker.ticks, 5);
}

TEST(ZvTimer, IntervalIsTheDelayAndNotThePeriod) {
    Ticker slow(20, 1, 3);
    EXPECT_GE(TimeOf(slow.timer).count(), 79);    // the delay, and three intervals of the delay
    Ticker fast(1, 0xFFFFFFFF, 3);                // the period would be seven weeks
    fast.timer.Run();
    EXPECT_EQ(fast.ticks, 3);
}

TEST(ZvTimer, DelayOfZeroLeavesOutTheOneShotStageAndTicksAsOftenAsItCan) {
    Ticker ticker(0, 1000, 3);
    ticker.timer.Run();
    EXPECT_EQ(ticker.ticks, 3);
}

TEST(ZvTimer, DefaultsAreNoDelayAndAPeriod) {
    ZvTimer timer;
    int ticks = 0;
    timer.Tick() = [&] {
        if (++ticks == 2) timer.Stop();
    };
    timer.Run();
    EXPECT_EQ(ticks, 2);
}

TEST(ZvTimer, PeriodOfZeroRunsTheDelayAndReturnsWithoutATick) {
    Ticker ticker(20, 0, 1);
    EXPECT_GE(TimeOf(ticker.timer).count(), 19);
    EXPECT_EQ(ticker.ticks, 0);
}

TEST(ZvTimer, BothZeroReturnsAtOnce) {
    Ticker ticker(0, 0, 1);
    ticker.timer.Run();
    EXPECT_EQ(ticker.ticks, 0);
}

TEST(ZvTimer, StopFromAnotherThreadIsObeyedAfterAtMostOneMoreTick) {
    ZvTimer timer(1, 1);
    std::atomic<int> ticks{0}, ticksAtStop{-1};
    timer.Tick() = [&] { ++ticks; };
    std::thread stopper([&] {
        while (ticks < 3) std::this_thread::yield();
        timer.Lock();                             // a tick is not held up by the timer's lock
        timer.Stop();
        ticksAtStop = ticks.load();
        timer.Unlock();
    });
    timer.Run();
    stopper.join();
    EXPECT_LE(ticks, ticksAtStop + 1);
}

TEST(ZvTimer, TickThatWakesAStoppedTimerIsStillServed) {
    ZvTimer timer(200, 1);
    std::atomic<int> ticks{0};
    std::atomic<bool> waiting{false};
    timer.Tick() = [&] {
        ++ticks;
        waiting = true;
    };
    std::thread stopper([&] {
        while (!waiting) std::this_thread::yield();
        ZvThread::Sleep(20);                      // into the wait for the second tick
        timer.Stop();
    });
    timer.Run();
    stopper.join();
    EXPECT_EQ(ticks, 2);
}

TEST(ZvTimer, StopDuringTheDelayEndsTheTimerBeforeItsFirstTick) {
    ZvTimer timer(100, 1);
    int ticks = 0;
    timer.Tick() = [&] { ++ticks; };
    std::thread stopper([&] {
        ZvThread::Sleep(20);
        timer.Stop();
    });
    const auto time = TimeOf(timer);
    stopper.join();
    EXPECT_EQ(ticks, 0);
    EXPECT_GE(time.count(), 99);                  // the delay is not cut short
}

TEST(ZvTimer, StopTakesTheTimersLockAndRunDoesNot) {
    ZvTimer timer(1, 0);
    std::atomic<bool> stopped{false};
    timer.Lock();
    std::thread stopper([&] {
        timer.Run();                              // returns, although another thread holds the lock
        timer.Stop();
        stopped = true;
    });
    ZvThread::Sleep(30);
    EXPECT_FALSE(stopped);
    timer.Unlock();
    stopper.join();
    EXPECT_TRUE(stopped);
}

TEST(ZvTimer, StopBeforeRunIsForgotten) {
    Ticker ticker(1, 1, 2);
    ticker.timer.Stop();
    ticker.timer.Run();
    EXPECT_EQ(ticker.ticks, 2);
}

TEST(ZvTimer, CanBeRunAgain) {
    Ticker ticker(1, 1, 2);
    ticker.timer.Run();
    EXPECT_EQ(ticker.ticks, 2);
    ticker.ticks = 0;
    ticker.timer.Run();
    EXPECT_EQ(ticker.ticks, 2);
}

TEST(ZvTimer, SetSceduleReplacesBothValues) {
    Ticker ticker(100000, 1000, 2);
    ticker.timer.SetScedule(20, 0);
    EXPECT_GE(TimeOf(ticker.timer).count(), 19);
    EXPECT_EQ(ticker.ticks, 0);
    ticker.timer.SetScedule(0, 1);
    ticker.timer.Run();
    EXPECT_EQ(ticker.ticks, 2);
}

TEST(ZvTimer, WithoutATickDelegateItIsStoppedAllTheSame) {
    ZvTimer timer(1, 1);
    std::atomic<bool> ended{false};
    std::thread runner([&] {
        timer.Run();
        ended = true;
    });
    while (!ended) {                              // Run clears what was set before its beginning
        timer.Stop();
        std::this_thread::yield();
    }
    runner.join();
}

TEST(ZvTimer, EveryTargetOfTheTickIsCalled) {
    std::string text;
    ZvTimer timer(0, 1);
    timer.Tick() = [&] { text += 'h'; };
    timer.Tick() += [&] {
        text += 't';
        timer.Stop();
    };
    timer.Run();
    EXPECT_EQ(text, "th");
}

TEST(ZvTimer, CopyHasTheValuesAndItsOwnDelegate) {
    int ticks = 0;
    ZvTimer* running = nullptr;
    ZvTimer original(0, 1);
    original.Tick() = [&] {
        ++ticks;
        running->Stop();
    };
    ZvTimer copy(original), assigned(100000, 0);
    assigned = original;
    original.Tick() = nullptr;
    running = &copy;
    copy.Run();
    running = &assigned;
    assigned.Run();
    EXPECT_EQ(ticks, 2);
}

TEST(ZvTimer, RunIsVirtual) {
    struct Counting : ZvTimer {
        int runs = 0;
        void Run() override { ++runs; }
    } counting;
    ZvTimer& timer = counting;
    timer.Run();
    EXPECT_EQ(counting.runs, 1);
}

TEST(ZvTimer, IsAReflectedClassWithoutFactory) {
    ZvType* type = ZvSystem::FindType("ZvTimer");
    ASSERT_EQ(type, &ZvTimer::s_type);
    EXPECT_EQ(type->GetBaseType(), &ZvObject::s_type);
    EXPECT_EQ(type->GetSchema(), 0x80000001u);
    EXPECT_EQ(type->GetClassSpec(), 1u);
    EXPECT_FALSE(type->HasCodec());
    EXPECT_EQ(type->CreateObject(), nullptr);
    ZvHandle<ZvTimer, ZvObject$> timer = new ZvTimer;
    EXPECT_EQ(timer->GetType(), type);
    EXPECT_EQ(*timer->ToString(), "ZvTimer");
}
