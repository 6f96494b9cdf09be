#include <zvc/zvc.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

TEST(ZvSpinLock, IsOneWord) { static_assert(sizeof(ZvSpinLock) == 4); }

TEST(ZvSpinLock, KeepsThreadsApart) {
    ZvSpinLock lock;
    long count = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([&] {
            for (int k = 0; k < 2000; ++k) {
                lock.Lock();
                ++count;
                lock.Unlock();
            }
        });
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(count, 16000);
}

TEST(ZvSpinLock, CopyOfAHeldOneIsHeld) {
    ZvSpinLock lock;
    lock.Lock();
    ZvSpinLock copy(lock);
    lock.Unlock();
    lock.Lock();                                  // the copy is a word of its own
    copy.Unlock();
    copy.Lock();
    copy = ZvSpinLock();
    copy.Lock();
    uint32_t word = 0;
    static_assert(std::is_trivially_copyable_v<ZvSpinLock>);
    std::memcpy(&word, &copy, sizeof word);
    EXPECT_EQ(word, 1u);
    copy.Unlock();
    std::memcpy(&word, &copy, sizeof word);
    EXPECT_EQ(word, 0u);
}

TEST(ZvSpinLock, LockedTwiceOnOneThreadNeverReturns) {
    static ZvSpinLock lock;
    static std::atomic<int> locked{0};
    zvc::Delegate<void()> twice([] {
        lock.Lock();
        ++locked;
        lock.Lock();
        ++locked;
    });
    ZvThread thread(twice);
    ASSERT_TRUE(thread.Start());
    while (locked == 0) ZvThread::YieldToAnyThread();
    ZvThread::Sleep(50);
    EXPECT_EQ(locked, 1);
    EXPECT_TRUE(thread.IsAlive());
    thread.Terminate();
}
