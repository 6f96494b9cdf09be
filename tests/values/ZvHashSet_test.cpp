// The set. What its hash table does with keys stands in ZvHashTable_test.cpp.

#include <zvc/zvc.h>

#include <gtest/gtest.h>

#include "support/Collections.h"

#include <functional>

TEST(ZvHashSet, ContainsIsByEqualityAndNotByIdentity) {
    const ZvObject$ a = new ZvString("equal"), b = new ZvString("equal");
    ZvHashSet set;
    ZvArrayList list;
    set.Add(a);
    list.Add(a);
    EXPECT_TRUE(set.Contains(b));
    EXPECT_EQ(list.IndexOf(b), ~size_t(0));
    EXPECT_FALSE(set.Contains(new ZvString("other")));
}

TEST(ZvHashSet, AddOfAValueThatIsThereDoesNothing) {
    const ZvObject$ a = new ZvString("equal"), b = new ZvString("equal");
    ZvHashSet set;
    set.Add(a);
    set.Add(b);
    EXPECT_EQ(set.Count(), 1u);
    EXPECT_EQ(set.GetEnumerator()->Next(), a);
    EXPECT_EQ(b->ReferenceCount(), 1);
}

TEST(ZvHashSet, RemoveIsSilentWithoutTheValue) {
    ZvHashSet set;
    set.Remove(Number(1));
    set.Add(Number(1));
    set.Remove(Number(2));
    EXPECT_EQ(set.Count(), 1u);
    set.Remove(Number(1));
    EXPECT_EQ(set.Count(), 0u);
}

TEST(ZvHashSet, HashAndEqualityAreByIdentity) {
    const ZvHashSet$ a = new ZvHashSet, b = new ZvHashSet;
    EXPECT_FALSE(a->Equals(b.Get()));
    EXPECT_TRUE(a->Equals(a.Get()));
    EXPECT_EQ(a->GetHashCode(), reinterpret_cast<uintptr_t>(static_cast<ZvObject*>(a.Get())) >> 4);
}

TEST(ZvHashSet, CopyAndCloneShareTheElements) {
    const ZvObject$ x = Number(1);
    const ZvHashSet$ set = new ZvHashSet;
    set->Add(x);
    const ZvHashSet copy(*set);
    const ZvHashSet$ clone = ZvObject$(set->Clone());
    ZvHashSet assigned;
    assigned = *set;
    EXPECT_EQ(copy.GetEnumerator()->Next(), x);
    EXPECT_EQ(clone->GetEnumerator()->Next(), x);
    EXPECT_EQ(assigned.GetEnumerator()->Next(), x);
    EXPECT_EQ(x->ReferenceCount(), 5);
    EXPECT_EQ(copy.ReferenceCount(), 0);
}

TEST(ZvHashSet, ToStringIsALineForEachElement) {
    ZvHashSet set;
    EXPECT_STREQ(set.ToString()->CStr(), "");
    set.Add(Number(5));
    EXPECT_STREQ(set.ToString()->CStr(), "5\n");
    set.Add(new ZvString("text"));
    const std::string text = set.ToString()->CStr();
    EXPECT_TRUE(text == "5\nZvString\n" || text == "ZvString\n5\n") << text;
}

TEST(ZvHashSet, DecodeAddsAndDuplicatesCollapse) {
    ZvHashSet source, target;
    source.Add(Number(1));
    source.Add(nullptr);
    target.Add(Number(1));
    target.Add(Number(2));
    const std::string bytes = Recode(source, target);
    EXPECT_EQ(cases::ToHex(bytes.substr(0, 2)), "a002");
    EXPECT_EQ(target.Count(), 3u);
    EXPECT_TRUE(target.Contains(nullptr));
    EXPECT_TRUE(WasLocked(&target));
}

TEST(ZvHashSet, EnumeratorGoesFromTheFirstAndMayBeginAgain) {
    const ZvHashSet$ set = new ZvHashSet;
    set->Add(new RecordingKey(1));
    set->Add(new RecordingKey(2));
    const ZvHashSet& constant = *set;
    for (ZvIEnumerator$ e : {set->GetEnumerator(), constant.GetEnumerator()}) {
        EXPECT_EQ(Names(e), "1 2");
        EXPECT_FALSE(e->HasNext());
        e->Reset();
        e->Next();
        const ZvIEnumerator$ clone = ZvObject$(ZvObject$(e)->Clone());
        EXPECT_EQ(Names(clone), "2");
        EXPECT_EQ(Names(e), "2");
    }
    EXPECT_FALSE(ZvHashSet().GetEnumerator()->HasNext());
    EXPECT_STREQ(ZvObject$(set->GetEnumerator())->GetType()->GetName()->CStr(), "ZvHashSet::Enumerator");
    RecordingKey::Calls();
}

TEST(ZvHashSet, LocksWhereItSaysSo) {
    const auto locks = [](const std::function<void(ZvHashSet&)>& act) {
        ZvHashSet set;
        act(set);
        return WasLocked(&set);
    };
    EXPECT_TRUE(locks([](ZvHashSet& s) { s.Add(nullptr); }));
    EXPECT_TRUE(locks([](ZvHashSet& s) { s.Clear(); }));
    EXPECT_TRUE(locks([](ZvHashSet& s) { s.Contains(nullptr); }));
    EXPECT_TRUE(locks([](ZvHashSet& s) { s.Remove(nullptr); }));
    EXPECT_FALSE(locks([](ZvHashSet& s) {
        s.Count();
        s.GetEnumerator();
        s.ToString();
        cases::Memory out;
        s.Encode(out.stream, cases::Coder(0).Get());
        ZvHashSet source;
        source.Add(nullptr);
        s = source;
    }));
}
