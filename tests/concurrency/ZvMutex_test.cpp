#include <zvc/zvc.h>

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <type_traits>
#include <vector>

template <class T>
class MutexTest : public testing::Test {
protected:
    T mutex;
    /// What another thread's TryLock answers; gives back what it took.
    int TryElsewhere() {
        int taken = 0;
        std::thread([&] {
            taken = mutex.TryLock();
            if (taken != 0) mutex.Unlock();
        }).join();
        return taken;
    }
};
using Mutexes = testing::Types<ZvMutex, ZvFastMutex>;
TYPED_TEST_SUITE(MutexTest, Mutexes);

TYPED_TEST(MutexTest, IsOneCriticalSectionWithoutVirtualOperations) {
    static_assert(sizeof(TypeParam) == sizeof(zvc::platform::CriticalSection));
    static_assert(!std::is_polymorphic_v<TypeParam>);
    static_assert(std::is_trivially_copyable_v<TypeParam>);
}

TYPED_TEST(MutexTest, LockedTwiceMustBeUnlockedTwice) {
    this->mutex.Lock();
    this->mutex.Lock();
    EXPECT_EQ(this->TryElsewhere(), 0);
    this->mutex.Unlock();
    EXPECT_EQ(this->TryElsewhere(), 0);
    this->mutex.Unlock();
    EXPECT_NE(this->TryElsewhere(), 0);
}

TYPED_TEST(MutexTest, TryLockOfTheOwnerCountsAsALock) {
    EXPECT_NE(this->mutex.TryLock(), 0);
    EXPECT_NE(this->mutex.TryLock(), 0);
    this->mutex.Unlock();
    EXPECT_EQ(this->TryElsewhere(), 0);
    this->mutex.Unlock();
    EXPECT_NE(this->TryElsewhere(), 0);
}

TYPED_TEST(MutexTest, TryLockAnswersAtOnceWhenAnotherThreadHoldsIt) {
    this->mutex.Lock();
    EXPECT_EQ(this->TryElsewhere(), 0);           // it would never return otherwise
    this->mutex.Unlock();
}

TYPED_TEST(MutexTest, WaiterGetsItOnceItIsUnlocked) {
    this->mutex.Lock();
    std::atomic<bool> entered{false};
    std::thread waiter([&] {
        this->mutex.Lock();
        entered = true;
        this->mutex.Unlock();
    });
    ZvThread::Sleep(20);
    EXPECT_FALSE(entered);
    this->mutex.Unlock();
    waiter.join();
    EXPECT_TRUE(entered);
}

TYPED_TEST(MutexTest, KeepsEightThreadsApart) {
    long count = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([&] {
            for (int k = 0; k < 5000; ++k) {
                this->mutex.Lock();
                ++count;
                this->mutex.Unlock();
            }
        });
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(count, 40000);
}

TYPED_TEST(MutexTest, CopyOfAHeldOneIsHeldByTheSameThread) {
    this->mutex.Lock();
    TypeParam copy(this->mutex);
    this->mutex.Unlock();
    std::swap(copy, this->mutex);
    EXPECT_EQ(this->TryElsewhere(), 0);
    this->mutex.Unlock();
    EXPECT_NE(this->TryElsewhere(), 0);
}
