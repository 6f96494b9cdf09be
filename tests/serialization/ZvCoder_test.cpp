// The vocabulary of the coders: the places of its operations, what the composite values are made of, and how coding fails.

#include "support/Cases.h"
#include "support/RecordingCoder.h"
#include "support/Slots.h"

using namespace cases;

namespace {

template <class T>
std::string Written(const T& value) {
    ZvStream$ none;
    RecordingCoder coder;
    coder.Write(none, value);
    return coder.calls;
}

/// A composite that is read holds 1, 2, 3, ... in its elements' order, each of which was asked for.
template <class T>
void ExpectElements(char letter, int count) {
    std::string expected;
    for (int i = 1; i <= count; ++i) expected += letter + std::to_string(i) + ' ';
    ZvStream$ none;
    RecordingCoder coder;
    T value{};
    coder.Read(none, value);
    EXPECT_EQ(coder.calls, expected) << typeid(T).name();
    EXPECT_EQ(Written(value), expected) << typeid(T).name();
}

std::string Encoded(const std::function<void(ZvBinaryCoder&, ZvStream$&)>& write) {
    Memory out;
    const ZvBinaryCoder$ coder = Coder(0);
    write(*coder, out.stream);
    return ToHex(out.Taken());
}

}

TEST(ZvCoder, OperationsStandInTheirSlots) {
    constexpr size_t before = 12;                       // what every class has, in front of the first of its own
    EXPECT_EQ(SlotOf(&ZvCoder::SetChannel), before + 1);
    size_t order = before + 1;
#define NEXT_WRITE(...) EXPECT_EQ(SlotOf(static_cast<void (ZvCoder::*)(ZvStream$&, __VA_ARGS__)>(&ZvCoder::Write)), ++order) << #__VA_ARGS__
#define NEXT_READ(...) EXPECT_EQ(SlotOf(static_cast<void (ZvCoder::*)(ZvStream$&, __VA_ARGS__)>(&ZvCoder::Read)), ++order) << #__VA_ARGS__
    NEXT_WRITE(const zvcolor&);
    NEXT_WRITE(const CG::rotation<double>&);
    NEXT_WRITE(const CG::rotation<float>&);
    NEXT_WRITE(const CG::mat4<double>&);
    NEXT_WRITE(const CG::mat4<float>&);
    NEXT_WRITE(const CG::mat3<double>&);
    NEXT_WRITE(const CG::mat3<float>&);
    NEXT_WRITE(const CG::vec4<double>&);
    NEXT_WRITE(const CG::vec4<float>&);
    NEXT_WRITE(const CG::vec4<int>&);
    NEXT_WRITE(const CG::vec3<double>&);
    NEXT_WRITE(const CG::vec3<float>&);
    NEXT_WRITE(const CG::vec3<int>&);
    NEXT_WRITE(const CG::vec2<double>&);
    NEXT_WRITE(const CG::vec2<float>&);
    NEXT_WRITE(const CG::vec2<int>&);
    EXPECT_EQ(order, before + 17);
    NEXT_WRITE(const ZvInterface*);
    NEXT_WRITE(const ZvInterface$&);
    NEXT_WRITE(const ZvObject*);
    NEXT_WRITE(const ZvObject$&);
    NEXT_WRITE(const ZvString&);
    NEXT_WRITE(unsigned int, const double*);
    NEXT_WRITE(unsigned int, const float*);
    NEXT_WRITE(double);
    NEXT_WRITE(float);
    NEXT_WRITE(unsigned long long);
    NEXT_WRITE(long long);
    NEXT_WRITE(unsigned int);
    NEXT_WRITE(int);
    NEXT_WRITE(unsigned short);
    NEXT_WRITE(short);
    NEXT_WRITE(unsigned char);
    NEXT_WRITE(char);
    NEXT_WRITE(bool);
    NEXT_WRITE(const void*, unsigned long long);
    EXPECT_EQ(order, before + 36);
    NEXT_READ(zvcolor&);
    NEXT_READ(CG::rotation<double>&);
    NEXT_READ(CG::rotation<float>&);
    NEXT_READ(CG::mat4<double>&);
    NEXT_READ(CG::mat4<float>&);
    NEXT_READ(CG::mat3<double>&);
    NEXT_READ(CG::mat3<float>&);
    NEXT_READ(CG::vec4<double>&);
    NEXT_READ(CG::vec4<float>&);
    NEXT_READ(CG::vec4<int>&);
    NEXT_READ(CG::vec3<double>&);
    NEXT_READ(CG::vec3<float>&);
    NEXT_READ(CG::vec3<int>&);
    NEXT_READ(CG::vec2<double>&);
    NEXT_READ(CG::vec2<float>&);
    NEXT_READ(CG::vec2<int>&);
    EXPECT_EQ(order, before + 52);
    NEXT_READ(ZvInterface*&);
    NEXT_READ(ZvInterface$&);
    NEXT_READ(ZvObject*&);
    NEXT_READ(ZvObject$&);
    NEXT_READ(ZvString&);
    NEXT_READ(unsigned int, double*);
    NEXT_READ(unsigned int, float*);
    NEXT_READ(double&);
    NEXT_READ(float&);
    NEXT_READ(unsigned long long&);
    NEXT_READ(long long&);
    NEXT_READ(unsigned int&);
    NEXT_READ(int&);
    NEXT_READ(unsigned short&);
    NEXT_READ(short&);
    NEXT_READ(unsigned char&);
    NEXT_READ(char&);
    NEXT_READ(bool&);
    NEXT_READ(void*, unsigned long long);
    EXPECT_EQ(SlotOf(&ZvCoder::EncodeObject), before + 72);
    EXPECT_EQ(SlotOf(&ZvCoder::DecodeObject), before + 73);
#undef NEXT_WRITE
#undef NEXT_READ
}

TEST(ZvCoder, CompositesAreTheirElementsInStorageOrder) {
    ExpectElements<CG::vec2<int>>('i', 2);
    ExpectElements<CG::vec3<int>>('i', 3);
    ExpectElements<CG::vec4<int>>('i', 4);
    ExpectElements<CG::vec2<float>>('f', 2);
    ExpectElements<CG::vec3<float>>('f', 3);
    ExpectElements<CG::vec4<float>>('f', 4);
    ExpectElements<CG::vec2<double>>('d', 2);
    ExpectElements<CG::vec3<double>>('d', 3);
    ExpectElements<CG::vec4<double>>('d', 4);
    ExpectElements<zvcolor>('f', 3);
    ExpectElements<CG::mat3<float>>('f', 9);
    ExpectElements<CG::mat3<double>>('d', 9);
    ExpectElements<CG::mat4<float>>('f', 16);
    ExpectElements<CG::mat4<double>>('d', 16);
    ExpectElements<CG::rotation<float>>('f', 4);
    ExpectElements<CG::rotation<double>>('d', 4);
}

TEST(ZvCoder, MembersOfTheCompositesByName) {
    EXPECT_EQ(Written(CG::vec2<int>{1, 2}), "i1 i2 ");
    const CG::vec4<double> v{1, 2, 3, 4};
    EXPECT_EQ(v.x * 1000 + v.y * 100 + v.z * 10 + v.w, 1234);
    EXPECT_EQ(Written(v), "d1 d2 d3 d4 ");
    EXPECT_EQ(Written(zvcolor(1, 2, 3)), "f1 f2 f3 ");         // r, g, b
    ZvStream$ none;
    CG::rotation<double> r{};
    RecordingCoder coder;
    coder.Read(none, r);
    EXPECT_EQ(r.angle, 1);                                     // the angle, then the axis
    EXPECT_EQ(r.axis.x * 100 + r.axis.y * 10 + r.axis.z, 234);
}

TEST(ZvCoder, RotationIsFourFloats) {
    CG::rotation<float> rotation{};
    rotation.angle = 1.0f;
    rotation.axis = {0, 0, 1};
    const std::string four = Encoded([](ZvBinaryCoder& c, ZvStream$& s) {
        for (const float f : {1.0f, 0.0f, 0.0f, 1.0f}) c.Write(s, f);
    });
    EXPECT_EQ(Encoded([&](ZvBinaryCoder& c, ZvStream$& s) { c.Write(s, rotation); }), four);
}

TEST(ZvCoder, ColourAndVectorOfEqualComponentsAreTheSameBytes) {
    const std::string colour = Encoded([](ZvBinaryCoder& c, ZvStream$& s) { c.Write(s, zvcolor(0.25f, 0.5f, 2)); });
    EXPECT_EQ(Encoded([](ZvBinaryCoder& c, ZvStream$& s) { c.Write(s, CG::vec3<float>{0.25f, 0.5f, 2}); }), colour);
}

TEST(ZvCoder, ChannelIsNullUntilItIsSetAndCopiesCarryItAlong) {
    RecordingCoder coder;
    EXPECT_EQ(coder.Channel(), nullptr);
    auto* channel = reinterpret_cast<ZvChannel*>(0x1230);      // not counted, and not touched
    coder.SetChannel(channel);
    EXPECT_EQ(coder.Channel(), channel);
    const RecordingCoder copy(coder);
    EXPECT_EQ(copy.Channel(), channel);
    RecordingCoder assigned;
    assigned = coder;
    EXPECT_EQ(assigned.Channel(), channel);
    assigned.SetChannel(nullptr);
    EXPECT_EQ(assigned.Channel(), nullptr);
}

TEST(ZvCoder, StringsCodeThemselvesAsStringsAndPlainObjectsNotAtAll) {
    ZvStream$ none;
    RecordingCoder coder;
    ZvString text("written");
    text.Encode(none, &coder);
    EXPECT_EQ(coder.calls, "text:written");
    text.Decode(none, &coder);
    EXPECT_EQ(text, "read");
    coder.calls.clear();
    ZvObject object;
    object.Encode(none, &coder);
    object.Decode(none, &coder);
    EXPECT_EQ(coder.calls, "");
}

namespace {

/// Reads one number less than it writes.
class Forgetful : public ZvObject {
    ZV_DECLARE_CLASS(Forgetful)
    ZV_DECLARE_CREATE(Forgetful)
public:
    void Encode(ZvStream$& stream, ZvCoder* coder) const override {
        coder->Write(stream, 1);
        coder->Write(stream, 2);
    }
    void Decode(ZvStream$& stream, ZvCoder* coder) override {
        int first = 0;
        coder->Read(stream, first);
    }
};

}

ZV_DEFINE_CLASS(Forgetful, (ZvObject), .codec = true, .create = &Create)

TEST(ZvCoder, ReadingLessThanWasWrittenMisalignsTheStream) {
    Memory out;
    {
        const ZvBinaryCoder$ coder = Coder(0);
        coder->Write(out.stream, ZvObject$(new Forgetful));
        coder->Write(out.stream, ZvObject$(new ZvString("next")));
    }
    Memory in(out.Taken());
    const ZvBinaryCoder$ coder = Coder(0);
    ZvObject$ object;
    coder->Read(in.stream, object);
    EXPECT_TRUE(object->IsKindOf(&Forgetful::s_type));
    const long long position = in.stream->Tellg();
    try {
        coder->Read(in.stream, object);
        ADD_FAILURE() << "a number passed for an object";
    } catch (const ZvCoderException& e) {
        EXPECT_EQ(e.cause, ZvCoderException::BadTag);
        EXPECT_STREQ(e.function, "ZvBinaryCoder::DecodeObject");
    }
    EXPECT_EQ(in.stream->Tellg(), position + 1);               // where the failure left it: behind the tag
}

TEST(ZvCoder, CoderThatNeedsNoStreamIsGivenNone) {
    const auto decoded = [](ZvObject* object) -> ZvObject$ {
        const ZvObject$ o = object;
        ZvStream$ none;
        RecordingCoder coder;                     // gives a count of 1, and then 2, or null
        o->Decode(none, &coder);
        return o;
    };
    EXPECT_EQ(ZvArrayList$(decoded(new ZvArrayList))->Count(), 1u);
    EXPECT_EQ(ZvDictionary$(decoded(new ZvDictionary))->Count(), 1u);
    EXPECT_EQ(ZvHashSet$(decoded(new ZvHashSet))->Count(), 1u);
    EXPECT_EQ(ZvQueue$(decoded(new ZvQueue))->Count(), 1u);
    EXPECT_EQ(ZvStack$(decoded(new ZvStack))->Count(), 1u);
    EXPECT_TRUE(!ZvSerializationInfo$(decoded(new ZvSerializationInfo))->GetValue(new ZvString("a")));
    EXPECT_EQ(static_cast<ZvData*>(decoded(new ZvData).Get())->GetCount(), 1u);
    const ZvObject$ floats = decoded(new ZvPrimArray<float>(0, nullptr));
    EXPECT_EQ((*static_cast<ZvPrimArray<float>*>(floats.Get()))[0], 2.0f);
    const ZvObject$ numbers = decoded(new ZvVector<int>);
    EXPECT_EQ((*static_cast<ZvVector<int>*>(numbers.Get()))[0], 2);
}

TEST(ZvCoderException, NumbersOfTheCauses) {
    EXPECT_EQ(static_cast<int>(ZvCoderException::StreamFailed), 1);
    EXPECT_EQ(static_cast<int>(ZvCoderException::NotWritable), 2);
    EXPECT_EQ(static_cast<int>(ZvCoderException::NotReadable), 4);
    EXPECT_EQ(static_cast<int>(ZvCoderException::UnknownReference), 5);
    EXPECT_EQ(static_cast<int>(ZvCoderException::TypeUnavailable), 6);
    EXPECT_EQ(static_cast<int>(ZvCoderException::BadTag), 8);
    EXPECT_EQ(sizeof(ZvCoderException::Causes), 4u);
}

TEST(ZvCoderException, CloneCopiesAllFields) {
    static const char file[] = "file", function[] = "function";
    const ZvCoderException e(ZvCoderException::BadTag, file, function, 42, "message");
    const ZvObject$ clone = e.Clone();
    ASSERT_TRUE(clone->IsKindOf(&ZvCoderException::s_type));
    ASSERT_TRUE(clone->IsKindOf(&ZvException::s_type));
    auto* copy = static_cast<ZvCoderException*>(clone.Get());
    EXPECT_EQ(copy->cause, ZvCoderException::BadTag);
    EXPECT_EQ(copy->file, file);                               // static strings: the very pointers
    EXPECT_EQ(copy->function, function);
    EXPECT_EQ(copy->line, 42u);
    EXPECT_EQ(*copy->What(), "message");
}

TEST(ZvStreamingContext, NumbersOfTheStates) {
    EXPECT_EQ(static_cast<int>(ZvStreamingContext::TrackObjects), 1);
    EXPECT_EQ(static_cast<int>(ZvStreamingContext::MarshalChannel), 4);
    EXPECT_EQ(static_cast<int>(ZvStreamingContext::MarshalOther), 8);
}

TEST(ZvStreamingContext, CopiesCarryTheStateAlong) {
    const ZvString$ shared = new ZvString("shared");
    const auto isTracked = [&](ZvStreamingContext* context) {
        Memory out;
        const ZvBinaryCoder$ coder = new ZvBinaryCoder(context);
        coder->Write(out.stream, shared);
        const long long once = out.stream->Tellp();
        coder->Write(out.stream, shared);
        return out.stream->Tellp() - once < once / 2 && out.Taken().find("shared", 20) == out.Taken().rfind("shared");
    };
    const ZvStreamingContext tracking(ZvStreamingContext::TrackObjects);
    EXPECT_TRUE(isTracked(new ZvStreamingContext(tracking)));
    auto* assigned = new ZvStreamingContext(static_cast<ZvStreamingContext::States>(0));
    EXPECT_FALSE(isTracked(new ZvStreamingContext(*assigned)));
    *assigned = tracking;
    EXPECT_TRUE(isTracked(assigned));
}
