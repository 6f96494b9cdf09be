#include "zvc/platform/Event.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <type_traits>
#include <vector>

using namespace zvc::platform;

namespace {

// Starts waiters, and releases them by operation until all have come back: one that was not asleep yet misses a pulse.
template <class Wait, class Operation>
int Released(Wait wait, Operation operation) {
    std::atomic<int> back{0};
    std::vector<std::thread> threads;
    for (int t = 0; t != 3; ++t)
        threads.emplace_back([&] {
            if (wait()) ++back;
        });
    while (back.load() != 3) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        operation();
    }
    for (std::thread& thread : threads) thread.join();
    return back.load();
}

}

TEST(Event, IsPlainWords) {
    EXPECT_TRUE(std::is_trivially_copyable_v<Event>);
    EXPECT_EQ(sizeof(Event), 8u);
}

TEST(Event, StaysSetUntilReset) {
    Event event;
    EXPECT_FALSE(event.Wait(0));
    event.Set();
    EXPECT_TRUE(event.Wait(0));
    EXPECT_TRUE(event.Wait(Infinite));
    event.Set();
    event.Reset();
    EXPECT_FALSE(event.Wait(0));
    EXPECT_FALSE(event.Wait(2));
}

TEST(Event, PulseWithoutWaiterIsLost) {
    Event event;
    event.Pulse();
    EXPECT_FALSE(event.Wait(0));
    event.Set();
    event.Pulse();
    EXPECT_FALSE(event.Wait(0));
}

TEST(Event, SetReleasesAllWaiters) {
    Event event;
    EXPECT_EQ(Released([&] { return event.Wait(Infinite); }, [&] { event.Set(); }), 3);
    EXPECT_TRUE(event.Wait(0));
}

TEST(Event, PulseReleasesAllWaitersAndLeavesTheEventUnsignalled) {
    Event event;
    EXPECT_EQ(Released([&] { return event.Wait(Infinite); }, [&] { event.Pulse(); }), 3);
    EXPECT_FALSE(event.Wait(0));
}

TEST(Event, WaitRunsOutOfTime) {
    Event event;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(event.Wait(20));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(20));
}

TEST(Event, SetAndResetAtOnceReleasesWhoWaited) {
    Event event;
    EXPECT_EQ(Released([&] { return event.Wait(Infinite); },
                       [&] {
                           event.Set();
                           event.Reset();
                       }),
              3);
}

TEST(Event, BehindAHandle) {
    const Handle handle = EventCreate();
    ASSERT_NE(handle, nullptr);
    EXPECT_EQ(WaitForHandle(handle, 0), WaitResult::TimedOut);
    EXPECT_TRUE(EventSet(handle));
    EXPECT_EQ(WaitForHandle(handle, Infinite), WaitResult::Signalled);
    EXPECT_TRUE(EventReset(handle));
    EXPECT_EQ(WaitForHandle(handle, 2), WaitResult::TimedOut);
    EXPECT_EQ(Released([&] { return WaitForHandle(handle, Infinite) == WaitResult::Signalled; }, [&] { EventPulse(handle); }), 3);
    EXPECT_EQ(WaitForHandle(handle, 0), WaitResult::TimedOut);
    EXPECT_TRUE(CloseHandle(handle));
}

TEST(Event, OperationsOnWhatIsNoEventFail) {
    const Handle handle = EventCreate();
    EXPECT_TRUE(CloseHandle(handle));
    for (Handle none : {handle, Handle(nullptr), Handle(InvalidHandle)}) {
        EXPECT_FALSE(EventSet(none));
        EXPECT_FALSE(EventReset(none));
        EXPECT_FALSE(EventPulse(none));
        EXPECT_EQ(WaitForHandle(none, 0), WaitResult::Failed);
    }
}

TEST(Event, WaiterKeepsTheEventWhenItsHandleIsClosed) {
    const Handle handle = EventCreate();
    std::atomic<int> result{-1};
    std::thread waiter([&] { result = static_cast<int>(WaitForHandle(handle, 50)); });
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    CloseHandle(handle);
    waiter.join();
    // Either it was asleep on the event, which nobody could set any more, or it came after the handle had gone.
    EXPECT_TRUE(result == static_cast<int>(WaitResult::TimedOut) || result == static_cast<int>(WaitResult::Failed));
}
