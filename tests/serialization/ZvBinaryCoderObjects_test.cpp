// The conversation of a coder: which numbers it gives, what it leaves alone, and how an almost full stream ends it.

#include "support/Graph.h"
#include "support/Sanitizers.h"
#include "support/Temporary.h"

#include <functional>
#include <memory>

using namespace cases;

/// A bag whose bag side stands behind another interface.
class LateBag : public ZvObject, public ZvIEnumeratable, public ZvISerializable {
    ZV_DECLARE_CLASS(LateBag)
    ZV_DECLARE_TABLES()
public:
    LateBag() = default;
    explicit LateBag(const ZvObject$& o) {
        const ZvSerializationInfo$ info = o;
        const ZvHandle<ZvPrimitive<int>, ZvValue$> value = ZvObject$(info->GetValue(new ZvString("number")));
        number = value->value;
    }
    ZvIEnumerator$ GetEnumerator() const override { return {}; }
    ZvIEnumerator$ GetEnumerator() override { return {}; }
    void GetObjectData(ZvSerializationInfo$& info) override {
        info->SetValue(new ZvString("number"), new ZvPrimitive<int>(number));
        if (namesItself) info->SetValue(new ZvString("self"), new ZvPrimitive<ZvObject$>(ZvObject$(this)));
    }
    bool namesItself = false;
    int number = 0;
};
ZV_DECLARE_HANDLE(LateBag, ZvObject$);
ZV_DEFINE_CLASS(LateBag, (ZvObject, ZvIEnumeratable, ZvISerializable), ZV_TABLES)
ZV_FIELDS(LateBag)
ZV_METHODS(LateBag)
ZV_CONSTRUCTORS(LateBag, ZV_CONSTRUCTOR(ZvObject$))

namespace {

const std::string Int32 = "878f5a76496e7433328b5a5643a002a001";
const std::string String = "87905a76537472696e678b5a5643a002a301000080";
const std::string List = "87935a7641727261794c6973748b5a5643a001a301000080";
const std::string Empty = "878e47456d7074798b417070a001a000";           // "GEmpty" of "App", without fields
const std::string Info = "8798135a7653657269616c697a6174696f6e496e666f8b5a5643a001a301000080";

std::string Taken(const Memory& memory) { return ToHex(memory.Taken()); }

int CauseOf(const std::function<void()>& f) {
    try {
        f();
    } catch (const ZvCoderException& e) {
        return e.cause;
    }
    return 0;
}

/// What a stream over so few bytes holds and where its cursor stands after object was written behind before.
struct Cut {
    std::string bytes;
    long long cursor = 0;
    bool failed = false;
};

Cut WriteInto(size_t size, const ZvObject$& before, const ZvObject$& object) {
    Bytes array = new ZvPrimArray<unsigned char>(size, nullptr);
    std::memset(array->GetBaseAddress(), 0x2E, size);
    const ZvStream$ memory = new ZvMemoryStream(array);
    Memory away;
    ZvBinaryCoder$ coder = Coder(1);
    if (before) coder->Write(away.stream, before);
    ZvStream$ stream = memory;
    EXPECT_EQ(CauseOf([&] { coder->Write(stream, object); }), 0);
    return {ToHex(std::string(static_cast<const char*>(array->GetBaseAddress()), size)), memory->Tellp(), memory->Fail()};
}

}

// ---- numbers --------------------------------------------------------------------------------------------------------------

TEST(ZvBinaryCoderObjects, NumbersGoOnAcrossStreams) {
    Memory first, second;
    ZvBinaryCoder$ coder = Coder(1);
    const ZvObject$ object = new GEmpty, other = new GEmpty;
    coder->Write(first.stream, object);                  // the class has id 1, the object 2
    coder->Write(second.stream, other);                  // 3
    coder->Write(second.stream, object);
    coder->Write(first.stream, other);
    EXPECT_EQ(Taken(first), "84" + Empty + "ac03");
    EXPECT_EQ(Taken(second), "84a801ac02");
    Memory in(first.Taken()), more(second.Taken());
    ZvBinaryCoder$ reader = Coder(1);
    ZvObject$ a, b, c, d;
    reader->Read(in.stream, a);
    reader->Read(more.stream, b);
    reader->Read(more.stream, c);
    reader->Read(in.stream, d);
    EXPECT_TRUE(a == c);
    EXPECT_TRUE(b == d);
    EXPECT_FALSE(a == b);
}

TEST(ZvBinaryCoderObjects, BothDirectionsOfOneCoderNumberInOneSeries) {
    Memory out, in(FromHex("84" + Int32 + "a007" + "ac02" + "ac04"));
    ZvBinaryCoder$ coder = Coder(1);
    const ZvObject$ written = new GEmpty;
    coder->Write(out.stream, written);                   // 1 and 2
    ZvObject$ read, back, again;
    coder->Read(in.stream, read);                        // 3 and 4
    coder->Read(in.stream, back);
    coder->Read(in.stream, again);
    EXPECT_TRUE(back == written);
    EXPECT_TRUE(again == read);
    Memory more;
    coder->Write(more.stream, read);
    coder->Write(more.stream, ZvObject$(new ZvPrimitive<int>(8)));
    EXPECT_EQ(Taken(more), "ac0484a803a008");
}

TEST(ZvBinaryCoderObjects, NullHasNoNumberAndIsNeverReferredTo) {
    Memory out;
    ZvBinaryCoder$ coder = Coder(1);
    coder->Write(out.stream, ZvObject$());
    coder->Write(out.stream, ZvObject$());
    coder->Write(out.stream, ZvObject$(new GEmpty));
    coder->Write(out.stream, ZvObject$(&GEmpty::s_type));
    EXPECT_EQ(Taken(out), "808084" + Empty + "ac01");
}

TEST(ZvBinaryCoderObjects, NumbersStayWhenAnObjectFails) {
    Memory in(FromHex("84" + List + "a00185" + "84" + Int32 + "a007" + "ac02" + "ac04"));
    ZvBinaryCoder$ coder = Coder(1);
    ZvObject$ list, number, again;
    EXPECT_EQ(CauseOf([&] { coder->Read(in.stream, list); }), ZvCoderException::BadTag);
    EXPECT_TRUE(!list);
    coder->Read(in.stream, number);                      // 3 and 4: the list that failed has kept 1 and 2
    coder->Read(in.stream, list);
    coder->Read(in.stream, again);
    EXPECT_TRUE(ZvArrayList$(list));
    EXPECT_TRUE(again == number);
}

TEST(ZvBinaryCoderObjects, WhatHasANumberStaysAliveUntilTheCoderGoes) {
    for (const int state : {0, 1}) {
        Memory out, in(FromHex("84" + Empty));
        ZvBinaryCoder$ coder = Coder(state);
        const ZvObject$ written = new GEmpty;
        ZvObject$ read;
        coder->Write(out.stream, written);
        coder->Read(in.stream, read);
        EXPECT_EQ(written->ReferenceCount(), 1 + state);
        EXPECT_EQ(read->ReferenceCount(), 1 + state);
        coder = ZvBinaryCoder$();
        EXPECT_EQ(written->ReferenceCount(), 1);
        EXPECT_EQ(read->ReferenceCount(), 1);
    }
}

TEST(ZvBinaryCoderObjects, TrackingIsTheStateOneAndNoOtherBit) {
    const ZvObject$ object = new GEmpty;
    for (const int state : {0, 1, 2, 3, 4, 5, 8, 9, 13}) {
        Memory out;
        ZvBinaryCoder$ coder = Coder(state);
        coder->Write(out.stream, object);
        coder->Write(out.stream, object);
        EXPECT_EQ(Taken(out), "84" + Empty + (state == 1 ? "ac02" : "84a801")) << state;
    }
}

TEST(ZvBinaryCoderObjects, StateOfTheContextIsAskedForEachObject) {
    const ZvStreamingContext$ context = new ZvStreamingContext(static_cast<ZvStreamingContext::States>(0));
    ZvBinaryCoder$ coder = new ZvBinaryCoder(context);
    const ZvObject$ object = new GEmpty;
    Memory out;
    coder->Write(out.stream, object);
    *context = ZvStreamingContext(ZvStreamingContext::TrackObjects);
    coder->Write(out.stream, object);                    // id 2 from now on
    coder->Write(out.stream, object);
    EXPECT_EQ(Taken(out), "84" + Empty + "84a801" + "ac02");
}

// ---- content --------------------------------------------------------------------------------------------------------------

TEST(ZvBinaryCoderObjects, ObjectThatNobodyHoldsIsWrittenAndLeftAlone) {
    const std::unique_ptr<GEmpty> empty(new GEmpty);
    const std::unique_ptr<ZvPrimitive<int>> box(new ZvPrimitive<int>(7));
    const std::unique_ptr<LateBag> bag(new LateBag);
    bag->number = 3;
    for (ZvObject* object : {static_cast<ZvObject*>(empty.get()), static_cast<ZvObject*>(box.get()), static_cast<ZvObject*>(bag.get())}) {
        Memory out;
        Coder(0)->EncodeObject(out.stream, object);
        EXPECT_EQ(object->ReferenceCount(), 0);
    }
    EXPECT_EQ(bag->number, 3);
}

TEST(ZvBinaryCoderObjects, BagSideIsFoundBehindAnotherInterface) {
    LateBag$ bag = new LateBag;
    bag->number = 5;
    Memory out;
    Coder(0)->Write(out.stream, ZvObject$(bag));
    EXPECT_EQ(Taken(out), "84" "878f" + ToHex("LateBag") + "8b417070a001" "84" + Info + "a001" "84" + String + "8e" + ToHex("number") +
                          "84" + Int32 + "a005");
    Memory in(out.Taken());
    ZvObject$ read;
    Coder(0)->Read(in.stream, read);
    const LateBag$ back = read;
    ASSERT_TRUE(back);
    EXPECT_EQ(back->number, 5);
}

TEST(ZvBinaryCoderObjects, CycleThroughABagDoesNotEndEvenWhenItIsTracked) {
    SKIP_WHERE_CALLS_CANNOT_NEST_DEEPLY();
    LateBag$ bag = new LateBag;
    bag->namesItself = true;
    Memory out(16 << 20);
    try {
        Coder(1)->Write(out.stream, ZvObject$(bag));
        ADD_FAILURE() << "nothing raised";
    } catch (const ZvCoderException& e) {
        EXPECT_EQ(e.cause, ZvCoderException::StreamFailed);
        EXPECT_STREQ(e.function, "ZvBinaryCoder::EncodeObject");      // the stack's end, and not the stream's
    }
}

TEST(ZvBinaryCoderObjects, ReservedSymbolTagIsRefusedWhereverAnObjectStands) {
    const struct {
        const char* where;
        std::string bytes;
    } rows[] = {
        {"by itself", "85"},
        {"in a list", "84" + List + "a00185"},
        {"in a field", "84878d" + ToHex("GBase") + "8b417070a001a001" "84" + String + "8963" "8793" + ToHex("ZvObjectRef") + "8b5a5643a002a001" "85"},
        {"name of a field", "84878a" + ToHex("Pt") + "8b417070a001a00185"},
        {"in place of a bag", "84878c" + ToHex("GBag") + "8b417070a00185"},
        {"name in a bag", "84878c" + ToHex("GBag") + "8b417070a00184" + Info + "a00185"},
    };
    for (const auto& row : rows) {
        Memory in(FromHex(row.bytes) + std::string(8, '\0'));
        ZvObject$ o;
        EXPECT_EQ(CauseOf([&] { Coder(0)->Read(in.stream, o); }), ZvCoderException::BadTag) << row.where;
    }
}

TEST(ZvBinaryCoderObjects, InterfacePointerToAnObjectWithoutOneIsNull) {
    Memory in(FromHex("84" + Int32 + "a007" "80"));
    ZvBinaryCoder$ coder = Coder(0);
    const ZvObject$ list = new ZvArrayList;
    ZvInterface* pointer = ZvInterface::FromObject(list.Get());
    coder->Read(in.stream, pointer);
    EXPECT_EQ(pointer, nullptr);
    pointer = ZvInterface::FromObject(list.Get());
    coder->Read(in.stream, pointer);
    EXPECT_EQ(pointer, nullptr);
}

TEST(ZvBinaryCoderObjects, ReadingPullsInThePluginThatATypeLivesIn) {
    Memory in(FromHex("84" "878e" + ToHex("Gadget") + "94" + ToHex("plug_gadgets") + "a001" "a001" "84" + String + "8e" + ToHex("m_size") +
                      Int32 + "a02a"));
    ZvObject$ gadget;
    Coder(0)->Read(in.stream, gadget);
    ASSERT_TRUE(gadget);
    EXPECT_EQ(*gadget->ToString(), "gadget of 42");
    EXPECT_NE(ZvSystem::FindModule("plug_gadgets"), nullptr);
}

// ---- almost full streams --------------------------------------------------------------------------------------------------

// A tag and the bytes that belong to it are two transfers: the first may succeed where the second does not.
TEST(ZvBinaryCoderObjects, BackReferenceToAnObjectEndsInTheMiddleOfAnAlmostFullStream) {
    const ZvObject$ object = new GEmpty;
    const Cut fits = WriteInto(3, object, object);
    EXPECT_EQ(fits.bytes, "ac022e");
    EXPECT_EQ(fits.cursor, 2);
    EXPECT_FALSE(fits.failed);
    const Cut cut = WriteInto(2, object, object);
    EXPECT_EQ(cut.bytes, "ac02");
    EXPECT_EQ(cut.cursor, 1);
    EXPECT_TRUE(cut.failed);
    const Cut tag = WriteInto(1, object, object);        // the tag moved, and the id went into its place
    EXPECT_EQ(tag.bytes, "02");
    EXPECT_EQ(tag.cursor, 0);
    EXPECT_TRUE(tag.failed);
}

TEST(ZvBinaryCoderObjects, BackReferenceToATypeEndsInTheMiddleOfAnAlmostFullStream) {
    const ZvObject$ known = new GEmpty, other = new GEmpty;
    const Cut cut = WriteInto(3, known, other);
    EXPECT_EQ(cut.bytes, "84a801");
    EXPECT_EQ(cut.cursor, 2);
    EXPECT_TRUE(cut.failed);
}

TEST(ZvBinaryCoderObjects, LongStringEndsBehindItsTagOnAnAlmostFullStream) {
    Bytes array = new ZvPrimArray<unsigned char>(2, nullptr);
    const ZvStream$ memory = new ZvMemoryStream(array);
    ZvStream$ stream = memory;
    Coder(0)->Write(stream, ZvString("0123456789abcdef"));
    EXPECT_EQ(memory->Tellp(), 1);                       // of the tag alone
    EXPECT_TRUE(memory->Fail());
    EXPECT_EQ((*array)[0], 0x98);
    EXPECT_EQ((*array)[1], '0');                         // the length stood there, and the text after it
}

TEST(ZvBinaryCoderObjects, BytesBehindWhatIsWrittenStayAsTheyAre) {
    const struct {
        ZvObject$ object;
        std::string bytes;
    } rows[] = {
        {nullptr, "80"},
        {new GEmpty, "84" + Empty},
        {new ZvPrimitive<int>(5), "84" + Int32 + "a005"},
        {new ZvPrimitive<int>(1000), "84" + Int32 + "a1e803"},
        {new ZvPrimitive<int>(-1), "84" + Int32 + "a3ffffffff"},
        {new ZvString("ab"), "84" + String + "8a6162"},
        {new ZvString("0123456789abcdef"), "84" + String + "9810" + ToHex("0123456789abcdef")},
    };
    for (const auto& row : rows) {
        Bytes array = new ZvPrimArray<unsigned char>(100, nullptr);
        std::memset(array->GetBaseAddress(), 0xEE, 100);
        ZvStream$ stream = new ZvMemoryStream(array);
        stream->Seekp(10, ZvStream::Begin);
        Coder(0)->Write(stream, row.object);
        const std::string before(10, '\xEE'), bytes = FromHex(row.bytes);
        EXPECT_EQ(ToHex(std::string(static_cast<const char*>(array->GetBaseAddress()), 100)),
                  ToHex(before + bytes + std::string(90 - bytes.size(), '\xEE')));
    }
}

// ---- streams that have failed ---------------------------------------------------------------------------------------------

TEST(ZvBinaryCoderObjects, FailureOfBeforeShowsInTheFirstNumberThatIsChecked) {
    Memory out;
    out.stream->Seekp(0, ZvStream::End);                 // fails for good
    ASSERT_TRUE(out.stream->Fail());
    ZvBinaryCoder$ coder = Coder(1);
    const ZvObject$ object = new GEmpty;
    coder->Write(out.stream, ZvObject$());               // no number in it
    try {
        coder->Write(out.stream, object);
        ADD_FAILURE() << "nothing raised";
    } catch (const ZvCoderException& e) {
        EXPECT_EQ(e.cause, ZvCoderException::StreamFailed);
        EXPECT_STREQ(e.function, "ZvBinaryCoder::Write");
    }
    EXPECT_EQ(Taken(out), "80" "84878e" + ToHex("GEmpty") + "8b" + ToHex("App") + "a001");     // up to the class spec
}

TEST(ZvBinaryCoderObjects, TextThatDoesNotFitShowsInTheNextNumberThatIsChecked) {
    // Room for the tags and for the module's name, but not for the name of the type, whose transfer nobody asks about.
    Bytes array = new ZvPrimArray<unsigned char>(12, nullptr);
    ZvStream$ stream = new ZvMemoryStream(array);
    EXPECT_EQ(CauseOf([&] { Coder(0)->Write(stream, ZvObject$(new ZvArrayList)); }), ZvCoderException::StreamFailed);
    EXPECT_EQ(stream->Tellp(), 9);                       // 84 87 93, no name, 8B 'ZVC', A0 01
    EXPECT_EQ(ToHex(std::string(static_cast<const char*>(array->GetBaseAddress()), 9)), "8487938b5a5643a001");
}

TEST(ZvBinaryCoderObjects, FailureOfAFileLastsUntilTheNextTransfer) {
    const TemporaryFolder folder;
    const std::string path = folder.File("file");
    const ZvObject$ object = new GEmpty;
    {
        ZvStream$ file = new ZvFileStream(path.c_str(), ZvFile::Write, ZvFile::Create);
        char c;
        file->Read(&c, 1);                               // without the right to
        ASSERT_TRUE(file->Fail());
        ZvBinaryCoder$ coder = Coder(1);
        coder->Write(file, object);
        coder->Write(file, object);
        EXPECT_FALSE(file->Fail());
    }
    ZvStream$ file = new ZvFileStream(path.c_str(), ZvFile::Read, ZvFile::Open);
    file->Write("x", 1);
    ASSERT_TRUE(file->Fail());
    ZvBinaryCoder$ coder = Coder(1);
    ZvObject$ first, second;
    coder->Read(file, first);
    EXPECT_FALSE(file->Fail());
    file->Write("x", 1);
    ASSERT_TRUE(file->Fail());
    coder->Read(file, second);                           // a back reference, whose id is checked
    EXPECT_TRUE(first == second);
    EXPECT_FALSE(file->Fail());
}
