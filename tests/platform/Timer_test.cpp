#include "zvc/platform/Timer.h"

#include "zvc/platform/Event.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <sys/prctl.h>
#include <thread>
#include <vector>

using namespace zvc::platform;

TEST(Timer, PeriodicOnePulsesTheEvent) {
    Handle event = EventCreate();
    const auto start = std::chrono::steady_clock::now();
    const Handle timer = TimerStart(2, true, &event);
    ASSERT_NE(timer, nullptr);
    for (int i = 0; i != 5; ++i) EXPECT_EQ(WaitForHandle(event, Infinite), WaitResult::Signalled);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(10));
    EXPECT_TRUE(TimerStop(timer));
    EXPECT_EQ(WaitForHandle(event, 10), WaitResult::TimedOut);
    CloseHandle(event);
}

TEST(Timer, OneShotSetsTheEventSoThatALateWaiterIsReleased) {
    Handle event = EventCreate();
    const Handle timer = TimerStart(1, false, &event);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(WaitForHandle(event, Infinite), WaitResult::Signalled);
    EventReset(event);
    EXPECT_EQ(WaitForHandle(event, 10), WaitResult::TimedOut);       // once only
    EXPECT_TRUE(TimerStop(timer));
    CloseHandle(event);
}

TEST(Timer, IntervalOfZeroTicksAsOneMillisecond) {
    Handle event = EventCreate();
    const Handle timer = TimerStart(0, true, &event);
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i != 3; ++i) EXPECT_EQ(WaitForHandle(event, Infinite), WaitResult::Signalled);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(2));
    EXPECT_TRUE(TimerStop(timer));
    CloseHandle(event);
}

TEST(Timer, PulsesThatNobodyWaitsForAreLostAndTheScheduleStays) {
    Handle event = EventCreate();
    const auto start = std::chrono::steady_clock::now();
    const Handle timer = TimerStart(20, true, &event);
    for (int i = 1; i != 4; ++i) {
        EXPECT_EQ(WaitForHandle(event, Infinite), WaitResult::Signalled);
        std::this_thread::sleep_for(std::chrono::milliseconds(25));          // over one tick
        EXPECT_EQ(WaitForHandle(event, 0), WaitResult::TimedOut);
        EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(40 * i - 20 + 25));
    }
    EXPECT_TRUE(TimerStop(timer));
    CloseHandle(event);
}

TEST(Timer, EveryWaiterIsReleasedByATick) {
    Handle event = EventCreate();
    const Handle timer = TimerStart(30, true, &event);
    std::vector<std::thread> waiters;
    for (int i = 0; i != 4; ++i)
        waiters.emplace_back([=] { EXPECT_EQ(WaitForHandle(event, Infinite), WaitResult::Signalled); });
    for (std::thread& waiter : waiters) waiter.join();
    EXPECT_TRUE(TimerStop(timer));
    CloseHandle(event);
}

TEST(Timer, WaiterOfATimerThatIsStoppedGoesOnWaiting) {
    Handle event = EventCreate();
    const Handle timer = TimerStart(30, true, &event);
    std::atomic<bool> released{false};
    std::thread waiter([&] {
        EXPECT_EQ(WaitForHandle(event, Infinite), WaitResult::Signalled);
        released = true;
    });
    EXPECT_TRUE(TimerStop(timer));
    std::this_thread::sleep_for(std::chrono::milliseconds(60));
    EXPECT_FALSE(released);
    EXPECT_TRUE(EventSet(event));
    waiter.join();
    CloseHandle(event);
}

TEST(Timer, EventIsSetByOthersAsWell) {
    Handle event = EventCreate();
    const Handle timer = TimerStart(1000000, true, &event);
    EXPECT_EQ(WaitForHandle(event, 5), WaitResult::TimedOut);
    std::thread setter([=] { EventSet(event); });
    EXPECT_EQ(WaitForHandle(event, Infinite), WaitResult::Signalled);
    setter.join();
    EXPECT_TRUE(TimerStop(timer));
    CloseHandle(event);
}

TEST(Timer, StartsOnAnEventWithoutATimerOnly) {
    Handle event = EventCreate(), none = nullptr;
    const Handle timer = TimerStart(1, true, &event);
    EXPECT_EQ(TimerStart(1, true, &event), nullptr);
    EXPECT_EQ(TimerStart(1, true, &none), nullptr);
    Handle noEvent = timer;
    EXPECT_EQ(TimerStart(1, true, &noEvent), nullptr);
    EXPECT_TRUE(TimerStop(timer));
    const Handle second = TimerStart(1, false, &event);
    EXPECT_EQ(WaitForHandle(event, Infinite), WaitResult::Signalled);
    EXPECT_TRUE(TimerStop(second));
    CloseHandle(event);
}

TEST(Timer, StopComesAtOnceAndOnlyOnce) {
    Handle event = EventCreate();
    const Handle timer = TimerStart(1000000, false, &event);
    EXPECT_TRUE(TimerStop(timer));
    EXPECT_FALSE(TimerStop(timer));
    EXPECT_FALSE(TimerStop(nullptr));
    EXPECT_FALSE(TimerStop(event));
    EXPECT_TRUE(EventSet(event));
    EXPECT_TRUE(CloseHandle(event));
}

TEST(Timer, SurvivesAnEventThatWasClosed) {
    Handle event = EventCreate();
    const Handle timer = TimerStart(1, true, &event);
    CloseHandle(event);
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_TRUE(TimerStop(timer));
    EXPECT_EQ(TimerStart(1, true, &event), nullptr);
}

TEST(Timer, PreciseWaitsLeaveTheThreadAsItWas) {
    const int before = prctl(PR_GET_TIMERSLACK);
    {
        const PreciseWaits precise;
        EXPECT_EQ(prctl(PR_GET_TIMERSLACK), 1);
    }
    EXPECT_EQ(prctl(PR_GET_TIMERSLACK), before);
}

TEST(Timer, ManyAtATime) {
    Handle events[8], timers[8];
    for (int i = 0; i != 8; ++i) {
        events[i] = EventCreate();
        timers[i] = TimerStart(static_cast<uint32_t>(i), true, &events[i]);
    }
    for (Handle event : events) EXPECT_EQ(WaitForHandle(event, Infinite), WaitResult::Signalled);
    for (int i = 0; i != 8; ++i) {
        EXPECT_TRUE(TimerStop(timers[i]));
        CloseHandle(events[i]);
    }
}
