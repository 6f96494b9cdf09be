#include "zvc/platform/Timer.h"

#include "zvc/platform/Event.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

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

TEST(Timer, ReadsTheVariableOfTheEventAtEachTick) {
    const Handle first = EventCreate(), second = EventCreate();
    Handle event = first;
    const Handle timer = TimerStart(1, true, &event);
    EXPECT_EQ(WaitForHandle(first, Infinite), WaitResult::Signalled);
    __atomic_store_n(&event, second, __ATOMIC_RELEASE);
    EXPECT_EQ(WaitForHandle(second, Infinite), WaitResult::Signalled);
    EXPECT_TRUE(TimerStop(timer));
    CloseHandle(first);
    CloseHandle(second);
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
