// What the binary coder leaves in a stream that is almost full, and what it makes of one that ends too early or has failed
// before.

#include "support/Graph.h"
#include "support/OtherStream.h"

#include <filesystem>

#include <unistd.h>

using namespace cases;

namespace {

/// A memory stream over few bytes, of which the last is never passed. Taken gives the bytes in front of the cursor.
class Narrow : public Memory {
public:
    explicit Narrow(size_t size) : Memory(size) {}
};

template <class F>
void ExpectStreamFailed(const char* function, F f) {
    try {
        f();
        ADD_FAILURE() << "nothing raised";
    } catch (const ZvCoderException& e) {
        EXPECT_EQ(e.cause, ZvCoderException::StreamFailed);
        EXPECT_STREQ(e.function, function);
        EXPECT_STREQ(e.file, "ZvBinaryCoder");
        EXPECT_GT(e.line, 0u);
    }
}

/// A coder that has written object once, so that its type is known.
ZvBinaryCoder$ CoderThatKnows(int state, const ZvObject$& object) {
    ZvBinaryCoder$ coder = Coder(state);
    Memory out;
    coder->Write(out.stream, object);
    return coder;
}

class TemporaryFile {
public:
    TemporaryFile() : m_path(std::filesystem::temp_directory_path() / ("coder_streams_" + std::to_string(getpid()))) {}
    ~TemporaryFile() { std::filesystem::remove(m_path); }
    ZvStream$ Open(ZvFile::Access access, ZvFile::Mode mode) const { return new ZvFileStream(m_path.c_str(), access, mode); }

private:
    std::filesystem::path m_path;
};

}

// ---- a memory stream that is almost full: the tag goes first, and by itself ------------------------------------------------

TEST(CoderStreams, TagOfALongStringStaysWhereItsLengthDoesNotFit) {
    Narrow out(3);
    Coder(0)->Write(out.stream, ZvString(std::string(300, 'x').c_str()));
    EXPECT_EQ(ToHex(out.Taken()), "99");
    EXPECT_TRUE(out.stream->Fail());
}

TEST(CoderStreams, TagOfAnIntegerStaysWhereItsBytesDoNotFit) {
    Narrow out(3);
    Coder(0)->Write(out.stream, 0x123456ull);
    EXPECT_EQ(ToHex(out.Taken()), "a2");
    EXPECT_TRUE(out.stream->Fail());
}

TEST(CoderStreams, TagOfATypesReferenceStaysWhereItsIdDoesNotFit) {
    const ZvObject$ box = new ZvPrimitive<float>(1.0f);
    ZvBinaryCoder$ coder = CoderThatKnows(0, box);
    Narrow out(3);
    coder->Write(out.stream, box);
    EXPECT_EQ(ToHex(out.Taken()), "84a8");
    EXPECT_TRUE(out.stream->Fail());
}

TEST(CoderStreams, TagOfAnObjectsReferenceStaysWhereItsIdDoesNotFit) {
    const ZvObject$ box = new ZvPrimitive<float>(1.0f);
    ZvBinaryCoder$ coder = CoderThatKnows(ZvStreamingContext::TrackObjects, box);
    Narrow out(2);
    coder->Write(out.stream, box);
    EXPECT_EQ(ToHex(out.Taken()), "ac");
    EXPECT_TRUE(out.stream->Fail());
}

// ---- a memory stream that is written in its middle ----------------------------------------------------------------------

TEST(CoderStreams, BytesBehindWhatIsWrittenStay) {
    for (const ZvObject$& o : {ZvObject$(new ZvPrimitive<int>(5)), ZvObject$(new ZvPrimitive<unsigned long long>(0x123456)),
                               ZvObject$(new ZvString("text")), ZvObject$(&ZvString::s_type), ZvObject$()}) {
        ZvBinaryCoder$ coder = CoderThatKnows(0, o);
        ZvPrimArray<unsigned char>* array = new ZvPrimArray<unsigned char>(64, nullptr);
        Bytes bytes = array;
        std::memset(array->GetBaseAddress(), 0xCC, 64);
        ZvStream$ stream = new ZvMemoryStream(bytes);
        coder->Write(stream, o);
        const auto end = static_cast<size_t>(stream->Tellp());
        for (size_t i = end; i < 64; ++i) ASSERT_EQ((*array)[i], 0xCC) << i - end;
    }
}

// ---- a stream that has failed before -------------------------------------------------------------------------------------

// A memory stream's failure stays for good: the next transfer that is asked about raises, although its bytes have moved.
TEST(CoderStreams, FailedMemoryStreamRaisesAtTheFirstTransferThatIsAskedAbout) {
    Memory out;
    out.stream->Seekp(0, ZvStream::End);
    ASSERT_TRUE(out.stream->Fail());
    ZvBinaryCoder$ coder = Coder(0);
    ExpectStreamFailed("ZvBinaryCoder::Write", [&] { coder->Write(out.stream, ZvObject$(new ZvPrimitive<int>(5))); });
    EXPECT_EQ(ToHex(out.Taken()), "84878f5a76496e7433328b5a5643a002");        // up to the class spec
}

TEST(CoderStreams, ContentOfAnObjectRaisesOnAFailedMemoryStreamWhereItIsAskedAbout) {
    const ZvObject$ number = new ZvPrimitive<int>(5), real = new ZvPrimitive<double>(1.0), small = new ZvPrimitive<float>(1.0f);
    const ZvObject$ longer = new ZvPrimitive<long long>(5);
    ZvBinaryCoder$ coder = Coder(0);
    Memory known;
    for (const ZvObject$& o : {number, real, small, longer}) coder->Write(known.stream, o);
    Memory out;
    out.stream->Seekp(0, ZvStream::End);
    ExpectStreamFailed("ZvBinaryCoder::Write", [&] { coder->Write(out.stream, number); });
    EXPECT_EQ(ToHex(out.Taken()), "84a801a005");
    ExpectStreamFailed("ZvBinaryCoder::Write", [&] { coder->Write(out.stream, real); });
    coder->Write(out.stream, small);                         // nobody asks for these
    coder->Write(out.stream, longer);
    EXPECT_EQ(ToHex(out.Taken()), "84a801a00584a802000000000000f03f84a8030000803f84a804a005");
}

// What does not fit is lost, and the next number raises though it would fit.
TEST(CoderStreams, StringThatDoesNotFitRaisesAtTheNextNumber) {
    const ZvObject$ text = new ZvString(std::string(100, 'x').c_str()), number = new ZvPrimitive<int>(5);
    const ZvArrayList$ list = new ZvArrayList;
    list->Add(text);
    list->Add(number);
    ZvBinaryCoder$ coder = Coder(0);
    Memory known;
    for (const ZvObject$& o : {ZvObject$(list), text, number}) coder->Write(known.stream, o);
    Narrow out(64);
    ExpectStreamFailed("ZvBinaryCoder::Write", [&] { coder->Write(out.stream, ZvObject$(list)); });
    EXPECT_EQ(ToHex(out.Taken()), "84a801a00284a802986484a803a005");
}

// A file's failure is that of its last transfer: one that the coder had no part in is none of its business.
TEST(CoderStreams, EarlierFailureOfAFileDoesNotStopTheCoder) {
    const TemporaryFile file;
    const ZvArrayList$ list = new ZvArrayList;
    list->Add(list);
    list->Add(new ZvPrimitive<double>(1.5));
    char byte = 0;
    {
        ZvStream$ out = file.Open(ZvFile::Write, ZvFile::Create);
        out->Read(&byte, 1);
        ASSERT_TRUE(out->Fail());
        Coder(ZvStreamingContext::TrackObjects)->Write(out, ZvObject$(list));
        EXPECT_FALSE(out->Fail());
    }
    list->Clear();
    ZvStream$ in = file.Open(ZvFile::Read, ZvFile::Open);
    in->Write(&byte, 1);
    ASSERT_TRUE(in->Fail());
    ZvObject$ read;
    Coder(ZvStreamingContext::TrackObjects)->Read(in, read);
    const ZvArrayList$ again = read;
    ASSERT_TRUE(again);
    ASSERT_EQ(again->Count(), 2u);
    EXPECT_EQ((*again)[0], read);
    again->Clear();
}

// ---- a stream that does not tell its position ------------------------------------------------------------------------------

TEST(CoderStreams, LongRunsAreReadFromAStreamThatTellsNoPosition) {
    class Positionless : public OtherStream {
    public:
        bool CanRead() const override { return true; }
        bool CanWrite() const override { return true; }
    };
    constexpr int count = 40000;                             // five times 64 KiB
    ZvPrimArray<double>* values = new ZvPrimArray<double>(count, nullptr);
    const ZvObject$ array = values;
    for (int i = 0; i < count; ++i) (*values)[static_cast<size_t>(i)] = i;
    const ZvArrayList$ list = new ZvArrayList;
    list->Resize(count);
    ZvStream$ stream = new Positionless;
    ZvBinaryCoder$ out = Coder(0);
    out->Write(stream, array);
    out->Write(stream, ZvObject$(list));
    ZvBinaryCoder$ in = Coder(0);
    ZvObject$ read;
    in->Read(stream, read);
    ASSERT_EQ(read->GetType(), &ZvPrimArray<double>::s_type);
    auto& again = static_cast<ZvPrimArray<double>&>(*read);
    ASSERT_EQ(again.Count(), static_cast<unsigned long long>(count));
    EXPECT_EQ(again[count - 1], count - 1);
    in->Read(stream, read);
    EXPECT_TRUE(read->Equals(list.Get()));
}

// ---- a stream that ends too early ------------------------------------------------------------------------------------------

// A character stream loses its position as it fails: its count says nothing of the bytes that it put.
TEST(CoderStreams, CutNumberKeepsTheBytesThatCame) {
    char area[16] = {};
    ZvStream$ stream = new ZvStrStream(area, sizeof area, 3);
    stream->Write(static_cast<const void*>("\xa3\x01\x02"), 3);
    int value = -1;
    Coder(0)->Read(stream, value);
    EXPECT_EQ(value, 0x0201);
    EXPECT_TRUE(stream->Fail());
}

TEST(CoderStreams, CutStringKeepsTheBytesThatCame) {
    char area[16] = {};
    ZvStream$ stream = new ZvStrStream(area, sizeof area, 3);
    stream->Write(static_cast<const void*>("\x98\x20" "abc"), 5);
    ZvString text("before");
    Coder(0)->Read(stream, text);
    EXPECT_STREQ(text.CStr(), "abc");
}

// Its failure is that of its last transfer, and the transfer of an empty block is one.
TEST(CoderStreams, EmptyBlockEndsAFailureOfBefore) {
    class Sticky : public OtherStream {
    public:
        using OtherStream::OtherStream;
        long long Read(void* data, long long count) override {
            const long long got = OtherStream::Read(data, count);
            m_failed = got < count;
            return got;
        }
        bool Fail() const override { return m_failed; }
        bool CanRead() const override { return true; }

    private:
        bool m_failed = false;
    };
    ZvStream$ stream = new Sticky("\xa3\x01");
    ZvBinaryCoder$ coder = Coder(0);
    unsigned int cut = 0;
    coder->Read(stream, cut);
    ASSERT_TRUE(stream->Fail());
    char untouched = 'x';
    coder->Read(stream, static_cast<void*>(&untouched), 0);
    EXPECT_FALSE(stream->Fail());
    EXPECT_EQ(untouched, 'x');
}

// ---- objects that nobody holds -------------------------------------------------------------------------------------------

// An object that lives by its scope is written through a plain pointer, and no handle is made of it.
TEST(CoderStreams, BagWithoutAHandleIsWrittenAndLivesOn) {
    GBag bag;
    Memory out;
    ZvBinaryCoder$ coder = Coder(0);
    coder->EncodeObject(out.stream, &bag);
    coder->Write(out.stream, static_cast<const ZvObject*>(&bag));
    EXPECT_EQ(bag.ReferenceCount(), 0);
}
