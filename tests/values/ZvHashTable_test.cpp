// The hash table of the dictionary and the set: its order, what it asks of keys, and what a key's failure leaves.

#include <zvc/zvc.h>

#include <gtest/gtest.h>

#include "support/Collections.h"

#include <thread>
#include <vector>

namespace {

ZvObject$ Key(unsigned int v) { return new RecordingKey(v); }

ZvHashSet$ SetOf(const std::vector<unsigned int>& keys) {
    ZvHashSet$ set = new ZvHashSet;
    for (unsigned int v : keys) set->Add(Key(v));
    RecordingKey::Calls();
    return set;
}

std::string Order(const ZvHashSet$& set) { return Names(set->GetEnumerator()); }

std::string OrderOf(const std::vector<unsigned int>& keys) { return Order(SetOf(keys)); }

}

// ---- order ------------------------------------------------------------------------------------------------------------------

TEST(ZvHashTable, KeysOfDistinctBucketsEnumerateInTheOrderOfInsertion) {
    EXPECT_EQ(OrderOf({3, 1, 8, 5, 2, 7, 4, 6}), "3 1 8 5 2 7 4 6");
}

TEST(ZvHashTable, KeyOfAnOccupiedBucketEnumeratesBeforeItsOtherKeys) {
    EXPECT_EQ(OrderOf({1, 2, 9}), "9 1 2");                             // 1, 9, 17 share the bucket 7
    EXPECT_EQ(OrderOf({1, 2, 9, 17}), "17 9 1 2");
    EXPECT_EQ(OrderOf({2, 1, 3, 9}), "2 9 1 3");
}

// By hand: 65 goes before 1, both in bucket 7. Growing takes 65 first, to the end; 1 then goes before it, for both are in
// bucket 39 of 64; 2 to 8 follow, each in a bucket of its own.
TEST(ZvHashTable, NinthEntryGrowsTo64BucketsAndReordersTheList) {
    EXPECT_EQ(OrderOf({1, 2, 3, 4, 5, 6, 7, 8}), "1 2 3 4 5 6 7 8");
    EXPECT_EQ(OrderOf({1, 2, 3, 4, 5, 6, 7, 8, 65}), "1 65 2 3 4 5 6 7 8");
    // 9 shares a bucket with 1 no more.
    EXPECT_EQ(OrderOf({1, 2, 3, 4, 5, 6, 7, 8, 10, 9}), "1 10 2 3 4 5 6 7 8 9");
}

// The keys of a bucket are those that a lookup asks. With n buckets these are the keys that are alike mod n, since the factor
// is odd, as long as the generator does not come round (below 127773).
TEST(ZvHashTable, BucketsGoFrom8To64To512To1024To2048) {
    const struct {
        unsigned int entries, buckets;
    } rows[] = {{8, 8},       {9, 64},      {64, 64},     {65, 512},    {512, 512},
                {513, 1024},  {1024, 1024}, {1025, 2048}, {2048, 2048}, {2049, 4096}};
    for (const auto& row : rows) {
        std::vector<unsigned int> keys;
        for (unsigned int v = 1; v <= row.entries; ++v) keys.push_back(v);
        const ZvHashSet$ set = SetOf(keys);
        EXPECT_FALSE(set->Contains(new RecordingKey(8192 + row.buckets + 1, "p")));
        EXPECT_EQ(RecordingKey::Calls(), "hp 1=p") << row.entries;       // with twice as many: nothing, or another one
        EXPECT_FALSE(set->Contains(new RecordingKey(8192 + row.buckets / 2 + 1, "p")));
        const std::string calls = RecordingKey::Calls();
        EXPECT_EQ(calls.find(" 1=p"), std::string::npos) << row.entries; // with half as many: that one
    }
}

TEST(ZvHashTable, RemovingTheOnlyEntryMakesANewTable) {
    const ZvHashSet$ set = SetOf({1, 2, 3, 4, 5, 6, 7, 8, 9});
    for (unsigned int v = 1; v <= 9; ++v) set->Remove(Key(v));
    EXPECT_EQ(set->Count(), 0u);
    // With 64 buckets these two would not meet.
    set->Add(Key(1));
    set->Add(Key(2));
    set->Add(Key(9));
    EXPECT_EQ(Order(set), "9 1 2");
}

TEST(ZvHashTable, RemovingButOneKeepsTheBuckets) {
    const ZvHashSet$ set = SetOf({1, 2, 3, 4, 5, 6, 7, 8, 9});
    for (unsigned int v = 3; v <= 9; ++v) set->Remove(Key(v));
    set->Add(Key(9));
    EXPECT_EQ(Order(set), "1 2 9");
}

TEST(ZvHashTable, ClearMakesANewTable) {
    const ZvHashSet$ set = SetOf({1, 2, 3, 4, 5, 6, 7, 8, 9});
    set->Clear();
    EXPECT_EQ(set->Count(), 0u);
    EXPECT_EQ(Order(set), "");
    for (unsigned int v : {1u, 2u, 9u}) set->Add(Key(v));
    EXPECT_EQ(Order(set), "9 1 2");
}

TEST(ZvHashTable, ErasureRepairsTheBucket) {
    // The run of bucket 7 is 25 17 9 1. Whatever goes, the next of the bucket stands before its first.
    const struct {
        std::vector<unsigned int> removed;
        const char* order;
    } rows[] = {
        {{25}, "33 17 9 1 2"},       {{1}, "33 25 17 9 2"},           {{17}, "33 25 9 1 2"},
        {{25, 1}, "33 17 9 2"},      {{25, 17, 9, 1}, "2 33"},        {{2}, "33 25 17 9 1"},
        {{1, 9, 17}, "33 25 2"},     {{25, 17, 9}, "33 1 2"},
    };
    for (const auto& row : rows) {
        const ZvHashSet$ set = SetOf({1, 2, 9, 17, 25});
        for (unsigned int v : row.removed) set->Remove(Key(v));
        set->Add(Key(33));
        EXPECT_EQ(Order(set), row.order);
        EXPECT_EQ(set->Count(), 6 - row.removed.size());
    }
}

TEST(ZvHashTable, AssigningKeepsTheBucketsAndPlacesAnew) {
    const ZvHashSet$ source = SetOf({1, 2, 9, 3});                       // 9 1 2 3
    ZvHashSet target;
    target.Add(Key(77));
    target = *source;
    EXPECT_EQ(Names(target.GetEnumerator()), "1 9 2 3");                 // 9 first, then 1 before it
    target = static_cast<const ZvHashSet&>(target);
    EXPECT_EQ(target.Count(), 4u);
    // 64 buckets go over to the copy, though it has room for its two in 8.
    const ZvHashSet$ large = SetOf({1, 2, 3, 4, 5, 6, 7, 8, 9});
    for (unsigned int v = 3; v <= 9; ++v) large->Remove(Key(v));
    ZvHashSet copy(*large);
    copy.Add(Key(9));
    EXPECT_EQ(Names(copy.GetEnumerator()), "1 2 9");
}

// ---- what keys are asked ---------------------------------------------------------------------------------------------------

TEST(ZvHashTable, InsertionAsksTheNewKeyFromTheRunsLastToItsFirst) {
    const ZvHashSet$ set = SetOf({1, 9, 17, 2});                         // 17 9 1 2
    set->Add(Key(25));
    EXPECT_EQ(RecordingKey::Calls(), "h25 25=1 25=9 25=17");
    set->Add(new RecordingKey(9, "again"));
    EXPECT_EQ(RecordingKey::Calls(), "hagain again=1 again=9");
    EXPECT_EQ(Order(set), "25 17 9 1 2");
    set->Add(Key(3));
    EXPECT_EQ(RecordingKey::Calls(), "h3");
}

TEST(ZvHashTable, LookupAsksTheStoredKeysFromTheRunsFirstAndConfirms) {
    const ZvHashSet$ set = SetOf({1, 9, 17, 2});                         // 17 9 1 2
    EXPECT_TRUE(set->Contains(new RecordingKey(9, "p")));
    EXPECT_EQ(RecordingKey::Calls(), "hp 17=p 9=p p=9");
    EXPECT_FALSE(set->Contains(new RecordingKey(25, "p")));
    EXPECT_EQ(RecordingKey::Calls(), "hp 17=p 9=p 1=p");
    EXPECT_FALSE(set->Contains(new RecordingKey(3, "p")));
    EXPECT_EQ(RecordingKey::Calls(), "hp");
}

TEST(ZvHashTable, LookupThatIsNotConfirmedFailsAtOnce) {
    const ZvHashSet$ set = SetOf({1, 9});
    EXPECT_FALSE(set->Contains(new RecordingKey(9, "p", false)));
    EXPECT_EQ(RecordingKey::Calls(), "hp 9=p p=9");
}

TEST(ZvHashTable, IndexAsksAsALookupDoesAndThenAsAnInsertion) {
    ZvDictionary dictionary;
    for (unsigned int v : {1u, 9u, 17u}) dictionary.Add(Key(v), nullptr);                // 17 9 1
    RecordingKey::Calls();
    dictionary[new RecordingKey(9, "p")];
    EXPECT_EQ(RecordingKey::Calls(), "hp 17=p 9=p p=9");
    dictionary[new RecordingKey(9, "q", false)];
    EXPECT_EQ(RecordingKey::Calls(), "hq 17=q 9=q q=9 q=1 q=9 q=17");
    EXPECT_EQ(Names(dictionary.GetEnumerator()), "q 17 9 1");
}

TEST(ZvHashTable, RemovalAsksAsALookupDoes) {
    const ZvHashSet$ set = SetOf({1, 9, 17, 2});
    set->Remove(new RecordingKey(9, "p"));
    EXPECT_EQ(RecordingKey::Calls(), "hp 17=p 9=p p=9");
    set->Remove(new RecordingKey(25, "p"));
    EXPECT_EQ(RecordingKey::Calls(), "hp 17=p 1=p");
}

TEST(ZvHashTable, GrowingAsksEachKeyForItsHashAndThenComparesItOneAfterAnother) {
    const ZvHashSet$ set = SetOf({1, 2, 3, 4, 5, 6, 7, 8});
    set->Add(Key(65));
    EXPECT_EQ(RecordingKey::Calls(), "h65 65=1 h65 h1 1=65 h2 h3 h4 h5 h6 h7 h8");
}

TEST(ZvHashTable, GrowingComparesWithinTheNewBucketsFromTheRunsLast) {
    const ZvHashSet$ set = SetOf({1, 65, 129, 4, 5, 6, 7, 8});           // 129 65 1 4 5 6 7 8
    set->Add(Key(193));
    EXPECT_EQ(RecordingKey::Calls(), "h193 193=1 193=65 193=129 h193 h129 129=193 h65 65=193 65=129 h1 1=193 1=129 1=65 h4 h5 h6 h7 h8");
    EXPECT_EQ(Order(set), "1 65 129 193 4 5 6 7 8");
}

TEST(ZvHashTable, NullIsAKeyInBucketZeroAndIsFoundAgain) {
    ZvHashSet set;
    set.Add(nullptr);
    EXPECT_TRUE(set.Contains(nullptr));
    set.Add(nullptr);
    EXPECT_EQ(set.Count(), 1u);
    set.Add(Key(1));
    set.Add(Key(8));                                                     // bucket 0 as well
    EXPECT_EQ(Names(set.GetEnumerator()), "8 ~ 1");
    set.Remove(nullptr);
    EXPECT_FALSE(set.Contains(nullptr));
    EXPECT_EQ(set.Count(), 2u);
}

TEST(ZvHashTable, KeyIsAskedAboutNullAndNeverNullAboutIt) {
    const ZvHashSet$ set = SetOf({8});
    set->Add(nullptr);
    EXPECT_EQ(RecordingKey::Calls(), "8=null");
    EXPECT_TRUE(set->Contains(nullptr));                                 // null stands first in the run
    EXPECT_EQ(RecordingKey::Calls(), "");
    EXPECT_FALSE(set->Contains(Key(16)));
    EXPECT_EQ(RecordingKey::Calls(), "h16 16=null 8=16");
}

TEST(ZvHashTable, StringsAndForeignKeysMeetInOneTable) {
    ZvHashSet set;
    for (int i = 0; i != 40; ++i) {
        set.Add(new ZvString(std::to_string(i).c_str()));
        set.Add(Number(i));
    }
    set.Add(new ZvString("7"));
    set.Add(Number(7));
    EXPECT_EQ(set.Count(), 80u);
    for (int i = 0; i != 40; ++i) {
        EXPECT_TRUE(set.Contains(new ZvString(std::to_string(i).c_str())));
        EXPECT_TRUE(set.Contains(Number(i)));
    }
    EXPECT_FALSE(set.Contains(new ZvString("40")));
}

// ---- failures -----------------------------------------------------------------------------------------------------------------

TEST(ZvHashTable, WhatAnInsertionThrowsLeavesTheTableAsItWas) {
    const ZvHashSet$ set = SetOf({1, 9, 17, 2});
    for (int call : {1, 2, 3, 4}) {                                      // its hash, and the three comparisons
        ZvObject$ key = Key(25);
        RecordingKey::ThrowAt(call);
        EXPECT_THROW(set->Add(key), std::runtime_error);
        EXPECT_EQ(key->ReferenceCount(), 1);
        EXPECT_EQ(set->Count(), 4u);
        EXPECT_EQ(Order(set), "17 9 1 2");
    }
    RecordingKey::ThrowAt(0);
    set->Add(Key(25));
    EXPECT_EQ(Order(set), "25 17 9 1 2");
}

TEST(ZvHashTable, WhatGrowingThrowsErasesTheNewEntryAgain) {
    for (int call = 3; call <= 12; ++call) {                             // growing begins with the third
        const ZvHashSet$ set = SetOf({1, 2, 3, 4, 5, 6, 7, 8});
        ZvObject$ key = Key(65);
        RecordingKey::ThrowAt(call);
        EXPECT_THROW(set->Add(key), std::runtime_error) << call;
        EXPECT_EQ(key->ReferenceCount(), 1) << call;
        EXPECT_EQ(set->Count(), 8u) << call;
        EXPECT_EQ(Order(set), "1 2 3 4 5 6 7 8") << call;
        for (unsigned int v = 1; v <= 8; ++v) EXPECT_TRUE(set->Contains(Key(v))) << call;
        EXPECT_FALSE(set->Contains(key)) << call;
        set->Add(key);                                                   // and it goes on as it would have
        EXPECT_EQ(Order(set), "1 65 2 3 4 5 6 7 8") << call;
    }
    RecordingKey::ThrowAt(0);
    RecordingKey::Calls();
}

TEST(ZvHashTable, KeyThatEqualsAnotherAllAtOnceIsDroppedWhenTheTableGrows) {
    ZvDictionary dictionary;
    auto* changing = new RecordingKey(65, "changing");
    dictionary.Add(Key(1), Number(1));
    dictionary.Add(changing, Number(65));
    for (int v = 2; v <= 7; ++v) dictionary.Add(Key(static_cast<unsigned int>(v)), Number(v));
    changing->BeEqualTo(1);
    dictionary.Add(Key(8), Number(8));
    // "changing" stood first in the list, and 1 met it in its new bucket.
    EXPECT_EQ(Names(dictionary.GetEnumerator()), "changing 2 3 4 5 6 7 8");
    EXPECT_EQ(dictionary.Count(), 8u);
    EXPECT_TRUE(Number(65)->Equals(dictionary.Find(Key(1)).Get()));
}

TEST(ZvHashTable, NewEntryThatIsDroppedGivesTheOneItEquals) {
    ZvDictionary dictionary;
    auto* changing = new RecordingKey(9, "changing");
    for (int v = 1; v <= 7; ++v) dictionary.Add(Key(static_cast<unsigned int>(v)), Number(v));
    dictionary.Add(changing, Number(9));
    changing->BeEqualTo(8);
    dictionary[Key(8)] = Number(80);                                     // in bucket 0, and so at the list's end
    EXPECT_EQ(dictionary.Count(), 8u);
    EXPECT_EQ(Names(dictionary.GetEnumerator()), "changing 1 2 3 4 5 6 7");
    EXPECT_TRUE(Number(80)->Equals(dictionary.Find(Key(8)).Get()));
    RecordingKey::Calls();
}

TEST(ZvHashTable, LockIsLetGoWhenAKeyThrows) {
    const ZvHashSet$ set = SetOf({1, 9});
    const ZvDictionary$ dictionary = new ZvDictionary;
    dictionary->Add(Key(1), nullptr);
    RecordingKey::ThrowAt(1);
    EXPECT_THROW(set->Add(Key(17)), std::runtime_error);
    RecordingKey::ThrowAt(1);
    EXPECT_THROW(set->Contains(Key(17)), std::runtime_error);
    RecordingKey::ThrowAt(1);
    EXPECT_THROW(set->Remove(Key(1)), std::runtime_error);
    RecordingKey::ThrowAt(1);
    EXPECT_THROW(dictionary->Add(Key(17), nullptr), std::runtime_error);
    RecordingKey::ThrowAt(1);
    EXPECT_THROW(dictionary->Remove(Key(1)), std::runtime_error);
    std::thread([&] {                                                    // would stand here for ever
        ZvLock a(set.Get());
        ZvLock b(dictionary.Get());
    }).join();
    RecordingKey::Calls();
}
