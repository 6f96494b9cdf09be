#include <zvc/zvc.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <thread>
#include <vector>

TEST(ZvMonitor, WaitWithoutAGrantTimesOut) {
    ZvMonitor m;
    m.Lock();
    EXPECT_FALSE(m.Wait(0));
    EXPECT_FALSE(m.Wait(5));
    m.Unlock();
}

TEST(ZvMonitor, NotificationWithoutAWaiterLeavesNoTrace) {
    ZvMonitor m;
    m.Notify();
    m.NotifyAll();
    m.Lock();
    EXPECT_FALSE(m.Wait(0));
    m.Unlock();
}

TEST(ZvMonitor, NotifyAllWakesThreeWaiters) {
    ZvMonitor m;
    std::atomic<int> waiting{0}, woken{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i)
        threads.emplace_back([&] {
            m.Lock();
            ++waiting;
            if (m.Wait(0xFFFFFFFF)) ++woken;
            m.Unlock();
        });
    for (;;) {
        m.Lock();                        // who has counted itself and given up the lock, waits
        const bool all = waiting == 3;
        m.Unlock();
        if (all) break;
        std::this_thread::yield();
    }
    m.NotifyAll();
    for (std::thread& t : threads) t.join();
    EXPECT_EQ(woken, 3);
    m.Lock();
    EXPECT_FALSE(m.Wait(0));             // nothing is left over
    m.Unlock();
}

TEST(ZvMonitor, RecursiveHolderKeepsTheLockWhileItWaits) {
    ZvMonitor m;
    std::atomic<bool> entered{false};
    m.Lock();
    m.Lock();
    std::thread other([&] {
        m.Lock();
        entered = true;
        m.Unlock();
    });
    EXPECT_FALSE(m.Wait(30));
    EXPECT_FALSE(entered);
    m.Unlock();
    m.Unlock();
    other.join();
    EXPECT_TRUE(entered);
}

TEST(ZvMonitor, RecursiveHolderIsGrantedWhileItKeepsTheLock) {
    bool granted = false;
    for (int pause : {30, 300, 3000}) {                            // until the waiter sleeps when the notification comes
        ZvMonitor m;
        std::atomic<bool> ready{false}, entered{false};
        std::thread waiter([&] {
            m.Lock();
            m.Lock();
            ready = true;
            granted = m.Wait(10000);
            EXPECT_FALSE(entered);
            m.Unlock();
            m.Unlock();
        });
        while (!ready) std::this_thread::yield();
        std::thread other([&] {
            m.Lock();
            entered = true;
            m.Unlock();
        });
        std::this_thread::sleep_for(std::chrono::milliseconds(pause));
        m.Notify();
        waiter.join();
        other.join();
        if (!granted) continue;
        m.Lock();                                                  // a monitor like any other again
        EXPECT_FALSE(m.Wait(0));
        m.Unlock();
        break;
    }
    EXPECT_TRUE(granted);
}

TEST(ZvMonitor, NoWakeUpIsLostAndNoneIsTooMany) {
    ZvMonitor m;
    int tokens = 0, taken = 0;
    constexpr int Total = 20000;
    std::vector<std::thread> consumers;
    bool done = false;
    for (int i = 0; i < 4; ++i)
        consumers.emplace_back([&] {
            m.Lock();
            for (;;) {
                while (tokens == 0 && !done) m.Wait(0xFFFFFFFF);
                if (tokens == 0) break;
                --tokens;
                ++taken;
            }
            m.Unlock();
        });
    for (int i = 0; i < Total; ++i) {
        m.Lock();
        ++tokens;
        m.Notify();
        m.Unlock();
    }
    m.Lock();
    done = true;
    m.NotifyAll();
    m.Unlock();
    for (std::thread& t : consumers) t.join();
    EXPECT_EQ(taken, Total);
}


namespace {

/// The semaphore of a monitor's wait record, its first field; the record stands behind the table of virtual operations.
zvc::platform::Semaphore& SemaphoreOf(ZvMonitor& monitor) {
    monitor.Notify();                             // makes the record
    zvc::platform::Semaphore* record;
    std::memcpy(&record, reinterpret_cast<const char*>(&monitor) + sizeof(void*), sizeof record);
    return *record;
}

/// Begins to wait on another thread, and is there when that thread has given up the lock.
class Waiter {
public:
    Waiter(ZvMonitor& monitor, unsigned int timeout)
        : m_thread([this, &monitor, timeout] {
              monitor.Lock();
              m_begun = true;
              m_granted = monitor.Wait(timeout);
              m_ended = true;
              monitor.Unlock();
          }) {
        for (bool begun = false; !begun;) {
            monitor.Lock();
            begun = m_begun;
            monitor.Unlock();
        }
    }
    ~Waiter() {
        if (m_thread.joinable()) m_thread.join();
    }
    bool Granted() {
        m_thread.join();
        return m_granted;
    }
    bool Ended() const { return m_ended; }

private:
    std::atomic<bool> m_begun{false}, m_granted{false}, m_ended{false};
    std::thread m_thread;
};

}

TEST(ZvMonitor, NotifyWakesOneOfTwoWaiters) {
    ZvMonitor m;
    Waiter a(m, 0xFFFFFFFF), b(m, 0xFFFFFFFF);
    m.Notify();
    while (!a.Ended() && !b.Ended()) std::this_thread::yield();
    ZvThread::Sleep(20);
    EXPECT_NE(a.Ended(), b.Ended());
    m.Notify();
    EXPECT_TRUE(a.Granted());
    EXPECT_TRUE(b.Granted());
}

TEST(ZvMonitor, WaitWithATimeOutTakesANotification) {
    ZvMonitor m;
    Waiter waiter(m, 60000);
    m.Notify();
    EXPECT_TRUE(waiter.Granted());
}

TEST(ZvMonitor, WaitEndsWithTheLockHeld) {
    ZvMonitor m;
    std::atomic<bool> entered{false};
    for (bool notified : {false, true}) {
        entered = false;
        m.Lock();
        std::thread other([&] {
            m.Lock();
            if (notified) m.Notify();
            m.Unlock();
            while (!entered) std::this_thread::yield();
        });
        EXPECT_EQ(m.Wait(notified ? 0xFFFFFFFF : 5), notified);
        std::thread third([&] {
            m.Lock();
            entered = true;
            m.Unlock();
        });
        ZvThread::Sleep(20);
        EXPECT_FALSE(entered);
        m.Unlock();
        third.join();
        other.join();
    }
}

// What a waiter leaves behind whose time ran out at the moment of its grant.
TEST(ZvMonitor, TokenWithoutAGrantDoesNotEndAWait) {
    ZvMonitor m;
    SemaphoreOf(m).Release(1);
    m.Lock();
    EXPECT_FALSE(m.Wait(0));
    m.Unlock();
    SemaphoreOf(m).Release(3);
    Waiter waiter(m, 0xFFFFFFFF);
    ZvThread::Sleep(20);
    EXPECT_FALSE(waiter.Ended());
    m.Notify();                                   // its own notification
    EXPECT_TRUE(waiter.Granted());
}

TEST(ZvMonitor, TimeAlreadySpentIsNotSubtractedBehindATokenWithoutAGrant) {
    ZvMonitor m;
    auto& semaphore = SemaphoreOf(m);
    std::chrono::steady_clock::time_point released;
    m.Lock();
    std::thread other([&] {
        ZvThread::Sleep(30);
        released = std::chrono::steady_clock::now();
        semaphore.Release(1);
    });
    EXPECT_FALSE(m.Wait(300));
    const auto end = std::chrono::steady_clock::now();
    m.Unlock();
    other.join();
    EXPECT_GE(end - released, std::chrono::milliseconds(300));
}

TEST(ZvMonitor, DestructorIsItsOnlyVirtualOperation) {
    static_assert(std::has_virtual_destructor_v<ZvMonitor>);
    static_assert(sizeof(ZvMonitor) == 2 * sizeof(void*) + sizeof(zvc::platform::CriticalSection));
    static_assert(!std::is_base_of_v<ZvObject, ZvMonitor>);
    void** table;
    const ZvMonitor m;
    std::memcpy(&table, static_cast<const void*>(&m), sizeof table);
    EXPECT_NE(table[1], nullptr);                 // the two of the destructor
    static_assert(std::is_copy_constructible_v<ZvMonitor> && std::is_copy_assignable_v<ZvMonitor>);
}
