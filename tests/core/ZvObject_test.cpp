#include <zvc/zvc.h>

#include "support/Slots.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <cstring>
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

TEST(ZvObject, LastHandleDisposesOnceAndThenDestroys) {
    s_trace.clear();
    {
        Traced$ a = new MoreTraced;
        Traced$ b = a;
    }
    EXPECT_EQ(s_trace, "dispose of MoreTraced;end of MoreTraced;end of Traced;");
}

namespace {

class Link : public ZvObject {
public:
    ~Link() override { ++s_ended; }
    ZvObject$ m_next;
    static int s_ended;
};
int Link::s_ended = 0;

}

TEST(ZvObject, ChainOfAnyLengthEndsOnAShortStack) {
    constexpr int length = 2000000;
    ZvObject$ head;
    for (int i = 0; i < length; ++i) {
        auto* link = new Link;
        link->m_next = head;
        head = link;
    }
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, 256 * 1024), 0);
    pthread_t thread{};
    const auto letGo = [](void* handle) -> void* {
        *static_cast<ZvObject$*>(handle) = nullptr;
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, letGo, &head), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
    EXPECT_EQ(Link::s_ended, length);
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

TEST(ZvObject, VirtualCallInOnDisposeReachesTheMostDerivedClass) {
    static std::string said;
    struct Base : ZvObject {
        virtual std::string Who() const { return "base"; }
        void OnDispose() override { said = Who(); }
    };
    struct Derived : Base {
        std::string Who() const override { return "derived"; }
    };
    {
        const ZvObject$ o = new Derived;
    }
    EXPECT_EQ(said, "derived");
}

TEST(ZvObject, FieldsStandInTheirOrder) {
    struct Fields {
        void* table;
        int32_t count;
        void* monitor;
        uint32_t serial;
    };
    static_assert(sizeof(ZvObject) == sizeof(Fields));
    const auto look = [](const ZvObject& o) {
        Fields fields;
        std::memcpy(&fields, static_cast<const void*>(&o), sizeof fields);
        return fields;
    };
    ZvObject o;
    o.Retain();
    EXPECT_EQ(look(o).count, 1);
    EXPECT_EQ(look(o).monitor, nullptr);
    EXPECT_EQ(look(o).serial, o.m_serial);
    o.Lock();
    EXPECT_NE(look(o).monitor, nullptr);
    const ZvObject copy(o);
    EXPECT_EQ(look(copy).count, 0);
    EXPECT_EQ(look(copy).monitor, nullptr);       // and so it is not locked
    o.Unlock();
    o.ReleaseNotDelete();
    for (void (ZvObject::*operation)() const : {&ZvObject::Lock, &ZvObject::Notify, &ZvObject::NotifyAll}) {
        const ZvObject fresh;
        (fresh.*operation)();
        EXPECT_NE(look(fresh).monitor, nullptr);
    }
}

TEST(ZvObject, OperationsStandInTheirSlots) {
    EXPECT_EQ(SlotOf(&ZvSuper::GetType), 2u);
    EXPECT_EQ(SlotOf(&ZvInterface::ReferenceCount), 3u);
    EXPECT_EQ(SlotOf(&ZvInterface::Retain), 4u);
    EXPECT_EQ(SlotOf(&ZvInterface::Release), 5u);
    EXPECT_EQ(SlotOf(&ZvObject::GetType), 2u);
    EXPECT_EQ(SlotOf(&ZvObject::GetHashCode), 3u);
    EXPECT_EQ(SlotOf(&ZvObject::Equals), 4u);
    EXPECT_EQ(SlotOf(&ZvObject::Clone), 5u);
    EXPECT_EQ(SlotOf(&ZvObject::ToString), 6u);
    EXPECT_EQ(SlotOf(&ZvObject::Encode), 7u);
    EXPECT_EQ(SlotOf(&ZvObject::Decode), 8u);
    EXPECT_EQ(SlotOf(&ZvObject::OnDispose), 9u);
    EXPECT_EQ(SlotOf(&ZvString::ReferenceCount), 10u);       // a class without an interface
    EXPECT_EQ(SlotOf(&ZvString::Retain), 11u);
    EXPECT_EQ(SlotOf(&ZvString::Release), 12u);
    EXPECT_EQ(SlotOf(&ZvValue::Count), 13u);
    EXPECT_EQ(SlotOf(&ZvTimer::Run), 13u);
}

TEST(ZvObject, CountLivesInTheObjectOfAClassWithAnInterface) {
    ZvArrayList$ list = new ZvArrayList;
    ZvInterface* interface = ZvInterface::FromObject(list.Get());
    EXPECT_GT(reinterpret_cast<char*>(interface), reinterpret_cast<char*>(list.Get()) + sizeof(ZvObject) - 1);
    EXPECT_EQ(interface->GetType(), &ZvArrayList::s_type);
    interface->Retain();
    EXPECT_EQ(list->ReferenceCount(), 2);
    EXPECT_EQ(static_cast<ZvObject*>(list.Get())->ReferenceCount(), 2);
    EXPECT_EQ(interface->ReferenceCount(), 2);
    interface->Release();
    EXPECT_EQ(list->ReferenceCount(), 1);
}

TEST(ZvObject, MemoryOperators) {
    alignas(ZvObject) unsigned char place[sizeof(ZvObject)];
    EXPECT_EQ(ZvObject::operator new(sizeof(ZvObject), place), place);
    void (*volatile nothing)(void*, size_t) = &ZvObject::operator delete;
    nothing(place, sizeof place);                 // deliberately: the place is not the allocator's
    EXPECT_THROW(ZvObject::operator new(~size_t(0) / 2), ZvBadAllocException);
    void* block = ZvObject::operator new(100);
    EXPECT_NE(block, nullptr);
    ZvObject::operator delete(block);
    ZvObject::DebugObjectRelease();
    delete new ZvString("never in a handle");
}

TEST(ZvObject, BaseTablesOfTheRoots) {
    EXPECT_EQ(ZvSuper::s_bases[0].type, nullptr);
    EXPECT_EQ(ZvObject::s_bases[0].type, &ZvSuper::s_type);
    EXPECT_EQ(ZvObject::s_bases[0].offset, 0u);
    EXPECT_EQ(ZvObject::s_bases[1].type, nullptr);
    EXPECT_EQ(ZvInterface::s_bases[0].type, &ZvSuper::s_type);
    EXPECT_EQ(ZvInterface::s_bases[0].offset, 0u);
    EXPECT_EQ(ZvInterface::s_bases[1].type, nullptr);
    const ZvObject o;
    EXPECT_EQ(o.GetType(), &ZvObject::s_type);
    EXPECT_TRUE(o.IsKindOf(&ZvObject::s_type));
    EXPECT_TRUE(o.IsKindOf(&ZvSuper::s_type));
    EXPECT_FALSE(o.IsKindOf(&ZvInterface::s_type));
    EXPECT_GE(ZvObject::s_type.ReferenceCount(), 1);         // its own: no Release deletes a static object
}

TEST(ZvObject, DefaultsOfCodingDoNothing) {
    const ZvObject o;
    ZvStream$ none;
    o.Encode(none, nullptr);
    ZvObject().Decode(none, nullptr);
    ZvObject().OnDispose();
    EXPECT_EQ(o.GetFieldValues()->Count(), 0u);
}

TEST(ZvObject, MonitorIsMadeOnceForThreadsThatMeet) {
    for (int n = 0; n < 200; ++n) {
        const ZvObject o;
        int count = 0;
        std::vector<std::thread> threads;
        for (int i = 0; i < 3; ++i)
            threads.emplace_back([&] {
                ZvLock lock(o);
                ++count;
            });
        for (std::thread& t : threads) t.join();
        EXPECT_EQ(count, 3);
    }
}

TEST(ZvObject, WaitIsWokenByNotifyAndNotifyAll) {
    for (bool all : {false, true}) {
        const ZvObject o;
        bool waiting = false;
        std::thread waiter([&] {
            ZvLock lock(o);
            waiting = true;
            o.Wait();
        });
        for (bool ready = false; !ready;) {
            ZvLock lock(o);
            ready = waiting;
        }
        if (all) o.NotifyAll();
        else o.Notify();
        waiter.join();
    }
}
