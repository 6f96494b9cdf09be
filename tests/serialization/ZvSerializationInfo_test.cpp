#include "serialization/CaseClasses.h"
#include "support/Cases.h"
#include "support/Coding.h"
#include "support/Slots.h"

using namespace cases;

namespace {

ZvString$ Name(const char* name) { return new ZvString(name); }
ZvValue$ Number(int value) { return new ZvPrimitive<int>(value); }

ZvSerializationInfo$ Bag(std::initializer_list<std::pair<const char*, int>> entries) {
    ZvSerializationInfo$ info = new ZvSerializationInfo;
    for (const auto& [name, value] : entries) info->SetValue(Name(name), Number(value));
    return info;
}

int NumberIn(const ZvSerializationInfo& info, const char* name) {
    const ZvValue$ value = info.GetValue(Name(name));
    return value ? static_cast<ZvPrimitive<int>*>(value.Get())->value : -1;
}

}

TEST(ZvSerializationInfo, IsRegisteredAsAClassWithACodec) {
    ZvType* type = ZvSystem::FindType("ZvSerializationInfo");
    ASSERT_NE(type, nullptr);
    EXPECT_EQ(type, &ZvSerializationInfo::s_type);
    EXPECT_EQ(type->GetSchema(), 0x80000001u);
    EXPECT_EQ(type->GetClassSpec(), 1u);
    EXPECT_TRUE(type->HasCodec());
    const ZvSerializationInfo$ made = ZvObject$(type->CreateObject());
    ASSERT_TRUE(made);
    EXPECT_TRUE(ZvSerializationInfo$(ZvObject$(ZvSerializationInfo::Create())));
    EXPECT_TRUE(!made->GetValue(Name("anything")));
}

TEST(ZvSerializationInfo, NameThatIsThereKeepsItsValue) {
    ZvSerializationInfo$ info = Bag({{"a", 1}, {"a", 2}, {"b", 3}});
    EXPECT_EQ(NumberIn(*info, "a"), 1);
    EXPECT_EQ(NumberIn(*info, "b"), 3);
    info->SetValue(Name("n"), nullptr);
    info->SetValue(Name("n"), Number(4));
    EXPECT_TRUE(!info->GetValue(Name("n")));
    EXPECT_TRUE(!info->GetValue(Name("none")));
}

TEST(ZvSerializationInfo, CopiesShareTheHandlesAndNotTheTable) {
    const ZvSerializationInfo$ info = Bag({{"a", 1}});
    ZvSerializationInfo copy(*info);
    ZvSerializationInfo assigned;
    assigned.SetValue(Name("old"), Number(9));
    assigned = *info;
    const ZvSerializationInfo$ clone = ZvObject$(info->Clone());
    info->SetValue(Name("b"), Number(2));
    const ZvSerializationInfo* const copies[] = {&copy, &assigned, clone.Get()};
    for (const ZvSerializationInfo* each : copies) {
        EXPECT_TRUE(each->GetValue(Name("a")) == info->GetValue(Name("a")));
        EXPECT_TRUE(!each->GetValue(Name("b")));
        EXPECT_TRUE(!each->GetValue(Name("old")));
    }
}

TEST(ZvSerializationInfo, EqualBagsHaveTheSameNamesAndNoEqualValue) {
    const ZvSerializationInfo$ empty = Bag({}), one = Bag({{"a", 1}}), same = Bag({{"a", 1}}), other = Bag({{"a", 2}});
    EXPECT_TRUE(empty->Equals(Bag({}).Get()));
    EXPECT_FALSE(one->Equals(same.Get()));
    EXPECT_TRUE(one->Equals(other.Get()));
    EXPECT_TRUE(*one == *other);
    EXPECT_FALSE(*one == *same);
    EXPECT_FALSE(*one == *one);                          // the operator has no test for the very same
    EXPECT_TRUE(one->Equals(one.Get()));
    EXPECT_FALSE(one->Equals(empty.Get()));
    EXPECT_FALSE(empty->Equals(one.Get()));
    EXPECT_FALSE(one->Equals(Bag({{"b", 2}}).Get()));
    EXPECT_FALSE(Bag({{"a", 1}, {"b", 2}})->Equals(Bag({{"a", 3}, {"b", 2}}).Get()));
    EXPECT_TRUE(Bag({{"a", 1}, {"b", 2}})->Equals(Bag({{"b", 4}, {"a", 3}}).Get()));
}

TEST(ZvSerializationInfo, EqualsNeedsABag) {
    const ZvSerializationInfo$ info = Bag({});
    EXPECT_FALSE(info->Equals(nullptr));
    EXPECT_FALSE(info->Equals(ZvObject$(new ZvDictionary).Get()));
}

TEST(ZvSerializationInfo, WritesItsCountAndEachNameAndValueInTheOrderOfTheTable) {
    // A new object; its type with schema; the count; then a string object and a box, both with the definitions of their types.
    EXPECT_EQ(Written({Bag({{"x", 5}})}, static_cast<ZvStreamingContext::States>(0))[0],
              "84" "87" "98135a7653657269616c697a6174696f6e496e666f" "8b5a5643" "a001" "a301000080" "a001"
              "84" "87" "905a76537472696e67" "8b5a5643" "a002" "a301000080" "8978"
              "84" "87" "8f5a76496e743332" "8b5a5643" "a002" "a001" "a005");
}

TEST(ZvSerializationInfo, DecodeAddsToWhatIsThereByTheRuleOfSetValue) {
    const ZvSerializationInfo$ info = Bag({{"a", 1}});
    // Two entries: a with 7, which is there already, and b with 8.
    ZvStream$ stream = StreamOf("a002" "84" "87" "905a76537472696e67" "8b5a5643" "a002" "a301000080" "8961"
                                "84" "87" "8f5a76496e743332" "8b5a5643" "a002" "a001" "a007"
                                "84" "a801" "8962" "84" "a802" "a008" "00");
    info->Decode(stream, Coder(0).Get());
    EXPECT_EQ(NumberIn(*info, "a"), 1);
    EXPECT_EQ(NumberIn(*info, "b"), 8);
}

TEST(ZvSerializationInfo, CountThatNothingBearsOutRaises) {
    // Four thousand million pairs of null, of which the stream has the first byte.
    for (const char* bytes : {"a3ffffffff80", "a3ffffffff"}) {
        ZvSerializationInfo info;
        ZvStream$ stream = StreamOf(bytes);
        EXPECT_THROW(info.Decode(stream, Coder(0).Get()), ZvCoderException) << bytes;
    }
}

TEST(ZvISerializable, ItsOperationStandsBehindThoseOfEveryInterface) {
    EXPECT_EQ(SlotOf(&ZvISerializable::GetObjectData), SlotOf(&ZvInterface::Release) + 1);
}

TEST(ZvISerializable, CodecWinsOverTheBag) {
    EXPECT_TRUE(GBag::s_type.IsDerivedFrom(&ZvISerializable::s_type));
    EXPECT_FALSE(GBag::s_type.HasCodec());
    EXPECT_EQ(ZvISerializable::s_type.GetSchema(), 0u);
    EXPECT_TRUE(ZvISerializable::s_type.IsInterface());
}

TEST(ZvSerializationInfo, ComputedCasesOfSetting) {
    for (const Json& c : Group("collections", "serialization-info-set")) {
        const ZvSerializationInfo$ info = new ZvSerializationInfo;
        for (const Json& pair : c["set"]) info->SetValue(Name(pair[0].get<std::string>().c_str()), Number(pair[1]));
        // The order is seen in what it writes: the names as they come out of a bag that is read one entry at a time.
        Memory out;
        ZvBinaryCoder$ coder = Coder(0);
        info->Encode(out.stream, coder.Get());
        Memory in(out.Taken());
        ZvBinaryCoder$ reader = Coder(0);
        unsigned int count = 0;
        reader->Read(in.stream, count);
        ASSERT_EQ(count, c["order"].size()) << c;
        for (unsigned int i = 0; i < count; ++i) {
            ZvObject$ name, value;
            reader->Read(in.stream, name);
            reader->Read(in.stream, value);
            EXPECT_EQ(*ZvString$(name), c["order"][i].get<std::string>().c_str()) << c;
            EXPECT_EQ(static_cast<ZvPrimitive<int>*>(value.Get())->value, c["values"][i].get<int>()) << c;
        }
    }
}
