#include <zvc/zvc.h>

#include <gtest/gtest.h>

#include <stdexcept>

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

TEST(ZvHandle, NullIsToldInEveryWayOfWritingIt) {
    const auto look = [](const auto& null, const auto& some) {
        EXPECT_TRUE(null == nullptr && nullptr == null && null == NULL && null == 0 && !null);
        EXPECT_FALSE(null != nullptr || nullptr != null || null != NULL || null != 0);
        EXPECT_TRUE(some != nullptr && nullptr != some && some != NULL && some != 0 && !!some);
        EXPECT_FALSE(some == nullptr || nullptr == some || some == NULL || some == 0);
    };
    const ZvArrayList$ list = new ZvArrayList;
    look(ZvObject$(), ZvObject$(list));
    look(ZvArrayList$(), list);
    look(ZvInterface$(), ZvInterface$(list));
    look(ZvIList$(), ZvIList$(list));
    look(ZvArguments$(), ZvArguments$(new ZvPrimArray<ZvObject$>(1, nullptr)));
}

TEST(ZvHandle, ComparesWithAPlainPointerFromEitherSide) {
    auto* raw = new ZvString("x");
    const ZvString$ handle = raw;
    const ZvObject$ wider = raw;
    const ZvString other("x");
    EXPECT_TRUE(handle == raw && raw == handle && wider == raw && raw == wider);
    EXPECT_TRUE(handle != &other && &other != handle);
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


TEST(ZvHandle, RetainsAndReleasesAsItIsMadeAndEnds) {
    auto* raw = new ZvString("x");
    EXPECT_EQ(raw->ReferenceCount(), 0);
    const ZvString$ a = raw;
    EXPECT_EQ(raw->ReferenceCount(), 1);
    {
        const ZvString$ b = a;
        const ZvObject$ wider = b;
        const ZvHandle<ZvString, ZvObject$> other = wider;
        EXPECT_EQ(raw->ReferenceCount(), 4);
    }
    EXPECT_EQ(raw->ReferenceCount(), 1);
    const ZvString$ null = static_cast<ZvString*>(nullptr), copy = null;
    EXPECT_TRUE(!null && !copy);
}

namespace {

/// Looks, when it is disposed of, at the handle that let it go.
class Watching : public ZvObject {
public:
    explicit Watching(ZvObject$& handle, const ZvObject*& seen, long& count) : m_handle(handle), m_seen(seen), m_count(count) {}
    void OnDispose() override {
        m_seen = m_handle.Get();
        m_count = m_handle ? m_handle->ReferenceCount() : -1;
    }

private:
    ZvObject$& m_handle;
    const ZvObject*& m_seen;
    long& m_count;
};

}

TEST(ZvHandle, AssignmentStoresAndRetainsTheNewBeforeItReleasesTheOld) {
    const ZvObject* seen = nullptr;
    long count = 0;
    ZvObject$ handle;
    handle = new Watching(handle, seen, count);
    const ZvObject$ next = new ZvObject;
    handle = next;
    EXPECT_EQ(seen, next.Get());
    EXPECT_EQ(count, 2);
}

TEST(ZvHandle, ListThatIsAssignedItsOwnTailStaysAlive) {
    ZvArrayList$ head = new ZvArrayList, tail = new ZvArrayList;
    head->Add(ZvObject$(tail));
    ZvArrayList* raw = tail.Get();
    tail = nullptr;
    head = ZvArrayList$((*head)[0]);        // the only owner goes in the assignment
    EXPECT_EQ(head.Get(), raw);
    EXPECT_EQ(head->ReferenceCount(), 1);
}

TEST(ZvHandle, OverloadsTellHandlesApart) {
    struct Choice {
        static int Of(ZvString$) { return 1; }
        static int Of(ZvArrayList$) { return 2; }
    };
    EXPECT_EQ(Choice::Of(ZvString$()), 1);
    EXPECT_EQ(Choice::Of(ZvArrayList$()), 2);
}

TEST(ZvHandleDeathTest, ExceptionThatLeavesOnDisposeEndsTheProcess) {
    struct Throwing : ZvObject {
        void OnDispose() override { throw std::runtime_error("in OnDispose"); }
    };
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH({ ZvObject$ o = new Throwing; }, "in OnDispose");
    const auto releaseAndCatch = [] {
        auto* o = new Throwing;
        o->Retain();
        try {
            o->Release();
        } catch (const std::runtime_error&) {}
    };
    EXPECT_DEATH(releaseAndCatch(), "in OnDispose");
}
