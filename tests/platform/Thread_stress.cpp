#include "zvc/platform/Event.h"
#include "zvc/platform/Thread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

using namespace zvc::platform;

TEST(ThreadStress, SuspendedAndResumedByManyAtATime) {
    struct Counter {
        std::atomic<long> count{0};
        std::atomic<bool> stop{false};
    } counter;
    const Handle handle = ThreadCreate(
        [](void* argument) {
            auto* c = static_cast<Counter*>(argument);
            while (!c->stop) ++c->count;
            return 0u;
        },
        &counter, nullptr);
    std::vector<std::thread> others;
    for (int i = 0; i < 4; ++i)
        others.emplace_back([&] {
            for (int n = 0; n < 100; ++n) {
                EXPECT_LT(ThreadSuspend(handle), 4u);
                const long before = counter.count;
                std::this_thread::yield();
                EXPECT_EQ(counter.count, before);
                EXPECT_GE(ThreadResume(handle), 1u);
            }
        });
    for (std::thread& other : others) other.join();
    counter.stop = true;
    EXPECT_EQ(WaitForHandle(handle, Infinite), WaitResult::Signalled);
    CloseHandle(handle);
}

TEST(ThreadStress, ThreadsThatSuspendEachOther) {
    struct Pair {
        Handle handles[2]{};
        Event known;
        std::atomic<int> next{0};
    } pair;
    const auto entry = [](void* argument) {
        auto* p = static_cast<Pair*>(argument);
        const int mine = p->next++;
        p->known.Wait(Infinite);
        for (int n = 0; n < 200; ++n) ThreadSuspend(p->handles[1 - mine]);
        return 0u;
    };
    for (Handle& handle : pair.handles) {
        handle = ThreadCreate(entry, &pair, nullptr);
        while (pair.next == (&handle - pair.handles)) YieldOnce();
    }
    pair.known.Set();
    // Both can come to a stand at the same time; whoever is outside lets them go on.
    for (bool running = true; running;) {
        running = false;
        for (Handle handle : pair.handles) {
            ThreadResume(handle);
            running |= WaitForHandle(handle, 0) != WaitResult::Signalled;
        }
    }
    for (Handle handle : pair.handles) CloseHandle(handle);
}

TEST(ThreadStress, ManyWaitersAtManyEnds) {
    for (int n = 0; n < 100; ++n) {
        const Handle handle = ThreadCreate([](void*) { return 9u; }, nullptr, nullptr);
        std::atomic<int> woken{0};
        std::vector<std::thread> waiters;
        for (int i = 0; i < 4; ++i)
            waiters.emplace_back([&] {
                uint32_t code = 0;
                if (WaitForHandle(handle, Infinite) == WaitResult::Signalled && ThreadExitCode(handle, &code) && code == 9) ++woken;
            });
        for (std::thread& waiter : waiters) waiter.join();
        EXPECT_EQ(woken, 4);
        EXPECT_TRUE(CloseHandle(handle));
    }
}
