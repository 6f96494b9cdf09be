// Compressed files by path and by descriptor.

#include <zvc/zvc.h>

#include "support/Cases.h"
#include "support/Gzip.h"
#include "support/Temporary.h"

#include <fcntl.h>
#include <unistd.h>

#include <fstream>
#include <functional>
#include <sstream>

namespace {

using gzip::Header;
using gzip::Member;
using gzip::Noise;
using gzip::Prose;
using gzip::Trailer;

std::string Take(ZvStream& s, long long count) {
    std::string bytes(static_cast<size_t>(count), '\0');
    bytes.resize(static_cast<size_t>(std::max(0LL, s.Read(bytes.data(), count))));
    return bytes;
}

std::string TakeAll(ZvStream& s, long long block = 100000) {
    std::string all;
    for (std::string piece; !(piece = Take(s, block)).empty();) all += piece;
    return all;
}

long long Put(ZvStream& s, const std::string& bytes) { return s.Write(bytes.data(), static_cast<long long>(bytes.size())); }

class ZvZipStreamTest : public testing::Test {
protected:
    std::string Written(const std::string& content, const char* mode = "wb") {
        {
            ZvZipStream zip(m_path.c_str(), mode);
            EXPECT_EQ(Put(zip, content), static_cast<long long>(content.size()));
            EXPECT_FALSE(zip.Fail());
        }
        return ContentOf(m_path);
    }
    std::string ReadBack(const std::string& file, bool fails = false) {
        SetContent(m_path, file);
        ZvZipStream zip(m_path.c_str(), "rb");
        const std::string all = TakeAll(zip);
        EXPECT_EQ(zip.Fail(), fails);
        return all;
    }

    const TemporaryFolder m_folder;
    const std::string m_path = m_folder.File("file.gz");
};

}

TEST_F(ZvZipStreamTest, WritesTheSameFramingAsTheOtherStream) {
    for (const std::string& content : {std::string(), Prose(100000), Noise(20000)}) {
        std::stringstream other;
        {
            ZvStdIOZipStream zip(other, ZvIStdIOZipStream::OpenWrite);
            Put(zip, content);
        }
        const std::string file = Written(content);
        EXPECT_TRUE(file == other.str());
        EXPECT_EQ(file.substr(0, 10), Header());
        EXPECT_EQ(file.substr(file.size() - 8), Trailer(content));
    }
}

TEST_F(ZvZipStreamTest, LevelAndStrategyStandInTheMode) {
    const std::string content = Prose(100000);
    const size_t usual = Written(content, "w").size();
    EXPECT_EQ(Written(content, "w6").size(), usual);
    EXPECT_GT(Written(content, "w1").size(), usual);
    EXPECT_GT(Written(content, "wb0").size(), content.size());
    EXPECT_GT(Written(content, "wh").size(), usual);
    EXPECT_GT(Written(content, "wbR").size(), usual);
    for (const char* mode : {"w", "w0", "w1", "wb9", "w9f", "wh", "wR", "wF"}) {
        const std::string file = Written(content, mode);
        EXPECT_EQ(file.substr(0, 10), Header()) << mode;       // the same header for every level
        EXPECT_TRUE(ReadBack(file) == content) << mode;
    }
}

TEST_F(ZvZipStreamTest, DirectionsFollowTheMode) {
    SetContent(m_path, Member("content"));
    ZvZipStream reads(m_path.c_str(), "rb");
    EXPECT_TRUE(reads.CanRead() && !reads.CanWrite() && reads.CanSeek());
    EXPECT_FALSE(reads.Fail());
    EXPECT_EQ(reads.GetFileLength(), 0);
    EXPECT_FALSE(reads.SetEndOfFile());
    ZvZipStream writes(m_folder.File("new").c_str(), "w9");
    EXPECT_TRUE(!writes.CanRead() && writes.CanWrite() && writes.CanSeek());
    ZvZipStream none;
    EXPECT_TRUE(!none.CanRead() && !none.CanWrite());
    ZvZipStream unopened(m_folder.File("none/file").c_str(), "r");
    EXPECT_TRUE(unopened.CanRead());
    EXPECT_TRUE(unopened.Fail());
}

TEST_F(ZvZipStreamTest, WhatCannotBeOpenedFails) {
    EXPECT_TRUE(ZvZipStream().Fail());
    EXPECT_TRUE(ZvZipStream(m_folder.File("none").c_str(), "r").Fail());
    EXPECT_TRUE(ZvZipStream(-1, "r").Fail());
    EXPECT_TRUE(ZvZipStream(-1, "w").Fail());
    EXPECT_TRUE(ZvZipStream(m_path.c_str(), "").Fail());
    EXPECT_TRUE(ZvZipStream(m_path.c_str(), "9").Fail());
    EXPECT_TRUE(ZvZipStream(m_path.c_str(), "r+").Fail());
    EXPECT_FALSE(std::filesystem::exists(m_path));
    ZvZipStream none;
    char c = 'x';
    EXPECT_EQ(none.Write(&c, 1), -2);
    EXPECT_EQ(none.Read(&c, 1), -2);
    EXPECT_EQ(none.Tellg(), -1);
    none.Seekg(1, ZvStream::Begin);
    none.Flush();
    EXPECT_TRUE(none.Fail());
}

TEST_F(ZvZipStreamTest, ReadsTheCases) {
    for (const cases::Json& c : cases::Group("gzip", "read")) {
        SCOPED_TRACE(c["name"].get<std::string>());
        SetContent(m_path, FromHex(c["data"]));
        ZvZipStream zip(m_path.c_str(), "rb");
        EXPECT_EQ(ToHex(TakeAll(zip)), c["out"].get<std::string>());
        if (!c["fail"].is_null()) {
            EXPECT_EQ(zip.Fail(), c["fail"].get<bool>());
        }
    }
}

TEST_F(ZvZipStreamTest, SystemGzipReadsWhatItWritesAndTheOtherWayRound) {
    for (const std::string& content : {std::string(), Prose(300000), Noise(50000)}) {
        Written(content);
        EXPECT_EQ(RunCommand("gzip -t '" + m_path + "'").output, "");
        ASSERT_EQ(RunCommand("gzip -dc '" + m_path + "' >'" + m_folder.File("plain") + "'").code, 0);
        EXPECT_TRUE(ContentOf(m_folder.File("plain")) == content);
        ASSERT_EQ(RunCommand("gzip -c9 '" + m_folder.File("plain") + "' >'" + m_folder.File("theirs.gz") + "'").code, 0);
        EXPECT_TRUE(ReadBack(ContentOf(m_folder.File("theirs.gz"))) == content);
    }
}

TEST_F(ZvZipStreamTest, PlainFilesAndConcatenatedMembersAreRead) {
    EXPECT_EQ(ReadBack("plain text"), "plain text");
    EXPECT_EQ(ReadBack(""), "");
    EXPECT_EQ(ReadBack("x"), "x");
    EXPECT_EQ(ReadBack(Member("one") + Member("two")), "onetwo");
    EXPECT_EQ(ReadBack(Member("one") + "rest"), "one");
}

TEST_F(ZvZipStreamTest, AppendingAddsAMember) {
    const std::string first = Written("one");
    const std::string both = Written("two", "ab");
    EXPECT_EQ(both.substr(0, first.size()), first);
    EXPECT_EQ(both.substr(first.size(), 10), Header());
    EXPECT_EQ(ReadBack(both), "onetwo");
}

TEST_F(ZvZipStreamTest, DescriptorStaysOpenAndGetsNoTrailer) {
    const std::string content = Prose(40000);
    const std::string whole = Written(content);
    const int descriptor = open(m_path.c_str(), O_RDWR | O_TRUNC);
    {
        ZvZipStream zip(descriptor, "wb");
        EXPECT_TRUE(zip.CanWrite());
        EXPECT_EQ(Put(zip, content), 40000);
        EXPECT_FALSE(zip.Fail());
    }
    EXPECT_EQ(ContentOf(m_path), whole.substr(0, whole.size() - 8));
    EXPECT_EQ(::write(descriptor, whole.data() + whole.size() - 8, 8), 8);       // whoever goes on with it
    EXPECT_EQ(ContentOf(m_path), whole);
    EXPECT_EQ(lseek(descriptor, 0, SEEK_SET), 0);
    {
        ZvZipStream zip(descriptor, "rb");
        EXPECT_TRUE(TakeAll(zip) == content);
        EXPECT_FALSE(zip.Fail());
    }
    EXPECT_EQ(close(descriptor), 0);
}

TEST_F(ZvZipStreamTest, FileWithoutTrailerIsGoodUpToItsEnd) {
    SetContent(m_path, Header() + gzip::Stored("content"));
    ZvZipStream zip(m_path.c_str(), "rb");
    EXPECT_EQ(Take(zip, 7), "content");
    EXPECT_FALSE(zip.Fail());
    char c;
    EXPECT_EQ(zip.Read(&c, 1), -1);
    EXPECT_TRUE(zip.Fail());
}

TEST_F(ZvZipStreamTest, ChangedChecksumFailsBehindTheLastData) {
    std::string file = Member("content");
    file[file.size() - 5] ^= 1;
    SetContent(m_path, file);
    ZvZipStream zip(m_path.c_str(), "rb");
    EXPECT_EQ(Take(zip, 6), "conten");
    EXPECT_FALSE(zip.Fail());
    EXPECT_EQ(Take(zip, 6), "t");
    EXPECT_TRUE(zip.Fail());
    char c;
    EXPECT_EQ(zip.Read(&c, 1), -1);
    ZvZipStream skipped(m_path.c_str(), "rb");
    skipped.Seekg(6, ZvStream::Begin);
    EXPECT_FALSE(skipped.Fail());
    skipped.Seekg(7, ZvStream::Begin);       // read and thrown away is read all the same
    EXPECT_TRUE(skipped.Fail());
}

TEST_F(ZvZipStreamTest, DamagedHeadersFail) {
    EXPECT_EQ(ReadBack(FromHex("1f8b0900000000000000"), true), "");
    EXPECT_EQ(ReadBack(FromHex("1f8b0880000000000000"), true), "");
    EXPECT_EQ(ReadBack(FromHex("1f8b08"), true), "");
}

TEST_F(ZvZipStreamTest, TransfersAgainstTheModeAreRecorded) {
    SetContent(m_path, Member("content"));
    ZvZipStream reads(m_path.c_str(), "rb");
    char c = 'x';
    EXPECT_EQ(reads.Write(&c, 1), -2);
    EXPECT_TRUE(reads.Fail());
    EXPECT_EQ(Take(reads, 7), "content");
    EXPECT_TRUE(reads.Fail());               // what was recorded stays
    ZvZipStream writes(m_folder.File("new").c_str(), "wb");
    EXPECT_EQ(writes.Read(&c, 1), -2);
    EXPECT_TRUE(writes.Fail());
    ZvZipStream flushed(m_path.c_str(), "rb");
    flushed.Flush();                         // there is nothing to flush in a file that is read: an error
    EXPECT_TRUE(flushed.Fail());
}

TEST_F(ZvZipStreamTest, PositionsAreThoseOfTheUncompressedBytes) {
    const std::string content = Prose(100000);
    Written(content);
    ZvZipStream zip(m_path.c_str(), "rb");
    const auto at = [&](long long position) {
        EXPECT_EQ(zip.Tellg(), position);
        EXPECT_EQ(zip.Tellp(), position);
        EXPECT_EQ(Take(zip, 20), content.substr(static_cast<size_t>(position), 20));
    };
    at(0);
    zip.Seekg(70000, ZvStream::Begin);
    at(70000);
    zip.Seekp(-60000, ZvStream::Current);
    at(10020);
    zip.Seekg(0, ZvStream::Begin);
    at(0);
    zip.Seekg((1LL << 32) + 30, ZvStream::Begin);        // 32 bits of the offset count
    at(30);
    zip.Seekg(5, static_cast<ZvStream::SeekOrigin>(3));
    zip.Seekp(5, static_cast<ZvStream::SeekOrigin>(-1));
    at(50);
    TakeAll(zip);
    zip.Seekg(99990, ZvStream::Begin);
    EXPECT_EQ(TakeAll(zip), content.substr(99990));
    EXPECT_FALSE(zip.Fail());
}

TEST_F(ZvZipStreamTest, PlainFilesSeekToo) {
    SetContent(m_path, "0123456789");
    ZvZipStream zip(m_path.c_str(), "rb");
    EXPECT_EQ(Take(zip, 3), "012");
    zip.Seekg(7, ZvStream::Begin);
    EXPECT_EQ(TakeAll(zip), "789");
    zip.Seekg(-9, ZvStream::Current);
    EXPECT_EQ(Take(zip, 2), "12");
    EXPECT_FALSE(zip.Fail());
}

TEST_F(ZvZipStreamTest, RefusedSeeksAreFailures) {
    SetContent(m_path, Member("content"));
    const auto fails = [&](auto seek) {
        ZvZipStream zip(m_path.c_str(), "rb");
        Take(zip, 2);
        seek(zip);
        return zip.Fail();
    };
    EXPECT_TRUE(fails([](ZvStream& s) { s.Seekg(0, ZvStream::End); }));
    EXPECT_TRUE(fails([](ZvStream& s) { s.Seekp(0, ZvStream::End); }));
    EXPECT_TRUE(fails([](ZvStream& s) { s.Seekg(-1, ZvStream::Begin); }));
    EXPECT_TRUE(fails([](ZvStream& s) { s.Seekg(-3, ZvStream::Current); }));
    EXPECT_TRUE(fails([](ZvStream& s) { s.Seekg(8, ZvStream::Begin); }));        // beyond the end
    EXPECT_FALSE(fails([](ZvStream& s) { s.Seekg(7, ZvStream::Begin); }));
    EXPECT_FALSE(fails([](ZvStream& s) { s.Seekg(-2, ZvStream::Current); }));
    EXPECT_FALSE(fails([](ZvStream& s) { s.Seekg(0, static_cast<ZvStream::SeekOrigin>(3)); }));
}

TEST_F(ZvZipStreamTest, WriterSeeksForwardOverZerosAndNeverBack) {
    {
        ZvZipStream zip(m_path.c_str(), "wb");
        Put(zip, "abc");
        zip.Seekp(5, ZvStream::Begin);
        EXPECT_EQ(zip.Tellp(), 5);
        Put(zip, "d");
        zip.Seekg(20000, ZvStream::Current);
        EXPECT_EQ(Put(zip, "e"), 1);
        EXPECT_FALSE(zip.Fail());
        zip.Seekp(0, ZvStream::Begin);
        EXPECT_TRUE(zip.Fail());
        EXPECT_EQ(Put(zip, "f"), 1);         // the writing itself goes on
    }
    EXPECT_TRUE(ReadBack(ContentOf(m_path)) == std::string("abc\0\0d", 6) + std::string(20000, '\0') + "ef");
}

TEST_F(ZvZipStreamTest, FlushHandsOnWhatTheCompressorHasGiven) {
    ZvZipStream zip(m_path.c_str(), "wb");
    zip.Flush();
    EXPECT_EQ(ContentOf(m_path), Header());
    Put(zip, Noise(50000));
    zip.Flush();
    EXPECT_FALSE(zip.Fail());
    EXPECT_GT(ContentOf(m_path).size(), 16394u);
    zip.Flush();
    EXPECT_FALSE(zip.Fail());
}

TEST_F(ZvZipStreamTest, FullDeviceIsAFailure) {
    ZvZipStream zip("/dev/full", "wb");
    EXPECT_LT(Put(zip, Noise(1000000)), 1000000);
    EXPECT_TRUE(zip.Fail());
    ZvZipStream small("/dev/full", "wb");
    Put(small, "little");
    small.Flush();
    EXPECT_TRUE(small.Fail());
}

TEST_F(ZvZipStreamTest, OpenEndsWhatWasOpenBefore) {
    const std::string second = m_folder.File("second.gz");
    ZvZipStream zip(m_path.c_str(), "wb");
    Put(zip, "one");
    zip.Open(second.c_str(), "wb");
    EXPECT_EQ(zip.Tellp(), 0);
    Put(zip, "two");
    zip.Open(m_path.c_str(), "rb");
    EXPECT_TRUE(zip.CanRead() && !zip.CanWrite());
    EXPECT_EQ(TakeAll(zip), "one");
    zip.Open(second.c_str(), "rb");
    EXPECT_EQ(TakeAll(zip), "two");
    EXPECT_FALSE(zip.Fail());
    const int descriptor = open(second.c_str(), O_RDONLY);
    zip.Open(descriptor, "rb");
    EXPECT_EQ(TakeAll(zip), "two");
    close(descriptor);
}

TEST_F(ZvZipStreamTest, PipesAreReadAndWritten) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    {
        ZvZipStream out(ends[1], "wb");
        Put(out, "through a pipe");
        EXPECT_EQ(out.Tellp(), 14);
    }
    const std::string trailer = Trailer("through a pipe");
    EXPECT_EQ(::write(ends[1], trailer.data(), 8), 8);
    close(ends[1]);
    ZvZipStream in(ends[0], "rb");
    EXPECT_EQ(TakeAll(in), "through a pipe");
    EXPECT_FALSE(in.Fail());
    in.Seekg(0, ZvStream::Begin);            // there is no way back
    EXPECT_TRUE(in.Fail());
    close(ends[0]);
}

/// Writes two numbers by its own codec, and does something to the stream between them.
class Meddler : public ZvObject {
public:
    explicit Meddler(std::function<void(ZvStream$&, ZvCoder*)> meddle) : m_meddle(std::move(meddle)) {}
    void Encode(ZvStream$& stream, ZvCoder* coder) const override {
        coder->Write(stream, 7);
        m_meddle(stream, coder);
        coder->Write(stream, 8);
    }
    ZvType* GetType() const override { return &ZvString::s_type; }      // any class with a codec

private:
    std::function<void(ZvStream$&, ZvCoder*)> m_meddle;
};

std::string CauseOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const ZvCoderException& e) {
        return std::string(e.function) + " " + std::to_string(e.cause);
    }
    return "nothing";
}

TEST_F(ZvZipStreamTest, BytesOfAClientBetweenThoseOfACoderKeepTheirPlace) {
    std::string plain;
    long long at = 0;
    const auto save = [&](ZvStream$ stream) {
        Meddler meddler([&](ZvStream$& s, ZvCoder* coder) {
            at = s->Tellp();
            s->Write("raw", 3);
            s->Flush();
            coder->Write(s, std::string(40000, 'x').data(), 40000ull);
            s->Write("more", 4);
        });
        cases::Coder(0)->EncodeObject(stream, &meddler);
    };
    save(new ZvFileStream(m_path.c_str(), ZvFile::Write, ZvFile::Create));
    const long long expected = at;
    plain = ContentOf(m_path);
    save(new ZvZipStream(m_path.c_str(), "wb"));
    EXPECT_EQ(at, expected);
    ZvZipStream zip(m_path.c_str(), "rb");
    EXPECT_EQ(TakeAll(zip), plain);
    std::stringstream wrapped;
    save(ZvIStdIOZipStream::Create(wrapped, ZvIStdIOZipStream::OpenWrite));
    EXPECT_EQ(at, expected);
    SetContent(m_path, wrapped.str());
    ZvZipStream again(m_path.c_str(), "rb");
    EXPECT_EQ(TakeAll(again), plain);
}

TEST_F(ZvZipStreamTest, RefusedSeekInTheMiddleOfACoderRaisesAtTheNextRawTransfer) {
    ZvStream$ zip = new ZvZipStream(m_path.c_str(), "wb");
    bool failed = false;
    Meddler meddler([&](ZvStream$& s, ZvCoder* coder) {
        s->Seekg(0, ZvStream::End);
        failed = s->Fail();
        coder->Write(s, true);                   // no raw transfer
    });
    EXPECT_EQ(CauseOf([&] { cases::Coder(0)->EncodeObject(zip, &meddler); }), "ZvBinaryCoder::Write 1");
    EXPECT_TRUE(failed);
}

TEST_F(ZvZipStreamTest, FullDeviceRaisesAtTheCodersNextRawTransfer) {
    for (const bool byPath : {true, false}) {
        std::fstream full("/dev/full", std::ios::in | std::ios::out | std::ios::binary);
        ZvStream$ zip = byPath ? ZvStream$(new ZvZipStream("/dev/full", "wb"))
                               : ZvStream$(ZvIStdIOZipStream::Create(full, ZvIStdIOZipStream::OpenWrite));
        const std::string noise = Noise(1000000);
        EXPECT_EQ(CauseOf([&] { cases::Coder(0)->Write(zip, noise.data(), 1000000ull); }), "ZvBinaryCoder::Write 1");
        EXPECT_TRUE(zip->Fail());
        EXPECT_EQ(CauseOf([&] { cases::Coder(0)->Write(zip, 1); }), "ZvBinaryCoder::Write 1");
        EXPECT_EQ(CauseOf([&] { cases::Coder(0)->Write(zip, true); }), "nothing");
    }
}

TEST_F(ZvZipStreamTest, AnotherFileOpenedInTheMiddleOfACoderGetsTheRest) {
    const std::string second = m_folder.File("second.gz");
    {
        ZvStream$ zip = new ZvZipStream(m_path.c_str(), "wb");
        Meddler meddler([&](ZvStream$& s, ZvCoder*) { static_cast<ZvZipStream*>(s.Get())->Open(second.c_str(), "wb"); });
        cases::Coder(0)->EncodeObject(zip, &meddler);
    }
    ZvZipStream zip(second.c_str(), "rb");
    EXPECT_EQ(TakeAll(zip), "\xA0\x08");
    ZvZipStream first(m_path.c_str(), "rb");
    const std::string begun = TakeAll(first);
    EXPECT_EQ(begun.substr(begun.size() - 2), "\xA0\x07");
}

TEST_F(ZvZipStreamTest, CoderSavesAndLoadsByPathAndByDescriptor) {
    ZvDictionary$ d = new ZvDictionary;
    for (int i = 0; i < 2000; ++i) {
        ZvString$ key = new ZvString;
        key->Format("key %d", i);
        d->Add(key, new ZvPrimitive<int>(i * 1000));
    }
    const auto check = [&](auto open) {
        {
            ZvStream$ out = open("wb");
            cases::Coder(1)->Write(out, d);
        }
        ZvStream$ in = open("rb");
        ZvObject$ back;
        cases::Coder(1)->Read(in, back);
        const ZvDictionary$ same = back;
        ASSERT_TRUE(same);
        EXPECT_EQ(same->Count(), 2000u);
        for (ZvIDictionaryEnumerator$ e = d->GetEnumerator(); e->HasNext(); e->Next())
            EXPECT_TRUE(e->Value()->Equals(same->Find(e->Key()).Get()));
    };
    check([&](const char* mode) -> ZvStream$ { return new ZvZipStream(m_path.c_str(), mode); });
    const int descriptor = open(m_path.c_str(), O_RDWR | O_TRUNC);
    check([&](const char* mode) -> ZvStream$ {
        lseek(descriptor, 0, SEEK_SET);
        return new ZvZipStream(descriptor, mode);
    });
    close(descriptor);
}
