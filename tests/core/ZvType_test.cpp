#include <zvc/zvc.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <set>
#include <string>
#include <thread>
#include <vector>

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

namespace type_test {

class Racing : public ZvObject {
    ZV_DECLARE_CLASS(Racing)
    ZV_DECLARE_TABLES()
public:
    int Twice(int n) { return 2 * n; }
    int m_first = 0;
    double m_second = 0;
};

}

ZV_DEFINE_CLASS(type_test::Racing, (ZvObject), ZV_TABLES)
ZV_FIELDS(type_test::Racing, ZV_FIELD(m_first), ZV_FIELD(m_second))
ZV_METHODS(type_test::Racing, ZV_METHOD(Twice, "n"))
ZV_CONSTRUCTORS(type_test::Racing)

using type_test::Racing;

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

TEST(ZvType, EndOfTheEarlierOfTwoEqualNamesRemovesTheLatersEntry) {
    const auto make = [] {
        return new ZvType("class TwiceMade", 8, 1, nullptr, ZvObject::s_bases, nullptr, nullptr, nullptr, false, typeid(int), nullptr, 1);
    };
    ZvType* const first = make();
    ZvType* const second = make();
    delete first;
    EXPECT_EQ(ZvSystem::FindType("TwiceMade"), nullptr);
    delete second;
}

TEST(ZvType, RegistryEntryIsSetAndRemovedByName) {
    ZvType named(ZvString$(new ZvString("Registered by hand")));
    ZvSystem::RegistType(&named);
    EXPECT_EQ(ZvSystem::FindType("Registered by hand"), &named);
    const ZvType other(ZvString$(new ZvString("Registered by hand")));
    ZvSystem::UnregistType(const_cast<ZvType*>(&other));
    EXPECT_EQ(ZvSystem::FindType("Registered by hand"), nullptr);
    {
        ZvType brief(ZvString$(new ZvString("Registered by hand")));
        ZvSystem::RegistType(&brief);
        { const ZvType unregistered(ZvString$(new ZvString("Registered by hand"))), copy(brief); }
        EXPECT_EQ(ZvSystem::FindType("Registered by hand"), &brief);    // the ends of those that never came in change nothing
    }
    EXPECT_EQ(ZvSystem::FindType("Registered by hand"), nullptr);
}

TEST(ZvType, CopyTakesEveryFieldAndIsNotRegistered) {
    {
        const ZvType copy(ZvArrayList::s_type);
        EXPECT_EQ(copy.GetName().Get(), ZvArrayList::s_type.GetName().Get());
        EXPECT_EQ(copy.GetSchema(), 0x80000001u);
        EXPECT_EQ(copy.GetBaseCount(), 2u);
        EXPECT_EQ(copy.GetBases(), ZvArrayList::s_type.GetBases());
        EXPECT_TRUE(copy.HasCodec());
        EXPECT_TRUE(copy.TypeID() == typeid(ZvArrayList));
        EXPECT_EQ(copy.GetModule(), ZvArrayList::s_type.GetModule());
        EXPECT_EQ(copy.CalcOffset(&ZvIList::s_type), ZvArrayList::s_type.CalcOffset(&ZvIList::s_type));
        EXPECT_EQ(ZvSystem::FindType("ZvArrayList"), &ZvArrayList::s_type);
    }
    EXPECT_EQ(ZvSystem::FindType("ZvArrayList"), &ZvArrayList::s_type);
    EXPECT_NE(ZvArrayList::s_type.CalcOffset(&ZvIList::s_type), ZvNoOffset);
}

TEST(ZvType, CopyIsDerivedFromItselfAndItsBasesAndNotFromItsSource) {
    for (bool compiled : {false, true}) {
        const ZvType source("class CopiedFrom", 8, 1, nullptr, ZvArrayList::s_type.GetBases(), nullptr, nullptr, nullptr, false, typeid(int),
                            nullptr, 1);
        if (compiled) {
            EXPECT_EQ(source.CalcOffset(&ZvSuper::s_type), 0u);
        }
        const ZvType copy(source);
        EXPECT_EQ(copy.CalcOffset(&copy), 0u);
        EXPECT_EQ(copy.CalcOffset(&source), ZvNoOffset);
        EXPECT_EQ(source.CalcOffset(&copy), ZvNoOffset);
        EXPECT_EQ(copy.CalcOffset(&ZvObject::s_type), 0u);
        EXPECT_EQ(copy.CalcOffset(&ZvIList::s_type), ZvArrayList::s_type.CalcOffset(&ZvIList::s_type));
        EXPECT_EQ(copy.CalcOffset(&ZvString::s_type), ZvNoOffset);
        EXPECT_EQ(copy.ReferenceCount(), 0);
    }
}

// What these compile is their own, and goes with them.
TEST(ZvType, BaseAddedByHandBeforeTheFirstQuestionIsForgotten) {
    ZvBase bases[] = {ZvBase(&ZvObject::s_type, 0), ZvBase()};
    ZvType t("class ByHand", sizeof(ZvObject), 1, nullptr, bases, nullptr, nullptr, nullptr, false, typeid(int), nullptr, 1);
    ZvBase other(&ZvArrayList::s_type, 64);
    t.CompileBaseOffset(other, 0);
    EXPECT_EQ(t.CalcOffset(&ZvSuper::s_type), 0u);
    EXPECT_EQ(t.CalcOffset(&ZvIList::s_type), ZvNoOffset);
}

TEST(ZvType, EmptyDescriptorsCompileToNothing) {
    ZvType empty, named(ZvString$(new ZvString("Nobody")));
    for (ZvType* t : {&empty, &named}) {
        t->Compile();
        EXPECT_EQ(t->CalcOffset(t), 0u);
        EXPECT_EQ(t->CalcOffset(&ZvSuper::s_type), ZvNoOffset);
        EXPECT_EQ(t->GetBaseType(), nullptr);
        EXPECT_EQ(t->GetBases(), nullptr);
        EXPECT_EQ(t->GetBaseCount(), 0u);
        EXPECT_EQ(t->CreateObject(), nullptr);
    }
}

TEST(ZvType, CreateObjectWithoutAFactoryIsNull) {
    EXPECT_EQ(ZvPair::s_type.CreateObject(), nullptr);
    EXPECT_EQ(ZvICollection::s_type.CreateObject(), nullptr);
    const ZvObject$ made = ZvArrayList::s_type.CreateObject();
    ASSERT_TRUE(made);
    EXPECT_EQ(made->ReferenceCount(), 1);
}

TEST(ZvType, BaseTableOfTheDescriptorIsTheObject) {
    EXPECT_EQ(ZvType::GetBaseArray(), ZvType::GetBaseArray());
    EXPECT_EQ(ZvType::GetBaseArray()[0].type, &ZvObject::s_type);
    EXPECT_EQ(ZvType::GetBaseArray()[0].offset, 0u);
    EXPECT_EQ(ZvType::GetBaseArray()[1].type, nullptr);
    const ZvBase entry(&ZvString::s_type, 40);
    EXPECT_EQ(entry.type, &ZvString::s_type);
    EXPECT_EQ(entry.offset, 40u);
}

// Each bit of the class-spec word, and what asks for it.
TEST(ZvType, BitsOfTheSpecWordHaveTheirAccessors) {
    for (unsigned int spec : {0x1u, 0x2u, 0x4u, 0x8u, 0x10u, 0x20u, 0x40u, 0x80u, 0x100u, 0x1FFu}) {
        const ZvType t("class SpecBits", 8, 1, nullptr, ZvObject::s_bases, nullptr, nullptr, nullptr, false, typeid(int), nullptr, spec);
        EXPECT_EQ(t.GetClassSpec(), spec);
        EXPECT_EQ(t.IsPrimitive(), (spec & 2) != 0) << spec;
        EXPECT_EQ(t.IsInterface(), (spec & 8) != 0) << spec;
        EXPECT_EQ(t.IsMarshalByRef(), (spec & 0x20) != 0) << spec;
        EXPECT_EQ(t.IsTransparent(), (spec & 0x40) == 0) << spec;
        EXPECT_EQ(t.IsAsyncNeedDeletion(), (spec & 0x100) != 0) << spec;
        EXPECT_EQ(t.GetBaseType(), (spec & 8) != 0 ? nullptr : &ZvSuper::s_type) << spec;
    }
}

TEST(ZvType, OffsetsAreFoundByManyThreadsAtOnce) {
    for (int round = 0; round != 50; ++round) {
        ZvBase bases[] = {ZvBase(&ZvArrayList::s_type, 0), ZvBase(&ZvIDictionary::s_type, 96), ZvBase()};
        ZvType t("class ManyThreads", 8, 1, nullptr, bases, nullptr, nullptr, nullptr, false, typeid(int), nullptr, 1);
        std::vector<std::thread> threads;
        std::vector<size_t> found(4);
        for (size_t& offset : found) threads.emplace_back([&] { offset = t.CalcOffset(&ZvIDictionary::s_type); });
        for (std::thread& thread : threads) thread.join();
        EXPECT_EQ(found, (std::vector<size_t>(4, 96)));
    }
}

// Nobody is looking at a cache that another thread puts its own in the place of.
TEST(ZvType, CachesAreBuiltByThreadsThatMeet) {
    ZvArguments$ args = new ZvPrimArray<ZvObject$>(1, nullptr);
    (*args)[0] = new ZvPrimitive<int>(1);
    const ZvString$ field = new ZvString("m_second"), method = new ZvString("Twice");
    for (int round = 0; round != 200; ++round) {
        ZvType t("class RacedFor", 8, 1, nullptr, ZvObject::s_bases, nullptr, Racing::GetFieldMap(), Racing::GetMethodMap(), false,
                 typeid(int), nullptr, 1);
        std::atomic<int> ready{0}, found{0};
        std::vector<std::thread> threads;
        for (int i = 0; i != 4; ++i)
            threads.emplace_back([&] {
                for (++ready; ready != 4;) std::this_thread::yield();
                const ZvDictionary$ fields = t.GetFields(), methods = t.CreateMethodCache();
                for (int n = 0; n != 20; ++n)
                    found += t.FindField(field) && t.Find(method, &ZvPrimitive<int>::s_type, args) && fields->Count() == 2 &&
                             methods->Count() == 1;
                if (fields != t.GetFields() || methods != t.CreateMethodCache()) found = -1000;
            });
        for (std::thread& thread : threads) thread.join();
        ASSERT_EQ(found, 80);
    }
}

TEST(ZvType, FieldCacheIsMadeAnewAndTheMethodCacheOnce) {
    const ZvDictionary$ fields = Racing::s_type.GetFields();
    EXPECT_TRUE(Racing::s_type.GetFields() == fields);
    const ZvDictionary$ anew = Racing::s_type.CreateFieldCache();
    EXPECT_TRUE(anew != fields);
    EXPECT_TRUE(Racing::s_type.GetFields() == anew);
    EXPECT_EQ(fields->ReferenceCount(), 1);                             // the descriptor has let go of the old one
    EXPECT_EQ(anew->ReferenceCount(), 2);
    EXPECT_TRUE(Racing::s_type.CreateMethodCache() == Racing::s_type.CreateMethodCache());
    const ZvType copy(Racing::s_type);
    EXPECT_EQ(anew->ReferenceCount(), 3);                               // shared by handle
}

TEST(ZvModuleState, KeepsItsTypesNewestFirstAndLeavesTheTableAtItsEnd) {
    {
        ZvModuleState module("ZvType_test module", nullptr, nullptr);
        EXPECT_EQ(ZvSystem::FindModule("ZvType_test module"), &module);
        EXPECT_EQ(module.handle, nullptr);                              // no library has that name
        EXPECT_EQ(module.types, nullptr);
        EXPECT_EQ(module.init, nullptr);
        EXPECT_EQ(module.term, nullptr);
        EXPECT_FALSE(module.closed);
        ZvType first("class InModule1", 8, 1, nullptr, ZvObject::s_bases, nullptr, nullptr, nullptr, false, typeid(int), &module, 1);
        ZvType second("class InModule2", 8, 1, nullptr, ZvObject::s_bases, nullptr, nullptr, nullptr, false, typeid(int), &module, 1);
        EXPECT_EQ(module.types, &second);
        EXPECT_EQ(second.NextInModule(), &first);
        EXPECT_EQ(first.NextInModule(), nullptr);
        EXPECT_EQ(first.GetModule(), &module);
    }
    EXPECT_EQ(ZvSystem::FindModule("ZvType_test module"), nullptr);
}

TEST(ZvModuleState, IsRegisteredByItsName) {
    const char name[] = "ZvType_test renamed";
    ZvModuleState module(name, nullptr, nullptr);
    EXPECT_EQ(module.name, name);                                       // not copied
    ZvSystem::UnregistModule(&module);
    EXPECT_EQ(ZvSystem::FindModule(name), nullptr);
    ZvSystem::RegistModule(&module);
    EXPECT_EQ(ZvSystem::FindModule(name), &module);
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

namespace {

struct Stated {
    unsigned int schema, spec;
    bool codec;
    bool operator==(const Stated&) const = default;
};

bool EndsIn(const std::string& text, const std::string& end) {
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

bool BeginsWith(const std::string& text, const std::string& begin) { return text.compare(0, begin.size(), begin) == 0; }

// What the class of that name hands to its descriptor; all that is named nowhere is a plain class.
Stated Expected(const std::string& name) {
    static const std::set<std::string> creatable = {
        "ZvArrayList", "ZvHashSet", "ZvDictionary", "ZvStack", "ZvQueue", "ZvData", "ZvEnum", "ZvImage", "ZvSerializationInfo",
        "remoting::AsyncTerminator", "remoting::ConstructingCall", "remoting::ConstructingResponse", "remoting::MethodCall",
        "remoting::MethodResponse", "remoting::Response"};
    static const std::set<std::string> boxes = {
        "ZvBoolean", "ZvSByte", "ZvByte", "ZvInt16", "ZvUInt16", "ZvInt32", "ZvUInt32", "ZvInt64", "ZvUInt64", "ZvFloat", "ZvDouble",
        "ZvVec2i", "ZvVec2f", "ZvVec2d", "ZvVec3i", "ZvVec3f", "ZvVec3d", "ZvVec4i", "ZvVec4f", "ZvVec4d", "ZvMat3f", "ZvMat3d",
        "ZvMat4f", "ZvMat4d", "ZvRotf", "ZvRotd", "ZvColor", "ZvObjectRef", "ZvObjectPtr", "ZvInterfaceRef", "ZvInterfacePtr"};
    static const std::set<std::string> interfaces = {"ZvICollection", "ZvIDictionary", "ZvIDictionaryEnumerator", "ZvIEnumeratable",
                                                     "ZvIEnumerator", "ZvIList",       "ZvISerializable"};
    // Vectors of these four say that they are arrays, and stay so.
    static const std::set<std::string> vectorsAsArrays = {"ZvULongVector", "ZvDoubleVector", "ZvVec2fVector", "ZvVec3fVector"};
    if (creatable.count(name) != 0) return {0x80000001, 1, true};
    if (name == "ZvString" || name == "ZvVoid") return {0x80000001, 2, true};
    if (name == "ZvDateTime") return {0x80000002, 2, true};
    if (name == "ZvMethodRef" || name == "ZvObjRef" || name == "ZvRemoteTypeInfo") return {0x80000001, 0x21, true};
    if (name == "ZvType") return {0x80000001, 0x21, false};
    if (name == "ZvMethod") return {0x80000001, 0x30, false};
    if (name == "ZvConstructor") return {0x80000001, 0x80, false};
    if (boxes.count(name) != 0) return {1, 2, true};
    if (EndsIn(name, "Array") || BeginsWith(name, "ZvSharePrimArray<")) return {1, 6, true};
    if (EndsIn(name, "Vector")) return {1, vectorsAsArrays.count(name) != 0 ? 6u : 1u, true};
    for (const char* family : {"ZvFieldPrimitive<", "ZvNestFieldPrimitive<", "ZvFieldPrimitiveArray<"})
        if (BeginsWith(name, family)) return {1, 1, false};
    if (interfaces.count(name) != 0) return {0, 8, false};
    return {0x80000001, 1, false};
}

}

TEST(ZvType, FamiliesStateTheirSchemaSpecAndCodec) {
    std::set<std::string> seen;
    for (const ZvType* t = ZvSystem::FindModule("ZVC")->types; t != nullptr; t = t->NextInModule()) {
        const std::string name = t->GetName()->CStr();
        EXPECT_TRUE((Stated{t->GetSchema(), t->GetClassSpec(), t->HasCodec()} == Expected(name))) << name;
        EXPECT_EQ(ZvSystem::FindType(name.c_str()), t) << name;
        EXPECT_STREQ(t->GetModule()->name, "ZVC") << name;
        EXPECT_TRUE(seen.insert(name).second) << name;
    }
    for (const char* name :
         {"ZvObject", "ZvSuper", "ZvInterface", "ZvStream", "ZvFileStream", "ZvMemoryStream", "ZvCoder", "ZvBinaryCoder", "ZvException",
          "ZvBadAllocException", "ZvField", "ZvThread", "ZvTimer", "ZvProcess", "ZvChannel", "ZvPlugin", "ZvImgCodec", "ZvEventArgs",
          "ZvPair", "ZvDictionaryEntry", "ZvArrayList::Enumerator", "remoting::Proxy", "ZvImage", "ZvData", "ZvEnum", "ZvVoid",
          "ZvDateTime", "ZvObjRef", "ZvMethodRef", "ZvRemoteTypeInfo", "remoting::MethodCall", "remoting::Response", "ZvISerializable",
          "ZvInt32", "ZvInt32Array", "ZvSharePrimArray<int>", "ZvByteVector", "ZvULongVector", "ZvFieldPrimitive<class ZvObject$>"})
        EXPECT_EQ(seen.count(name), 1u) << name;
}

TEST(ZvType, RunTimeTypesAreThoseOfTheElementsInTheValueFamilies) {
    EXPECT_TRUE(ZvString::s_type.TypeID() == typeid(ZvString));
    EXPECT_TRUE(ZvVoid::s_type.TypeID() == typeid(void));
    EXPECT_TRUE(ZvPrimitive<int>::s_type.TypeID() == typeid(int));
    EXPECT_TRUE(ZvPrimArray<int>::s_type.TypeID() == typeid(int));
    EXPECT_TRUE(ZvSharePrimArray<int>::s_type.TypeID() == typeid(int));
    EXPECT_TRUE(ZvVector<int>::s_type.TypeID() == typeid(ZvVector<int>));
    EXPECT_TRUE(ZvSystem::FindType("ZvFieldPrimitive<int>")->TypeID() == typeid(ZvFieldPrimitive<int>));
    EXPECT_TRUE(ZvIList::s_type.TypeID() == typeid(ZvIList));
}

TEST(ZvType, SevenClassesOfTheLibraryHaveReflectionTables) {
    std::set<std::string> names;
    for (const ZvType* t = ZvSystem::FindModule("ZVC")->types; t != nullptr; t = t->NextInModule()) {
        EXPECT_EQ(t->GetFieldMap() != nullptr, t->GetMethodMap() != nullptr);
        if (t->GetFieldMap() != nullptr) names.insert(t->GetName()->CStr());
    }
    EXPECT_EQ(names, (std::set<std::string>{"ZvChannel", "ZvEventArgs", "ZvImgCodec", "ZvPair", "ZvPlugin", "TaskScheduler",
                                            "remoting::Proxy"}));
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

namespace {

/// A field whose lives are counted.
class CountedField : public ZvFieldPrimitive<int> {
public:
    CountedField(ZvType* owner, const char* name) : ZvFieldPrimitive<int>(owner, name, nullptr) { ++s_alive; }
    CountedField(const CountedField& other) : ZvFieldPrimitive<int>(other) { ++s_alive; }
    ~CountedField() override { --s_alive; }
    ZvObject* Clone() const override { return new CountedField(*this); }

    static inline std::atomic<int> s_alive{0};
};

/// A descriptor with a field and a method, and with caches that nobody has built.
struct FreshType {
    ZvField* fields[2] = {new CountedField(&ZvObject::s_type, "m_only"), nullptr};
    ZvMethod$ methods[2] = {new ZvMethod(&ZvObject::s_type, "Only", ZvVtVoid, 0), ZvMethod$()};
    ZvFieldMap fieldMap{fields};
    ZvMethodMap methodMap{methods};
    ZvType type{"class Fresh", sizeof(ZvObject), 1, nullptr, ZvString::GetBases(), nullptr, &fieldMap, &methodMap, false,
                typeid(FreshType), nullptr, 1};
};

}

TEST(ZvType, EachCreateFieldCacheMakesANewOneAndTheLastStays) {
    FreshType fresh;
    ZvDictionary$ first = fresh.type.GetFields();
    EXPECT_TRUE(first == fresh.type.GetFields());
    ZvDictionary$ second = fresh.type.CreateFieldCache();
    EXPECT_FALSE(first == second);
    EXPECT_TRUE(second == fresh.type.GetFields());
    EXPECT_TRUE(fresh.type.FindField($L("m_only")) == second->Find($L("m_only")));
    first = nullptr;
    EXPECT_EQ(CountedField::s_alive, 2);                     // the table's own, and one clone
    ZvType copy(fresh.type);
    EXPECT_TRUE(copy.GetFields() == second);
}

TEST(ZvType, ThreadsMayMeetCachesThatAreNotBuilt) {
    const ZvString$ fieldName = new ZvString("m_only"), methodName = new ZvString("Only");
    for (int round = 0; round < 50; ++round) {
        FreshType fresh;
        std::atomic<int> waiting{4}, good{0};
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i)
            threads.emplace_back([&] {
                --waiting;
                while (waiting != 0) std::this_thread::yield();
                const ZvField$ field = fresh.type.FindField(fieldName);
                const ZvMethod$ method = fresh.type.Find(methodName, &ZvVoid::s_type, nullptr);
                if (field && method == fresh.methods[0] && fresh.type.GetFields()->Count() == 1) ++good;
            });
        for (std::thread& thread : threads) thread.join();
        ASSERT_EQ(good, 4);
    }
    EXPECT_EQ(CountedField::s_alive, 0);
}
