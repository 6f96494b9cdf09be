#include "zvc/platform/Semaphore.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <type_traits>
#include <vector>

using zvc::platform::Infinite;
using zvc::platform::Semaphore;

TEST(Semaphore, IsPlainWords) {
    EXPECT_TRUE(std::is_trivially_copyable_v<Semaphore>);
    EXPECT_TRUE(std::is_trivially_destructible_v<Semaphore>);
    EXPECT_EQ(sizeof(Semaphore), 12u);
}

TEST(Semaphore, ReleaseByAnyCountGivesAsManyTokens) {
    Semaphore semaphore;
    EXPECT_FALSE(semaphore.Wait(0));
    EXPECT_TRUE(semaphore.Release(3));
    EXPECT_TRUE(semaphore.Wait(0));
    EXPECT_TRUE(semaphore.Wait(Infinite));
    EXPECT_TRUE(semaphore.Wait(5));
    EXPECT_FALSE(semaphore.Wait(0));
}

TEST(Semaphore, ReleaseOfNothingAndBeyondTheMaximumIsRefused) {
    Semaphore semaphore(1, 3);
    EXPECT_FALSE(semaphore.Release(0));
    EXPECT_FALSE(semaphore.Release(3));
    EXPECT_TRUE(semaphore.Release(2));
    EXPECT_FALSE(semaphore.Release(1));
    for (int i = 0; i != 3; ++i) EXPECT_TRUE(semaphore.Wait(0));
    EXPECT_FALSE(semaphore.Wait(0));
}

TEST(Semaphore, WaitRunsOutOfTime) {
    Semaphore semaphore;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(semaphore.Wait(20));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(20));
}

TEST(Semaphore, NoTokenIsLostAmongWaitersThatGiveUp) {
    Semaphore semaphore;
    constexpr int tokens = 6000;
    std::atomic<int> taken{0};
    std::vector<std::thread> threads;
    for (int t = 0; t != 4; ++t)
        threads.emplace_back([&, t] {
            while (taken.load() < tokens)
                if (semaphore.Wait(t % 2 == 0 ? 1 : 5)) ++taken;
        });
    for (int given = 0; given != tokens;) {
        const int lot = given % 5 + 1 > tokens - given ? tokens - given : given % 5 + 1;
        EXPECT_TRUE(semaphore.Release(static_cast<uint32_t>(lot)));
        given += lot;
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(taken.load(), tokens);
    EXPECT_FALSE(semaphore.Wait(0));
}
