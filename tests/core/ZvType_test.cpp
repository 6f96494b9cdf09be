#include <zvc/zvc.h>

#include <gtest/gtest.h>

#include <thread>

namespace {

template <int Depth>
class Deep : public Deep<Depth - 1> {
public:
    static ZvType s_type;
    static ZvBase* GetBases() {
        static ZvBase s_bases[] = {ZvBase(&Deep<Depth - 1>::s_type, 0), ZvBase()};
        return s_bases;
    }
    ZvType* GetType() const override { return &s_type; }
};
template <>
class Deep<0> : public ZvObject {
public:
    static ZvType s_type;
    ZvType* GetType() const override { return &s_type; }
};
ZvType Deep<0>::s_type("class Deep0", sizeof(Deep<0>), ZvString::GetBases(), typeid(Deep<0>), ZvThisModule(), {});
template <int Depth>
ZvType Deep<Depth>::s_type("class DeepN", sizeof(Deep<Depth>), GetBases(), typeid(Deep<Depth>), ZvThisModule(), {});

}

TEST(ZvType, RootsHaveTheirOffsets) {
    EXPECT_EQ(ZvSuper::s_type.CalcOffset(&ZvObject::s_type), ZvNoOffset);
    EXPECT_EQ(ZvObject::s_type.CalcOffset(&ZvSuper::s_type), 0u);
    EXPECT_EQ(ZvSuper::s_type.GetBaseType(), nullptr);
    EXPECT_EQ(ZvObject::s_type.GetBaseType(), &ZvSuper::s_type);
    EXPECT_EQ(ZvType::s_type.GetBaseType(), &ZvObject::s_type);
    EXPECT_EQ(ZvSuper::s_bases[0].type, nullptr);
    EXPECT_EQ(ZvInterface::s_bases[0].type, &ZvSuper::s_type);
    EXPECT_EQ(ZvObject::s_type.CalcOffset(nullptr), ZvNoOffset);
}

TEST(ZvType, ListHasOneOffsetForItsWholeInterfaceLine) {
    const ZvType& t = ZvArrayList::s_type;
    const size_t offset = t.CalcOffset(&ZvIList::s_type);
    EXPECT_NE(offset, 0u);
    EXPECT_NE(offset, ZvNoOffset);
    EXPECT_EQ(t.CalcOffset(&ZvICollection::s_type), offset);
    EXPECT_EQ(t.CalcOffset(&ZvIEnumeratable::s_type), offset);
    EXPECT_EQ(t.CalcOffset(&ZvInterface::s_type), offset);
    EXPECT_EQ(t.CalcOffset(&ZvObject::s_type), 0u);
    EXPECT_EQ(t.CalcOffset(&ZvSuper::s_type), 0u);
    EXPECT_EQ(t.CalcOffset(&ZvIDictionary::s_type), ZvNoOffset);
    EXPECT_TRUE(t.IsDerivedFrom(&t));
}

TEST(ZvType, BaseTypeOfAnInterfaceIsNull) {
    EXPECT_EQ(ZvICollection::s_type.GetBaseType(), nullptr);
    EXPECT_EQ(ZvICollection::s_type.GetBaseCount(), 1u);
    EXPECT_EQ(ZvICollection::s_type.GetBases()[0].type, &ZvIEnumeratable::s_type);
}

TEST(ZvType, LineOfAnyDepth) {
    const Deep<14> deep;
    EXPECT_TRUE(deep.IsKindOf(&Deep<0>::s_type));
    EXPECT_TRUE(deep.IsKindOf(&Deep<9>::s_type));
    EXPECT_TRUE(deep.IsKindOf(&Deep<13>::s_type));
    EXPECT_TRUE(deep.IsKindOf(&ZvSuper::s_type));
    EXPECT_FALSE(Deep<3>().IsKindOf(&Deep<4>::s_type));
    EXPECT_FALSE(deep.IsKindOf(&ZvInterface::s_type));
}

TEST(ZvType, EntriesOfTheMapNeverChange) {
    ZvType root("class CutRoot", 8, 1, nullptr, ZvObject::s_bases, nullptr, nullptr, nullptr, false, typeid(int), nullptr, 1);
    ZvBase sideBases[] = {ZvBase(&root, 8), ZvBase()};
    ZvType side("class CutSide", 8, 1, nullptr, sideBases, nullptr, nullptr, nullptr, false, typeid(int), nullptr, 1);
    ZvBase bases[] = {ZvBase(&side, 16), ZvBase(&root, 40), ZvBase()};
    ZvType leaf("class CutLeaf", 8, 1, nullptr, bases, nullptr, nullptr, nullptr, false, typeid(int), nullptr, 1);
    EXPECT_EQ(leaf.CalcOffset(&side), 16u);
    EXPECT_EQ(leaf.CalcOffset(&root), 40u);                       // a direct base wins over an indirect one
    EXPECT_EQ(leaf.CalcOffset(&ZvSuper::s_type), 24u);            // the first way met: through side
    EXPECT_EQ(leaf.GetBaseCount(), 2u);
}

TEST(ZvType, NameStandsBehindTheFirstClass) {
    ZvType t("struct x class CutName<class Y>", 8, 1, nullptr, ZvObject::s_bases, nullptr, nullptr, nullptr, false, typeid(int), nullptr, 1);
    EXPECT_EQ(*t.GetName(), "CutName<class Y>");
    ZvType nameless(nullptr, 8, 1, nullptr, ZvObject::s_bases, nullptr, nullptr, nullptr, false, typeid(int), nullptr, 1);
    EXPECT_TRUE(!nameless.GetName());
    EXPECT_EQ(t.ReferenceCount(), 1);
}

TEST(ZvType, OfTwoEqualNamesTheLaterIsFoundAndEitherEndRemovesThem) {
    {
        ZvType first("class TwiceTold", 8, 1, nullptr, ZvObject::s_bases, nullptr, nullptr, nullptr, false, typeid(int), nullptr, 1);
        EXPECT_EQ(ZvSystem::FindType("TwiceTold"), &first);
        {
            ZvType second("class TwiceTold", 8, 1, nullptr, ZvObject::s_bases, nullptr, nullptr, nullptr, false, typeid(int), nullptr, 1);
            EXPECT_EQ(ZvSystem::FindType("TwiceTold"), &second);
        }
        EXPECT_EQ(ZvSystem::FindType("TwiceTold"), nullptr);
    }
    EXPECT_EQ(ZvSystem::FindType("TwiceTold"), nullptr);
}

TEST(ZvType, EmptyDescriptors) {
    const ZvType empty;
    EXPECT_TRUE(!empty.GetName());
    EXPECT_TRUE(empty.TypeID() == typeid(ZvType));
    EXPECT_FALSE(empty.HasCodec());
    const ZvType named(ZvString$(new ZvString("Nobody")));
    EXPECT_TRUE(named.HasCodec());
    EXPECT_EQ(ZvSystem::FindType("Nobody"), nullptr);
    EXPECT_EQ(empty.CalcOffset(&ZvObject::s_type), ZvNoOffset);
}

TEST(ZvType, TextNamesItsBase) {
    char text[256];
    std::snprintf(text, sizeof text, "address[0x%p] name = ZvString base = ZvObject fieldMap = 0x%p",
                  static_cast<void*>(&ZvString::s_type), nullptr);
    EXPECT_EQ(*ZvString::s_type.ToString(), text);
}

TEST(ZvSystem, FindsTypesByRunTimeTypeAndSpec) {
    EXPECT_EQ(ZvSystem::FindType(typeid(int), 2), &ZvPrimitive<int>::s_type);
    EXPECT_EQ(ZvSystem::FindType(typeid(int), 6), &ZvPrimArray<int>::s_type);
    EXPECT_EQ(ZvSystem::FindType(typeid(ZvString$), 2), &ZvPrimitive<ZvObject$>::s_type);
    EXPECT_EQ(ZvSystem::FindType(typeid(ZvBinaryCoder$), 2), &ZvPrimitive<ZvObject$>::s_type);
    EXPECT_EQ(ZvSystem::FindType(typeid(ZvArguments$), 2), &ZvPrimitive<ZvObject$>::s_type);
    EXPECT_EQ(ZvSystem::FindType(typeid(char*), 2), nullptr);
    EXPECT_EQ(ZvSystem::FindType(typeid(ZvString$*), 2), nullptr);
    EXPECT_EQ(ZvSystem::FindType("no such class"), nullptr);
    EXPECT_EQ(ZvSystem::FindModule("no such module"), nullptr);
    EXPECT_STREQ(ZvSystem::FindModule("ZVC")->name, "ZVC");
    EXPECT_STREQ(ZvSystem::FindModule("App")->name, "App");
    EXPECT_NE(ZvSystem::FindModule("ZVC")->handle, nullptr);
}

TEST(ZvSystem, FactsOfTheMachine) {
    EXPECT_GE(ZvSystem::GetNumberOfProcessor(), 1u);
    const auto before = ZvSystem::RealTimeNow();
    EXPECT_GE(ZvSystem::RealTimeNow(), before);
    EXPECT_GT(ZvSystem::RealTimeFrequency(), 0u);
    ZvSystem::SetDllPath("nowhere");
}

// What each family of classes hands to its descriptor.
TEST(ZvType, FamiliesStateTheirSchemaSpecAndCodec) {
    struct Row {
        const char* name;
        unsigned int schema, spec;
        bool codec;
    };
    const Row rows[] = {
        {"ZvObject", 0x80000001, 1, false},      {"ZvSuper", 0x80000001, 1, false},    {"ZvInterface", 0x80000001, 1, false},
        {"ZvException", 0x80000001, 1, false},   {"ZvField", 0x80000001, 1, false},    {"ZvStream", 0x80000001, 1, false},
        {"ZvFileStream", 0x80000001, 1, false},  {"ZvCoder", 0x80000001, 1, false},    {"ZvBinaryCoder", 0x80000001, 1, false},
        {"ZvPair", 0x80000001, 1, false},        {"ZvDictionaryEntry", 0x80000001, 1, false},
        {"ZvPlugin", 0x80000001, 1, false},      {"ZvArrayList", 0x80000001, 1, true}, {"ZvHashSet", 0x80000001, 1, true},
        {"ZvDictionary", 0x80000001, 1, true},   {"ZvStack", 0x80000001, 1, true},     {"ZvQueue", 0x80000001, 1, true},
        {"ZvSerializationInfo", 0x80000001, 1, true}, {"ZvString", 0x80000001, 2, true}, {"ZvVoid", 0x80000001, 2, true},
        {"ZvType", 0x80000001, 0x21, false},     {"ZvMethod", 0x80000001, 0x30, false}, {"ZvConstructor", 0x80000001, 0x80, false},
        {"ZvInt32", 1, 2, true},                 {"ZvInt32Array", 1, 6, true},         {"ZvFieldPrimitive<int>", 1, 1, false},
        {"ZvFieldPrimitive<class ZvObject$>", 1, 1, false}, {"ZvIList", 0, 8, false},  {"ZvICollection", 0, 8, false},
        {"ZvIDictionary", 0, 8, false},          {"ZvIDictionaryEnumerator", 0, 8, false}, {"ZvIEnumerator", 0, 8, false},
        {"ZvIEnumeratable", 0, 8, false},        {"ZvISerializable", 0, 8, false},
    };
    for (const Row& row : rows) {
        const ZvType* t = ZvSystem::FindType(row.name);
        ASSERT_NE(t, nullptr) << row.name;
        EXPECT_EQ(t->GetSchema(), row.schema) << row.name;
        EXPECT_EQ(t->GetClassSpec(), row.spec) << row.name;
        EXPECT_EQ(t->HasCodec(), row.codec) << row.name;
        EXPECT_STREQ(t->GetModule()->name, "ZVC") << row.name;
    }
    EXPECT_TRUE(ZvType::s_type.IsMarshalByRef());
    EXPECT_TRUE(ZvType::s_type.IsTransparent());
    EXPECT_FALSE(ZvType::s_type.IsAsyncNeedDeletion());
    EXPECT_TRUE(ZvString::s_type.IsPrimitive());
}

// Serialisable by type means constructible by type.
TEST(ZvType, CodecAndFactoryGoTogetherInTheLibrary) {
    int seen = 0;
    for (const ZvType* t = ZvSystem::FindModule("ZVC")->types; t != nullptr; t = t->NextInModule(), ++seen) {
        const ZvObject$ made = const_cast<ZvType*>(t)->CreateObject();
        EXPECT_EQ(t->HasCodec(), static_cast<bool>(made)) << t->GetName()->CStr();
    }
    EXPECT_GT(seen, 150);
}

TEST(ZvType, KnowsWhetherItsObjectsCompareByIdentity) {
    const auto byIdentity = [](const ZvObject$& o) { return o->GetType()->ComparesByIdentity(o.Get()); };
    EXPECT_TRUE(byIdentity(new ZvEventArgs));
    EXPECT_TRUE(byIdentity(new ZvEnum));
    EXPECT_FALSE(byIdentity(new ZvString));
    EXPECT_FALSE(byIdentity(new ZvData));
    EXPECT_FALSE(byIdentity(new ZvArrayList));
    EXPECT_FALSE(byIdentity(new ZvPrimitive<int>));
    // Of a class that does not say what it is nothing is known.
    class Silent : public ZvEventArgs {
        bool Equals(const ZvObject*) const override { return true; }
    };
    EXPECT_FALSE(byIdentity(new Silent));
}
