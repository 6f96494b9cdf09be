#include <zvc/zvc.h>

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

TEST(ZvTimerStress, DelaysOfAMillisecondNeverHang) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([] {
            ZvTimer timer(1, 0);
            for (int n = 0; n < 100; ++n) timer.Run();
        });
    for (std::thread& thread : threads) thread.join();
}

TEST(ZvTimerStress, TimersOfManyThreadsTickAndStop) {
    std::vector<std::thread> threads;
    for (unsigned int i = 0; i < 8; ++i)
        threads.emplace_back([i] {
            for (int n = 0; n < 20; ++n) {
                ZvTimer timer(i % 2, 1);
                int ticks = 0;
                timer.Tick() = [&] {
                    if (++ticks == 3) timer.Stop();
                };
                timer.Run();
                EXPECT_EQ(ticks, 3);
            }
        });
    for (std::thread& thread : threads) thread.join();
}

TEST(ZvTimerStress, StopAtAnyMomentEndsTheRun) {
    for (int n = 0; n < 100; ++n) {
        ZvTimer timer(0, 1);
        std::atomic<bool> begun{false};
        timer.Tick() = [&] { begun = true; };
        std::thread runner([&] { timer.Run(); });
        while (!begun) std::this_thread::yield();
        for (int i = 0; i < n; ++i) std::this_thread::yield();
        timer.Stop();
        runner.join();
    }
}
