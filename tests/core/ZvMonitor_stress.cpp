// A hundred thousand waits a run: no wake-up is lost, which would hang, and none comes without a notification behind it.

#include <zvc/zvc.h>

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace {

constexpr unsigned int Infinite = 0xFFFFFFFF;

template <class Body>
std::vector<std::thread> Threads(int count, Body body) {
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i) threads.emplace_back(body, i);
    return threads;
}

void Join(std::vector<std::thread>& threads) {
    for (std::thread& thread : threads) thread.join();
}

void ExpectNothingLeft(ZvMonitor& monitor) {
    monitor.Lock();
    for (int i = 0; i < 16; ++i) EXPECT_FALSE(monitor.Wait(0));
    monitor.Unlock();
}

}

TEST(ZvMonitorStress, EachOfSeventyThousandNotificationsWakesOneWaiter) {
    ZvMonitor monitor;
    constexpr long Total = 70000;
    long waiting = 0, granted = 0, taken = 0;               // all three under the monitor's lock
    bool done = false;
    auto waiters = Threads(6, [&](int) {
        monitor.Lock();
        while (!done) {
            ++waiting;
            EXPECT_TRUE(monitor.Wait(Infinite));
            EXPECT_LE(++taken, granted);
        }
        monitor.Unlock();
    });
    auto notifiers = Threads(2, [&](int i) {
        for (bool more = true; more;) {
            monitor.Lock();
            if (waiting != 0 && i == 0) {
                --waiting;
                ++granted;
                monitor.Notify();
            } else if (waiting > 2) {
                granted += waiting;
                waiting = 0;
                monitor.NotifyAll();
            }
            more = granted < Total;
            monitor.Unlock();
            std::this_thread::yield();
        }
    });
    Join(notifiers);
    monitor.Lock();
    done = true;
    granted += waiting;
    monitor.NotifyAll();
    monitor.Unlock();
    Join(waiters);
    EXPECT_EQ(taken, granted);
    ExpectNothingLeft(monitor);
}

TEST(ZvMonitorStress, TokensHandedOverWithoutTheLockAllArrive) {
    ZvMonitor monitor;
    constexpr int Total = 40000;
    int tokens = 0, taken = 0;
    bool done = false;
    auto consumers = Threads(4, [&](int) {
        monitor.Lock();
        for (;;) {
            while (tokens == 0 && !done) monitor.Wait(Infinite);
            if (tokens == 0) break;
            --tokens;
            ++taken;
        }
        monitor.Unlock();
    });
    auto producers = Threads(4, [&](int i) {
        for (int n = 0; n < Total / 4; ++n) {
            monitor.Lock();
            ++tokens;
            monitor.Unlock();
            if (i == 0) monitor.NotifyAll();
            else monitor.Notify();
        }
    });
    Join(producers);
    monitor.Lock();
    done = true;
    monitor.Unlock();
    monitor.NotifyAll();
    Join(consumers);
    EXPECT_EQ(taken, Total);
    ExpectNothingLeft(monitor);
}

// Each waits on an object of its own: on a common one the player who waits next could take the grant of the one whose turn it is.
TEST(ZvMonitorStress, TurnsArePassedOnByEightThreadsInOrder) {
    struct Player {
        ZvObject object;
        bool hasTurn = false;
    } players[8];
    constexpr int Rounds = 2000;
    int turns = 0;
    players[0].hasTurn = true;
    auto threads = Threads(8, [&](int i) {
        Player& mine = players[i];
        Player& next = players[(i + 1) % 8];
        for (int n = 0; n < Rounds; ++n) {
            {
                ZvLock lock(mine.object);
                while (!mine.hasTurn) mine.object.Wait();
                mine.hasTurn = false;
            }
            EXPECT_EQ(turns++ % 8, i);
            ZvLock lock(next.object);
            next.hasTurn = true;
            next.object.Notify();
        }
    });
    Join(threads);
    EXPECT_EQ(turns, 8 * Rounds);
}

TEST(ZvMonitorStress, TimeOutsThatRaceWithGrantsTakeNoMoreThanWereGranted) {
    ZvMonitor monitor;
    constexpr int Total = 20000;
    std::atomic<long> notified{0}, taken{0};
    std::atomic<int> left{4};
    auto waiters = Threads(4, [&](int i) {
        monitor.Lock();
        for (int n = 0; n < Total / 4; ++n)
            if (monitor.Wait(i < 3 ? 0 : 1)) ++taken;
        monitor.Unlock();
        --left;
    });
    auto notifiers = Threads(2, [&](int) {
        while (left != 0) {
            ++notified;
            monitor.Notify();
        }
    });
    Join(waiters);
    Join(notifiers);
    EXPECT_LE(taken, notified);
    ExpectNothingLeft(monitor);
}
