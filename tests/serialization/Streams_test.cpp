// The streams: what each does with each operation, and how each ends.

#include <zvc/zvc.h>

#include "support/Cases.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <functional>
#include <sstream>

namespace {

class TemporaryFile {
public:
    explicit TemporaryFile(const std::string& content = "") {
        char name[] = "/tmp/zvc-test-XXXXXX";
        const int descriptor = mkstemp(name);
        m_path = name;
        EXPECT_EQ(::write(descriptor, content.data(), content.size()), static_cast<ssize_t>(content.size()));
        close(descriptor);
    }
    ~TemporaryFile() { unlink(m_path.c_str()); }
    const char* Path() const { return m_path.c_str(); }
    std::string Content() const {
        std::ifstream in(m_path, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }

private:
    std::string m_path;
};

using Bytes = ZvHandle<ZvPrimArray<unsigned char>, ZvArrayValue$>;

template <class Stream>
std::string ReadText(Stream& stream, long long count) {
    std::string text(static_cast<size_t>(count), '\0');
    text.resize(static_cast<size_t>(std::max(0LL, stream.Read(text.data(), count))));
    return text;
}

}

TEST(ZvStream, TypedValuesHaveFixedWidths) {
    Bytes bytes = new ZvPrimArray<unsigned char>(100, nullptr);
    ZvMemoryStream s(bytes);
    const auto width = [&](auto value) {
        const long long before = s.Tellp();
        s.Write(value);
        return s.Tellp() - before;
    };
    EXPECT_EQ(width(1ul), 4);               // a long has 4 bytes everywhere
    EXPECT_EQ(width(-1l), 4);
    EXPECT_EQ(width(1ull), 8);
    EXPECT_EQ(width(-1ll), 8);
    EXPECT_EQ(width(1.5), 8);
    EXPECT_EQ(width(1.5f), 4);
    EXPECT_EQ(width(1u), 4);
    EXPECT_EQ(width(-1), 4);
    EXPECT_EQ(width(static_cast<unsigned short>(1)), 2);
    EXPECT_EQ(width(static_cast<short>(-1)), 2);
    EXPECT_EQ(width(static_cast<unsigned char>(1)), 1);
    EXPECT_EQ(width('a'), 1);
    EXPECT_EQ(width(true), 1);
    s.Seekg(4, ZvStream::Begin);
    long l = 0;
    s.Read(l);
    EXPECT_EQ(l, -1);
    unsigned long long u = 0;
    s.Read(u);
    EXPECT_EQ(u, 1u);
    long long ll = 0;
    s.Read(ll);
    EXPECT_EQ(ll, -1);
    double d = 0;
    s.Read(d);
    float f = 0;
    s.Read(f);
    EXPECT_EQ(d + f, 3.0);
}

TEST(ZvFileStream, WritesThroughAndReadsBack) {
    TemporaryFile file;
    {
        ZvFileStream s(file.Path(), ZvFile::Write, ZvFile::Create);
        EXPECT_TRUE(s.CanWrite());
        EXPECT_FALSE(s.CanRead());
        EXPECT_TRUE(s.CanSeek());
        EXPECT_EQ(s.Write("hello", 5), 5);
        EXPECT_EQ(file.Content(), "hello");
        EXPECT_EQ(s.GetFileLength(), 5);
        EXPECT_EQ(s.Tellp(), 5);
        char c;
        EXPECT_EQ(s.Read(&c, 1), 0);
        EXPECT_TRUE(s.Fail());
        s.Flush();
        EXPECT_FALSE(s.Fail());             // the last operation alone counts
        s.Seekp(1, ZvStream::Begin);
        EXPECT_TRUE(s.SetEndOfFile());
    }
    EXPECT_EQ(file.Content(), "h");
    ZvFileStream s(file.Path(), ZvFile::Read, ZvFile::Open);
    EXPECT_EQ(ReadText(s, 10), "h");
    EXPECT_FALSE(s.Fail());
    EXPECT_EQ(ReadText(s, 10), "");
    EXPECT_FALSE(s.Fail());
}

TEST(ZvFileStream, SeekFromTheEndDiffersBetweenWritingAndReading) {
    TemporaryFile file("0123456789");
    ZvFileStream s(file.Path(), ZvFile::Read, ZvFile::Open);
    s.Seekp(-4, ZvStream::End);
    EXPECT_EQ(s.Tellp(), 10);
    s.Seekg(-4, ZvStream::End);
    EXPECT_EQ(s.Tellg(), 6);
    s.Seekg(3, static_cast<ZvStream::SeekOrigin>(3));
    EXPECT_EQ(s.Tellg(), 6);
    s.Seekg(-100, ZvStream::Current);
    EXPECT_EQ(s.Tellg(), 6);
}

TEST(ZvFileStream, FailedOpeningShowsInTheFirstTransfer) {
    ZvFileStream s("/no/such/folder/file", ZvFile::Read, ZvFile::Open);
    EXPECT_FALSE(s.Fail());
    EXPECT_TRUE(s.CanRead());
    char c;
    EXPECT_EQ(s.Read(&c, 1), 0);
    EXPECT_TRUE(s.Fail());
    ZvFileStream folder("/tmp", ZvFile::Read, ZvFile::Open);
    EXPECT_EQ(folder.Read(&c, 1), 0);
    EXPECT_TRUE(folder.Fail());
}

TEST(ZvFileStream, ReadWriteOpensWithoutRights) {
    TemporaryFile file("abc");
    ZvFileStream s(file.Path(), ZvFile::ReadWrite, ZvFile::Open);
    EXPECT_TRUE(s.CanRead());
    EXPECT_TRUE(s.CanWrite());
    char c;
    EXPECT_EQ(s.Read(&c, 1), 0);
    EXPECT_TRUE(s.Fail());
    EXPECT_EQ(s.Write("x", 1), 0);
    EXPECT_TRUE(s.Fail());
    EXPECT_EQ(s.GetFileLength(), 3);
}

TEST(ZvFileStream, NobodyElseOpensTheFileMeanwhile) {
    TemporaryFile file("abc");
    {
        ZvFileStream first(file.Path(), ZvFile::Read, ZvFile::Open);
        ZvFileStream second(file.Path(), ZvFile::Read, ZvFile::Open);
        char c;
        EXPECT_EQ(second.Read(&c, 1), 0);
        EXPECT_TRUE(second.Fail());
        EXPECT_EQ(first.Read(&c, 1), 1);
        ZvFileStream third(file.Path(), ZvFile::Write, ZvFile::Create);
        EXPECT_EQ(file.Content(), "abc");   // a refused opening empties nothing
    }
    ZvFileStream later(file.Path(), ZvFile::Read, ZvFile::Open);
    EXPECT_EQ(ReadText(later, 3), "abc");
}

TEST(ZvFileStream, ModesDecideWhatHappensToTheFile) {
    const auto contentAfter = [](ZvFile::Mode mode, bool exists) -> std::string {
        TemporaryFile file("abc");
        if (!exists) unlink(file.Path());
        {
            ZvFileStream s(file.Path(), ZvFile::Write, mode);
            s.Write("X", 1);
            if (s.Fail()) return "failed";
        }
        return file.Content();
    };
    EXPECT_EQ(contentAfter(ZvFile::Append, true), "abcX");
    EXPECT_EQ(contentAfter(ZvFile::Append, false), "X");
    EXPECT_EQ(contentAfter(ZvFile::Create, true), "X");
    EXPECT_EQ(contentAfter(ZvFile::Create, false), "X");
    EXPECT_EQ(contentAfter(ZvFile::CreateNew, true), "failed");
    EXPECT_EQ(contentAfter(ZvFile::CreateNew, false), "X");
    EXPECT_EQ(contentAfter(ZvFile::Open, true), "Xbc");
    EXPECT_EQ(contentAfter(ZvFile::Open, false), "failed");
    EXPECT_EQ(contentAfter(ZvFile::OpenOrCreate, true), "Xbc");
    EXPECT_EQ(contentAfter(ZvFile::OpenOrCreate, false), "X");
    EXPECT_EQ(contentAfter(ZvFile::Truncate, true), "X");
    EXPECT_EQ(contentAfter(ZvFile::Truncate, false), "failed");
    EXPECT_EQ(contentAfter(static_cast<ZvFile::Mode>(6), true), "failed");
}

TEST(ZvFileStream, WithoutAFileEverythingFailsHarmlessly) {
    ZvFileStream s;
    EXPECT_FALSE(s.CanRead());
    EXPECT_FALSE(s.CanWrite());
    EXPECT_EQ(s.Write("x", 1), 0);
    EXPECT_TRUE(s.Fail());
}

TEST(ZvFileStream, CopiesShareTheFileAndTheFirstEndClosesIt) {
    TemporaryFile file;
    ZvFileStream s(file.Path(), ZvFile::Write, ZvFile::Create);
    {
        ZvFileStream copy(s);
        EXPECT_EQ(copy.Write("x", 1), 1);
    }
    EXPECT_EQ(s.Write("y", 1), 0);
    EXPECT_TRUE(s.Fail());
}

TEST(ZvStdFILEStream, DirectionsFollowTheModeString) {
    TemporaryFile file("abc");
    ZvStdFILEStream read(file.Path(), "rb");
    EXPECT_TRUE(read.CanRead());
    EXPECT_FALSE(read.CanWrite());
    ZvStdFILEStream both(file.Path(), "r+b");
    EXPECT_TRUE(both.CanRead() && both.CanWrite() && both.CanSeek());
    ZvStdFILEStream append(file.Path(), "a");
    EXPECT_TRUE(append.CanWrite());
    EXPECT_FALSE(append.CanRead());
    EXPECT_EQ(read.GetFileLength(), 3);
    EXPECT_FALSE(read.SetEndOfFile());
    EXPECT_EQ(ReadText(read, 2), "ab");
    EXPECT_EQ(read.Tellg(), 2);
    EXPECT_EQ(read.Tellp(), 2);
    read.Seekp(-1, ZvStream::End);
    EXPECT_EQ(ReadText(read, 2), "c");
    read.Seekg(1, static_cast<ZvStream::SeekOrigin>(3));
    EXPECT_EQ(read.Tellg(), 3);
}

TEST(ZvStdFILEStream, FailTellsOfAnErrorOnce) {
    TemporaryFile file("abc");
    ZvStdFILEStream s(file.Path(), "rb");
    s.Write("x", 1);                        // a file opened for reading
    EXPECT_TRUE(s.Fail());
    EXPECT_FALSE(s.Fail());
    EXPECT_TRUE(ZvStdFILEStream().Fail());
    EXPECT_TRUE(ZvStdFILEStream("/no/such/file", "rb").Fail());
}

TEST(ZvStdFILEStream, WithoutAFileNothingMoves) {
    char c = 'x';
    for (const bool unopened : {true, false}) {
        ZvStdFILEStream s;
        if (!unopened) s.Open("/no/such/file", "rb");
        EXPECT_EQ(s.CanRead(), !unopened);
        EXPECT_EQ(s.Write(&c, 1), 0);
        EXPECT_EQ(s.Read(&c, 1), 0);
        EXPECT_EQ(s.Tellg(), -1);
        EXPECT_EQ(s.Tellp(), -1);
        EXPECT_EQ(s.GetFileLength(), -1);
        s.Seekg(1, ZvStream::Begin);
        s.Seekp(1, ZvStream::Begin);
        s.Flush();
        s.SetBufferSize(100);
        EXPECT_TRUE(s.Fail());
        EXPECT_TRUE(s.Fail());              // not an error of a file's that is told once
    }
    ZvStream$ none = new ZvStdFILEStream("/no/such/file", "rb");
    EXPECT_THROW(cases::Coder(0)->Read(none, &c, 1ull), ZvCoderException);
}

TEST(ZvStdFILEStream, LeavesACallersDescriptorOpen) {
    TemporaryFile file;
    const int descriptor = open(file.Path(), O_RDWR);
    {
        ZvStdFILEStream s(descriptor, "wb");
        s.SetBufferSize(1 << 16);
        EXPECT_EQ(s.Write("hello", 5), 5);
        EXPECT_EQ(file.Content(), "");
    }
    EXPECT_EQ(file.Content(), "hello");     // flushed
    EXPECT_EQ(::write(descriptor, "!", 1), 1);
    close(descriptor);
    EXPECT_EQ(file.Content(), "hello!");
}

TEST(ZvStdIOStream, FollowsTheStreamThatItWraps) {
    std::stringstream text;
    {
        ZvStdIOStream s(text);
        EXPECT_EQ(s.Write("hello", 5), 5);
        EXPECT_EQ(s.Tellp(), 5);
        s.Seekp(1, ZvStream::Begin);
        s.Write("E", 1);
        EXPECT_EQ(ReadText(s, 3), "hEl");
        EXPECT_EQ(s.Tellg(), 3);
        s.Seekg(-1, ZvStream::End);
        EXPECT_EQ(ReadText(s, 1), "o");
        s.Seekg(0, static_cast<ZvStream::SeekOrigin>(3));
        EXPECT_EQ(s.Tellg(), 5);
        EXPECT_FALSE(s.Fail());
        EXPECT_FALSE(s.SetEndOfFile());
        EXPECT_TRUE(s.CanSeek() && s.CanRead() && s.CanWrite());
        char c;
        s.Read(&c, 1);
        EXPECT_TRUE(s.Fail());
    }
    EXPECT_EQ(text.str(), "hEllo");
}

TEST(ZvStrStream, WorksOnTheCallersBuffer) {
    char buffer[64] = "abc";
    ZvStrStream s(buffer, sizeof buffer, 8);              // the append bit: behind the text
    EXPECT_EQ(s.Size(), 0);
    EXPECT_EQ(s.Write("def", 3), 3);
    EXPECT_EQ(std::string(buffer, 6), "abcdef");
    EXPECT_EQ(reinterpret_cast<char*>(s.StartPointer()), buffer);
    EXPECT_TRUE(s.SetEndOfFile());
    EXPECT_TRUE(s.CanSeek() && s.CanRead() && s.CanWrite());
    char plain[64] = "abc";
    ZvStrStream t(plain, sizeof plain, 2);
    EXPECT_EQ(t.Write("X", 1), 1);
    EXPECT_EQ(std::string(plain, 3), "Xbc");
    EXPECT_EQ(t.Size(), 1);
    EXPECT_EQ(ReadText(t, 1), "X");
    EXPECT_EQ(t.GetFileLength(), 1);                      // the count of the last read
}

TEST(ZvStrStream, WritingBehindATextEndsWithTheBuffer) {
    char buffer[16] = "0123456789";
    std::memset(buffer + 11, '#', 5);
    ZvStrStream s(buffer, 14, 8);
    EXPECT_EQ(s.Write("abcdefgh", 8), -1 - 10);           // what fits goes in, and a stream that failed tells -1 for its position
    EXPECT_TRUE(s.Fail());
    EXPECT_EQ(s.Size(), 4);
    EXPECT_EQ(std::string(buffer, 16), "0123456789abcd##");
    char full[] = "full";
    ZvStrStream none(full, 4, 8);
    none.Write("x", 1);
    EXPECT_TRUE(none.Fail());
    EXPECT_STREQ(full, "full");
}

TEST(ZvStrStream, SizeOfZeroIsThatOfTheText) {
    char buffer[] = "text and more";
    buffer[4] = '\0';
    ZvStrStream s(buffer, 0, 0);
    EXPECT_EQ(s.Write("TEXT", 4), 4);
    EXPECT_FALSE(s.Fail());
    s.Write("!", 1);
    EXPECT_TRUE(s.Fail());
    EXPECT_STREQ(buffer, "TEXT");
}

TEST(ZvStrStream, BufferOfItsOwnGrowsUntilItIsFrozen) {
    ZvStrStream s(nullptr, 0, 0);
    std::string text;
    for (int i = 0; i < 1000; ++i) {
        const std::string piece = std::to_string(i) + ' ';
        EXPECT_EQ(s.Write(piece.data(), static_cast<long long>(piece.size())), static_cast<long long>(piece.size()));
        text += piece;
    }
    EXPECT_EQ(s.Size(), static_cast<long long>(text.size()));
    EXPECT_TRUE(ReadText(s, static_cast<long long>(text.size())) == text);
    const std::unique_ptr<unsigned char[]> start(s.StartPointer());
    EXPECT_EQ(std::memcmp(start.get(), text.data(), text.size()), 0);
    EXPECT_EQ(s.StartPointer(), start.get());
    const std::string much(100000, 'x');
    s.Write(much.data(), 100000);
    EXPECT_TRUE(s.Fail());
}

TEST(ZvBinaryCoder, WorksThroughEveryStream) {
    TemporaryFile file;
    ZvDictionary$ d = new ZvDictionary;
    for (int i = 0; i < 1000; ++i) {
        ZvString$ key = new ZvString;
        key->Format("key %d", i);
        d->Add(key, new ZvPrimitive<int>(i * 1000));
    }
    const auto check = [&](ZvStream$ out, const std::function<ZvStream$()>& reopen) {
        cases::Coder(1)->Write(out, d);
        cases::Coder(1)->Write(out, ZvObject$(new ZvString("behind")));
        out = nullptr;
        ZvStream$ in = reopen();
        ZvObject$ back, behind;
        cases::Coder(1)->Read(in, back);
        cases::Coder(1)->Read(in, behind);                // the position is right behind what was read
        const ZvDictionary$ same = back;                  // in an order of its own: it was filled anew
        ASSERT_TRUE(same);
        EXPECT_EQ(same->Count(), d->Count());
        for (ZvIDictionaryEnumerator$ e = d->GetEnumerator(); e->HasNext(); e->Next())
            EXPECT_TRUE(e->Value()->Equals(same->Find(e->Key()).Get()));
        EXPECT_TRUE(ZvString("behind").Equals(behind.Get()));
    };
    check(new ZvFileStream(file.Path(), ZvFile::Write, ZvFile::Create),
          [&]() -> ZvStream$ { return new ZvFileStream(file.Path(), ZvFile::Read, ZvFile::Open); });
    const std::string written = file.Content();
    check(new ZvStdFILEStream(file.Path(), "wb"), [&]() -> ZvStream$ { return new ZvStdFILEStream(file.Path(), "rb"); });
    EXPECT_EQ(file.Content(), written);
    std::stringstream text;
    check(new ZvStdIOStream(text), [&]() -> ZvStream$ { return new ZvStdIOStream(text); });
    EXPECT_EQ(text.str(), written);
    std::vector<char> buffer(1 << 17);
    ZvStrStream* str = new ZvStrStream(buffer.data(), static_cast<long long>(buffer.size()), 0);
    ZvStream$ keep = str;
    check(keep, [&] { return keep; });
    EXPECT_EQ(std::string(buffer.data(), written.size()), written);
}

TEST(ZvBinaryCoder, LookingAtAFileInTheMiddleOfACallShowsEverything) {
    TemporaryFile file;
    class Looker : public ZvObject {
    public:
        explicit Looker(const TemporaryFile& f) : m_file(f) {}
        void Encode(ZvStream$& stream, ZvCoder* coder) const override {
            coder->Write(stream, 7);
            at = stream->Tellp();
            seen = m_file.Content();
            stream->Write("raw", 3);
            coder->Write(stream, 8);
        }
        ZvType* GetType() const override { return &ZvString::s_type; }      // any class with a codec
        const TemporaryFile& m_file;
        mutable long long at = 0;
        mutable std::string seen;
    };
    Looker looker(file);
    ZvStream$ out = new ZvFileStream(file.Path(), ZvFile::Write, ZvFile::Create);
    cases::Coder(0)->EncodeObject(out, &looker);
    EXPECT_EQ(static_cast<size_t>(looker.at), looker.seen.size());
    EXPECT_EQ(cases::ToHex(looker.seen.substr(looker.seen.size() - 2)), "a007");
    EXPECT_EQ(cases::ToHex(file.Content().substr(looker.seen.size())), "726177" "a008");
}

TEST(ZvBinaryCoder, CausesOfStreamsThatRefuse) {
    TemporaryFile file("abc");
    ZvStream$ readOnly = new ZvStdFILEStream(file.Path(), "rb");
    ZvStream$ writeOnly = new ZvStdFILEStream(file.Path(), "ab");
    const auto cause = [](auto f) {
        try {
            f();
        } catch (const ZvCoderException& e) {
            return std::string(e.function) + " " + std::to_string(e.cause);
        }
        return std::string("nothing");
    };
    ZvBinaryCoder$ c = cases::Coder(0);
    const std::string write2 = "ZvBinaryCoder::Write 2", write4 = "ZvBinaryCoder::Write 4", read4 = "ZvBinaryCoder::Read 4";
    const float f[1] = {};
    const double d[1] = {};
    EXPECT_EQ(cause([&] { c->Write(readOnly, static_cast<const void*>("x"), 1ull); }), write2);
    EXPECT_EQ(cause([&] { c->Write(readOnly, true); }), write2);
    EXPECT_EQ(cause([&] { c->Write(readOnly, 'c'); }), write2);
    EXPECT_EQ(cause([&] { c->Write(readOnly, static_cast<unsigned char>(1)); }), write2);
    EXPECT_EQ(cause([&] { c->Write(readOnly, static_cast<short>(1)); }), write2);
    EXPECT_EQ(cause([&] { c->Write(readOnly, static_cast<unsigned short>(1)); }), write2);
    EXPECT_EQ(cause([&] { c->Write(readOnly, 1); }), write2);
    EXPECT_EQ(cause([&] { c->Write(readOnly, 1u); }), write2);
    EXPECT_EQ(cause([&] { c->Write(readOnly, 1ll); }), write4);
    EXPECT_EQ(cause([&] { c->Write(readOnly, 1ull); }), write4);
    EXPECT_EQ(cause([&] { c->Write(readOnly, 1.0f); }), write4);
    EXPECT_EQ(cause([&] { c->Write(readOnly, 1.0); }), write4);
    EXPECT_EQ(cause([&] { c->Write(readOnly, 1u, f); }), write4);
    EXPECT_EQ(cause([&] { c->Write(readOnly, 1u, d); }), write4);
    EXPECT_EQ(cause([&] { c->EncodeObject(readOnly, nullptr); }), "ZvBinaryCoder::EncodeObject 2");
    char raw[1];
    bool b;
    int i;
    float x;
    ZvString s;
    EXPECT_EQ(cause([&] { c->Read(writeOnly, static_cast<void*>(raw), 1ull); }), "ZvBinaryCoder::Read 2");
    EXPECT_EQ(cause([&] { c->Read(writeOnly, b); }), read4);
    EXPECT_EQ(cause([&] { c->Read(writeOnly, i); }), read4);
    EXPECT_EQ(cause([&] { c->Read(writeOnly, x); }), read4);
    EXPECT_EQ(cause([&] { c->Read(writeOnly, s); }), read4);
    EXPECT_EQ(cause([&] { c->DecodeObject(writeOnly); }), "ZvBinaryCoder::DecodeObject 4");
    Bytes tiny = new ZvPrimArray<unsigned char>(2, nullptr);
    ZvStream$ full = new ZvMemoryStream(tiny);
    EXPECT_EQ(cause([&] { c->Write(full, 100000u); }), "ZvBinaryCoder::Write 1");
}
