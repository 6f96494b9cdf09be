// The two key/value objects, and the interfaces of the collections.

#include <zvc/zvc.h>

#include <gtest/gtest.h>

#include "support/Collections.h"

#include <type_traits>

TEST(ZvPair, DefaultIsTwoNulls) {
    const ZvPair pair;
    EXPECT_TRUE(!pair.First());
    EXPECT_TRUE(!pair.Second());
}

TEST(ZvPair, GivesItsHandlesByReference) {
    const ZvObject$ a = Number(1), b = Number(2);
    ZvPair pair(a, b);
    EXPECT_EQ(pair.First(), a);
    EXPECT_EQ(pair.Second(), b);
    pair.First() = b;
    pair.Second() = nullptr;
    const ZvPair& constant = pair;
    EXPECT_EQ(constant.First(), b);
    EXPECT_TRUE(!constant.Second());
    EXPECT_EQ(&constant.First(), &pair.First());
}

TEST(ZvPair, CopyAndAssignmentCopyBothHandles) {
    const ZvObject$ a = Number(1), b = Number(2);
    const ZvPair pair(a, b);
    const ZvPair copy(pair);
    ZvPair assigned;
    assigned = pair;
    for (const ZvPair* p : {&copy, &static_cast<const ZvPair&>(assigned)}) {
        EXPECT_EQ(p->First(), a);
        EXPECT_EQ(p->Second(), b);
        EXPECT_EQ(p->ReferenceCount(), 0);
    }
    EXPECT_EQ(a->ReferenceCount(), 4);
}

TEST(ZvPair, IsNotClonedAndHasNoFactory) {
    EXPECT_EQ(ZvPair().Clone(), nullptr);
    EXPECT_EQ(ZvPair::s_type.CreateObject(), nullptr);
    EXPECT_FALSE(ZvPair::s_type.HasCodec());
    EXPECT_EQ(ZvDictionaryEntry(nullptr, nullptr).Clone(), nullptr);
    EXPECT_EQ(ZvDictionaryEntry::s_type.CreateObject(), nullptr);
    EXPECT_FALSE(ZvDictionaryEntry::s_type.HasCodec());
}

TEST(ZvPair, HashEqualityAndTextAreThoseOfTheObject) {
    const ZvObject$ a = Number(1);
    const ZvPair pair(a, a), same(a, a);
    EXPECT_FALSE(pair.Equals(&same));
    EXPECT_TRUE(pair.Equals(&pair));
    EXPECT_STREQ(pair.ToString()->CStr(), "ZvPair");
    EXPECT_STREQ(ZvDictionaryEntry(a, a).ToString()->CStr(), "ZvDictionaryEntry");
}

TEST(ZvPair, WritesNoContent) {
    ZvPair pair(Number(1), Number(2)), target;
    EXPECT_EQ(Recode(pair, target), "");
    ZvDictionaryEntry entry(Number(1), Number(2)), other(nullptr, nullptr);
    EXPECT_EQ(Recode(entry, other), "");
}

TEST(ZvPair, PublishesThreeEmptyTables) {
    ASSERT_NE(ZvPair::GetConstructorMap(), nullptr);
    ASSERT_NE(ZvPair::GetFieldMap(), nullptr);
    ASSERT_NE(ZvPair::GetMethodMap(), nullptr);
    EXPECT_EQ(ZvPair::GetFieldMap()->Length(), 0);
    EXPECT_EQ(ZvPair::s_type.GetFieldMap(), ZvPair::GetFieldMap());
    EXPECT_EQ(ZvPair::s_type.GetMethodMap(), ZvPair::GetMethodMap());
    EXPECT_EQ(ZvDictionaryEntry::s_type.GetFieldMap(), nullptr);
}

TEST(ZvDictionaryEntry, GivesItsHandlesByValueAndCopiesThem) {
    const ZvObject$ a = Number(1), b = Number(2);
    const ZvDictionaryEntry entry(a, b);
    static_assert(std::is_same_v<decltype(entry.Key()), ZvObject$>);
    EXPECT_EQ(entry.Key(), a);
    EXPECT_EQ(entry.Value(), b);
    const ZvDictionaryEntry copy(entry);
    ZvDictionaryEntry assigned(nullptr, nullptr);
    assigned = entry;
    EXPECT_EQ(copy.Key(), a);
    EXPECT_EQ(assigned.Value(), b);
}

// Name, base, and the class that has it.
TEST(ZvCollectionInterfaces, FormTheChainOfTheirBases) {
    const struct {
        ZvType* type;
        const char* name;
        ZvType* base;
    } rows[] = {
        {&ZvIEnumerator::s_type, "ZvIEnumerator", &ZvInterface::s_type},
        {&ZvIDictionaryEnumerator::s_type, "ZvIDictionaryEnumerator", &ZvIEnumerator::s_type},
        {&ZvIEnumeratable::s_type, "ZvIEnumeratable", &ZvInterface::s_type},
        {&ZvICollection::s_type, "ZvICollection", &ZvIEnumeratable::s_type},
        {&ZvIList::s_type, "ZvIList", &ZvICollection::s_type},
        {&ZvIDictionary::s_type, "ZvIDictionary", &ZvICollection::s_type},
    };
    for (const auto& row : rows) {
        EXPECT_STREQ(row.type->GetName()->CStr(), row.name);
        EXPECT_EQ(row.type->GetBases()[0].type, row.base) << row.name;
        EXPECT_EQ(row.type->GetBaseCount(), 1u) << row.name;
        EXPECT_EQ(row.type->GetSchema(), 0u) << row.name;
        EXPECT_EQ(row.type->GetClassSpec(), 8u) << row.name;
        EXPECT_EQ(row.type->GetBaseType(), nullptr) << row.name;
    }
}

TEST(ZvCollectionInterfaces, EachCollectionHasItsInterface) {
    const struct {
        ZvType* type;
        ZvType* face;
        bool isMade;
    } rows[] = {
        {&ZvArrayList::s_type, &ZvIList::s_type, true},
        {&ZvDictionary::s_type, &ZvIDictionary::s_type, true},
        {&ZvHashSet::s_type, &ZvICollection::s_type, true},
        {&ZvQueue::s_type, &ZvICollection::s_type, true},
        {&ZvStack::s_type, &ZvICollection::s_type, true},
        {&ZvArrayList::Enumerator::s_type, &ZvIEnumerator::s_type, false},
        {&ZvHashSet::Enumerator::s_type, &ZvIEnumerator::s_type, false},
        {&ZvDictionary::Enumerator::s_type, &ZvIDictionaryEnumerator::s_type, false},
        {&ZvQueue::Enumerator::s_type, &ZvIEnumerator::s_type, false},
        {&ZvStack::Enumerator::s_type, &ZvIEnumerator::s_type, false},
    };
    for (const auto& row : rows) {
        const char* name = row.type->GetName()->CStr();
        EXPECT_EQ(row.type->GetBases()[0].type, &ZvObject::s_type) << name;
        EXPECT_EQ(row.type->GetBases()[1].type, row.face) << name;
        EXPECT_EQ(row.type->GetBaseCount(), 2u) << name;
        EXPECT_EQ(row.type->HasCodec(), row.isMade) << name;
        const ZvObject$ made = row.type->CreateObject();
        EXPECT_EQ(!!made, row.isMade) << name;
        if (made) {
            EXPECT_EQ(made->GetType(), row.type);
        }
    }
}

TEST(ZvCollectionInterfaces, AreCopiedAndMoved) {
    static_assert(std::is_move_constructible_v<ZvArrayList> && std::is_copy_constructible_v<ZvArrayList>);
    struct Enumerator : ZvIEnumerator {
        bool HasNext() override { return false; }
        ZvObject$ Next() override { return nullptr; }
        void Reset() override {}
        long ReferenceCount() const override { return 0; }
        void Retain() override {}
        void Release() override {}
    };
    Enumerator a, b(a), c(std::move(a));
    b = c;
    c = std::move(b);
    EXPECT_FALSE(c.HasNext());
}
