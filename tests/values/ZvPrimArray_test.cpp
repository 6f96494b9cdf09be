#include "zvc/values/ZvPrimArray.h"

#include "tests/values/EncodedBytes.h"
#include "zvc/core/ZvException.h"
#include "zvc/core/ZvSystem.h"
#include "zvc/values/ZvPrimitive.h"
#include "zvc/values/ZvString.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace {

template <class T>
using Array$ = ZvHandle<ZvPrimArray<T>, ZvArrayValue$>;
using ObjectArray = ZvPrimArray<ZvObject$>;

template <class T>
Array$<T> Make(std::vector<T> elements) {
    return new ZvPrimArray<T>(elements.size(), elements.data());
}

std::string Ints(const ZvPrimArray<int>& array) {
    std::string text;
    for (unsigned long long i = 0; i < array.Count(); ++i) text += std::to_string(array[i]) + " ";
    return text;
}

struct Row {
    const char* name;
    ZvType* type;
    const std::type_info* element;
    int number;
    size_t stride;
};

template <class T>
Row RowOf(const char* name, int number, size_t stride) {
    return {name, &ZvPrimArray<T>::s_type, &typeid(T), number, stride};
}

std::vector<Row> Family() {
    return {RowOf<bool>("ZvBoolArray", 1, 1),
            RowOf<unsigned char>("ZvByteArray", 3, 1),
            RowOf<char>("ZvSByteArray", 2, 1),
            RowOf<short>("ZvInt16Array", 7, 2),
            RowOf<unsigned short>("ZvUInt16Array", 11, 2),
            RowOf<int>("ZvInt32Array", 15, 4),
            RowOf<unsigned int>("ZvUInt32Array", 19, 4),
            RowOf<long long>("ZvInt64Array", 20, 8),
            RowOf<unsigned long long>("ZvUInt64Array", 21, 8),
            RowOf<float>("ZvFloatArray", 22, 4),
            RowOf<double>("ZvDoubleArray", 28, 8),
            RowOf<CG::vec2<int>>("ZvVec2iArray", 16, 8),
            RowOf<CG::vec2<float>>("ZvVec2fArray", 23, 8),
            RowOf<CG::vec2<double>>("ZvVec2dArray", 29, 16),
            RowOf<CG::vec3<int>>("ZvVec3iArray", 17, 12),
            RowOf<CG::vec3<float>>("ZvVec3fArray", 24, 12),
            RowOf<CG::vec3<double>>("ZvVec3dArray", 30, 24),
            RowOf<CG::vec4<int>>("ZvVec4iArray", 18, 16),
            RowOf<CG::vec4<float>>("ZvVec4fArray", 25, 16),
            RowOf<CG::vec4<double>>("ZvVec4dArray", 31, 32),
            RowOf<CG::mat3<float>>("ZvMat3fArray", 26, 36),
            RowOf<CG::mat3<double>>("ZvMat3dArray", 32, 72),
            RowOf<CG::mat4<float>>("ZvMat4fArray", 27, 64),
            RowOf<CG::mat4<double>>("ZvMat4dArray", 33, 128),
            RowOf<CG::rotation<float>>("ZvRotfArray", 38, 16),
            RowOf<CG::rotation<double>>("ZvRotdArray", 39, 32),
            RowOf<zvcolor>("ZvColorArray", 42, 12),
            RowOf<ZvObject$>("ZvObjectArray", 45, 8),
            RowOf<ZvObject*>("ZvObjectPtrArray", 46, 8)};
}

/// An object that tells when it goes.
class Watched : public ZvObject {
public:
    Watched(std::string& log, char mark) : m_log(log), m_mark(mark) {}
    ~Watched() override { m_log += m_mark; }

private:
    std::string& m_log;
    char m_mark;
};

/// Opens what is protected.
struct Open : ZvPrimArray<int> {
    using ZvPrimArray<int>::CreateBuffer;
};
struct OpenObjects : ObjectArray {
    using ObjectArray::CreateBuffer;
};

}

TEST(ZvPrimArray, EachInstanceIsRegisteredWithItsNameSchemaAndKind) {
    ASSERT_EQ(Family().size(), 29u);
    for (const Row& row : Family()) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(ZvSystem::FindType(row.name), row.type);
        EXPECT_STREQ(row.type->GetName()->CStr(), row.name);
        EXPECT_EQ(row.type->GetSchema(), 1u);
        EXPECT_EQ(row.type->GetClassSpec(), 6u);
        EXPECT_TRUE(row.type->HasCodec());
        EXPECT_TRUE(row.type->TypeID() == *row.element);
        EXPECT_EQ(ZvValue::FindArrayType(static_cast<ZvValueType>(row.number)), row.type);
        EXPECT_EQ(row.type->GetBaseType(), &ZvArrayValue::s_type);
        EXPECT_TRUE(row.type->IsDerivedFrom(&ZvValue::s_type));
    }
}

TEST(ZvPrimArray, ElementsStandWithTheStrideOfTheirSize) {
    for (const Row& row : Family()) {
        SCOPED_TRACE(row.name);
        ZvArrayValue$ empty = ZvObject$(row.type->CreateObject());
        ASSERT_TRUE(empty);
        EXPECT_EQ(empty->Count(), 0u);
        EXPECT_EQ(empty->GetType(), row.type);
    }
    EXPECT_EQ(sizeof(CG::vec3<float>), 12u);
    ZvPrimArray<CG::vec3<float>> points(2, nullptr);
    EXPECT_EQ(reinterpret_cast<char*>(&points[1]) - reinterpret_cast<char*>(&points[0]), 12);
    EXPECT_EQ(points.GetBaseAddress(), &points[0]);
    const auto& constant = points;
    EXPECT_EQ(constant.GetBaseAddress(), &points[0]);
}

TEST(ZvPrimArray, FindsTheArrayOfAnElementTypeByItsClassSpec) {
    EXPECT_EQ(ZvSystem::FindType(typeid(int), 6), &ZvPrimArray<int>::s_type);
    EXPECT_EQ(ZvSystem::FindType(typeid(ZvObject$), 6), &ObjectArray::s_type);
}

TEST(ZvPrimArray, DefaultArrayIsEmptyWithoutABuffer) {
    ZvPrimArray<int> array;
    EXPECT_EQ(array.Count(), 0u);
    EXPECT_EQ(array.GetBaseAddress(), nullptr);
    EXPECT_EQ(encoded::Of(array), "a000");
}

TEST(ZvPrimArray, FactoryMakesAnEmptyArray) {
    Array$<float> array = ZvObject$(ZvPrimArray<float>::CreateInstance());
    EXPECT_EQ(array->Count(), 0u);
    EXPECT_EQ(array->GetBaseAddress(), nullptr);
}

TEST(ZvPrimArray, SizedConstructorCopiesTheElements) {
    int source[3] = {4, 5, 6};
    ZvPrimArray<int> array(3, source);
    source[0] = 9;
    EXPECT_EQ(Ints(array), "4 5 6 ");
}

TEST(ZvPrimArray, SizedConstructorWithoutSourceMakesNullHandles) {
    ObjectArray array(3, nullptr);
    ASSERT_EQ(array.Count(), 3u);
    for (unsigned i = 0; i < 3; ++i) EXPECT_TRUE(!array[i]);
}

TEST(ZvPrimArray, CreateFromPtrCopiesTheElements) {
    double source[2] = {0.5, -2};
    Array$<double> array = ZvObject$(ZvPrimArray<double>::CreateFromPtr(source, 2));
    ASSERT_EQ(array->Count(), 2u);
    EXPECT_EQ((*array)[0], 0.5);
    EXPECT_EQ((*array)[1], -2);
}

TEST(ZvPrimArray, SetAtAndGetAtTouchOneElement) {
    ZvPrimArray<int> array(3, nullptr);
    for (int i = 0; i < 3; ++i) array.SetAt(i, 10 * i);
    array.SetAt(1, -7);
    EXPECT_EQ(array.GetAt(1), -7);
    EXPECT_EQ(Ints(array), "0 -7 20 ");
}

TEST(ZvPrimArray, CopyAndCloneHaveABufferOfTheirOwn) {
    double source[2] = {1.5, 2.5};
    Array$<double> array = new ZvPrimArray<double>(2, source);
    Array$<double> clone = ZvObject$(array->Clone());
    ZvPrimArray<double> copy(*array);
    (*array)[0] = 9;
    ASSERT_EQ(clone->Count(), 2u);
    EXPECT_EQ((*clone)[0], 1.5);
    EXPECT_EQ((*clone)[1], 2.5);
    EXPECT_EQ(copy[0], 1.5);
    EXPECT_NE(clone->GetBaseAddress(), array->GetBaseAddress());
}

TEST(ZvPrimArray, CopyOfAnEmptyArrayIsEmpty) {
    ZvPrimArray<int> empty;
    ZvPrimArray<int> copy(empty);
    EXPECT_EQ(copy.Count(), 0u);
}

TEST(ZvPrimArray, AssignmentSharesTheBuffer) {
    alignas(ZvPrimArray<int>) unsigned char place[sizeof(ZvPrimArray<int>)];
    auto* target = new (place) ZvPrimArray<int>;         // never destroyed: the source's destructor frees the buffer
    int source[2] = {1, 2};
    ZvPrimArray<int> array(2, source);
    *target = array;
    EXPECT_EQ(target->Count(), 2u);
    EXPECT_EQ(target->GetBaseAddress(), array.GetBaseAddress());
}

TEST(ZvPrimArray, CreateBufferReplacesTheElements) {
    Open ints;
    ints.CreateBuffer(5);
    EXPECT_EQ(ints.Count(), 5u);
    EXPECT_NE(ints.GetBaseAddress(), nullptr);

    std::string log;
    OpenObjects objects;
    objects.CreateBuffer(2);
    objects.SetAt(0, new Watched(log, 'a'));
    objects.CreateBuffer(3);
    EXPECT_EQ(log, "a");
    ASSERT_EQ(objects.Count(), 3u);
    for (unsigned i = 0; i < 3; ++i) EXPECT_TRUE(!objects[i]);
}

TEST(ZvPrimArray, OverflowingSizeFailsInsteadOfWrapping) {
    EXPECT_THROW(ZvPrimArray<double>(0x2000000000000001ull, nullptr), ZvBadAllocException);
    EXPECT_THROW(ObjectArray(0x2000000000000001ull, nullptr), ZvBadAllocException);
    Open array;
    array.CreateBuffer(2);
    array[0] = 5;
    EXPECT_THROW(array.CreateBuffer(0x4000000000000001ull), ZvBadAllocException);
    EXPECT_EQ(array.Count(), 2u);
    EXPECT_EQ(array[0], 5);
}

TEST(ZvPrimArray, HandlesAreReleasedInOrderByTheDestructor) {
    std::string log;
    {
        ObjectArray array(3, nullptr);
        array[2] = new Watched(log, 'c');
        array[0] = new Watched(log, 'a');
        array[1] = new Watched(log, 'b');
    }
    EXPECT_EQ(log, "abc");
}

TEST(ZvPrimArray, SetAtOfHandlesCounts) {
    ZvObject$ first = new ZvString("1");
    ZvObject$ second = new ZvString("2");
    ObjectArray array(1, nullptr);
    array.SetAt(0, first);
    EXPECT_EQ(first->ReferenceCount(), 2);
    array.SetAt(0, first);
    EXPECT_EQ(first->ReferenceCount(), 2);
    array.SetAt(0, second);
    EXPECT_EQ(first->ReferenceCount(), 1);
    EXPECT_EQ(second->ReferenceCount(), 2);
}

TEST(ZvPrimArray, HandlesGivenToTheSizedConstructorAreBorrowed) {
    ZvObject$ source[2] = {new ZvString("1"), new ZvString("2")};
    {
        ObjectArray array(2, source);
        EXPECT_EQ(source[0]->ReferenceCount(), 1);
        EXPECT_EQ(array[1].Get(), source[1].Get());
        for (const ZvObject$& o : source) o->Retain();           // the destructor releases each
    }
    EXPECT_EQ(source[0]->ReferenceCount(), 1);
    EXPECT_EQ(source[1]->ReferenceCount(), 1);
}

TEST(ZvPrimArray, CloneOfHandlesBorrowsToo) {
    ZvObject$ object = new ZvString("1");
    Array$<ZvObject$> array = new ObjectArray(1, nullptr);
    array->SetAt(0, object);
    Array$<ZvObject$> clone = ZvObject$(array->Clone());
    EXPECT_EQ(object->ReferenceCount(), 2);
    EXPECT_EQ((*clone)[0].Get(), object.Get());
    object->Retain();
    clone = nullptr;
    array = nullptr;
    EXPECT_EQ(object->ReferenceCount(), 1);
}

TEST(ZvPrimArray, PointersAreNeitherCountedNorFreed) {
    ZvObject$ object = new ZvString("1");
    {
        ZvObject* pointer = object.Get();
        ZvPrimArray<ZvObject*> array(1, &pointer);
        ZvPrimArray<ZvObject*> copy(array);
        array.SetAt(0, pointer);
        EXPECT_EQ(copy[0], pointer);
    }
    EXPECT_EQ(object->ReferenceCount(), 1);
}

TEST(ZvPrimArray, GetValueConvertsOneElement) {
    Array$<int> array = Make<int>({10, -20, 30});
    double value = 0;
    EXPECT_TRUE(array->GetValue(&value, ZvVtDouble, 1));
    EXPECT_EQ(value, -20.0);
}

TEST(ZvPrimArray, SetValueConvertsIntoOneElement) {
    Array$<int> array = Make<int>({10, -20, 30});
    const double value = -3.9;
    EXPECT_TRUE(array->SetValue(&value, ZvVtDouble, 1));
    EXPECT_EQ(Ints(*array), "10 -3 30 ");
}

TEST(ZvPrimArray, KindsOfAnotherShapeAreRefused) {
    CG::vec2<float> elements[1] = {{1, 2}};
    ZvPrimArray<CG::vec2<float>> array(1, elements);
    CG::vec3<float> other{7, 8, 9};
    EXPECT_FALSE(array.SetValue(&other, ZvVtVec3f, 0));
    EXPECT_FALSE(array.GetValue(&other, ZvVtVec3f, 0));
    EXPECT_EQ(array[0].x, 1);
    EXPECT_EQ(other.x, 7);
}

TEST(ZvPrimArray, ElementsTakeTheKindsOfTheirBox) {
    for (const Row& row : Family()) {
        SCOPED_TRACE(row.name);
        ZvArrayValue$ array;
        std::vector<unsigned char> zeros(row.stride);
        if (row.number == 45) {
            array = new ObjectArray(1, nullptr);
        } else {
            ZvArrayValue$ decoded = ZvObject$(row.type->CreateObject());
            std::string hex = "a001";
            if (row.number == 1) hex += "81";
            else if (row.number == 46) hex += "80";
            else if (row.number < 22) for (size_t i = 0; i < 4; ++i) hex += "a000";
            else hex += std::string(2 * row.stride, '0');
            encoded::Into(*decoded, hex);
            array = decoded;
        }
        ZvValue$ box = ZvObject$(ZvValue::FindType(static_cast<ZvValueType>(row.number))->CreateObject());
        for (int number = 0; number < 51; ++number) {
            alignas(16) unsigned char room[128] = {};
            const auto kind = static_cast<ZvValueType>(number);
            EXPECT_EQ(array->GetValue(room, kind, 0), box->GetValue(room, kind, 0)) << number;
            EXPECT_EQ(array->SetValue(room, kind, 0), box->SetValue(room, kind, 0)) << number;
        }
    }
}

TEST(ZvPrimArray, HandleElementsTakeReferencesAndCount) {
    ZvObject$ object = new ZvString("1");
    ObjectArray array(1, nullptr);
    EXPECT_TRUE(array.SetValue(&object, ZvVtObjectRef, 0));
    EXPECT_EQ(object->ReferenceCount(), 2);
    ZvObject$ target = new ZvString("old");
    EXPECT_TRUE(array.GetValue(&target, ZvVtObjectRef, 0));
    EXPECT_EQ(target.Get(), object.Get());
    EXPECT_EQ(object->ReferenceCount(), 3);
    ZvObject* pointer = nullptr;
    EXPECT_FALSE(array.GetValue(&pointer, ZvVtObjectPtr, 0));
    EXPECT_FALSE(array.SetValue(&pointer, ZvVtObjectPtr, 0));
}

TEST(ZvPrimArray, PointerElementsTakePointersAlone) {
    ZvObject$ object = new ZvString("1");
    ZvObject* pointer = object.Get();
    ZvPrimArray<ZvObject*> array(1, nullptr);
    EXPECT_TRUE(array.SetValue(&pointer, ZvVtObjectPtr, 0));
    ZvObject* target = nullptr;
    EXPECT_TRUE(array.GetValue(&target, ZvVtObjectPtr, 0));
    EXPECT_EQ(target, pointer);
    EXPECT_EQ(object->ReferenceCount(), 1);
    EXPECT_FALSE(array.GetValue(&object, ZvVtObjectRef, 0));
}

TEST(ZvPrimArray, EncodesTheCountAndEachElement) {
    EXPECT_EQ(encoded::Of(*Make<int>({1, -1, 1000})), "a003a001a3ffffffffa1e803");
    EXPECT_EQ(encoded::Of(*Make<float>({1, -2})), "a0020000803f000000c0");
    EXPECT_EQ(encoded::Of(*Make<unsigned char>({105, 20, 12})), "a003a069a014a00c");
    EXPECT_EQ(encoded::Of(*Make<long long>({5612118967667110242, -5312239323634548204, 7320981786009961090})),
              "a003a762b107817740e24da714c2e6087b2247b6a782823a6a255a9965");
    EXPECT_EQ(encoded::Of(*Make<CG::vec3<int>>({{116669940, 288, 21}, {1468904494, 222, 1084176890}})),
              "a002a3f43df406a12001a015a32eb48d57a0dea3fa399f40");
    const bool flags[2] = {false, true};
    EXPECT_EQ(encoded::Of(ZvPrimArray<bool>(2, flags)), "a0028182");
}

TEST(ZvPrimArray, EncodesNullObjectsAsTheirTag) {
    EXPECT_EQ(encoded::Of(ObjectArray(2, nullptr)), "a0028080");
    ZvObject* none = nullptr;
    EXPECT_EQ(encoded::Of(ZvPrimArray<ZvObject*>(1, &none)), "a00180");
}

TEST(ZvPrimArray, EncodesObjectsThroughTheCoder) {
    ObjectArray array(1, nullptr);
    array[0] = new ZvPrimitive<int>(5);
    // 84: an object; 87: its type with the name "ZvInt32", the module "ZVC" and the class spec 2, then the schema 1.
    const std::string hex = encoded::Of(array);
    EXPECT_EQ(hex.substr(0, 8), "a0018487");
    EXPECT_EQ(hex.substr(hex.size() - 4), "a005");
    ObjectArray read;
    encoded::Into(read, hex);
    ASSERT_EQ(read.Count(), 1u);
    int value = 0;
    ASSERT_TRUE(ZvValue$(read[0])->GetValue(&value, ZvVtInt32, 0));
    EXPECT_EQ(value, 5);
    EXPECT_EQ(read[0]->ReferenceCount(), 1);
}

TEST(ZvPrimArray, ColoursGoOutAsThreeFloatsEach) {
    const zvcolor colours[2] = {{1, 0, -2}, {0, 1, 0}};
    ZvPrimArray<zvcolor> array(2, colours);
    const std::string hex = "a0020000803f00000000000000c0000000000000803f00000000";
    EXPECT_EQ(encoded::Of(array), hex);
    encoded::OtherCoder coder;
    EXPECT_EQ(encoded::Written(coder, [&](ZvStream$& s, ZvCoder* c) { array.Encode(s, c); }), hex);
    EXPECT_EQ(coder.floatsWritten, 6);
    EXPECT_EQ(coder.coloursWritten, 0);
}

TEST(ZvPrimArray, OtherCodersSeeEveryElementAndNoRuns) {
    encoded::OtherCoder coder;
    Array$<float> array = Make<float>({1, 2, 3});
    encoded::Written(coder, [&](ZvStream$& s, ZvCoder* c) { array->Encode(s, c); });
    EXPECT_EQ(coder.floatsWritten, 3);
    EXPECT_EQ(coder.bulkWrites, 0);
}

TEST(ZvPrimArray, DecodeReplacesContentsAndLength) {
    Array$<int> array = Make<int>({7, 8});
    encoded::Into(*array, "a003a001a3ffffffffa1e803");
    EXPECT_EQ(Ints(*array), "1 -1 1000 ");
    encoded::Into(*array, "a001a02a");
    EXPECT_EQ(Ints(*array), "42 ");
    encoded::Into(*array, "a000");
    EXPECT_EQ(array->Count(), 0u);
}

TEST(ZvPrimArray, DecodeReleasesTheOldObjects) {
    std::string log;
    ObjectArray array(2, nullptr);
    array[0] = new Watched(log, 'a');
    array[1] = new Watched(log, 'b');
    encoded::Into(array, "a00180");
    EXPECT_EQ(log, "ab");
    ASSERT_EQ(array.Count(), 1u);
    EXPECT_TRUE(!array[0]);
}

TEST(ZvPrimArray, DecodeReadsEveryShape) {
    ZvPrimArray<CG::rotation<float>> rotations;
    encoded::Into(rotations, "a0010000803f000000000000000000000040");
    ASSERT_EQ(rotations.Count(), 1u);
    EXPECT_EQ(rotations[0].angle, 1);
    EXPECT_EQ(rotations[0].axis.z, 2);

    ZvPrimArray<bool> flags;
    encoded::Into(flags, "a003828182");
    ASSERT_EQ(flags.Count(), 3u);
    EXPECT_TRUE(flags[0]);
    EXPECT_FALSE(flags[1]);
    EXPECT_TRUE(flags[2]);

    ZvPrimArray<zvcolor> colours;
    encoded::Into(colours, "a0010000803f00000000000000c0");
    ASSERT_EQ(colours.Count(), 1u);
    EXPECT_EQ(colours[0].r, 1);
    EXPECT_EQ(colours[0].b, -2);

    ZvPrimArray<ZvObject*> pointers;
    encoded::Into(pointers, "a0028080");
    ASSERT_EQ(pointers.Count(), 2u);
    EXPECT_EQ(pointers[1], nullptr);
}

TEST(ZvPrimArray, LongArraysComeBackWhole) {
    std::vector<int> numbers(200'000);
    for (size_t i = 0; i < numbers.size(); ++i) numbers[i] = static_cast<int>(i * 2654435761u);
    Array$<int> array = Make<int>(numbers);
    encoded::ByteArray$ bytes = new ZvPrimArray<unsigned char>(2'000'000, nullptr);
    ZvStream$ out = new ZvMemoryStream(bytes);
    ZvHandle<ZvBinaryCoder, ZvObject$> coder = new ZvBinaryCoder(nullptr);
    array->Encode(out, coder.Get());

    for (const bool other : {false, true}) {
        SCOPED_TRACE(other);
        encoded::OtherCoder otherCoder;               // makes room step by step
        ZvCoder* reader = other ? static_cast<ZvCoder*>(&otherCoder) : coder.Get();
        ZvStream$ in = new ZvMemoryStream(bytes);
        ZvPrimArray<int> read;
        read.Decode(in, reader);
        ASSERT_EQ(read.Count(), numbers.size());
        EXPECT_EQ(std::memcmp(read.GetBaseAddress(), numbers.data(), numbers.size() * sizeof(int)), 0);
        EXPECT_EQ(in->Tellg(), out->Tellp());
        EXPECT_EQ(otherCoder.intsRead, other ? 200'000 : 0);
    }
}

TEST(ZvPrimArray, LongArraysOfObjectsComeBackWhole) {
    constexpr unsigned Count = 150'000;
    ZvObject$ shared = new ZvString("x");
    Array$<ZvObject$> array = new ObjectArray(Count, nullptr);
    (*array)[0] = (*array)[Count - 1] = shared;
    encoded::ByteArray$ bytes = new ZvPrimArray<unsigned char>(400'000, nullptr);
    ZvStream$ out = new ZvMemoryStream(bytes);
    ZvHandle<ZvBinaryCoder, ZvObject$> coder = new ZvBinaryCoder(new ZvStreamingContext(ZvStreamingContext::TrackObjects));
    array->Encode(out, coder.Get());

    ZvStream$ in = new ZvMemoryStream(bytes);
    ZvHandle<ZvBinaryCoder, ZvObject$> reader = new ZvBinaryCoder(new ZvStreamingContext(ZvStreamingContext::TrackObjects));
    Array$<ZvObject$> read = new ObjectArray;
    read->Decode(in, reader.Get());
    ASSERT_EQ(read->Count(), Count);
    ASSERT_TRUE((*read)[0]);
    EXPECT_EQ((*read)[0].Get(), (*read)[Count - 1].Get());
    EXPECT_TRUE((*read)[0]->Equals(shared.Get()));
    EXPECT_TRUE(!(*read)[1]);
}

TEST(ZvPrimArray, CountBeyondTheStreamRaisesAndKeepsTheArray) {
    Array$<int> array = Make<int>({7, 8});
    try {
        encoded::Into(*array, "a3ffffff7fa001a002");
        FAIL() << "nothing raised";
    } catch (const ZvCoderException& e) {
        EXPECT_EQ(e.cause, ZvCoderException::BadTag);
    }
    EXPECT_EQ(Ints(*array), "7 8 ");
}

TEST(ZvPrimArray, FailureAmongObjectsReleasesThoseThatCame) {
    Array$<ZvObject$> array = new ObjectArray(1, nullptr);
    ZvObject$ kept = new ZvString("kept");
    (*array)[0] = kept;
    ObjectArray one(1, nullptr);
    one[0] = new ZvString("came");
    std::string hex = encoded::Of(one);
    hex.replace(0, 4, "a002");                        // and then the stream ends
    EXPECT_THROW(encoded::Into(*array, hex), ZvCoderException);
    ASSERT_EQ(array->Count(), 1u);
    EXPECT_EQ((*array)[0].Get(), kept.Get());
}

TEST(ZvPrimArray, ElementsThatACoderLeavesAloneAreZero) {
    Array$<float> array = Make<float>({3});
    encoded::OtherCoder coder;
    coder.skipsFloats = true;
    ZvStream$ stream = encoded::StreamOf("a003");
    array->Decode(stream, &coder);
    ASSERT_EQ(array->Count(), 3u);
    for (unsigned i = 0; i < 3; ++i) EXPECT_EQ((*array)[i], 0.0f);
}

TEST(ZvPrimArray, HandlesOnArraysAreChecked) {
    ZvObject$ object = new ZvPrimArray<int>(1, nullptr);
    EXPECT_TRUE(Array$<int>(object));
    EXPECT_FALSE(Array$<float>(object));
    EXPECT_TRUE(ZvArrayValue$(object));
    EXPECT_FALSE(ZvArrayValue$(ZvObject$(new ZvPrimitive<int>(1))));
}
