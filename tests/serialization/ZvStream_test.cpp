// The interface of all streams, and what the single ones do beside it.

#include "support/Cases.h"
#include "support/OtherStream.h"
#include "support/Slots.h"
#include "support/Temporary.h"
#include "zvc/platform/File.h"

#include <functional>
#include <sstream>

namespace {

template <class T>
void ExpectBytes(T value, const std::string& hex) {
    OtherStream wire;
    wire.Write(value);
    EXPECT_EQ(ToHex(wire.bytes), hex) << typeid(T).name();
    T back{};
    wire.Read(back);
    EXPECT_EQ(back, value) << typeid(T).name();
    EXPECT_EQ(wire.at, wire.bytes.size());
}

std::string Take(ZvStream& stream, long long count) {
    std::string text(static_cast<size_t>(count), '\0');
    text.resize(static_cast<size_t>(std::max(0LL, stream.Read(text.data(), count))));
    return text;
}

}

TEST(ZvStream, OperationsStandInTheirSlots) {
    constexpr size_t before = 12;                       // what every class has, in front of the first of its own
    EXPECT_EQ(SlotOf(&ZvStream::GetFileLength), before + 1);
    size_t order = before + 1;
#define NEXT_WRITE(T) EXPECT_EQ(SlotOf(static_cast<void (ZvStream::*)(T)>(&ZvStream::Write)), ++order) << #T
#define NEXT_READ(T) EXPECT_EQ(SlotOf(static_cast<void (ZvStream::*)(T&)>(&ZvStream::Read)), ++order) << #T
#define EACH_TYPE(NEXT)                                                                                               \
    NEXT(unsigned long); NEXT(long); NEXT(unsigned long long); NEXT(long long); NEXT(double); NEXT(float);            \
    NEXT(unsigned int); NEXT(int); NEXT(unsigned short); NEXT(short); NEXT(unsigned char); NEXT(char); NEXT(bool)
    EACH_TYPE(NEXT_WRITE);
    EXPECT_EQ(SlotOf(static_cast<long long (ZvStream::*)(const void*, long long)>(&ZvStream::Write)), before + 15);
    order = before + 15;
    EACH_TYPE(NEXT_READ);
    EXPECT_EQ(SlotOf(static_cast<long long (ZvStream::*)(void*, long long)>(&ZvStream::Read)), before + 29);
    EXPECT_EQ(SlotOf(&ZvStream::Tellp), before + 30);
    EXPECT_EQ(SlotOf(&ZvStream::Tellg), before + 31);
    EXPECT_EQ(SlotOf(&ZvStream::Flush), before + 32);
    EXPECT_EQ(SlotOf(&ZvStream::Seekp), before + 33);
    EXPECT_EQ(SlotOf(&ZvStream::Seekg), before + 34);
    EXPECT_EQ(SlotOf(&ZvStream::Fail), before + 35);
    EXPECT_EQ(SlotOf(&ZvStream::SetEndOfFile), before + 36);
    EXPECT_EQ(SlotOf(&ZvStream::CanSeek), before + 37);
    EXPECT_EQ(SlotOf(&ZvStream::CanRead), before + 38);
    EXPECT_EQ(SlotOf(&ZvStream::CanWrite), before + 39);
    EXPECT_EQ(SlotOf(&ZvIStdIOZipStream::Reserved), before + 40);
#undef NEXT_WRITE
#undef NEXT_READ
#undef EACH_TYPE
}

TEST(ZvStream, CanDoNothingUnlessItSaysSo) {
    const OtherStream wire;
    EXPECT_FALSE(wire.CanSeek());
    EXPECT_FALSE(wire.CanRead());
    EXPECT_FALSE(wire.CanWrite());
    EXPECT_EQ(static_cast<int>(ZvStream::Begin), 0);
    EXPECT_EQ(static_cast<int>(ZvStream::Current), 1);
    EXPECT_EQ(static_cast<int>(ZvStream::End), 2);
}

TEST(ZvStream, TypedValuesAreTheMachinesBytes) {
    ExpectBytes(0x01020304ul, "04030201");              // four bytes, whatever a long has here
    ExpectBytes(-2l, "feffffff");
    ExpectBytes(0x0102030405060708ull, "0807060504030201");
    ExpectBytes(-2ll, "feffffffffffffff");
    ExpectBytes(1.5, "000000000000f83f");
    ExpectBytes(1.5f, "0000c03f");
    ExpectBytes(0x01020304u, "04030201");
    ExpectBytes(-2, "feffffff");
    ExpectBytes(static_cast<unsigned short>(0x0102), "0201");
    ExpectBytes(static_cast<short>(-2), "feff");
    ExpectBytes(static_cast<unsigned char>(0xFE), "fe");
    ExpectBytes('a', "61");
    ExpectBytes(true, "01");
    ExpectBytes(false, "00");
    OtherStream wire;
    wire.Write(0x1122334455667788ul);                   // the low half travels
    EXPECT_EQ(ToHex(wire.bytes), "88776655");
}

TEST(ZvFileStream, AdoptedHandleIsUsedAndClosed) {
    const TemporaryFolder folder;
    SetContent(folder.File("file"), "0123456789");
    void* handle = zvc::platform::FileOpen(folder.File("file").c_str(), zvc::platform::FileAccessRead, zvc::platform::FileOpenExisting);
    {
        ZvFileStream stream(handle, ZvFile::Read);
        EXPECT_TRUE(stream.CanRead() && !stream.CanWrite());
        EXPECT_FALSE(stream.Fail());
        EXPECT_EQ(Take(stream, 4), "0123");
    }
    uint32_t done = 0;
    char c;
    EXPECT_FALSE(zvc::platform::FileRead(handle, &c, 1, &done));
}

TEST(ZvFileStream, LengthAndPositionsAre32BitsWide) {
    const TemporaryFolder folder;
    SetContent(folder.File("file"), "0123456789");
    {
        ZvFileStream stream(folder.File("file").c_str(), ZvFile::Read, ZvFile::Open);
        stream.Seekg((1LL << 32) + 3, ZvStream::Begin);
        EXPECT_EQ(stream.Tellg(), 3);
        stream.Seekp((1LL << 32) + 2, ZvStream::Current);
        EXPECT_EQ(stream.Tellp(), 5);
    }
    std::filesystem::resize_file(folder.File("file"), (1ULL << 32) + 7);
    ZvFileStream stream(folder.File("file").c_str(), ZvFile::Read, ZvFile::Open);
    EXPECT_EQ(stream.GetFileLength(), 7);
}

TEST(ZvFileStream, FailureStaysUntilTheNextTransferOrFlush) {
    const TemporaryFolder folder;
    ZvFileStream stream(folder.File("file").c_str(), ZvFile::Write, ZvFile::Create);
    char c = 'x';
    EXPECT_EQ(stream.Read(&c, 1), 0);
    stream.Seekg(0, ZvStream::Begin);
    stream.Tellg();
    stream.SetEndOfFile();
    stream.GetFileLength();
    EXPECT_TRUE(stream.Fail());
    EXPECT_TRUE(stream.Fail());
    EXPECT_EQ(stream.Write(&c, 1), 1);
    EXPECT_FALSE(stream.Fail());
    stream.Read(&c, 1);
    stream.Write(&c, 0);
    EXPECT_FALSE(stream.Fail());
}

TEST(ZvFileStream, AppendingStartsAtTheEndAndMayGoBack) {
    const TemporaryFolder folder;
    SetContent(folder.File("file"), "abc");
    {
        ZvFileStream stream(folder.File("file").c_str(), ZvFile::Write, ZvFile::Append);
        EXPECT_EQ(stream.Tellp(), 3);
        stream.Write("d", 1);
        stream.Seekp(0, ZvStream::Begin);
        stream.Write("X", 1);
    }
    EXPECT_EQ(ContentOf(folder.File("file")), "Xbcd");
}

TEST(ZvFileStream, SetEndOfFileTellsWhetherItCould) {
    const TemporaryFolder folder;
    SetContent(folder.File("file"), "abc");
    EXPECT_FALSE(ZvFileStream(folder.File("file").c_str(), ZvFile::Read, ZvFile::Open).SetEndOfFile());
    EXPECT_FALSE(ZvFileStream(folder.File("none/file").c_str(), ZvFile::Write, ZvFile::Create).SetEndOfFile());
    EXPECT_FALSE(ZvFileStream().SetEndOfFile());
    {
        ZvFileStream stream(folder.File("file").c_str(), ZvFile::Write, ZvFile::Open);
        stream.Seekp(5, ZvStream::Begin);
        EXPECT_TRUE(stream.SetEndOfFile());  // further as well
    }
    EXPECT_EQ(ContentOf(folder.File("file")), std::string("abc\0\0", 5));
}

TEST(ZvStdFILEStream, FailedReadIsToldOnce) {
    const TemporaryFolder folder;
    ZvStdFILEStream stream(folder.File("file").c_str(), "wb");
    char c;
    EXPECT_EQ(stream.Read(&c, 1), 0);        // a file opened for writing
    EXPECT_TRUE(stream.Fail());
    EXPECT_FALSE(stream.Fail());
}

TEST(ZvStdFILEStream, EndOfTheFileIsNoFailure) {
    const TemporaryFolder folder;
    SetContent(folder.File("file"), "abc");
    ZvStdFILEStream stream(folder.File("file").c_str(), "rb");
    EXPECT_EQ(Take(stream, 10), "abc");
    EXPECT_FALSE(stream.Fail());
}

TEST(ZvStdFILEStream, OpenLeavesTheFileBeforeItOpen) {
    const TemporaryFolder folder;
    ZvStdFILEStream stream(folder.File("first").c_str(), "wb");
    stream.Write("first", 5);
    stream.Open(folder.File("second").c_str(), "wb");
    stream.Write("second", 6);
    EXPECT_EQ(ContentOf(folder.File("first")), "");
    std::fflush(nullptr);                    // all files that the C library has open
    EXPECT_EQ(ContentOf(folder.File("first")), "first");
    EXPECT_EQ(ContentOf(folder.File("second")), "second");
}

TEST(ZvStdFILEStream, DescriptorsAreOpenedAnewToo) {
    const TemporaryFolder folder;
    SetContent(folder.File("file"), "abc");
    FILE* file = std::fopen(folder.File("file").c_str(), "rb");
    ZvStdFILEStream stream;
    EXPECT_TRUE(!stream.CanRead() && !stream.CanWrite());
    stream.Open(fileno(file), "rb");
    EXPECT_TRUE(stream.CanRead() && !stream.CanWrite());
    EXPECT_EQ(Take(stream, 10), "abc");
    std::fclose(file);
    stream.Open(-1, "rb");
    EXPECT_TRUE(stream.Fail());
}

TEST(ZvStrStream, UnknownOriginChangesNothing) {
    char buffer[16] = "0123456789";
    ZvStrStream stream(buffer, sizeof buffer, 0);
    stream.Write("abcdef", 6);
    stream.Seekp(2, ZvStream::Begin);
    stream.Seekg(3, ZvStream::Begin);
    for (const int origin : {3, -1}) {
        stream.Seekp(1, static_cast<ZvStream::SeekOrigin>(origin));
        stream.Seekg(1, static_cast<ZvStream::SeekOrigin>(origin));
    }
    EXPECT_EQ(stream.Tellp(), 2);
    EXPECT_EQ(stream.Tellg(), 3);
    EXPECT_FALSE(stream.Fail());
    stream.Flush();
    EXPECT_EQ(Take(stream, 2), "de");
}

namespace {

/// Cannot tell its position, and counts how often it is flushed.
class Blind : public std::stringbuf {
public:
    using std::stringbuf::stringbuf;
    int sync() override { return ++flushed, 0; }
    pos_type seekoff(off_type, std::ios_base::seekdir, std::ios_base::openmode) override { return off_type(-1); }
    pos_type seekpos(pos_type, std::ios_base::openmode) override { return off_type(-1); }
    int flushed = 0;
};

}

TEST(ZvStdIOStream, StreamThatCannotTellItsPositionCountsNothing) {
    Blind buffer("abcdef", std::ios::in | std::ios::out);
    std::iostream wrapped(&buffer);
    ZvStdIOStream stream(wrapped);
    char text[3];
    EXPECT_EQ(stream.Read(text, 3), 0);      // although they came
    EXPECT_EQ(std::string(text, 3), "abc");
    EXPECT_EQ(stream.Write("XY", 2), 0);
    EXPECT_EQ(buffer.str(), "XYcdef");
    EXPECT_EQ(stream.Tellg(), -1);
}

TEST(ZvStdIOStream, EndFlushesTheWrappedStreamAndLeavesItOpen) {
    Blind buffer(std::ios::in | std::ios::out);
    std::iostream wrapped(&buffer);
    {
        ZvStdIOStream stream(wrapped);
        EXPECT_EQ(buffer.flushed, 0);
        stream.Flush();
        EXPECT_EQ(buffer.flushed, 1);
    }
    EXPECT_EQ(buffer.flushed, 2);
    wrapped << "more";
    EXPECT_EQ(buffer.str(), "more");
}

TEST(ZvStdIOStream, FailFollowsTheState) {
    std::stringstream wrapped("abc");
    ZvStdIOStream stream(wrapped);
    for (const auto& [state, fails] : {std::pair(std::ios::eofbit, false), {std::ios::failbit, true}, {std::ios::badbit, true}}) {
        wrapped.clear(state);
        EXPECT_EQ(stream.Fail(), fails);
        EXPECT_EQ(stream.Fail(), fails);
    }
}

namespace {

/// Raises where bytes should move.
class Thrower : public std::streambuf {
    int_type overflow(int_type) override { throw 1; }
    int_type underflow() override { throw 2; }
    int sync() override { throw 3; }
};

constexpr auto AllBits = std::ios::badbit | std::ios::failbit | std::ios::eofbit;

}

TEST(ZvStdIOStream, RaisesNothingOnAStreamThatWasToldTo) {
    std::stringstream wrapped("ab");
    wrapped.exceptions(AllBits);
    char text[5] = {};
    {
        ZvStdIOStream stream(wrapped);
        EXPECT_EQ(stream.Read(text, 5), -1);
        EXPECT_STREQ(text, "ab");
        EXPECT_TRUE(stream.Fail());
        EXPECT_EQ(stream.Tellg(), -1);
        EXPECT_EQ(stream.Tellp(), -1);
        EXPECT_EQ(stream.Write("c", 1), 0);
        stream.Seekg(0, ZvStream::Begin);
        stream.Seekp(0, ZvStream::Begin);
        stream.Flush();
        EXPECT_TRUE(stream.Fail());
    }
    EXPECT_EQ(wrapped.exceptions(), AllBits);            // as its owner left it
    wrapped.clear();
    EXPECT_EQ(wrapped.str(), "ab");
}

TEST(ZvStdIOStream, RaisesNothingThatTheBufferRaises) {
    Thrower buffer;
    char byte = 0;
    const std::function<void(ZvStream&)> operations[] = {
        [&](ZvStream& s) { s.Write(&byte, 1); },
        [&](ZvStream& s) { s.Read(&byte, 1); },
        [](ZvStream& s) { s.Flush(); },
        [](ZvStream&) {},
    };
    for (const auto& operation : operations) {
        std::iostream wrapped(&buffer);
        wrapped.exceptions(AllBits);
        {
            ZvStdIOStream stream(wrapped);
            operation(stream);
        }
        EXPECT_TRUE(wrapped.bad());                      // by the flush at the end, if not before
        EXPECT_EQ(wrapped.exceptions(), AllBits);
    }
}
