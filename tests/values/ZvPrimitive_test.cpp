#include "zvc/values/ZvPrimitive.h"

#include "tests/support/ShortMemory.h"
#include "tests/support/Slots.h"
#include "tests/values/EncodedBytes.h"

#include <zvc/zvc.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <vector>

namespace {

constexpr float NaN = std::numeric_limits<float>::quiet_NaN();
constexpr int Scalars[] = {1, 2, 3, 7, 11, 15, 19, 20, 21, 22, 28};

template <class T>
using Box$ = ZvHandle<ZvPrimitive<T>, ZvValue$>;
template <class T>
Box$<T> Box(const T& value) {
    return new ZvPrimitive<T>(value);
}

struct Row {
    const char* name;
    ZvType* type;
    const std::type_info* element;
    int number;                                             // 0: none of its own
    const char* text;                                       // of the default value; null for the references
};

template <class T>
Row RowOf(const char* name, int number, const char* text) {
    return {name, &ZvPrimitive<T>::s_type, &typeid(T), number, text};
}

std::vector<Row> Family() {
    return {RowOf<bool>("ZvBoolean", 1, "0"),
            RowOf<char>("ZvSByte", 2, ""),
            RowOf<unsigned char>("ZvByte", 3, ""),
            RowOf<short>("ZvInt16", 7, "0"),
            RowOf<unsigned short>("ZvUInt16", 11, "0"),
            RowOf<int>("ZvInt32", 15, "0"),
            RowOf<unsigned int>("ZvUInt32", 19, "0"),
            RowOf<long long>("ZvInt64", 20, "0"),
            RowOf<unsigned long long>("ZvUInt64", 21, "0"),
            RowOf<float>("ZvFloat", 22, "0"),
            RowOf<double>("ZvDouble", 28, "0"),
            RowOf<CG::vec2<int>>("ZvVec2i", 16, "0 0"),
            RowOf<CG::vec2<float>>("ZvVec2f", 23, "0 0"),
            RowOf<CG::vec2<double>>("ZvVec2d", 29, "0 0"),
            RowOf<CG::vec3<int>>("ZvVec3i", 17, "0 0 0"),
            RowOf<CG::vec3<float>>("ZvVec3f", 24, "0 0 0"),
            RowOf<CG::vec3<double>>("ZvVec3d", 30, "0 0 0"),
            RowOf<CG::vec4<int>>("ZvVec4i", 18, "0 0 0 0"),
            RowOf<CG::vec4<float>>("ZvVec4f", 25, "0 0 0 0"),
            RowOf<CG::vec4<double>>("ZvVec4d", 31, "0 0 0 0"),
            RowOf<CG::mat3<float>>("ZvMat3f", 26, "1 0 0 0 1 0 0 0 1"),
            RowOf<CG::mat3<double>>("ZvMat3d", 32, "1 0 0 0 1 0 0 0 1"),
            RowOf<CG::mat4<float>>("ZvMat4f", 27, "1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1"),
            RowOf<CG::mat4<double>>("ZvMat4d", 33, "1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1"),
            RowOf<CG::rotation<float>>("ZvRotf", 38, "0 1 0 0"),
            RowOf<CG::rotation<double>>("ZvRotd", 39, "0 1 0 0"),
            RowOf<zvcolor>("ZvColor", 42, "0 0 0"),
            RowOf<ZvObject$>("ZvObjectRef", 45, nullptr),
            RowOf<ZvObject*>("ZvObjectPtr", 46, nullptr),
            RowOf<ZvInterface$>("ZvInterfaceRef", 0, nullptr),
            RowOf<ZvInterface*>("ZvInterfacePtr", 0, nullptr)};
}

template <class T>
std::string TextOf(const T& value) {
    return Box(value)->ToString()->CStr();
}

template <class T>
ZvValue$ Parsed(const char* text) {
    return ZvPrimitive<T>::Parse(new ZvString(text));
}

/// What a box reads of a text; fails the test where it reads nothing.
template <class T>
T Read(const char* text) {
    const ZvValue$ box = Parsed<T>(text);
    EXPECT_TRUE(box) << text;
    return box ? static_cast<ZvPrimitive<T>*>(box.Get())->value : T{};
}

/// A box given out as To, and taken as From: both are to give out.
template <class From, class To>
void ExpectConverts(From value, ZvValueType from, To out, ZvValueType to) {
    To got{};
    EXPECT_TRUE(Box(value)->GetValue(&got, to, 0));
    EXPECT_EQ(std::memcmp(&got, &out, sizeof out), 0) << +value << " as " << to << " is " << +got;
    ZvPrimitive<To> box;
    EXPECT_TRUE(box.SetValue(&value, from, 0));
    EXPECT_EQ(std::memcmp(&box.value, &out, sizeof out), 0) << +value << " from " << from << " is " << +box.value;
}

class Counted : public ZvObject {
public:
    ZvString$ ToString() const override { return new ZvString("counted"); }
    size_t GetHashCode() const override { return 77; }
};

}

TEST(ZvPrimitive, EachBoxIsRegisteredWithItsNameSchemaAndKind) {
    ASSERT_EQ(Family().size(), 31u);
    for (const Row& row : Family()) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(ZvSystem::FindType(row.name), row.type);
        EXPECT_STREQ(row.type->GetName()->CStr(), row.name);
        EXPECT_EQ(row.type->GetSchema(), 1u);
        EXPECT_EQ(row.type->GetClassSpec(), 2u);
        EXPECT_TRUE(row.type->HasCodec());
        EXPECT_TRUE(row.type->TypeID() == *row.element);
        EXPECT_EQ(row.type->GetBaseType(), &ZvValue::s_type);
        if (row.number == 0) continue;
        EXPECT_EQ(ZvValue::FindType(static_cast<ZvValueType>(row.number)), row.type);
    }
}

TEST(ZvPrimitive, OperationsOfValuesStandBehindThoseOfObjects) {
    const size_t count = SlotOf(&ZvValue::Count);
    EXPECT_GT(count, SlotOf(&ZvObject::ToString));
    EXPECT_GT(count, SlotOf(&ZvObject::Decode));
    EXPECT_EQ(SlotOf(&ZvValue::SetValue), count + 1);
    EXPECT_EQ(SlotOf(&ZvValue::GetValue), count + 2);
    EXPECT_EQ(SlotOf(static_cast<void* (ZvArrayValue::*)()>(&ZvArrayValue::GetBaseAddress)), count + 3);
    EXPECT_EQ(SlotOf(static_cast<void* (ZvArrayValue::*)() const>(&ZvArrayValue::GetBaseAddress)), count + 4);
    EXPECT_EQ(SlotOf(static_cast<void (ZvVoid::*)(const void*)>(&ZvVoid::SetValue)), count + 3);
    EXPECT_EQ(SlotOf(static_cast<bool (ZvVoid::*)(const ZvValue&)>(&ZvVoid::SetValue)), count + 4);
    EXPECT_EQ(SlotOf(static_cast<void (ZvVoid::*)(void*) const>(&ZvVoid::GetValue)), count + 5);
}

TEST(ZvPrimitive, NumbersOutsideTheTableFindNothing) {
    std::vector<bool> named(64);
    for (const Row& row : Family()) named[static_cast<size_t>(row.number)] = true;
    named[0] = false;
    for (int number = -1; number < 64; ++number) {
        if (number == 49 || (number >= 0 && named[static_cast<size_t>(number)])) continue;
        EXPECT_EQ(ZvValue::FindType(static_cast<ZvValueType>(number)), nullptr) << number;
        EXPECT_EQ(ZvValue::FindArrayType(static_cast<ZvValueType>(number)), nullptr) << number;
    }
    EXPECT_EQ(ZvValue::FindType(ZvVtInterface), nullptr);
    EXPECT_EQ(ZvValue::FindType(ZvVtVoid), &ZvVoid::s_type);
    EXPECT_EQ(ZvValue::FindArrayType(ZvVtVoid), &ZvVoid::s_type);
}

TEST(ZvPrimitive, NumbersOfTheKinds) {
    const struct { ZvValueType kind; int number; } rows[] = {
        {ZvVtBoolean, 1}, {ZvVtSByte, 2},   {ZvVtByte, 3},    {ZvVtInt16, 7},   {ZvVtUInt16, 11}, {ZvVtInt32, 15},     {ZvVtVec2i, 16},
        {ZvVtVec3i, 17},  {ZvVtVec4i, 18},  {ZvVtUInt32, 19}, {ZvVtInt64, 20},  {ZvVtUInt64, 21}, {ZvVtFloat, 22},     {ZvVtVec2f, 23},
        {ZvVtVec3f, 24},  {ZvVtVec4f, 25},  {ZvVtMat3f, 26},  {ZvVtMat4f, 27},  {ZvVtDouble, 28}, {ZvVtVec2d, 29},     {ZvVtVec3d, 30},
        {ZvVtVec4d, 31},  {ZvVtMat3d, 32},  {ZvVtMat4d, 33},  {ZvVtRotf, 38},   {ZvVtRotd, 39},   {ZvVtColor, 42},     {ZvVtObjectRef, 45},
        {ZvVtObjectPtr, 46}, {ZvVtInterface, 47}, {ZvVtVoid, 49},
    };
    for (const auto& row : rows) EXPECT_EQ(row.kind, row.number);
}

TEST(ZvPrimitive, FactoryMakesTheDefaultValue) {
    for (const Row& row : Family()) {
        const ZvValue$ box = ZvObject$(row.type->CreateObject());
        ASSERT_TRUE(box) << row.name;
        EXPECT_EQ(box->GetType(), row.type);
        EXPECT_EQ(box->Count(), 1u);
        if (row.text == nullptr) continue;
        EXPECT_STREQ(box->ToString()->CStr(), row.text) << row.name;
    }
    EXPECT_EQ(ZvPrimitive<bool>().value, false);
    EXPECT_EQ(ZvPrimitive<char>().value, 0);
    EXPECT_FALSE(ZvPrimitive<ZvObject$>().value);
    EXPECT_EQ(ZvPrimitive<ZvObject*>().value, nullptr);
    EXPECT_FALSE(ZvPrimitive<ZvInterface$>().value);
    EXPECT_EQ(ZvPrimitive<ZvInterface*>().value, nullptr);
    const ZvObject$ made = ZvPrimitive<int>::CreateInstance();
    EXPECT_EQ(made->GetType(), &ZvPrimitive<int>::s_type);
}

TEST(ZvPrimitive, FactoryGivesNullWhenMemoryRunsOut) {
    if (!MemoryCanRunShort) GTEST_SKIP() << "the allocator does not give null";
    EXPECT_TRUE(HoldsWithShortMemory([] {
        for (size_t size = 1 << 20; size >= 8; size -= size > 1024 ? size / 2 : 8) {     // down to the last small block
            void* volatile block = nullptr;
            do block = std::malloc(size);
            while (block != nullptr);
        }
        return ZvPrimitive<int>::CreateInstance() == nullptr && ZvPrimitive<CG::mat4<double>>::CreateInstance() == nullptr &&
               ZvPrimitive<ZvObject$>::CreateInstance() == nullptr;
    }));
}

TEST(ZvPrimitive, CreateFromPtrCopiesAndIgnoresTheSize) {
    double number = 2.5;
    for (const unsigned int size : {0u, 8u, 1000u}) {
        const ZvObject$ box = ZvPrimitive<double>::CreateFromPtr(&number, size);
        EXPECT_EQ(static_cast<ZvPrimitive<double>*>(box.Get())->value, 2.5);
    }
}

TEST(ZvPrimitive, IsConstructedCopiedAssignedAndConverted) {
    ZvPrimitive<int> box(7), copy(box), other;
    EXPECT_EQ(copy.value, 7);
    other = copy;
    EXPECT_EQ(other.value, 7);
    const int& reference = other;
    EXPECT_EQ(&reference, &other.value);
    static_assert(sizeof(ZvPrimitive<CG::mat4<double>>) >= 128, "in place");
    EXPECT_STREQ(ZvPrimitive<int>::GetBases()[0].type->GetName()->CStr(), "ZvValue");
}

TEST(ZvPrimitive, ScalarsAcceptEachOtherAndNothingElse) {
    for (const int box : Scalars)
        for (int number = 0; number < 64; ++number) {
            const bool accepted = std::find(std::begin(Scalars), std::end(Scalars), number) != std::end(Scalars);
            const ZvValue$ value = ZvObject$(ZvValue::FindType(static_cast<ZvValueType>(box))->CreateObject());
            unsigned char bytes[256];
            std::memset(bytes, 0x5A, sizeof bytes);
            EXPECT_EQ(value->GetValue(bytes, static_cast<ZvValueType>(number), 0), accepted) << box << " " << number;
            EXPECT_EQ(bytes[0] == 0x5A, !accepted) << box << " " << number;
            std::memset(bytes, 0, sizeof bytes);
            EXPECT_EQ(value->SetValue(bytes, static_cast<ZvValueType>(number), 99), accepted) << box << " " << number;
        }
}

TEST(ZvPrimitive, IntegersWidenByTheirSignAndNarrowToTheirLowBytes) {
    ExpectConverts<char, short>(-2, ZvVtSByte, -2, ZvVtInt16);
    ExpectConverts<char, unsigned long long>(-2, ZvVtSByte, 0xFFFFFFFFFFFFFFFE, ZvVtUInt64);
    ExpectConverts<unsigned char, short>(0xFE, ZvVtByte, 0xFE, ZvVtInt16);
    ExpectConverts<int, unsigned long long>(-1, ZvVtInt32, 0xFFFFFFFFFFFFFFFF, ZvVtUInt64);
    ExpectConverts<unsigned int, long long>(0xFFFFFFFF, ZvVtUInt32, 0x00000000FFFFFFFF, ZvVtInt64);
    ExpectConverts<unsigned short, int>(0xFFFF, ZvVtUInt16, 0xFFFF, ZvVtInt32);
    ExpectConverts<long long, int>(0x123456789ABCDEF0, ZvVtInt64, static_cast<int>(0x9ABCDEF0), ZvVtInt32);
    ExpectConverts<int, short>(0x12348765, ZvVtInt32, static_cast<short>(0x8765), ZvVtInt16);
    ExpectConverts<int, unsigned char>(0x1234, ZvVtInt32, 0x34, ZvVtByte);
    ExpectConverts<unsigned long long, char>(0x1280, ZvVtUInt64, static_cast<char>(0x80), ZvVtSByte);
    ExpectConverts<int, unsigned int>(-1, ZvVtInt32, 0xFFFFFFFF, ZvVtUInt32);
}

TEST(ZvPrimitive, ToBoolIsWhatIsNotZero) {
    ExpectConverts<int, bool>(256, ZvVtInt32, true, ZvVtBoolean);
    ExpectConverts<int, bool>(0, ZvVtInt32, false, ZvVtBoolean);
    ExpectConverts<unsigned long long, bool>(1ull << 63, ZvVtUInt64, true, ZvVtBoolean);
    ExpectConverts<char, bool>(-1, ZvVtSByte, true, ZvVtBoolean);
    ExpectConverts<float, bool>(-0.25f, ZvVtFloat, true, ZvVtBoolean);
    ExpectConverts<float, bool>(-0.0f, ZvVtFloat, false, ZvVtBoolean);
    ExpectConverts<double, bool>(1e-300, ZvVtDouble, true, ZvVtBoolean);
    ExpectConverts<float, bool>(NaN, ZvVtFloat, false, ZvVtBoolean);
    ExpectConverts<double, bool>(NaN, ZvVtDouble, false, ZvVtBoolean);
    ExpectConverts<bool, double>(true, ZvVtBoolean, 1.0, ZvVtDouble);
    ExpectConverts<bool, unsigned long long>(true, ZvVtBoolean, 1, ZvVtUInt64);
}

TEST(ZvPrimitive, StoredByteOfABoolIsCopied) {
    const unsigned char two = 2;
    ZvPrimitive<bool> box;
    ASSERT_TRUE(box.SetValue(&two, ZvVtBoolean, 0));
    for (const ZvValueType kind : {ZvVtBoolean, ZvVtSByte, ZvVtByte}) {
        unsigned char byte = 0;
        EXPECT_TRUE(box.GetValue(&byte, kind, 0));
        EXPECT_EQ(byte, 2) << kind;
    }
    // Whoever looks at it sees a truth value.
    EXPECT_STREQ(box.ToString()->CStr(), "1");
    EXPECT_EQ(box.GetHashCode(), 1231u);
    EXPECT_EQ(encoded::Of(box), encoded::Of(ZvPrimitive<bool>(true)));
}

TEST(ZvPrimitive, ByteBoxesTakeTheFirstByteOfAnyInteger) {
    const long long wide = 0x1122334455667788;
    ZvPrimitive<char> signedByte;
    ZvPrimitive<unsigned char> byte;
    for (const ZvValueType kind : {ZvVtSByte, ZvVtByte, ZvVtInt16, ZvVtUInt16, ZvVtInt32, ZvVtUInt32, ZvVtInt64, ZvVtUInt64}) {
        EXPECT_TRUE(signedByte.SetValue(&wide, kind, 0));
        EXPECT_EQ(signedByte.value, static_cast<char>(0x88)) << kind;
        EXPECT_TRUE(byte.SetValue(&wide, kind, 0));
        EXPECT_EQ(byte.value, 0x88) << kind;
    }
    const unsigned char two = 2;
    EXPECT_TRUE(byte.SetValue(&two, ZvVtBoolean, 0));
    EXPECT_EQ(byte.value, 2);
}

TEST(ZvPrimitive, FloatsAreTruncatedThroughThirtyTwoOrSixtyFourBits) {
    // Through 32 bits: what does not fit is the sign bit alone, with no low bytes.
    ExpectConverts<double, int>(-1.9, ZvVtDouble, -1, ZvVtInt32);
    ExpectConverts<double, int>(1e30, ZvVtDouble, INT32_MIN, ZvVtInt32);
    ExpectConverts<float, int>(NaN, ZvVtFloat, INT32_MIN, ZvVtInt32);
    ExpectConverts<double, short>(65537.5, ZvVtDouble, 1, ZvVtInt16);
    ExpectConverts<double, short>(1e30, ZvVtDouble, 0, ZvVtInt16);
    ExpectConverts<double, short>(4294967297.0, ZvVtDouble, 0, ZvVtInt16);      // 2^32 + 1
    ExpectConverts<float, char>(-300.75f, ZvVtFloat, static_cast<char>(-300), ZvVtSByte);
    // Through 64 bits.
    ExpectConverts<double, unsigned int>(4294967297.5, ZvVtDouble, 1, ZvVtUInt32);
    ExpectConverts<double, unsigned int>(-1.5, ZvVtDouble, 0xFFFFFFFF, ZvVtUInt32);
    ExpectConverts<double, unsigned short>(4294967297.5, ZvVtDouble, 1, ZvVtUInt16);
    ExpectConverts<double, unsigned char>(4294967553.0, ZvVtDouble, 1, ZvVtByte);
    ExpectConverts<float, long long>(-3e9f, ZvVtFloat, -3000000000, ZvVtInt64);
    ExpectConverts<double, long long>(1e30, ZvVtDouble, INT64_MIN, ZvVtInt64);
    ExpectConverts<double, unsigned int>(1e30, ZvVtDouble, 0, ZvVtUInt32);
    // 2^63 and more, with 2^63 subtracted and added back.
    ExpectConverts<double, unsigned long long>(9223372036854775808.0, ZvVtDouble, 1ull << 63, ZvVtUInt64);
    ExpectConverts<float, unsigned long long>(1.5f * 9223372036854775808.0f, ZvVtFloat, 3ull << 62, ZvVtUInt64);
    ExpectConverts<double, unsigned long long>(-1.5, ZvVtDouble, 0xFFFFFFFFFFFFFFFF, ZvVtUInt64);
    ExpectConverts<double, unsigned long long>(1e30, ZvVtDouble, 0, ZvVtUInt64);    // the sign bit, and 2^63 on top
}

TEST(ZvPrimitive, UnsignedToFloatGoesOverTheSignedNumber) {
    ExpectConverts<unsigned long long, double>(0xFFFFFFFFFFFFFFFF, ZvVtUInt64, 18446744073709551616.0, ZvVtDouble);
    ExpectConverts<unsigned long long, double>(1ull << 63, ZvVtUInt64, 9223372036854775808.0, ZvVtDouble);
    ExpectConverts<unsigned long long, float>(5, ZvVtUInt64, 5.0f, ZvVtFloat);
    // Rounded twice: the signed number to 1024 above -2^63, and the sum with 2^64 to its even neighbour.
    ExpectConverts<unsigned long long, double>(0x8000000000000401, ZvVtUInt64, 9223372036854775808.0, ZvVtDouble);
    ExpectConverts<unsigned int, float>(0xFFFFFFFF, ZvVtUInt32, 4294967296.0f, ZvVtFloat);
    ExpectConverts<double, float>(0.1, ZvVtDouble, 0.1f, ZvVtFloat);
    ExpectConverts<double, float>(1e300, ZvVtDouble, std::numeric_limits<float>::infinity(), ZvVtFloat);
}

TEST(ZvPrimitive, CompositesAcceptTheirShapeAlone) {
    const struct { int box; std::vector<int> kinds; } rows[] = {
        {16, {16, 23, 29}}, {23, {16, 23, 29}}, {29, {16, 23, 29}}, {17, {17, 24, 30}}, {24, {17, 24, 30}}, {30, {17, 24, 30}},
        {18, {18, 25, 31}}, {25, {18, 25, 31}}, {31, {18, 25, 31}}, {26, {26, 32}},     {32, {26, 32}},     {27, {27, 33}},
        {33, {27, 33}},     {38, {38, 39}},     {39, {38, 39}},     {42, {24, 30, 42}},
    };
    for (const auto& row : rows) {
        const ZvValue$ box = ZvObject$(ZvValue::FindType(static_cast<ZvValueType>(row.box))->CreateObject());
        const std::string before = box->ToString()->CStr();
        for (int number = 0; number < 64; ++number) {
            const bool accepted = std::find(row.kinds.begin(), row.kinds.end(), number) != row.kinds.end();
            alignas(16) unsigned char bytes[256] = {};
            if (!accepted) std::memset(bytes, 0x5A, sizeof bytes);
            EXPECT_EQ(box->GetValue(bytes, static_cast<ZvValueType>(number), 0), accepted) << row.box << " " << number;
            if (accepted) continue;
            EXPECT_EQ(bytes[0], 0x5A) << row.box << " " << number;
            EXPECT_FALSE(box->SetValue(bytes, static_cast<ZvValueType>(number), 0)) << row.box << " " << number;
            EXPECT_EQ(box->ToString()->CStr(), before) << row.box << " " << number;
        }
    }
}

TEST(ZvPrimitive, CompositesConvertElementByElement) {
    const CG::vec3<double> source{1.9, -2.9, 1e30};
    ZvPrimitive<CG::vec3<int>> ints;
    EXPECT_TRUE(ints.SetValue(&source, ZvVtVec3d, 0));
    EXPECT_EQ(ints.value.x, 1);
    EXPECT_EQ(ints.value.y, -2);
    EXPECT_EQ(ints.value.z, INT32_MIN);
    CG::vec3<float> floats{};
    EXPECT_TRUE(ints.GetValue(&floats, ZvVtVec3f, 0));
    EXPECT_EQ(floats.y, -2.0f);
    ZvPrimitive<zvcolor> color;
    EXPECT_TRUE(color.SetValue(&source, ZvVtVec3d, 0));
    EXPECT_EQ(color.value.r, 1.9f);
    EXPECT_EQ(color.value.b, 1e30f);
    EXPECT_TRUE(color.GetValue(&floats, ZvVtVec3f, 0));
    EXPECT_EQ(floats.x, 1.9f);
    const CG::rotation<float> turn{0.5f, {0, 1, 0}};
    ZvPrimitive<CG::rotation<double>> rotation;
    EXPECT_TRUE(rotation.SetValue(&turn, ZvVtRotf, 0));
    EXPECT_EQ(TextOf(rotation.value), "0.5 0 1 0");
}

TEST(ZvPrimitive, VectorOfAnotherLengthIsRefusedAndChangesNothing) {
    const CG::vec2<float> two{8, 9};
    ZvPrimitive<CG::vec3<float>> box(CG::vec3<float>{1, 2, 3});
    EXPECT_FALSE(box.SetValue(&two, ZvVtVec2f, 0));
    EXPECT_EQ(TextOf(box.value), "1 2 3");
}

TEST(ZvPrimitive, ReferenceBoxesCount) {
    ZvObject$ first = new Counted, second = new Counted;
    ZvPrimitive<ZvObject$> box(first);
    EXPECT_EQ(first->ReferenceCount(), 2);
    EXPECT_TRUE(box.SetValue(&second, ZvVtObjectRef, 0));
    EXPECT_EQ(first->ReferenceCount(), 1);
    EXPECT_EQ(second->ReferenceCount(), 2);
    EXPECT_TRUE(box.SetValue(&second, ZvVtObjectRef, 0));
    EXPECT_EQ(second->ReferenceCount(), 2);
    ZvObject$ target = first;
    EXPECT_TRUE(box.GetValue(&target, ZvVtObjectRef, 0));
    EXPECT_EQ(first->ReferenceCount(), 1);
    EXPECT_EQ(second->ReferenceCount(), 3);
    const ZvObject$ clone = box.Clone();
    EXPECT_EQ(static_cast<ZvPrimitive<ZvObject$>*>(clone.Get())->value.Get(), second.Get());
    EXPECT_EQ(second->ReferenceCount(), 4);
    for (const ZvValueType other : {ZvVtObjectPtr, ZvVtInterface, ZvVtVoid, ZvVtInt32}) {
        EXPECT_FALSE(box.SetValue(&first, other, 0)) << other;
        EXPECT_FALSE(box.GetValue(&target, other, 0)) << other;
    }
}

TEST(ZvPrimitive, InterfaceBoxesTakeTheKindOfObjects) {
    const ZvArrayList$ list = new ZvArrayList;
    const ZvInterface$ first = ZvIList$(list);
    ZvPrimitive<ZvInterface$> box;
    const long before = list->ReferenceCount();
    EXPECT_TRUE(box.SetValue(&first, ZvVtObjectRef, 0));
    EXPECT_EQ(list->ReferenceCount(), before + 1);
    EXPECT_EQ(box.GetHashCode(), reinterpret_cast<uintptr_t>(first.Get()));
    ZvInterface$ target;
    EXPECT_TRUE(box.GetValue(&target, ZvVtObjectRef, 0));
    EXPECT_EQ(target.Get(), first.Get());
    EXPECT_FALSE(box.SetValue(&first, ZvVtInterface, 0));
    EXPECT_FALSE(box.GetValue(&target, ZvVtInterface, 0));
    EXPECT_FALSE(box.ToString());
    EXPECT_TRUE(box.Equals(Box(first).Get()));
    EXPECT_FALSE(box.Equals(Box(ZvInterface$()).Get()));
}

TEST(ZvPrimitive, PointerBoxesCopyThePointerUncounted) {
    const ZvObject$ object = new Counted;
    ZvObject* pointer = object.Get();
    ZvPrimitive<ZvObject*> box;
    EXPECT_TRUE(box.SetValue(&pointer, ZvVtObjectPtr, 0));
    EXPECT_EQ(box.value, pointer);
    ZvObject* target = nullptr;
    EXPECT_TRUE(box.GetValue(&target, ZvVtObjectPtr, 0));
    EXPECT_EQ(target, pointer);
    EXPECT_EQ(object->ReferenceCount(), 1);
    EXPECT_FALSE(box.SetValue(&pointer, ZvVtObjectRef, 0));
    const ZvArrayList$ list = new ZvArrayList;
    ZvInterface* face = ZvIList$(list).Get();
    ZvPrimitive<ZvInterface*> faces;
    EXPECT_TRUE(faces.SetValue(&face, ZvVtObjectPtr, 0));
    EXPECT_EQ(faces.value, face);
    EXPECT_EQ(faces.GetHashCode(), reinterpret_cast<uintptr_t>(face));
    EXPECT_FALSE(faces.ToString());
    EXPECT_FALSE(faces.SetValue(&face, ZvVtInterface, 0));
}

TEST(ZvPrimitive, TextsOfScalars) {
    EXPECT_EQ(TextOf(true), "1");
    EXPECT_EQ(TextOf(false), "0");
    EXPECT_EQ(TextOf('A'), "A");
    EXPECT_EQ(TextOf(static_cast<unsigned char>('z')), "z");
    EXPECT_EQ(TextOf(static_cast<short>(-5)), "-5");
    EXPECT_EQ(TextOf(0xFFFFFFFFu), "4294967295");
    EXPECT_EQ(TextOf(std::numeric_limits<long long>::min()), "-9223372036854775808");
    EXPECT_EQ(TextOf(std::numeric_limits<unsigned long long>::max()), "18446744073709551615");
    EXPECT_EQ(TextOf(0.1f), "0.1");
    EXPECT_EQ(TextOf(1234567.0), "1.23457e+06");
    EXPECT_EQ(TextOf(1.0 / 3), "0.333333");
}

TEST(ZvPrimitive, TextsOfComposites) {
    EXPECT_EQ(TextOf(CG::vec2<int>{1, -2}), "1 -2");
    EXPECT_EQ(TextOf(CG::vec4<double>{0.5, 1e10, -1, 0}), "0.5 1e+10 -1 0");
    EXPECT_EQ(TextOf(CG::rotation<float>{0.25f, {0, 0, 1}}), "0.25 0 0 1");
    EXPECT_EQ(TextOf(zvcolor(1, 0.5f, 0)), "1 0.5 0");
    CG::mat3<float> matrix{};
    for (int i = 0; i < 9; ++i) reinterpret_cast<float*>(&matrix)[i] = static_cast<float>(i);
    EXPECT_EQ(TextOf(matrix), "0 1 2 3 4 5 6 7 8");
    EXPECT_STREQ(ZvPrimitive<CG::mat3<float>>().ToString()->CStr(), "1 0 0 0 1 0 0 0 1");
}

TEST(ZvPrimitive, TextOfAReferenceIsThatOfTheObject) {
    const ZvObject$ object = new Counted;
    EXPECT_EQ(TextOf(object), "counted");
    EXPECT_EQ(TextOf(object.Get()), "counted");
    EXPECT_EQ(Box(object)->GetHashCode(), 77u);
    EXPECT_EQ(Box(object.Get())->GetHashCode(), 77u);
}

TEST(ZvPrimitive, ParseOfBoolTakesTwoWordsAlone) {
    EXPECT_EQ(Read<bool>("true"), true);
    EXPECT_EQ(Read<bool>("false"), false);
    for (const char* text : {"1", "0", "TRUE", "True", "", " true", "true ", "truefalse"}) EXPECT_FALSE(Parsed<bool>(text)) << text;
}

TEST(ZvPrimitive, ParseReadsAsAStandardStreamDoes) {
    EXPECT_EQ(Read<int>("12abc"), 12);
    EXPECT_EQ(Read<int>("  -7"), -7);
    EXPECT_FALSE(Parsed<int>("abc"));
    EXPECT_FALSE(Parsed<int>(""));
    EXPECT_FALSE(Parsed<int>("99999999999"));
    EXPECT_FALSE(Parsed<short>("40000"));
    EXPECT_EQ(Read<unsigned short>("40000"), 40000);
    EXPECT_EQ(Read<unsigned long long>("18446744073709551615"), 18446744073709551615ull);
    EXPECT_EQ(Read<char>("  65"), '6');
    EXPECT_EQ(Read<unsigned char>("z"), 'z');
    EXPECT_FALSE(Parsed<char>("   "));
    EXPECT_EQ(Read<float>("1.5e2x"), 150.0f);
    EXPECT_EQ(Read<double>("-0.125"), -0.125);
    EXPECT_FALSE(Parsed<double>("."));
}

TEST(ZvPrimitive, ParseOfCompositesReadsEveryElement) {
    EXPECT_FALSE(Parsed<CG::vec3<float>>("1 2"));
    EXPECT_EQ(TextOf(Read<CG::vec3<float>>("1 2 3 4")), "1 2 3");
    EXPECT_EQ(TextOf(Read<CG::vec2<int>>("1\n2")), "1 2");
    EXPECT_FALSE(Parsed<CG::vec2<int>>("1,2"));
    EXPECT_EQ(TextOf(Read<CG::mat3<double>>("1 2 3 4 5 6 7 8 9")), "1 2 3 4 5 6 7 8 9");
    EXPECT_EQ(TextOf(Read<CG::mat4<float>>("1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16")), "1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16");
    EXPECT_FALSE(Parsed<CG::mat4<float>>("1 2 3 4 5 6 7 8 9 10 11 12 13 14 15"));
    EXPECT_EQ(TextOf(Read<CG::rotation<double>>("0.5 0 1 0")), "0.5 0 1 0");
    EXPECT_FALSE(Parsed<CG::rotation<double>>("0.5 0 1"));
    EXPECT_EQ(TextOf(Read<zvcolor>("1 0.5 0.25 rest")), "1 0.5 0.25");
}

TEST(ZvPrimitive, ParseNeverReadsReferences) {
    EXPECT_FALSE(Parsed<ZvObject$>("null"));
    EXPECT_FALSE(Parsed<ZvObject*>("0"));
    EXPECT_FALSE(Parsed<ZvInterface$>("x"));
    EXPECT_FALSE(Parsed<ZvInterface*>("x"));
}

TEST(ZvPrimitive, HashesByHand) {
    EXPECT_EQ(Box(true)->GetHashCode(), 1231u);
    EXPECT_EQ(Box(false)->GetHashCode(), 1237u);
    EXPECT_EQ(Box(-1)->GetHashCode(), 0xFFFFFFFF21524110u);                  // ~0xDEADBEEF, the sign above it
    EXPECT_EQ(Box('\x01')->GetHashCode(), 0xDEADBEEEu);
    EXPECT_EQ(Box(static_cast<short>(-1))->GetHashCode(), 0xFFFFFFFF21524110u);
    EXPECT_EQ(Box(0xFFFFFFFFu)->GetHashCode(), 0x21524110u);
    EXPECT_EQ(Box(static_cast<unsigned char>(255))->GetHashCode(), 0xDEADBE10u);
    EXPECT_EQ(Box(static_cast<unsigned short>(0xFFFF))->GetHashCode(), 0xDEAD4110u);
    EXPECT_EQ(Box(-2ll)->GetHashCode(), 1u);                                 // -1 ^ -2
    EXPECT_EQ(Box(0xFFFFFFFFFFFFFFFEull)->GetHashCode(), 0xFFFFFFFF00000001u);
    EXPECT_EQ(Box(1.0)->GetHashCode(), 0x3FF000003FF00000u);
    EXPECT_EQ(Box(1.0f)->GetHashCode(), 0x3F800000u);
    // Sequences: h * 16777619 ^ e, from 0x811C9DC5 on, in 64 bits.
    const uint64_t first = 0x811C9DC5ull * 16777619;
    EXPECT_EQ(Box(CG::vec2<int>{1, -1})->GetHashCode(), ((first ^ 1) * 16777619) ^ ~0ull);
    EXPECT_EQ(Box(CG::vec2<float>{1.9f, -1.9f})->GetHashCode(), ((first ^ 1) * 16777619) ^ ~0ull);
    EXPECT_EQ(Box(CG::vec2<double>{9223372036854775808.0, 0})->GetHashCode(), (first ^ (1ull << 63)) * 16777619);
    EXPECT_EQ(Box(zvcolor(1, 2, 3))->GetHashCode(), Box(CG::vec3<float>{1, 2, 3})->GetHashCode());
    EXPECT_EQ(Box(CG::rotation<float>{1, {2, 3, 4}})->GetHashCode(), Box(CG::vec4<double>{1, 2, 3, 4})->GetHashCode());
}

TEST(ZvPrimitive, EqualsWithNaN) {
    EXPECT_TRUE(Box(NaN)->Equals(Box(1.0f).Get()));
    EXPECT_TRUE(Box(1.0f)->Equals(Box(NaN).Get()));
    EXPECT_TRUE(Box(CG::vec2<double>{NaN, 2})->Equals(Box(CG::vec2<double>{1, 2}).Get()));
    EXPECT_FALSE(Box(CG::vec2<double>{NaN, 2})->Equals(Box(CG::vec2<double>{1, 3}).Get()));
    EXPECT_TRUE(Box(zvcolor(NaN))->Equals(Box(zvcolor(5)).Get()));
    EXPECT_TRUE(Box(0.0)->Equals(Box(-0.0).Get()));
}

TEST(ZvPrimitive, EqualsWantsTheSameKind) {
    const Box$<int> box = Box(1);
    EXPECT_TRUE(box->Equals(box.Get()));
    EXPECT_TRUE(box->Equals(Box(1).Get()));
    EXPECT_FALSE(box->Equals(Box(2).Get()));
    EXPECT_FALSE(box->Equals(nullptr));
    EXPECT_FALSE(box->Equals(Box(1ll).Get()));
    EXPECT_FALSE(box->Equals(Box(1u).Get()));
    EXPECT_TRUE(Box(CG::vec3<int>{1, 2, 3})->Equals(Box(CG::vec3<int>{1, 2, 3}).Get()));
    EXPECT_FALSE(Box(CG::vec3<int>{1, 2, 3})->Equals(Box(CG::vec3<int>{1, 2, 4}).Get()));
    EXPECT_TRUE(Box(true)->Equals(Box(true).Get()));
    EXPECT_FALSE(Box(true)->Equals(Box(false).Get()));
    const ZvObject$ one = new Counted, two = new Counted;
    EXPECT_TRUE(Box(one)->Equals(Box(one).Get()));
    EXPECT_FALSE(Box(one)->Equals(Box(two).Get()));
    EXPECT_TRUE(Box(one.Get())->Equals(Box(one.Get()).Get()));
    EXPECT_FALSE(Box(one.Get())->Equals(Box(one).Get()));
}

TEST(ZvPrimitive, CloneIsABoxOfItsOwn) {
    const Box$<CG::vec2<int>> box = Box(CG::vec2<int>{3, 4});
    const ZvValue$ clone = ZvObject$(box->Clone());
    EXPECT_NE(clone.Get(), box.Get());
    EXPECT_TRUE(clone->Equals(box.Get()));
    box->value.x = 9;
    EXPECT_FALSE(clone->Equals(box.Get()));
}

TEST(ZvPrimitive, IsCodedByTheOverloadOfItsType) {
    EXPECT_EQ(encoded::Of(*Box(1)), encoded::Written([](ZvStream$& s, ZvCoder* c) { c->Write(s, 1); }));
    EXPECT_EQ(encoded::Of(*Box('c')), encoded::Written([](ZvStream$& s, ZvCoder* c) { c->Write(s, 'c'); }));
    EXPECT_EQ(encoded::Of(*Box(1.5)), encoded::Written([](ZvStream$& s, ZvCoder* c) { c->Write(s, 1.5); }));
    EXPECT_EQ(encoded::Of(*Box(zvcolor(1, 2, 3))), encoded::Of(*Box(CG::vec3<float>{1, 2, 3})));
    for (const Row& row : Family()) {
        if (row.text == nullptr) continue;
        const ZvValue$ box = ZvObject$(row.type->CreateObject()), back = ZvObject$(row.type->CreateObject());
        encoded::ReadFrom(encoded::Of(*box), [&](ZvStream$& s, ZvCoder* c) { back->Decode(s, c); });
        EXPECT_TRUE(back->Equals(box.Get())) << row.name;
    }
    const Box$<CG::mat3<double>> matrix = Box(Read<CG::mat3<double>>("1 2 3 4 5 6 7 8 9.5"));
    ZvPrimitive<CG::mat3<double>> back;
    encoded::ReadFrom(encoded::Of(*matrix), [&](ZvStream$& s, ZvCoder* c) { back.Decode(s, c); });
    EXPECT_TRUE(back.Equals(matrix.Get()));
    // A reference is an object in the stream.
    const ZvObject$ text = new ZvString("held");
    const ZvHandle<ZvPrimitive<ZvObject$>, ZvValue$> held = Box(text);
    ZvPrimitive<ZvObject$> read;
    encoded::ReadFrom(encoded::Of(*held), [&](ZvStream$& s, ZvCoder* c) { read.Decode(s, c); });
    ASSERT_TRUE(read.value);
    EXPECT_TRUE(read.value->Equals(text.Get()));
}
