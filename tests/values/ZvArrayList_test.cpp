// The growable list.

#include <zvc/zvc.h>

#include <gtest/gtest.h>

#include "support/Collections.h"

#include <algorithm>
#include <clocale>
#include <functional>
#include <locale>
#include <stdexcept>
#include <vector>

namespace {

ZvArrayList$ ListOf(const std::vector<ZvObject$>& elements) {
    ZvArrayList$ list = new ZvArrayList;
    for (const ZvObject$& e : elements) list->Add(e);
    return list;
}

std::vector<ZvObject$> Elements(const ZvArrayList& list) {
    std::vector<ZvObject$> elements;
    for (size_t i = 0; i != list.Count(); ++i) elements.push_back(list[i]);
    return elements;
}

}

TEST(ZvArrayList, InsertBeyondTheEndFillsWithNull) {
    ZvArrayList list;
    const ZvObject$ x = Number(1);
    list.Insert(5, x);
    ASSERT_EQ(list.Count(), 6u);
    for (size_t i = 0; i != 5; ++i) EXPECT_TRUE(!list[i]) << i;
    EXPECT_EQ(list[5], x);
}

TEST(ZvArrayList, InsertMovesTheRestUp) {
    const auto n = Numbers(4);
    ZvArrayList list;
    list.Insert(0, n[0]);
    list.Insert(0, n[1]);
    list.Insert(1, n[2]);
    list.Insert(3, n[3]);                                                // at the end
    EXPECT_EQ(Elements(list), (std::vector<ZvObject$>{n[1], n[2], n[0], n[3]}));
}

TEST(ZvArrayList, InsertOfItsOwnElement) {
    const auto n = Numbers(3);
    ZvArrayList$ list = ListOf(n);
    for (int i = 0; i != 5; ++i) list->Insert(0, list->ItemAt(2));       // also when the storage moves
    EXPECT_EQ(list->Count(), 8u);
    EXPECT_EQ((*list)[0], n[1]);
}

TEST(ZvArrayList, AddGivesTheNewIndex) {
    ZvArrayList list;
    for (size_t i = 0; i != 10; ++i) EXPECT_EQ(list.Add(nullptr), i);
    EXPECT_EQ(list.Count(), 10u);
}

TEST(ZvArrayList, AddOfItsOwnElementIsReadBeforeTheStorageMoves) {
    const ZvObject$ x = Number(1);
    ZvArrayList list;
    list.Add(x);
    for (int i = 0; i != 40; ++i) list.Add(list[0]);
    for (size_t i = 0; i != list.Count(); ++i) EXPECT_EQ(list[i], x);
    EXPECT_EQ(x->ReferenceCount(), 42);
}

TEST(ZvArrayList, SearchesByIdentityFromTheFront) {
    const ZvObject$ a = new ZvString("equal"), b = new ZvString("equal"), c = new ZvString("equal");
    const ZvArrayList$ list = ListOf({a, nullptr, b, a});
    EXPECT_EQ(list->IndexOf(a), 0u);
    EXPECT_EQ(list->IndexOf(b), 2u);
    EXPECT_EQ(list->IndexOf(nullptr), 1u);
    EXPECT_EQ(list->IndexOf(c), ~size_t(0));
    EXPECT_TRUE(list->Contains(b));
    EXPECT_TRUE(list->Contains(nullptr));
    EXPECT_FALSE(list->Contains(c));
    EXPECT_FALSE(ListOf({a})->Contains(nullptr));
    EXPECT_EQ(ZvArrayList().IndexOf(a), ~size_t(0));
}

TEST(ZvArrayList, SearchingNeverAsksEquals) {
    const ZvArrayList$ list = ListOf({new RecordingKey(1), new RecordingKey(2)});
    list->Contains(new RecordingKey(2));
    list->IndexOf(new RecordingKey(2));
    list->Remove(ZvObject$(new RecordingKey(2)));
    EXPECT_EQ(RecordingKey::Calls(), "");
    EXPECT_EQ(list->Count(), 2u);
}

TEST(ZvArrayList, RemoveTakesTheFirstOccurrenceAndIsSilentWithoutOne) {
    const auto n = Numbers(3);
    ZvArrayList$ list = ListOf({n[0], n[1], n[0], n[1]});
    list->Remove(n[1]);
    EXPECT_EQ(Elements(*list), (std::vector<ZvObject$>{n[0], n[0], n[1]}));
    list->Remove(n[2]);
    EXPECT_EQ(list->Count(), 3u);
}

TEST(ZvArrayList, RemoveGoesThroughTheVirtualTable) {
    struct Watched : ZvArrayList {
        std::string calls;
        void RemoveAt(size_t index) override {
            calls += "RemoveAt " + std::to_string(index);
            ZvArrayList::RemoveAt(index);
        }
    } list;
    const auto n = Numbers(3);
    for (const ZvObject$& e : n) list.Add(e);
    static_cast<ZvArrayList&>(list).Remove(n[1]);
    EXPECT_EQ(list.calls, "RemoveAt 1");
    EXPECT_EQ(list.Count(), 2u);
}

TEST(ZvArrayList, RemoveOfARangeIsHalfOpen) {
    const auto n = Numbers(6);
    ZvArrayList$ list = ListOf(n);
    list->Remove(1, 3);
    EXPECT_EQ(Elements(*list), (std::vector<ZvObject$>{n[0], n[3], n[4], n[5]}));
    list->Remove(2, 2);
    EXPECT_EQ(list->Count(), 4u);
    list->Remove(0, 4);
    EXPECT_EQ(list->Count(), 0u);
    EXPECT_EQ(n[0]->ReferenceCount(), 1);
    list->Remove(0, 0);
    list->Remove(9, 9);                                                  // empty, wherever it is
    EXPECT_EQ(list->Count(), 0u);
}

TEST(ZvArrayList, RemoveAtLetsTheElementGo) {
    const auto n = Numbers(3);
    ZvArrayList$ list = ListOf(n);
    list->RemoveAt(0);
    EXPECT_EQ(Elements(*list), (std::vector<ZvObject$>{n[1], n[2]}));
    EXPECT_EQ(n[0]->ReferenceCount(), 1);
    EXPECT_EQ(n[1]->ReferenceCount(), 2);
}

TEST(ZvArrayList, FourWaysToAnElementAreOne) {
    const auto n = Numbers(2);
    ZvArrayList$ list = ListOf(n);
    const ZvArrayList& constant = *list;
    EXPECT_EQ(&(*list)[1], &list->ItemAt(1));
    EXPECT_EQ(&constant[1], &constant.ItemAt(1));
    EXPECT_EQ(&constant[1], &(*list)[1]);
    list->ItemAt(1) = n[0];
    EXPECT_EQ(constant[1], n[0]);
    const ZvIList$ face = ZvObject$(list);
    EXPECT_EQ(&(*face)[0], &(*list)[0]);
    EXPECT_EQ(&face->ItemAt(0), &(*list)[0]);
}

TEST(ZvArrayList, CapacityGrowsByAHalf) {
    ZvArrayList list;
    const size_t capacities[] = {1, 2, 3, 4, 6, 6, 9, 9, 9, 13, 13, 13, 13, 19};
    EXPECT_EQ(list.Capacity(), 0u);
    for (size_t expected : capacities) {
        list.Add(nullptr);
        EXPECT_EQ(list.Capacity(), expected) << list.Count();
    }
}

TEST(ZvArrayList, ClearAndRemovalsKeepTheCapacity) {
    ZvArrayList$ list = ListOf(Numbers(14));
    list->RemoveAt(3);
    list->Remove(2, 5);
    list->Remove((*list)[0]);
    EXPECT_EQ(list->Capacity(), 19u);
    list->Clear();
    EXPECT_EQ(list->Count(), 0u);
    EXPECT_EQ(list->Capacity(), 19u);
}

TEST(ZvArrayList, EndOfAnElementThatLeavesMayUseTheList) {
    const std::function<void(ZvArrayList&)> removals[] = {
        [](ZvArrayList& l) { l.RemoveAt(1); },
        [](ZvArrayList& l) { l.Remove(1, 2); },
        [](ZvArrayList& l) { l.Remove(l[1]); },
        [](ZvArrayList& l) { l.Resize(1); },
        [](ZvArrayList& l) { l.Clear(); },
        [](ZvArrayList& l) { l = ZvArrayList(); },
    };
    for (const auto& removal : removals) {
        ZvArrayList list;
        size_t seen = 99;
        const ZvObject$ stays = Number(1);
        list.Add(stays);
        list.Add(new LastWord([&] {
            seen = list.Count();
            EXPECT_EQ(list.IndexOf(stays), seen == 0 ? ~size_t(0) : 0u);
            for (int i = 0; i != 20; ++i) list.Add(stays);               // the storage moves
        }));
        removal(list);
        EXPECT_LE(seen, 1u);
        EXPECT_EQ(list.Count(), seen + 20);
        for (const ZvObject$& e : Elements(list)) EXPECT_EQ(e, stays);
    }
}

TEST(ZvArrayList, AssignmentKeepsTheCapacityThatIsEnough) {
    ZvArrayList$ target = ListOf(Numbers(14));
    *target = *ListOf(Numbers(3));
    EXPECT_EQ(target->Count(), 3u);
    EXPECT_EQ(target->Capacity(), 19u);
    *target = *ListOf(Numbers(21));
    EXPECT_EQ(target->Count(), 21u);
}

TEST(ZvArrayList, ReserveTakesExactlyThatMuchOrNothing) {
    ZvArrayList list;
    list.Reserve(17);
    EXPECT_EQ(list.Capacity(), 17u);
    list.Reserve(18);
    EXPECT_EQ(list.Capacity(), 18u);
    list.Reserve(3);
    EXPECT_EQ(list.Capacity(), 18u);
    EXPECT_EQ(list.Count(), 0u);
}

TEST(ZvArrayList, ResizeCutsOrFillsAndGrowsByTheRule) {
    const auto n = Numbers(3);
    ZvArrayList$ list = ListOf(n);                                       // capacity 3
    list->Resize(4);
    EXPECT_EQ(list->Capacity(), 4u);
    EXPECT_TRUE(!(*list)[3]);
    list->Resize(5);
    EXPECT_EQ(list->Capacity(), 6u);
    list->Resize(20);
    EXPECT_EQ(list->Capacity(), 20u);
    list->Resize(2);
    EXPECT_EQ(list->Capacity(), 20u);
    EXPECT_EQ(Elements(*list), (std::vector<ZvObject$>{n[0], n[1]}));
    EXPECT_EQ(n[2]->ReferenceCount(), 1);
}

TEST(ZvArrayList, OverflowIsALengthError) {
    const auto textOf = [](const std::function<void()>& act) -> std::string {
        try {
            act();
        } catch (const std::length_error& e) {
            return e.what();
        }
        return "";
    };
    ZvArrayList list;
    EXPECT_EQ(textOf([&] { list.Reserve(~size_t(0)); }), "vector<T> too long");
    EXPECT_EQ(textOf([&] { list.Resize(~size_t(0)); }), "vector<T> too long");
    EXPECT_EQ(list.Count(), 0u);
}

TEST(ZvArrayList, BinarySearchGivesTheFirstOfAHigherAddress) {
    std::vector<ZvObject$> n = Numbers(6);
    std::sort(n.begin(), n.end(), [](const ZvObject$& a, const ZvObject$& b) { return std::less<>()(a.Get(), b.Get()); });
    const ZvArrayList$ list = ListOf({n[1], n[3], n[3], n[4]});
    const int expected[] = {0, 1, 1, 3, -1, -1};
    for (size_t i = 0; i != 6; ++i) EXPECT_EQ(list->BinarySearch(n[i]), expected[i]) << i;
    EXPECT_EQ(list->BinarySearch(nullptr), 0);
    EXPECT_EQ(ZvArrayList().BinarySearch(n[0]), -1);
}

TEST(ZvArrayList, CopyAndCloneShareTheElements) {
    const auto n = Numbers(3);
    const ZvArrayList$ list = ListOf(n);
    const ZvArrayList copy(*list);
    const ZvArrayList$ clone = ZvObject$(list->Clone());
    ZvArrayList assigned;
    assigned.Add(n[0]);
    assigned = *list;
    for (const ZvArrayList* other : {&copy, &static_cast<const ZvArrayList&>(*clone), &static_cast<const ZvArrayList&>(assigned)})
        EXPECT_EQ(Elements(*other), n);
    EXPECT_EQ(n[0]->ReferenceCount(), 5);
    EXPECT_EQ(copy.ReferenceCount(), 0);
}

TEST(ZvArrayList, ToStringIsALineForEachElement) {
    EXPECT_STREQ(ZvArrayList().ToString()->CStr(), "");
    EXPECT_STREQ(ListOf({Number(7), new ZvPrimitive<double>(1.5), new ZvString("text")})->ToString()->CStr(), "[0]7\n[1]1.5\n[2]ZvString\n");
}

TEST(ZvArrayList, ToStringIndexIsPlainDecimalInAnyLocale) {
    struct Grouping : std::numpunct<char> {
        char do_thousands_sep() const override { return '\''; }
        std::string do_grouping() const override { return "\1"; }
    };
    const std::locale before = std::locale::global(std::locale(std::locale::classic(), new Grouping));
    const std::string text = ListOf(Numbers(12))->ToString()->CStr();
    std::locale::global(before);
    EXPECT_NE(text.find("\n[11]"), std::string::npos) << text;
}

TEST(ZvArrayList, HashGoesOverTheElementsAndPassesOverNull) {
    constexpr size_t start = 0x811C9DC5, prime = 16777619;
    const size_t a = Number(1)->GetHashCode(), b = Number(2)->GetHashCode();
    EXPECT_EQ(ZvArrayList().GetHashCode(), 2166136261u);
    EXPECT_EQ(ListOf({Number(1), Number(2)})->GetHashCode(), ((start * prime ^ a) * prime) ^ b);
    EXPECT_EQ(ListOf({Number(1), nullptr, Number(2)})->GetHashCode(), ((start * prime ^ a) * prime * prime) ^ b);
    EXPECT_EQ(ListOf({nullptr})->GetHashCode(), start * prime);
}

TEST(ZvArrayList, EqualsAsksBothSides) {
    const ZvObject$ yes = new RecordingKey(1, "yes"), no = new RecordingKey(1, "no", false);
    const ZvArrayList$ a = ListOf({yes}), b = ListOf({no}), c = ListOf({new RecordingKey(1, "c")});
    EXPECT_FALSE(a->Equals(b.Get()));
    EXPECT_EQ(RecordingKey::Calls(), "yes=no no=yes");
    EXPECT_FALSE(b->Equals(a.Get()));
    EXPECT_EQ(RecordingKey::Calls(), "no=yes");
    EXPECT_TRUE(a->Equals(c.Get()));
    EXPECT_EQ(RecordingKey::Calls(), "yes=c c=yes");
    EXPECT_TRUE(a->Equals(a.Get()));
    EXPECT_EQ(RecordingKey::Calls(), "");
    EXPECT_FALSE(a->Equals(nullptr));
    EXPECT_FALSE(a->Equals(yes.Get()));
    EXPECT_FALSE(a->Equals(ListOf({yes, yes}).Get()));
    EXPECT_TRUE(ListOf({nullptr})->Equals(ListOf({nullptr}).Get()));
    EXPECT_FALSE(ListOf({yes})->Equals(ListOf({nullptr}).Get()));
    EXPECT_FALSE(ListOf({nullptr})->Equals(ListOf({yes}).Get()));
    EXPECT_FALSE(a->Equals(ZvObject$(new ZvQueue).Get()));
    RecordingKey::Calls();
}

TEST(ZvArrayList, WritesTheCountAndTheElementsAndReadsThemBehindItsOwn) {
    ZvArrayList list;
    list.Add(nullptr);
    const ZvArrayList$ source = ListOf({nullptr, Number(1), nullptr});
    const std::string bytes = Recode(*source, list);
    EXPECT_EQ(cases::ToHex(bytes.substr(0, 3)), "a00380");               // the count, and null
    ASSERT_EQ(list.Count(), 4u);
    EXPECT_TRUE(!list[0] && !list[1] && !list[3]);
    EXPECT_TRUE(Number(1)->Equals(list[2].Get()));
}

TEST(ZvArrayList, DecodeReservesTheCountWhenItExceedsTheCapacity) {
    const auto capacityAfter = [](int stored, size_t before, size_t reserved) {
        ZvArrayList source, list;
        source.Resize(static_cast<size_t>(stored));
        for (size_t i = 0; i != before; ++i) list.Add(nullptr);
        list.Reserve(reserved);
        Recode(source, list);
        EXPECT_EQ(list.Count(), before + static_cast<size_t>(stored));
        return list.Capacity();
    };
    EXPECT_EQ(capacityAfter(5, 0, 0), 5u);
    EXPECT_EQ(capacityAfter(5, 0, 7), 7u);
    EXPECT_EQ(capacityAfter(5, 3, 0), 10u);                              // 5, then for 8 by the rule 7 and 10
    EXPECT_EQ(capacityAfter(10000, 0, 0), 10000u);
    EXPECT_EQ(capacityAfter(10000, 0, 10001), 10001u);
    EXPECT_EQ(capacityAfter(10000, 3, 0), 15000u);
}

TEST(ZvArrayList, DecodeAddsThroughTheVirtualTable) {
    struct Watched : ZvArrayList {
        int calls = 0;
        size_t Add(ZvObject$ const& value) override {
            ++calls;
            return ZvArrayList::Add(value);
        }
    } list;
    Recode(*ListOf(Numbers(3)), list);
    EXPECT_EQ(list.calls, 3);
    EXPECT_EQ(list.Count(), 3u);
}

TEST(ZvArrayList, EnumeratorGoesFromTheFirstAndMayBeginAgain) {
    const auto n = Numbers(3);
    ZvArrayList$ list = ListOf(n);
    const ZvArrayList& constant = *list;
    for (ZvIEnumerator$ e : {list->GetEnumerator(), constant.GetEnumerator()}) {
        for (const ZvObject$& expected : n) {
            ASSERT_TRUE(e->HasNext());
            EXPECT_EQ(e->Next(), expected);
        }
        EXPECT_FALSE(e->HasNext());
        e->Reset();
        EXPECT_EQ(e->Next(), n[0]);
        const ZvIEnumerator$ clone = ZvObject$(ZvObject$(e)->Clone());
        EXPECT_EQ(e->Next(), n[1]);
        EXPECT_EQ(clone->Next(), n[1]);                                  // from where it was taken
    }
    EXPECT_FALSE(ZvArrayList().GetEnumerator()->HasNext());
    EXPECT_EQ(list->ReferenceCount(), 1);                                // enumerators hold none
    EXPECT_STREQ(ZvObject$(list->GetEnumerator())->GetType()->GetName()->CStr(), "ZvArrayList::Enumerator");
}

TEST(ZvArrayList, LocksWhereItSaysSo) {
    const auto locks = [](const std::function<void(ZvArrayList&)>& act) {
        const ZvObject$ x = Number(1);
        ZvArrayList source, list;
        source.Resize(3);
        source[0] = x;
        list = source;
        EXPECT_FALSE(WasLocked(&list));                                  // neither Resize nor = locks
        EXPECT_FALSE(WasLocked(&source));
        act(list);
        return WasLocked(&list);
    };
    EXPECT_TRUE(locks([](ZvArrayList& l) { l.Add(nullptr); }));
    EXPECT_TRUE(locks([](ZvArrayList& l) { l.Clear(); }));
    EXPECT_TRUE(locks([](ZvArrayList& l) { l.Contains(nullptr); }));
    EXPECT_TRUE(locks([](ZvArrayList& l) { l.IndexOf(nullptr); }));
    EXPECT_TRUE(locks([](ZvArrayList& l) { l.Insert(1, nullptr); }));
    EXPECT_TRUE(locks([](ZvArrayList& l) { l.Remove(0, 1); }));
    EXPECT_TRUE(locks([](ZvArrayList& l) { l.Remove(ZvObject$()); }));
    EXPECT_TRUE(locks([](ZvArrayList& l) { l.RemoveAt(0); }));
    EXPECT_FALSE(locks([](ZvArrayList& l) {
        l.Count();
        l[0] = nullptr;
        l.ItemAt(0) = Number(2);
        l.Capacity();
        l.Reserve(40);
        l.BinarySearch(nullptr);
        l.GetEnumerator();
        l.Resize(1);
        l.ToString();
        cases::Memory out;
        l.Encode(out.stream, cases::Coder(0).Get());
    }));
}
