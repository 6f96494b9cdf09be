#include "zvc/values/ZvVector.h"

#include "tests/support/ShortMemory.h"
#include "tests/values/EncodedBytes.h"
#include "zvc/core/ZvException.h"
#include "zvc/core/ZvSystem.h"
#include "zvc/values/ZvPrimArray.h"
#include "zvc/values/ZvPrimitive.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <utility>
#include <vector>

namespace {

using Ints = ZvVector<int>;

std::string Text(const Ints& v) {
    std::string text;
    for (unsigned long long i = 0; i < v.Count(); ++i) text += std::to_string(v[i]) + " ";
    return text;
}

Ints Counting(int count) {
    Ints v;
    for (int i = 0; i < count; ++i) v.Add(i);
    return v;
}

struct Row {
    const char* name;
    ZvType* type;
    const std::type_info* instance;
    const std::type_info* element;
    unsigned int classSpec;
    const std::type_info& (*typeId)(const ZvObject*);
};

template <class T>
Row RowOf(const char* name, unsigned int classSpec) {
    return {name, &ZvVector<T>::s_type, &typeid(ZvVector<T>), &typeid(T), classSpec,
            [](const ZvObject* o) -> const std::type_info& { return static_cast<const ZvVector<T>*>(o)->TypeID(); }};
}

std::vector<Row> Family() {
    return {RowOf<unsigned char>("ZvByteVector", 1),
            RowOf<char>("ZvSByteVector", 1),
            RowOf<short>("ZvShortVector", 1),
            RowOf<unsigned short>("ZvUShortVector", 1),
            RowOf<int>("ZvIntVector", 1),
            RowOf<unsigned int>("ZvUIntVector", 1),
            RowOf<long long>("ZvLongVector", 1),
            RowOf<unsigned long long>("ZvULongVector", 6),
            RowOf<float>("ZvFloatVector", 1),
            RowOf<double>("ZvDoubleVector", 6),
            RowOf<CG::vec2<int>>("ZvVec2iVector", 1),
            RowOf<CG::vec2<float>>("ZvVec2fVector", 6),
            RowOf<CG::vec2<double>>("ZvVec2dVector", 1),
            RowOf<CG::vec3<int>>("ZvVec3iVector", 1),
            RowOf<CG::vec3<float>>("ZvVec3fVector", 6),
            RowOf<CG::vec3<double>>("ZvVec3dVector", 1),
            RowOf<CG::vec4<int>>("ZvVec4iVector", 1),
            RowOf<CG::vec4<float>>("ZvVec4fVector", 1),
            RowOf<CG::vec4<double>>("ZvVec4dVector", 1)};
}

}

TEST(ZvVector, EachInstanceIsRegisteredWithItsNameSchemaAndKind) {
    ASSERT_EQ(Family().size(), 19u);
    for (const Row& row : Family()) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(ZvSystem::FindType(row.name), row.type);
        EXPECT_EQ(row.type->GetSchema(), 1u);
        EXPECT_EQ(row.type->GetClassSpec(), row.classSpec);
        EXPECT_TRUE(row.type->HasCodec());
        EXPECT_TRUE(row.type->TypeID() == *row.instance);
        EXPECT_EQ(row.type->GetBaseType(), &ZvVectorValue::s_type);
        EXPECT_TRUE(row.type->IsDerivedFrom(&ZvValue::s_type));
        ZvValue$ made = ZvObject$(row.type->CreateObject());
        ASSERT_TRUE(made);
        EXPECT_EQ(made->Count(), 0u);
        EXPECT_EQ(made->GetType(), row.type);
        EXPECT_TRUE(row.typeId(made.Get()) == *row.element);
        EXPECT_EQ(encoded::Of(*made), "a000");
    }
}

TEST(ZvVector, NoVectorOfOtherElements) {
    for (const char* name : {"ZvBoolVector", "ZvColorVector", "ZvMat3fVector", "ZvRotfVector", "ZvObjectVector"})
        EXPECT_EQ(ZvSystem::FindType(name), nullptr) << name;
}

TEST(ZvVector, NewVectorIsEmptyWithoutCapacity) {
    Ints v;
    EXPECT_EQ(v.Count(), 0u);
    EXPECT_EQ(v.Capacity(), 0u);
}

TEST(ZvVector, AddingGrowsByHalf) {
    const std::vector<std::pair<int, unsigned>> expected = {{0, 0},   {1, 1},   {2, 2},   {3, 3},   {4, 4},   {5, 6},
                                                            {7, 9},   {10, 13}, {14, 19}, {15, 19}, {20, 28}};
    for (const auto& [adds, capacity] : expected) EXPECT_EQ(Counting(adds).Capacity(), capacity) << adds << " adds";
    EXPECT_EQ(Text(Counting(5)), "0 1 2 3 4 ");
}

TEST(ZvVector, ConstructorFromElementsReservesExactly) {
    const int source[3] = {4, 5, 6};
    Ints v(3, source);
    EXPECT_EQ(Text(v), "4 5 6 ");
    EXPECT_EQ(v.Capacity(), 3u);
}

TEST(ZvVector, ConstructorFromOneValueRepeatsIt) {
    Ints v(4, 7);
    EXPECT_EQ(Text(v), "7 7 7 7 ");
}

TEST(ZvVector, CopiesAreDeep) {
    Ints v = Counting(3);
    Ints copy(v);
    Ints assigned;
    assigned = v;
    ZvHandle<Ints, ZvValue$> clone = ZvObject$(v.Clone());
    v[0] = 99;
    EXPECT_EQ(Text(copy), "0 1 2 ");
    EXPECT_EQ(Text(assigned), "0 1 2 ");
    EXPECT_EQ(Text(*clone), "0 1 2 ");
}

TEST(ZvVector, AssignmentKeepsABufferThatIsLargeEnough) {
    Ints v = Counting(5);
    const int* buffer = &v[0];
    v = Counting(2);                     // moved: another buffer
    EXPECT_NE(&v[0], buffer);
    Ints target = Counting(5);
    buffer = &target[0];
    target = static_cast<const Ints&>(v);
    EXPECT_EQ(&target[0], buffer);
    EXPECT_EQ(Text(target), "0 1 ");
    EXPECT_EQ(target.Capacity(), 6u);
    target = Ints();
    EXPECT_EQ(target.Count(), 0u);
}

TEST(ZvVector, AssignmentThatFindsNoMemoryLeavesTheVectorAsItWas) {
    if (!MemoryCanRunShort) GTEST_SKIP() << "the allocator does not give null";
    Ints v = Counting(3);
    const Ints large((64 << 20) / sizeof(int), 7);      // no arena has that in store
    EXPECT_TRUE(HoldsWithShortMemory([&] {
        try {
            v = large;
        } catch (const ZvBadAllocException&) {
            return Text(v) == "0 1 2 ";
        }
        return false;
    }));
}

TEST(ZvVector, AssignmentToItselfDoesNothing) {
    Ints v = Counting(3);
    const Ints& same = v;
    v = same;
    EXPECT_EQ(Text(v), "0 1 2 ");
    v = std::move(const_cast<Ints&>(same));
    EXPECT_EQ(Text(v), "0 1 2 ");
}

TEST(ZvVector, MovesTakeTheBuffer) {
    Ints v = Counting(3);
    const int* buffer = &v[0];
    Ints moved(std::move(v));
    EXPECT_EQ(&moved[0], buffer);
    EXPECT_EQ(v.Count(), 0u);
    EXPECT_EQ(v.Capacity(), 0u);
    Ints target = Counting(1);
    target = std::move(moved);
    EXPECT_EQ(&target[0], buffer);
    EXPECT_EQ(moved.Count(), 0u);
}

TEST(ZvVector, InsertMovesTheTailUp) {
    Ints v = Counting(5);
    v.Insert(0, 99);
    EXPECT_EQ(Text(v), "99 0 1 2 3 4 ");
    EXPECT_EQ(v.Capacity(), 6u);
    v.Insert(3, 50);
    EXPECT_EQ(Text(v), "99 0 1 50 2 3 4 ");
    EXPECT_EQ(v.Capacity(), 9u);
    v.Insert(v.Count(), 77);
    EXPECT_EQ(Text(v), "99 0 1 50 2 3 4 77 ");
    Ints empty;
    empty.Insert(0, 1);
    EXPECT_EQ(Text(empty), "1 ");
}

TEST(ZvVector, InsertOfAnOwnElementInsertsItsValue) {
    Ints v = Counting(5);                // room for one more
    v.Insert(1, v[4]);
    EXPECT_EQ(Text(v), "0 4 1 2 3 4 ");
    v.Insert(0, v[5]);                   // and now there is none
    EXPECT_EQ(Text(v), "4 0 4 1 2 3 4 ");
}

TEST(ZvVector, AddOfAnOwnElementToAFullVectorAppendsTheRightValue) {
    Ints v = Counting(3);
    ASSERT_EQ(v.Capacity(), v.Count());
    v[0] = 42;
    v.Add(v[0]);
    EXPECT_EQ(Text(v), "42 1 2 42 ");
}

TEST(ZvVector, RemoveMovesTheTailDown) {
    Ints v = Counting(6);
    v.Remove(1);
    EXPECT_EQ(Text(v), "0 2 3 4 5 ");
    v.Remove(1, 3);
    EXPECT_EQ(Text(v), "0 4 5 ");
    v.Remove(1, 3);
    EXPECT_EQ(Text(v), "0 ");
    EXPECT_EQ(v.Capacity(), 6u);
}

TEST(ZvVector, RemoveOfAllKeepsTheCapacity) {
    Ints v = Counting(5);
    v.Remove(0, v.Count());
    EXPECT_EQ(v.Count(), 0u);
    EXPECT_EQ(v.Capacity(), 6u);
    Ints empty;
    empty.Remove(0, 0);
    EXPECT_EQ(empty.Count(), 0u);
}

TEST(ZvVector, RemoveOfAnEmptyRangeChangesNothing) {
    Ints v = Counting(5);
    v.Remove(2, 2);
    EXPECT_EQ(Text(v), "0 1 2 3 4 ");
}

TEST(ZvVector, ResizeDownKeepsTheBuffer) {
    Ints v = Counting(5);
    const int* buffer = &v[0];
    v.Resize(2);
    EXPECT_EQ(Text(v), "0 1 ");
    v.Resize(0);
    EXPECT_EQ(v.Count(), 0u);
    EXPECT_EQ(v.Capacity(), 6u);
    v.Add(9);
    EXPECT_EQ(&v[0], buffer);
}

TEST(ZvVector, ResizeUpFillsWithZeroBytes) {
    Ints v = Counting(3);
    v.Resize(5);
    EXPECT_EQ(Text(v), "0 1 2 0 0 ");
    v[4] = 8;
    v.Resize(4);
    v.Resize(5);
    EXPECT_EQ(Text(v), "0 1 2 0 0 ");
    ZvVector<CG::vec3<float>> points;
    points.Resize(2);
    EXPECT_EQ(points[1].z, 0.0f);
}

TEST(ZvVector, ResizeGrowsByHalfOrToTheNeededSize) {
    Ints v(10, 1);
    v.Resize(12);
    EXPECT_EQ(v.Capacity(), 15u);
    v.Resize(40);
    EXPECT_EQ(v.Capacity(), 40u);
}

TEST(ZvVector, ReserveAllocatesExactly) {
    Ints v = Counting(2);
    v.Reserve(7);
    EXPECT_EQ(v.Capacity(), 7u);
    EXPECT_EQ(Text(v), "0 1 ");
    v.Reserve(3);
    EXPECT_EQ(v.Capacity(), 7u);
}

TEST(ZvVector, ElevenAddsBehindAReserveOfTenGiveFifteen) {
    Ints v;
    v.Reserve(10);
    for (int i = 0; i < 11; ++i) v.Add(i);
    EXPECT_EQ(v.Capacity(), 15u);
}

TEST(ZvVector, TooManyElementsRaiseALengthError) {
    Ints v = Counting(2);
    for (const bool reserve : {false, true}) {
        try {
            if (reserve)
                v.Reserve(0x4000000000000000);
            else
                v.Resize(0x4000000000000000);
            FAIL() << "nothing raised";
        } catch (const std::length_error& e) {
            EXPECT_STREQ(e.what(), "vector<T> too long");
        }
    }
    EXPECT_EQ(Text(v), "0 1 ");
    EXPECT_THROW(Ints(0x4000000000000000, 1), std::length_error);
    EXPECT_THROW(ZvVector<CG::vec4<double>>().Reserve(0x0800000000000000), std::length_error);
}

TEST(ZvVector, TheLargestSizeIsLeftToTheAllocator) {
    Ints v = Counting(2);
    EXPECT_THROW(v.Reserve(0x3FFFFFFFFFFFFFFF), ZvBadAllocException);
    EXPECT_THROW(ZvVector<char>().Reserve(~0ull), ZvBadAllocException);
    EXPECT_EQ(Text(v), "0 1 ");
}

TEST(ZvVector, SetValueAndGetValueConvertOneElement) {
    Ints v = Counting(3);
    const double value = -3.9;
    EXPECT_TRUE(v.SetValue(&value, ZvVtDouble, 1));
    EXPECT_EQ(Text(v), "0 -3 2 ");
    float out = 0;
    EXPECT_TRUE(v.GetValue(&out, ZvVtFloat, 1));
    EXPECT_EQ(out, -3.0f);
    EXPECT_FALSE(v.SetValue(&value, ZvVtVec2f, 0));
    EXPECT_FALSE(v.GetValue(&out, ZvVtInterface, 0));
    EXPECT_EQ(v.Count(), 3u);
}

TEST(ZvVector, SetValueTakesAVectorOfTheSameTypeAlone) {
    Ints v = Counting(3);
    EXPECT_TRUE(v.SetValue(Counting(5)));
    EXPECT_EQ(Text(v), "0 1 2 3 4 ");
    EXPECT_FALSE(v.SetValue(ZvVector<unsigned int>(2, 1u)));
    EXPECT_FALSE(v.SetValue(ZvPrimitive<int>(1)));
    EXPECT_FALSE(v.SetValue(ZvPrimArray<int>(1, nullptr)));
    EXPECT_EQ(Text(v), "0 1 2 3 4 ");
    ZvVector<double> doubles(1, 0.5);
    EXPECT_FALSE(doubles.SetValue(ZvVector<float>(3, 1.0f)));
    ASSERT_EQ(doubles.Count(), 1u);
    EXPECT_EQ(doubles[0], 0.5);
}

TEST(ZvVector, SetValueWithOnePointerDoesNothing) {
    Ints v = Counting(2);
    const int other = 9;
    v.SetValue(&other);
    v.SetValue(static_cast<const void*>(nullptr));
    EXPECT_EQ(Text(v), "0 1 ");
}

TEST(ZvVector, GetValueCopiesAllElements) {
    Ints v = Counting(3);
    int target[4] = {9, 9, 9, 9};
    v.GetValue(target);
    EXPECT_EQ(target[2], 2);
    EXPECT_EQ(target[3], 9);
    Ints().GetValue(target);
    EXPECT_EQ(target[0], 0);
}

TEST(ZvVector, WritesTheBytesOfAnArray) {
    Ints v;
    for (int i : {1, -1, 1000}) v.Add(i);
    EXPECT_EQ(encoded::Of(v), "a003a001a3ffffffffa1e803");
    EXPECT_EQ(encoded::Of(ZvVector<float>(1, -2.0f)), "a001000000c0");
    EXPECT_EQ(encoded::Of(ZvVector<unsigned char>(2, static_cast<unsigned char>(105))), "a002a069a069");
    EXPECT_EQ(encoded::Of(ZvVector<CG::vec2<int>>(1, CG::vec2<int>{288, 21})), "a001a12001a015");
}

TEST(ZvVector, DecodeAppends) {
    Ints v = Counting(2);
    encoded::Into(v, "a003a001a3ffffffffa1e803");
    EXPECT_EQ(Text(v), "0 1 1 -1 1000 ");
}

TEST(ZvVector, DecodeMakesTheCapacityTheCountAndAddsSingly) {
    const struct {
        int before;
        const char* hex;
        unsigned capacity;
    } cases[] = {
        {0, "a003a001a002a003", 3},
        {1, "a000", 1},
        {2, "a003a001a002a003", 6},                      // 3, and from there 4 and 6
        {5, "a001a001", 6},                              // there was room
        {5, "a002a001a002", 9},                          // 6 is enough for the count, and is then passed
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(c.before) + " " + c.hex);
        Ints v = Counting(c.before);
        encoded::Into(v, c.hex);
        EXPECT_EQ(v.Capacity(), c.capacity);

        Ints other = Counting(c.before);                 // and through a coder that sees every element
        encoded::OtherCoder coder;
        ZvStream$ stream = encoded::StreamOf(c.hex);
        other.Decode(stream, &coder);
        EXPECT_EQ(other.Capacity(), c.capacity);
        EXPECT_EQ(Text(other), Text(v));
    }
}

TEST(ZvVector, LongVectorsComeBackWhole) {
    Ints v;
    for (int i = 0; i < 200'000; ++i) v.Add(i * 7919);
    encoded::ByteArray$ bytes = new ZvPrimArray<unsigned char>(2'000'000, nullptr);
    ZvStream$ out = new ZvMemoryStream(bytes);
    ZvHandle<ZvBinaryCoder, ZvObject$> coder = new ZvBinaryCoder(nullptr);
    v.Encode(out, coder.Get());
    for (const bool other : {false, true}) {
        SCOPED_TRACE(other);
        encoded::OtherCoder otherCoder;
        ZvCoder* reader = other ? static_cast<ZvCoder*>(&otherCoder) : coder.Get();
        ZvStream$ in = new ZvMemoryStream(bytes);
        Ints read;
        read.Decode(in, reader);
        ASSERT_EQ(read.Count(), 200'000u);
        EXPECT_EQ(read.Capacity(), 200'000u);
        bool same = true;
        for (unsigned i = 0; i < 200'000; ++i) same = same && read[i] == v[i];
        EXPECT_TRUE(same);
    }
}

TEST(ZvVector, CountBeyondTheStreamRaisesAndTakesNoMemoryForIt) {
    Ints v = Counting(2);
    try {
        encoded::Into(v, "a3ffffff7fa001a002");
        FAIL() << "nothing raised";
    } catch (const ZvCoderException& e) {
        EXPECT_EQ(e.cause, ZvCoderException::BadTag);
    }
    EXPECT_EQ(Text(v), "0 1 1 2 ");
    EXPECT_LT(v.Capacity(), 100'000u);
}

TEST(ZvVector, ADecodeThatFailsHasAddedWhatCameBeforeAndReservedTheCount) {
    const struct {
        int before;
        const char* hex;
        const char* text;
        unsigned capacity;
    } cases[] = {
        {2, "84", "0 1 ", 2},                                            // the count itself is no number
        {1, "a005" "a007" "a008" "a009" "84", "0 7 8 9 ", 5},            // the fourth of five
        {2, "a003" "84", "0 1 ", 3},
        {2, "a003" "a007" "84", "0 1 7 ", 3},                            // all three would have made it 6
        {5, "a002" "a007" "84", "0 1 2 3 4 7 ", 6},
    };
    for (const auto& c : cases)
        for (const bool other : {false, true}) {
            SCOPED_TRACE(std::string(c.hex) + (other ? " by another coder" : ""));
            Ints v = Counting(c.before);
            encoded::OtherCoder otherCoder;
            ZvHandle<ZvBinaryCoder, ZvObject$> own = new ZvBinaryCoder(nullptr);
            ZvStream$ stream = encoded::StreamOf(c.hex);
            EXPECT_THROW(v.Decode(stream, other ? static_cast<ZvCoder*>(&otherCoder) : own.Get()), ZvCoderException);
            EXPECT_EQ(Text(v), c.text);
            EXPECT_EQ(v.Capacity(), c.capacity);
            v.Add(99);
            EXPECT_EQ(Text(v), c.text + std::string("99 "));
        }
}
