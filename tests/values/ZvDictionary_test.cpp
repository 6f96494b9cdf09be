// The dictionary. What its hash table does with keys stands in ZvHashTable_test.cpp.

#include <zvc/zvc.h>

#include <gtest/gtest.h>

#include "support/Collections.h"

#include <functional>
#include <limits>

namespace {

ZvObject$ Key(unsigned int v) { return new RecordingKey(v); }

ZvObject$ Text(const char* text) { return new ZvString(text); }

std::string OrderOf(const ZvDictionary& d) { return Names(d.GetEnumerator()); }

}

TEST(ZvDictionary, AddOfAKeyThatIsThereKeepsTheOldValue) {
    ZvDictionary d;
    d.Add(Text("a"), Number(1));
    d.Add(Text("a"), Number(2));
    EXPECT_EQ(d.Count(), 1u);
    EXPECT_TRUE(Number(1)->Equals(d.Find(Text("a")).Get()));
}

TEST(ZvDictionary, AssignmentThroughTheIndexReplaces) {
    ZvDictionary d;
    d.Add(Text("a"), Number(1));
    const ZvObject$ two = Number(2);
    d[Text("a")] = two;
    EXPECT_EQ(d.Count(), 1u);
    EXPECT_EQ(d.Find(Text("a")), two);
}

TEST(ZvDictionary, IndexMakesAnEntryWithANullValue) {
    ZvDictionary d;
    EXPECT_TRUE(!d[Text("a")]);
    EXPECT_EQ(d.Count(), 1u);
    EXPECT_TRUE(d.Contains(Text("a")));
    EXPECT_EQ(&d[Text("a")], &d[Text("a")]);
}

TEST(ZvDictionary, IndexGivesTheEntryThatFindGives) {
    // Numbers of one bucket, each of which is equal to a box that is not a number.
    const ZvObject$ nan = new ZvPrimitive<double>(std::numeric_limits<double>::quiet_NaN());
    ZvDictionary dictionary;
    for (double number : {6.5, 10.0, 10.5}) dictionary.Add(new ZvPrimitive<double>(number), nullptr);
    dictionary[nan] = Number(1);
    EXPECT_EQ(dictionary.Count(), 3u);
    EXPECT_TRUE(Number(1)->Equals(dictionary.Find(nan).Get()));
    EXPECT_TRUE(Number(1)->Equals(dictionary.Find(new ZvPrimitive<double>(10.5)).Get()));
}

TEST(ZvDictionary, FindGivesNullForAbsentAndForNullValueAndContainsTellsThemApart) {
    ZvDictionary d;
    d.Add(Text("null"), nullptr);
    const ZvDictionary& constant = d;
    EXPECT_TRUE(!d.Find(Text("null")) && !constant.Find(Text("null")));
    EXPECT_TRUE(!d.Find(Text("absent")) && !constant.Find(Text("absent")));
    EXPECT_TRUE(d.Contains(Text("null")));
    EXPECT_FALSE(d.Contains(Text("absent")));
    EXPECT_EQ(d.Count(), 1u);                                            // looking makes no entry
}

TEST(ZvDictionary, KeysAreEqualByContentAndNotByIdentity) {
    ZvDictionary d;
    d.Add(Text("a"), Number(1));
    d.Add(Number(5), Number(2));
    EXPECT_TRUE(d.Contains(Text("a")));
    EXPECT_TRUE(Number(2)->Equals(d.Find(Number(5)).Get()));
    EXPECT_FALSE(d.Contains(Number(6)));
}

TEST(ZvDictionary, NullIsAKey) {
    ZvDictionary d;
    d.Add(nullptr, Number(1));
    d.Add(nullptr, Number(2));
    EXPECT_TRUE(d.Contains(nullptr));
    EXPECT_TRUE(Number(1)->Equals(d.Find(nullptr).Get()));
    d.Remove(nullptr);
    EXPECT_EQ(d.Count(), 0u);
}

TEST(ZvDictionary, RemoveIsSilentWithoutTheKey) {
    ZvDictionary d;
    d.Remove(Text("a"));
    const ZvObject$ value = Number(1);
    d.Add(Text("a"), value);
    d.Remove(Text("b"));
    EXPECT_EQ(d.Count(), 1u);
    d.Remove(Text("a"));
    EXPECT_EQ(d.Count(), 0u);
    EXPECT_EQ(value->ReferenceCount(), 1);
}

TEST(ZvDictionary, KeysAndValuesAreListsInTheOrderOfEnumeration) {
    ZvDictionary d;
    for (unsigned int v : {1u, 2u, 9u}) d.Add(Key(v), Number(static_cast<int>(v)));
    const ZvObject$ keys = d.Keys(), values = d.Values();
    EXPECT_EQ(keys->GetType(), &ZvArrayList::s_type);
    EXPECT_EQ(values->GetType(), &ZvArrayList::s_type);
    EXPECT_EQ(Names(d.Keys()->GetEnumerator()), "9 1 2");
    EXPECT_STREQ(values->ToString()->CStr(), "[0]9\n[1]1\n[2]2\n");
    EXPECT_EQ(ZvDictionary().Keys()->Count(), 0u);
    RecordingKey::Calls();
}

// By hand: 9 1 2 3 is walked from the front; 1 meets 9 in its bucket and goes before it.
TEST(ZvDictionary, CopyInsertsOneByOneSoThatItsOrderMayDiffer) {
    ZvDictionary$ d = new ZvDictionary;
    for (unsigned int v : {1u, 2u, 9u, 3u}) d->Add(Key(v), Number(static_cast<int>(v)));
    EXPECT_EQ(OrderOf(*d), "9 1 2 3");
    const ZvDictionary copy(*d);
    EXPECT_EQ(OrderOf(copy), "1 9 2 3");
    const ZvDictionary$ clone = ZvObject$(d->Clone());
    EXPECT_EQ(OrderOf(*clone), "1 9 2 3");
    for (unsigned int v : {1u, 2u, 9u, 3u}) EXPECT_EQ(copy.Find(Key(v)), d->Find(Key(v)));   // shared, not copied
    EXPECT_EQ(copy.ReferenceCount(), 0);
    RecordingKey::Calls();
}

TEST(ZvDictionary, CopyBeginsWith8BucketsAndAssignmentTakesTheSources) {
    ZvDictionary d;
    for (unsigned int v = 1; v <= 9; ++v) d.Add(Key(v), nullptr);
    for (unsigned int v = 3; v <= 9; ++v) d.Remove(Key(v));
    ZvDictionary copy(d), assigned;
    assigned = d;
    copy.Add(Key(9), nullptr);
    assigned.Add(Key(9), nullptr);
    EXPECT_EQ(OrderOf(copy), "9 1 2");
    EXPECT_EQ(OrderOf(assigned), "1 2 9");
    RecordingKey::Calls();
}

TEST(ZvDictionary, AssignmentThatFailsClearsTheTarget) {
    ZvDictionary source, target;
    for (unsigned int v : {1u, 2u, 3u}) source.Add(Key(v), nullptr);
    target.Add(Key(4), nullptr);
    RecordingKey::ThrowAt(2);
    EXPECT_THROW(target = source, std::runtime_error);
    EXPECT_EQ(target.Count(), 0u);
    EXPECT_EQ(OrderOf(target), "");
    EXPECT_EQ(source.Count(), 3u);
    target.Add(Key(4), nullptr);
    EXPECT_EQ(target.Count(), 1u);
    RecordingKey::Calls();
}

TEST(ZvDictionary, ToStringHasNoSeparator) {
    ZvDictionary d;
    EXPECT_STREQ(d.ToString()->CStr(), "");
    d.Add(new ZvPrimitive<char>('a'), Number(1));
    d.Add(new ZvPrimitive<char>('b'), Number(2));
    const std::string text = d.ToString()->CStr();
    EXPECT_TRUE(text == "a=\"1\"b=\"2\"" || text == "b=\"2\"a=\"1\"") << text;
    // In the list's order.
    const std::string first = ZvIDictionaryEnumerator$(d.GetEnumerator())->Key()->ToString()->CStr();
    EXPECT_EQ(text.substr(0, 1), first);
}

TEST(ZvDictionary, HashIsOfTheValuesAlone) {
    constexpr size_t start = 0x811C9DC5, prime = 16777619;
    ZvDictionary a, b, withNull;
    EXPECT_EQ(a.GetHashCode(), start);
    a.Add(Key(1), Number(1));
    a.Add(Key(2), Number(2));
    b.Add(Key(3), Number(1));
    b.Add(Key(4), Number(2));
    withNull.Add(Key(1), nullptr);
    const size_t one = Number(1)->GetHashCode(), two = Number(2)->GetHashCode();
    RecordingKey::Calls();
    EXPECT_EQ(a.GetHashCode(), ((start * prime ^ one) * prime) ^ two);
    EXPECT_EQ(RecordingKey::Calls(), "");
    EXPECT_EQ(a.GetHashCode(), b.GetHashCode());
    EXPECT_EQ(withNull.GetHashCode(), start * prime);
}

TEST(ZvDictionary, EqualityDependsOnTheOrder) {
    ZvDictionary a, b, c, shorter;
    for (unsigned int v : {1u, 9u}) a.Add(Key(v), Number(0));            // 9 1
    for (unsigned int v : {9u, 1u}) b.Add(Key(v), Number(0));            // 1 9
    for (unsigned int v : {1u, 9u}) c.Add(Key(v), Number(0));
    shorter.Add(Key(1), Number(0));
    RecordingKey::Calls();
    EXPECT_FALSE(a.Equals(&b));
    EXPECT_EQ(RecordingKey::Calls(), "9=1");
    EXPECT_TRUE(a.Equals(&c));
    EXPECT_EQ(RecordingKey::Calls(), "9=9 1=1");                         // the left side alone is asked
    EXPECT_TRUE(a.Equals(&a));
    EXPECT_FALSE(a.Equals(nullptr));
    EXPECT_FALSE(a.Equals(&shorter));
    const ZvHashSet set;
    EXPECT_FALSE(ZvDictionary().Equals(&set));
    c[Key(1)] = Number(7);
    EXPECT_FALSE(a.Equals(&c));
    RecordingKey::Calls();
}

TEST(ZvDictionary, WritesKeysAndValuesInListOrderAndReadsThemBehindItsOwn) {
    ZvDictionary source, target;
    source.Add(Number(1), nullptr);
    source.Add(nullptr, Number(2));
    target.Add(Number(5), Number(6));
    const std::string bytes = Recode(source, target);
    EXPECT_EQ(cases::ToHex(bytes.substr(0, 2)), "a002");
    EXPECT_EQ(target.Count(), 3u);
    EXPECT_TRUE(target.Contains(Number(1)));
    EXPECT_TRUE(Number(2)->Equals(target.Find(nullptr).Get()));
}

TEST(ZvDictionary, DecodeKeepsTheFirstOfDuplicateKeysThroughTheVirtualAdd) {
    struct Watched : ZvDictionary {
        int calls = 0;
        void Add(ZvObject$ const& key, ZvObject$ const& value) override {
            ++calls;
            ZvDictionary::Add(key, value);
        }
    } target;
    ZvDictionary source;
    source.Add(Text("a"), Number(1));
    Recode(source, target);
    source[Text("a")] = Number(2);
    Recode(source, target);
    EXPECT_EQ(target.calls, 2);
    EXPECT_EQ(target.Count(), 1u);
    EXPECT_TRUE(Number(1)->Equals(target.Find(Text("a")).Get()));
}

TEST(ZvDictionary, EnumeratorGivesEntriesAndLooksWithoutMovingOn) {
    ZvDictionary$ d = new ZvDictionary;
    const ZvObject$ key = Key(1), value = Number(1);
    d->Add(key, value);
    d->Add(Key(2), Number(2));
    const ZvDictionary& constant = *d;
    for (ZvIDictionaryEnumerator$ e : {ZvIDictionaryEnumerator$(d->GetEnumerator()), ZvIDictionaryEnumerator$(constant.GetEnumerator())}) {
        ASSERT_TRUE(e);
        EXPECT_EQ(e->Key(), key);
        EXPECT_EQ(e->Value(), value);
        const ZvDictionaryEntry looked = e->Entry();
        EXPECT_EQ(looked.Key(), key);
        EXPECT_EQ(looked.Value(), value);
        const ZvIDictionaryEnumerator$ clone = ZvObject$(ZvObject$(e)->Clone());
        const ZvDictionaryEntry$ entry = e->Next();
        ASSERT_TRUE(entry);
        EXPECT_EQ(entry->Key(), key);
        EXPECT_EQ(entry->Value(), value);
        EXPECT_EQ(entry->ReferenceCount(), 1);
        EXPECT_EQ(clone->Key(), key);
        e->Next();
        EXPECT_FALSE(e->HasNext());
        EXPECT_TRUE(!e->Key());
        EXPECT_TRUE(!e->Value());
        e->Reset();
        EXPECT_EQ(e->Key(), key);
    }
    EXPECT_EQ(d->ReferenceCount(), 1);
    EXPECT_FALSE(ZvDictionary().GetEnumerator()->HasNext());
    EXPECT_STREQ(ZvObject$(d->GetEnumerator())->GetType()->GetName()->CStr(), "ZvDictionary::Enumerator");
}

TEST(ZvDictionary, LocksWhereItSaysSo) {
    const auto locks = [](const std::function<void(ZvDictionary&)>& act) {
        ZvDictionary d;
        d[Text("a")] = Number(1);
        EXPECT_FALSE(WasLocked(&d));
        act(d);
        return WasLocked(&d);
    };
    EXPECT_TRUE(locks([](ZvDictionary& d) { d.Add(nullptr, nullptr); }));
    EXPECT_TRUE(locks([](ZvDictionary& d) { d.Clear(); }));
    EXPECT_TRUE(locks([](ZvDictionary& d) { d.Remove(nullptr); }));
    EXPECT_TRUE(locks([](ZvDictionary& d) { d.Keys(); }));
    EXPECT_TRUE(locks([](ZvDictionary& d) { d.Values(); }));
    EXPECT_FALSE(locks([](ZvDictionary& d) {
        d.Count();
        d.Find(Text("a"));
        d.Contains(Text("a"));
        d.GetEnumerator();
        d.ToString();
        cases::Memory out;
        d.Encode(out.stream, cases::Coder(0).Get());
        const ZvDictionary copy(d);
        d = copy;
        EXPECT_FALSE(WasLocked(&copy));
    }));
}
