#include <zvc/zvc.h>

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace {

std::string s_trace;

class Traced : public ZvObject {
    ZV_DECLARE_CLASS(Traced)
public:
    void OnDispose() override { s_trace += "dispose of Traced;"; }
    ~Traced() override { s_trace += "end of Traced;"; }
};

class MoreTraced : public Traced {
    ZV_DECLARE_CLASS(MoreTraced)
public:
    void OnDispose() override { s_trace += "dispose of MoreTraced;"; }
    ~MoreTraced() override { s_trace += "end of MoreTraced;"; }
};

using Traced$ = ZvHandle<Traced, ZvObject$>;

}

ZV_DEFINE_CLASS(Traced, (ZvObject))
ZV_DEFINE_CLASS(MoreTraced, (Traced))

TEST(ZvHandle, IsOnePointer) {
    static_assert(sizeof(ZvObject$) == sizeof(void*));
    static_assert(sizeof(ZvString$) == sizeof(void*));
    static_assert(sizeof(ZvIList$) == sizeof(void*));
    static_assert(sizeof(ZvArguments$) == sizeof(void*));
    static_assert(!std::is_same_v<ZvString$, ZvHandle<ZvString, ZvObject$>>);
}

TEST(ZvHandle, AssignmentToItselfAndToTheSameObjectLeaveTheCount) {
    ZvString$ a = new ZvString("a");
    ZvString$& alias = a;
    a = alias;
    EXPECT_EQ(a->ReferenceCount(), 1);
    ZvString$ b = a;
    EXPECT_EQ(a->ReferenceCount(), 2);
    b = a;
    EXPECT_EQ(a->ReferenceCount(), 2);
    a = nullptr;
    EXPECT_EQ(b->ReferenceCount(), 1);
    EXPECT_TRUE(!a);
    EXPECT_TRUE(a == nullptr);
    EXPECT_TRUE(b != nullptr);
    EXPECT_TRUE(b ? true : false);
}

TEST(ZvHandle, ComparesObjectsAndNotValues) {
    const ZvString$ a = new ZvString("x"), b = new ZvString("x"), c = a;
    EXPECT_FALSE(a == b);
    EXPECT_TRUE(a != b);
    EXPECT_TRUE(a == c);
    EXPECT_TRUE(a->Equals(b.Get()));
}

TEST(ZvHandle, CastToAnUnrelatedClassIsNull) {
    ZvObject$ o = new ZvString("x");
    const ZvArrayList$ list = o;
    EXPECT_TRUE(!list);
    const ZvString$ string = o;
    EXPECT_TRUE(string);
    EXPECT_EQ(o->ReferenceCount(), 2);
    const ZvString$ none = ZvObject$();
    EXPECT_TRUE(!none);
}

TEST(ZvHandle, InterfaceAndObjectConvertToEachOther) {
    ZvArrayList$ list = new ZvArrayList;
    ZvICollection$ collection = list;
    EXPECT_EQ(list->ReferenceCount(), 2);
    EXPECT_EQ(collection->ReferenceCount(), 2);
    ZvObject$ back = collection;
    EXPECT_TRUE(back == list);
    EXPECT_EQ(ZvInterface::FromObject(list.Get()), static_cast<ZvInterface*>(static_cast<ZvIList*>(list.Get())));
    EXPECT_EQ(ZvInterface::ToObject(collection.Get()), list.Get());
    EXPECT_EQ(ZvInterface::FromObject(nullptr), nullptr);
    EXPECT_EQ(ZvInterface::ToObject(nullptr), nullptr);
    const ZvObject$ plain = new ZvString("x");
    EXPECT_EQ(ZvInterface::FromObject(plain.Get()), nullptr);
    const ZvIDictionary$ dictionary = collection;
    EXPECT_TRUE(!dictionary);
}

TEST(ZvObject, LastHandleDisposesOnceAndThenDestroys) {
    s_trace.clear();
    {
        Traced$ a = new MoreTraced;
        Traced$ b = a;
    }
    EXPECT_EQ(s_trace, "dispose of MoreTraced;end of MoreTraced;end of Traced;");
}

TEST(ZvObject, ReleaseNotDeleteLeavesALiveObjectOfCountZero) {
    s_trace.clear();
    auto* o = new Traced;
    o->Retain();
    o->ReleaseNotDelete();
    EXPECT_EQ(o->ReferenceCount(), 0);
    EXPECT_EQ(s_trace, "");
    delete o;
}

TEST(ZvObject, CopyHasCountZeroAndAFreshSerial) {
    ZvString$ original = new ZvString("x");
    original->Lock();
    original->Unlock();
    const uint32_t last = ZvObject::s_serial;
    const ZvString copy(*original);
    EXPECT_EQ(copy.ReferenceCount(), 0);
    EXPECT_EQ(copy.m_serial, last);
    EXPECT_EQ(ZvObject::s_serial, last + 1);
}

TEST(ZvObject, PlainObjectGivesItsTypesNameAndNoClone) {
    const ZvObject o;
    EXPECT_EQ(*o.ToString(), "ZvObject");
    EXPECT_TRUE(o.ToString() == ZvObject::s_type.GetName());
    EXPECT_EQ(o.Clone(), nullptr);
    EXPECT_TRUE(o.Equals(&o));
    EXPECT_FALSE(o.Equals(nullptr));
    EXPECT_EQ(o.GetHashCode(), reinterpret_cast<uintptr_t>(&o) >> 4);
}

TEST(ZvObject, AssignmentNeverTouchesIdentity) {
    ZvString a("a"), b("b");
    const uint32_t serial = a.m_serial;
    a.Retain();
    a = b;
    EXPECT_EQ(a.m_serial, serial);
    EXPECT_EQ(a.ReferenceCount(), 1);
    a.ReleaseNotDelete();
}

TEST(ZvSystem, MallocOfAnImpossibleSizeRaises) {
    try {
        ZvSystem::Malloc(~size_t(0) / 2);
        FAIL();
    } catch (ZvBadAllocException& e) {
        EXPECT_EQ(*e.What(), "bad alloc");
        EXPECT_EQ(e.ReferenceCount(), 0);
    }
    EXPECT_THROW(ZvSystem::AlignedMalloc(~size_t(0) - 100, 64), ZvException);
    EXPECT_THROW(ZvSystem::AlignedMalloc(~size_t(0) / 2, 64), ZvObject);
    void* block = ZvSystem::AlignedMalloc(100, 256);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(block) % 256, 0u);
    ZvSystem::AlignedFree(block);
}

TEST(ZvException, CopySharesTheMessage) {
    ZvBadCastException e("no");
    ZvBadCastException copy(e);
    EXPECT_TRUE(e.What() == copy.What());
    EXPECT_EQ(*e.What(), "no");
    EXPECT_TRUE(!ZvException().What());
    EXPECT_EQ(ZvPluginUnloadedException::s_type.GetBaseType(), &ZvException::s_type);
    EXPECT_EQ(ZvBadAllocException::s_type.GetBaseType(), &ZvException::s_type);
}

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

TEST(ZvLock, IsTrueAsACondition) {
    const ZvObject o;
    bool ran = false;
    if (ZvLock lock{o}) ran = true;
    EXPECT_TRUE(ran);
    std::thread other([&] {
        ZvLock lock(&o);                  // left by the guard before
    });
    other.join();
}

TEST(ZvObject, LockIsRecursiveAndKeepsOthersOut) {
    const ZvObject o;
    int counter = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            for (int n = 0; n < 5000; ++n) {
                o.Lock();
                o.Lock();
                ++counter;
                o.Unlock();
                o.Unlock();
            }
        });
    for (std::thread& t : threads) t.join();
    EXPECT_EQ(counter, 20000);
}

TEST(ZvObject, CountIsSafeFromManyThreads) {
    const ZvString$ shared = new ZvString("x");
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([mine = shared] {
            for (int n = 0; n < 20000; ++n) const ZvObject$ copy = mine;
        });
    for (std::thread& t : threads) t.join();
    threads.clear();
    EXPECT_EQ(shared->ReferenceCount(), 1);
}
