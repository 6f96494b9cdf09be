// The queue and the stack, which differ only in the end that they take from.

#include <zvc/zvc.h>

#include <gtest/gtest.h>

#include "support/Collections.h"

#include <functional>
#include <vector>

namespace {

struct QueueCase {
    using Class = ZvQueue;
    static constexpr const char* Name = "ZvQueue";
    static void Put(ZvQueue& c, const ZvObject$& e) { c.Enqueue(e); }
    static ZvObject$ Take(ZvQueue& c) { return c.Dequeue(); }
};

struct StackCase {
    using Class = ZvStack;
    static constexpr const char* Name = "ZvStack";
    static void Put(ZvStack& c, const ZvObject$& e) { c.Push(e); }
    static ZvObject$ Take(ZvStack& c) { return c.Pop(); }
};

template <class Case>
class ZvDeque : public testing::Test {
protected:
    using Class = typename Case::Class;
    static ZvHandle<Class, ZvObject$> Of(const std::vector<ZvObject$>& elements) {
        ZvHandle<Class, ZvObject$> c = new Class;
        for (const ZvObject$& e : elements) Case::Put(*c, e);
        return c;
    }
};

using Cases = testing::Types<QueueCase, StackCase>;
TYPED_TEST_SUITE(ZvDeque, Cases);

}

TEST(ZvQueue, TakesTheFrontAndPeeksAtIt) {
    const auto n = Numbers(3);
    ZvQueue queue;
    for (const ZvObject$& e : n) queue.Enqueue(e);
    EXPECT_EQ(queue.Peek(), n[0]);
    EXPECT_EQ(queue.Count(), 3u);
    for (const ZvObject$& e : n) EXPECT_EQ(queue.Dequeue(), e);
    EXPECT_EQ(queue.Count(), 0u);
    EXPECT_EQ(n[0]->ReferenceCount(), 1);
}

TEST(ZvStack, TakesTheBackAndPeeksAtIt) {
    const auto n = Numbers(3);
    ZvStack stack;
    for (const ZvObject$& e : n) stack.Push(e);
    EXPECT_EQ(stack.Peek(), n[2]);
    EXPECT_EQ(stack.Count(), 3u);
    for (size_t i = 3; i-- != 0;) EXPECT_EQ(stack.Pop(), n[i]);
    EXPECT_EQ(stack.Count(), 0u);
    EXPECT_EQ(n[2]->ReferenceCount(), 1);
}

TEST(ZvStack, EnumeratesFromTheOldestElement) {
    const auto n = Numbers(3);
    ZvStack stack;
    for (const ZvObject$& e : n) stack.Push(e);
    EXPECT_EQ(ElementsOf(stack.GetEnumerator()), n);
}

TEST(ZvQueue, EnumeratorKeepsItsElementWhenTheFrontIsTaken) {
    const auto n = Numbers(3);
    ZvQueue queue;
    for (const ZvObject$& e : n) queue.Enqueue(e);
    std::vector<ZvObject$> seen;
    for (ZvIEnumerator$ e = queue.GetEnumerator(); e->HasNext();) {
        seen.push_back(e->Next());
        queue.Dequeue();                                                 // the offset runs on
    }
    EXPECT_EQ(seen, n);
}

TYPED_TEST(ZvDeque, ContainsIsByIdentity) {
    const ZvObject$ a = new ZvString("equal"), b = new ZvString("equal");
    const auto c = this->Of({a, nullptr});
    EXPECT_TRUE(c->Contains(a));
    EXPECT_TRUE(c->Contains(nullptr));
    EXPECT_FALSE(c->Contains(b));
    c->Contains(new RecordingKey(1));
    EXPECT_EQ(RecordingKey::Calls(), "");
    EXPECT_FALSE(this->Of({})->Contains(nullptr));
}

TYPED_TEST(ZvDeque, ClearLetsTheElementsGo) {
    const ZvObject$ a = Number(1);
    const auto c = this->Of({a, a});
    c->Clear();
    EXPECT_EQ(c->Count(), 0u);
    EXPECT_EQ(a->ReferenceCount(), 1);
}

TYPED_TEST(ZvDeque, EndOfAnElementThatLeavesMayUseTheCollection) {
    const auto c = this->Of({}), two = this->Of({Number(1), Number(2)});
    int ends = 0;
    const auto add = [&] { TypeParam::Put(*c, new LastWord([&] { ends += c->Count() == 0 || c->Count() == 2 ? 1 : 100; })); };
    for (int i = 0; i != 3; ++i) add();
    c->Clear();
    EXPECT_EQ(ends, 3);
    for (int i = 0; i != 3; ++i) add();
    *c = *two;
    EXPECT_EQ(ends, 6);
    EXPECT_EQ(c->Count(), 2u);
}

TYPED_TEST(ZvDeque, ToStringIsALineForEachElementInEnumerationOrder) {
    EXPECT_STREQ(this->Of({})->ToString()->CStr(), "");
    EXPECT_STREQ(this->Of({Number(7), new ZvString("text"), Number(9)})->ToString()->CStr(), "[0]7\n[1]ZvString\n[2]9\n");
}

TYPED_TEST(ZvDeque, HashGoesOverTheElements) {
    constexpr size_t start = 0x811C9DC5, prime = 16777619;
    const size_t a = Number(1)->GetHashCode(), b = Number(2)->GetHashCode();
    EXPECT_EQ(this->Of({})->GetHashCode(), start);
    EXPECT_EQ(this->Of({Number(1), Number(2)})->GetHashCode(), ((start * prime ^ a) * prime) ^ b);
}

TYPED_TEST(ZvDeque, HashAndEqualityDoNotPassOverNull) {
    const auto c = this->Of({nullptr}), other = this->Of({nullptr});
    EXPECT_THROW(c->GetHashCode(), ZvCoderException);
    EXPECT_THROW(c->Equals(other.Get()), ZvCoderException);
}

TYPED_TEST(ZvDeque, EqualsAsksTheLeftSide) {
    const ZvObject$ yes = new RecordingKey(1, "yes"), no = new RecordingKey(1, "no", false);
    const auto a = this->Of({yes}), b = this->Of({no});
    EXPECT_TRUE(a->Equals(b.Get()));
    EXPECT_EQ(RecordingKey::Calls(), "yes=no");
    EXPECT_FALSE(b->Equals(a.Get()));
    EXPECT_EQ(RecordingKey::Calls(), "no=yes");
    EXPECT_TRUE(a->Equals(a.Get()));
    EXPECT_FALSE(a->Equals(nullptr));
    EXPECT_FALSE(a->Equals(this->Of({yes, yes}).Get()));
    EXPECT_FALSE(a->Equals(ZvObject$(new ZvArrayList).Get()));
    EXPECT_TRUE(this->Of({yes})->Equals(this->Of({yes}).Get()));
    RecordingKey::Calls();
}

TEST(ZvQueue, IsNotEqualToAStack) {
    const ZvQueue queue;
    const ZvStack stack;
    EXPECT_FALSE(queue.Equals(&stack));
    EXPECT_FALSE(stack.Equals(&queue));
}

TYPED_TEST(ZvDeque, CopyAndCloneShareTheElementsInOrder) {
    using Class = typename TypeParam::Class;
    const auto n = Numbers(3);
    const auto c = this->Of(n);
    const Class copy(*c);
    const ZvHandle<Class, ZvObject$> clone = ZvObject$(c->Clone());
    Class assigned;
    assigned = *c;
    EXPECT_EQ(ElementsOf(copy.GetEnumerator()), n);
    EXPECT_EQ(ElementsOf(clone->GetEnumerator()), n);
    EXPECT_EQ(ElementsOf(assigned.GetEnumerator()), n);
    EXPECT_EQ(n[0]->ReferenceCount(), 5);
    EXPECT_EQ(copy.ReferenceCount(), 0);
}

TYPED_TEST(ZvDeque, WritesTheCountAndTheElementsAndReadsThemBehindItsOwn) {
    typename TypeParam::Class target;
    TypeParam::Put(target, Number(0));
    const std::string bytes = Recode(*this->Of({Number(1), Number(2), nullptr}), target);
    EXPECT_EQ(cases::ToHex(bytes.substr(0, 2)), "a003");
    const auto elements = ElementsOf(target.GetEnumerator());
    ASSERT_EQ(elements.size(), 4u);
    for (int i = 0; i != 3; ++i) EXPECT_TRUE(Number(i)->Equals(elements[static_cast<size_t>(i)].Get())) << i;
    EXPECT_TRUE(!elements[3]);
}

TYPED_TEST(ZvDeque, EnumeratorGoesToTheBackAndMayBeginAgain) {
    using Class = typename TypeParam::Class;
    const auto n = Numbers(3);
    const auto c = this->Of(n);
    const Class& constant = *c;
    for (ZvIEnumerator$ e : {c->GetEnumerator(), constant.GetEnumerator()}) {
        EXPECT_EQ(ElementsOf(e), n);
        EXPECT_FALSE(e->HasNext());
        e->Reset();
        EXPECT_EQ(e->Next(), n[0]);
        const ZvIEnumerator$ clone = ZvObject$(ZvObject$(e)->Clone());
        EXPECT_EQ(e->Next(), n[1]);
        EXPECT_EQ(clone->Next(), n[1]);
    }
    EXPECT_FALSE(this->Of({})->GetEnumerator()->HasNext());
    EXPECT_EQ(c->ReferenceCount(), 1);
    EXPECT_EQ(ZvObject$(c->GetEnumerator())->GetType()->GetName()->CStr(), std::string(TypeParam::Name) + "::Enumerator");
}

TYPED_TEST(ZvDeque, LocksWhereItSaysSo) {
    using Class = typename TypeParam::Class;
    const auto locks = [](const std::function<void(Class&)>& act) {
        Class source, c;
        TypeParam::Put(source, Number(1));
        c = source;
        EXPECT_FALSE(WasLocked(&c));
        act(c);
        return WasLocked(&c);
    };
    EXPECT_TRUE(locks([](Class& c) { TypeParam::Put(c, nullptr); }));
    EXPECT_TRUE(locks([](Class& c) { TypeParam::Take(c); }));
    EXPECT_TRUE(locks([](Class& c) { c.Peek(); }));
    EXPECT_TRUE(locks([](Class& c) { c.Clear(); }));
    EXPECT_TRUE(locks([](Class& c) { c.Contains(nullptr); }));
    EXPECT_FALSE(locks([](Class& c) {
        c.Count();
        c.GetEnumerator();
        c.ToString();
        Class target;
        Recode(c, target);
        EXPECT_FALSE(WasLocked(&target));
    }));
}
