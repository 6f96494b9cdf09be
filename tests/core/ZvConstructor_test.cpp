#include <zvc/zvc.h>

#include "../support/Arguments.h"
#include "../support/TypeWithHash.h"

#include <gtest/gtest.h>

#include <vector>

namespace constructor_test {

class Part : public ZvObject {
    ZV_DECLARE_CLASS(Part)
    ZV_DECLARE_TABLES()
public:
    double m_size = -1;
    ZvString$ m_name;
    ZvObject$ m_rest;
protected:
    Part() = default;
    explicit Part(const int& size) : m_size(size) {}
    Part(double size, ZvString$ name) : m_size(size), m_name(name) {}
    explicit Part(const ZvObject$& rest) : m_rest(rest) {}
    explicit Part(bool) { throw ZvException("no such part"); }
};
ZV_DECLARE_HANDLE(Part, ZvObject$);

class DerivedPart : public Part {
    ZV_DECLARE_CLASS(DerivedPart)
    ZV_DECLARE_TABLES()
};

class NoTables : public ZvObject {
    ZV_DECLARE_CLASS(NoTables)
    ZV_DECLARE_CREATE(NoTables)
};

}

ZV_DEFINE_CLASS(constructor_test::Part, (ZvObject), ZV_TABLES)
ZV_FIELDS(constructor_test::Part)
ZV_METHODS(constructor_test::Part)
ZV_CONSTRUCTORS(constructor_test::Part,
    ZV_CONSTRUCTOR(), ZV_CONSTRUCTOR(const int&), ZV_CONSTRUCTOR(double, ZvString$), ZV_CONSTRUCTOR(const ZvObject$&),
    ZV_CONSTRUCTOR(bool))
ZV_DEFINE_CLASS(constructor_test::DerivedPart, (constructor_test::Part), ZV_TABLES)
ZV_FIELDS(constructor_test::DerivedPart)
ZV_METHODS(constructor_test::DerivedPart)
ZV_CONSTRUCTORS(constructor_test::DerivedPart)
ZV_DEFINE_CLASS(constructor_test::NoTables, (ZvObject), .create = &Create)

using namespace constructor_test;

TEST(ZvConstructor, IsChosenByItsSignature) {
    Part$ part = ZvObject$(Part::s_type.Construct(nullptr));
    ASSERT_TRUE(part);
    EXPECT_EQ(part->m_size, -1);
    part = ZvObject$(Part::s_type.Construct(Arguments({})));
    ASSERT_TRUE(part);
    EXPECT_EQ(part->m_size, -1);
    part = ZvObject$(Part::s_type.Construct(Arguments({Box(4)})));
    ASSERT_TRUE(part);
    EXPECT_EQ(part->m_size, 4);
    ZvString$ name = new ZvString("bolt");
    part = ZvObject$(Part::s_type.Construct(Arguments({Box(0.5), name})));
    ASSERT_TRUE(part);
    EXPECT_EQ(part->m_size, 0.5);
    EXPECT_TRUE(part->m_name == name);
}

TEST(ZvConstructor, NewObjectHasNoOwner) {
    ZvObject* o = Part::s_type.Construct(nullptr);
    ASSERT_NE(o, nullptr);
    EXPECT_EQ(o->ReferenceCount(), 0);
    ZvObject$ owner = o;
}

TEST(ZvConstructor, ObjectHandleTakesAReferenceBox) {
    ZvObject$ rest = new ZvString("rest");
    Part$ part = ZvObject$(Part::s_type.Construct(Arguments({Box(rest)})));
    ASSERT_TRUE(part);
    EXPECT_TRUE(part->m_rest == rest);
    EXPECT_EQ(Part::s_type.Construct(Arguments({rest})), nullptr);
}

TEST(ZvConstructor, BoxedInt32MatchesInt32AndNotDouble) {
    const ZvConstructor key(Arguments({Box(1)}));
    EXPECT_TRUE(key == ZvConstructor(1, ZvVtInt32));
    EXPECT_FALSE(key == ZvConstructor(1, ZvVtDouble));
    EXPECT_EQ(Part::s_type.Construct(Arguments({Box(1.0)})), nullptr);
    EXPECT_EQ(Part::s_type.Construct(Arguments({Box(1), Box(1)})), nullptr);
    EXPECT_EQ(Part::s_type.Construct(Arguments({nullptr})), nullptr);
}

TEST(ZvConstructor, DescriptorStandsForAnArgumentOfItsType) {
    const ZvConstructor key(Arguments({&ZvPrimitive<double>::s_type, &ZvString::s_type}));
    EXPECT_TRUE(key == *Part::GetConstructorMap()->GetConstructors()[2]);
    EXPECT_EQ(Part::s_type.Construct(Arguments({&ZvPrimitive<double>::s_type, &ZvString::s_type})), nullptr);
}

TEST(ZvConstructor, TypeWithoutAMapConstructsNothing) {
    EXPECT_EQ(NoTables::s_type.Construct(nullptr), nullptr);
    EXPECT_EQ(NoTables::s_type.Construct(Arguments({})), nullptr);
}

TEST(ZvConstructor, BasesAreNotSearched) { EXPECT_EQ(DerivedPart::s_type.Construct(nullptr), nullptr); }

TEST(ZvConstructor, ExceptionOfTheConstructorPasses) {
    EXPECT_THROW(Part::s_type.Construct(Arguments({Box(true)})), ZvException);
}

TEST(ZvConstructor, WrongArgumentsOfACreateThatSkippedTheSearchMakeNothing) {
    ZvConstructor$* entries = Part::GetConstructorMap()->GetConstructors();
    ZvArguments$ none, one = Arguments({new ZvString("x")}), two = Arguments({Box(1.0), Box(2.0)});
    EXPECT_EQ(entries[1]->Create(none), nullptr);
    EXPECT_EQ(entries[1]->Create(one), nullptr);
    EXPECT_EQ(entries[1]->Create(two), nullptr);
    EXPECT_EQ(entries[2]->Create(two), nullptr);
    EXPECT_EQ(entries[0]->Create(one), nullptr);
}

TEST(ZvConstructor, BaseClassCreatesNothing) {
    ZvConstructor constructor;
    ZvArguments$ args;
    EXPECT_EQ(constructor.Create(args), nullptr);
    EXPECT_EQ(constructor.ReferenceCount(), 0);
    EXPECT_TRUE(constructor == ZvConstructor(args));
    EXPECT_TRUE(constructor == ZvConstructor(0));
    EXPECT_EQ(ZvConstructor(0).ReferenceCount(), 1);
    EXPECT_EQ(ZvConstructor::s_type.GetClassSpec(), 0x80u);
    EXPECT_EQ(ZvConstructor::s_type.GetSchema(), 0x80000001u);
}

TEST(ZvConstructor, EqualsComparesSignatures) {
    const ZvConstructor a(2, ZvVtInt32, ZvVtFloat), b(2, ZvVtInt32, ZvVtFloat), c(2, ZvVtFloat, ZvVtInt32), d(1, ZvVtInt32);
    EXPECT_TRUE(a.Equals(&a));
    EXPECT_TRUE(a.Equals(&b));
    EXPECT_FALSE(a.Equals(&c));
    EXPECT_FALSE(a.Equals(&d));
    EXPECT_FALSE(d.Equals(&a));
    EXPECT_FALSE(a.Equals(nullptr));
    const ZvString text;
    EXPECT_FALSE(a.Equals(&text));
    EXPECT_EQ(a.GetHashCode(), b.GetHashCode());
    EXPECT_NE(a.GetHashCode(), c.GetHashCode());
}

TEST(ZvConstructor, HashFollowsTheFormulaOfSignatures) {
    EXPECT_EQ(ZvConstructor().GetHashCode(), 0x00811d69050c5d1fu);
    constexpr size_t p = 16777619;
    const ZvConstructor key(Arguments({new TypeWithHash(0xabc), new TypeWithHash(0x123456789)}));
    EXPECT_EQ(key.GetHashCode(), (((0x811c9dc5ull * p ^ 2) * p ^ 0xabc) * p) ^ 0x123456789);
    const ZvConstructor one(1, ZvVtInt32);
    EXPECT_EQ(one.GetHashCode(), ((0x811c9dc5ull * p ^ 1) * p) ^ ZvPrimitive<int>::s_type.GetHashCode());
}

TEST(ZvConstructorMap, CountsItsTable) {
    EXPECT_EQ(Part::GetConstructorMap()->GetNumConstructors(), 5u);
    EXPECT_TRUE(!Part::GetConstructorMap()->GetConstructors()[5]);
    EXPECT_EQ(Part::GetConstructorMap(), Part::GetConstructorMap());
    EXPECT_EQ(DerivedPart::GetConstructorMap()->GetNumConstructors(), 0u);
    EXPECT_EQ(Part::GetConstructorMap()->GetConstructors()[0]->ReferenceCount(), 2);
}

TEST(ZvConstructorMap, ReleasesItsEntriesAndTheirHandles) {
    static int s_deleted = 0;
    class Entry : public ZvConstructor {
    public:
        Entry() : ZvConstructor(0) {}
        ~Entry() override { ++s_deleted; }
    };
    ZvConstructor$ table[] = {new Entry, new Entry, ZvConstructor$()};
    {
        ZvConstructorMap map(table);
        EXPECT_EQ(map.GetNumConstructors(), 2u);
        EXPECT_EQ(s_deleted, 0);
    }
    EXPECT_EQ(s_deleted, 2);
    EXPECT_TRUE(!table[0]);
    EXPECT_TRUE(!table[1]);
}
