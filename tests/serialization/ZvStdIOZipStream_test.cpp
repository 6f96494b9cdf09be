// Compressed data on a standard-library stream: framing, members, damage, positions.

#include <zvc/zvc.h>

#include "support/Cases.h"
#include "support/Gzip.h"
#include "support/Temporary.h"

#include <sstream>

namespace {

using gzip::Header;
using gzip::Member;
using gzip::Noise;
using gzip::Prose;
using gzip::Trailer;

using Zip = ZvIStdIOZipStream;
using Owned = std::unique_ptr<ZvStdIOZipStream>;

Owned Reader(std::stringstream& s) { return std::make_unique<ZvStdIOZipStream>(s, Zip::OpenRead); }
Owned Writer(std::stringstream& s) { return std::make_unique<ZvStdIOZipStream>(s, Zip::OpenWrite); }

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

/// Writes in blocks of a size, and gives the file.
std::string Compressed(const std::string& content, size_t block) {
    std::stringstream out;
    {
        const Owned zip = Writer(out);
        for (size_t at = 0; at < content.size(); at += block) {
            const std::string piece = content.substr(at, block);
            EXPECT_EQ(Put(*zip, piece), static_cast<long long>(piece.size()));
        }
        EXPECT_FALSE(zip->Fail());
    }
    return out.str();
}

struct Answer {
    std::string out;
    long long last;                          // what the read behind the last data answers
    bool fail;
};

Answer ReadWhole(const std::string& data, long long block = 100000) {
    std::stringstream in(data);
    const Owned zip = Reader(in);
    Answer answer;
    answer.out = TakeAll(*zip, block);
    answer.fail = zip->Fail();
    char c;
    answer.last = zip->Read(&c, 1);
    return answer;
}

const char* const HelloHex = "1f8b080000000000000bcb48cdc9c9070086a6103605000000";

}

TEST(ZvStdIOZipStream, WritesTheHeaderAndTheTrailerOfTheCases) {
    for (const cases::Json& c : cases::Group("gzip", "write")) {
        SCOPED_TRACE(c["name"].get<std::string>());
        std::string content;
        if (c["content"].contains("hex")) {
            content = FromHex(c["content"]["hex"]);
        } else {
            const std::string pattern = FromHex(c["content"]["repeat"]);
            while (content.size() < c["content"]["length"].get<size_t>()) content += pattern;
            content.resize(c["content"]["length"]);
        }
        const std::string file = Compressed(content, 5000);
        ASSERT_GE(file.size(), 18u);
        EXPECT_EQ(ToHex(file.substr(0, 10)), c["header"].get<std::string>());
        EXPECT_EQ(ToHex(file.substr(file.size() - 8)), c["trailer"].get<std::string>());
        EXPECT_EQ(ReadWhole(file).out, content);
        const std::string given = FromHex(c["header"].get<std::string>() + c["deflate"].get<std::string>() + c["trailer"].get<std::string>());
        EXPECT_EQ(ReadWhole(given).out, content);
        EXPECT_FALSE(ReadWhole(given).fail);
    }
}

TEST(ZvStdIOZipStream, ReadsTheCases) {
    for (const cases::Json& c : cases::Group("gzip", "read")) {
        for (const long long block : {100000, 3, 1}) {
            SCOPED_TRACE(c["name"].get<std::string>() + " in blocks of " + std::to_string(block));
            const Answer answer = ReadWhole(FromHex(c["data"]), block);
            EXPECT_EQ(ToHex(answer.out), c["out"].get<std::string>());
            if (!c["fail"].is_null()) {
                EXPECT_EQ(answer.fail, c["fail"].get<bool>());
            }
        }
    }
}

TEST(ZvStdIOZipStream, FollowsTheStepsOfTheCases) {
    for (const cases::Json& c : cases::Group("gzip", "seek")) {
        SCOPED_TRACE(c["name"].get<std::string>());
        const bool reads = c["mode"] == "OpenRead";
        std::stringstream stream(reads ? FromHex(c["data"]) : "");
        Owned zip = reads ? Reader(stream) : Writer(stream);
        for (size_t i = 0; i < c["steps"].size(); ++i) {
            const cases::Json& step = c["steps"][i];
            const cases::Json& out = c["out"][i];
            SCOPED_TRACE(step.dump());
            const std::string what = step[0];
            if (what == "read") {
                EXPECT_EQ(ToHex(Take(*zip, step[1].get<long long>())), out.get<std::string>());
            } else if (what == "write") {
                EXPECT_EQ(Put(*zip, FromHex(step[1])), out.get<long long>());
            } else if (what == "seek") {
                zip->Seekg(step[1].get<long long>(), static_cast<ZvStream::SeekOrigin>(step[2].get<int>()));
            } else if (what == "tell") {
                EXPECT_EQ(zip->Tellp(), out.get<long long>());
            } else {
                ADD_FAILURE() << what;
            }
        }
        zip.reset();
        if (!reads) {
            EXPECT_EQ(ToHex(ReadWhole(stream.str()).out), c["content"].get<std::string>());
        }
    }
}

TEST(ZvStdIOZipStream, NoDataGivesACompleteMember) {
    EXPECT_EQ(ToHex(Compressed("", 1)), "1f8b080000000000000b" "0300" "0000000000000000");
}

TEST(ZvStdIOZipStream, BlocksOfAnySizeGiveTheSameFile) {
    for (const std::string& content : {Prose(100000), Noise(100000)}) {
        const std::string whole = Compressed(content, content.size());
        for (const size_t block : {1, 7, 8, 16383, 16384, 16385, 40000}) EXPECT_EQ(Compressed(content, block), whole) << block;
        for (const long long block : {1, 8, 16383, 16384, 16385, 200000}) {
            const Answer answer = ReadWhole(whole, block);
            EXPECT_TRUE(answer.out == content) << block;
            EXPECT_FALSE(answer.fail);
            EXPECT_EQ(answer.last, 0);
        }
    }
}

TEST(ZvStdIOZipStream, TrailerHoldsChecksumAndLength) {
    const std::string content = Prose(70001);
    const std::string file = Compressed(content, 1000);
    EXPECT_EQ(file.substr(0, 10), Header());
    EXPECT_EQ(file.substr(file.size() - 8), Trailer(content));
}

TEST(ZvStdIOZipStream, SystemGzipReadsWhatItWritesAndTheOtherWayRound) {
    const TemporaryFolder folder;
    for (const std::string& content : {std::string(), Prose(300000), Noise(50000)}) {
        SetContent(folder.File("ours.gz"), Compressed(content, 4096));
        EXPECT_EQ(RunCommand("gzip -t '" + folder.File("ours.gz") + "'").output, "");
        ASSERT_EQ(RunCommand("gzip -dc '" + folder.File("ours.gz") + "' >'" + folder.File("ours") + "'").code, 0);
        EXPECT_TRUE(ContentOf(folder.File("ours")) == content);
        SetContent(folder.File("theirs"), content);
        for (const char* level : {"-1", "-9"}) {     // with the file's name and its time in the header
            ASSERT_EQ(RunCommand("gzip -kf " + std::string(level) + " '" + folder.File("theirs") + "'").code, 0);
            const Answer answer = ReadWhole(ContentOf(folder.File("theirs.gz")));
            EXPECT_TRUE(answer.out == content);
            EXPECT_FALSE(answer.fail);
        }
    }
}

TEST(ZvStdIOZipStream, PlainTextComesThroughUnchanged) {
    for (const std::string& text : {std::string("plain text"), std::string("\x1f"), std::string("\x1f\x8a rest"), Noise(100000)}) {
        for (const long long block : {1, 8, 100000}) {
            const Answer answer = ReadWhole(text, block);
            EXPECT_TRUE(answer.out == text);
            EXPECT_FALSE(answer.fail);
            EXPECT_EQ(answer.last, 0);
        }
    }
}

TEST(ZvStdIOZipStream, EmptyInputReadsAsEmptyText) {
    const Answer answer = ReadWhole("");
    EXPECT_EQ(answer.out, "");
    EXPECT_FALSE(answer.fail);
    EXPECT_EQ(answer.last, 0);
}

TEST(ZvStdIOZipStream, ConcatenatedMembersReadAsOne) {
    const std::string a = Prose(20000), b = Noise(20000);
    for (const long long block : {1, 16384, 100000}) {
        const Answer answer = ReadWhole(Member(a) + Compressed("", 1) + Compressed(b, 999) + Member("end"), block);
        EXPECT_TRUE(answer.out == a + b + "end");
        EXPECT_FALSE(answer.fail);
    }
}

TEST(ZvStdIOZipStream, MembersMayBeCutAnywhereByTheInputBlocks) {
    for (size_t size = 16384 - 40; size < 16384; ++size) {           // header and trailer across the edge of a block
        const std::string a = Noise(size);
        const Answer answer = ReadWhole(Member(a) + Member("more"));
        EXPECT_TRUE(answer.out == a + "more") << size;
        EXPECT_FALSE(answer.fail) << size;
    }
}

TEST(ZvStdIOZipStream, WhatFollowsTheLastMemberIsLeftAlone) {
    for (const std::string& rest : {std::string("x"), std::string(512, '\0'), std::string("\x1f"), std::string("no member")}) {
        const Answer answer = ReadWhole(FromHex(HelloHex) + rest);
        EXPECT_EQ(answer.out, "hello");
        EXPECT_FALSE(answer.fail);
    }
}

TEST(ZvStdIOZipStream, HeaderFieldsAreSkipped) {
    const std::string extra = std::string("\x05\x00", 2) + "extra";
    const std::string name = std::string("file.txt") + '\0';
    const std::string comment = std::string("a comment") + '\0';
    for (int flags = 0; flags < 32; ++flags) {
        std::string header = FromHex("1f8b08") + static_cast<char>(flags) + "timeXO";
        if ((flags & 4) != 0) header += extra;
        if ((flags & 8) != 0) header += name;
        if ((flags & 16) != 0) header += comment;
        if ((flags & 2) != 0) header += "HC";
        const Answer answer = ReadWhole(Member("content", header));
        EXPECT_EQ(answer.out, "content") << flags;
        EXPECT_FALSE(answer.fail) << flags;
    }
    const std::string large = FromHex("1f8b0804000000000000ffff") + std::string(65535, 'x');
    EXPECT_EQ(ReadWhole(Member("content", large)).out, "content");
}

TEST(ZvStdIOZipStream, ForeignMethodsAndReservedFlagsAreDamage) {
    for (const char* header : {"1f8b0700000000000000", "1f8b0900000000000000", "1f8b0820000000000000", "1f8b0840000000000000",
                               "1f8b0880000000000000"}) {
        const Answer first = ReadWhole(Member("content", FromHex(header)));
        EXPECT_EQ(first.out, "") << header;
        EXPECT_TRUE(first.fail) << header;
        EXPECT_EQ(first.last, -1) << header;
        const Answer second = ReadWhole(Member("one") + Member("two", FromHex(header)));
        EXPECT_EQ(second.out, "one") << header;
        EXPECT_TRUE(second.fail) << header;
    }
}

TEST(ZvStdIOZipStream, HeaderThatIsCutShortIsDamage) {
    const std::string header = FromHex("1f8b081e000000000000") + std::string("\x02\x00xx", 4) + std::string("n\0", 2) + std::string("c\0", 2) + "HC";
    for (size_t size = 2; size < header.size(); ++size) {
        std::stringstream in(header.substr(0, size));
        const Owned zip = Reader(in);
        EXPECT_TRUE(zip->Fail()) << size;
        char c;
        EXPECT_EQ(zip->Read(&c, 1), -1) << size;
    }
}

TEST(ZvStdIOZipStream, ChangedChecksumFailsBehindTheLastData) {
    const std::string content = Prose(50000);
    for (int i = 0; i < 4; ++i) {
        std::string file = Compressed(content, 50000);
        file[file.size() - 8 + static_cast<size_t>(i)] ^= 1;
        std::stringstream in(file);
        const Owned zip = Reader(in);
        EXPECT_TRUE(Take(*zip, 49999) == content.substr(0, 49999));
        EXPECT_FALSE(zip->Fail());           // not before the last byte has been given
        EXPECT_EQ(Take(*zip, 1), content.substr(49999));
        EXPECT_TRUE(zip->Fail());
        char c;
        EXPECT_EQ(zip->Read(&c, 1), -1);
        EXPECT_EQ(zip->Tellg(), -1);
    }
}

TEST(ZvStdIOZipStream, LengthInTheTrailerIsIgnored) {
    std::string file = FromHex(HelloHex);
    file.back() ^= 0x55;
    const Answer answer = ReadWhole(file);
    EXPECT_EQ(answer.out, "hello");
    EXPECT_FALSE(answer.fail);
}

TEST(ZvStdIOZipStream, CutOffFilesGiveWhatTheyHoldAndFail) {
    const std::string content = Noise(40000);
    const std::string file = Member(content);
    for (const size_t left : {file.size() - 1, file.size() - 8, file.size() - 100, size_t(20000)}) {
        const Answer answer = ReadWhole(file.substr(0, left));
        EXPECT_TRUE(answer.out == content.substr(0, answer.out.size()));
        EXPECT_EQ(answer.out.size(), std::min(content.size(), left - Header().size() - 5));
        EXPECT_TRUE(answer.fail);
        EXPECT_LE(answer.last, 0);
    }
}

TEST(ZvStdIOZipStream, DamagedDataGivesWhatStandsInFrontOfIt) {
    const std::string good = Noise(30000);
    const std::string file = Header() + std::string(1, '\0') + gzip::LittleEndian(30000u | ~30000u << 16) + good + "\x07 bad block";
    for (const long long block : {1000, 30000, 100000}) {
        std::stringstream in(file);
        const Owned zip = Reader(in);
        EXPECT_TRUE(TakeAll(*zip, block) == good);
        EXPECT_TRUE(zip->Fail());
        char c;
        EXPECT_EQ(zip->Read(&c, 1), -1);
    }
}

TEST(ZvStdIOZipStream, TransfersAgainstTheModeGiveMinusTwo) {
    std::stringstream in(FromHex(HelloHex)), out;
    char c = 'x';
    const Owned reader = Reader(in);
    EXPECT_EQ(reader->Write(&c, 1), -2);
    EXPECT_FALSE(reader->Fail());
    EXPECT_EQ(Take(*reader, 10), "hello");
    const Owned writer = Writer(out);
    EXPECT_EQ(writer->Read(&c, 1), -2);
    EXPECT_FALSE(writer->Fail());
    EXPECT_TRUE(reader->CanRead() && !reader->CanWrite() && !reader->CanSeek());
    EXPECT_TRUE(!writer->CanRead() && writer->CanWrite() && !writer->CanSeek());
    EXPECT_TRUE(reader->SetEndOfFile() && writer->SetEndOfFile());
    EXPECT_EQ(reader->GetFileLength(), -1);
}

TEST(ZvStdIOZipStream, CreateMakesOneOnAStreamThatStaysTheCallers) {
    std::stringstream s;
    {
        const ZvStream$ zip = Zip::Create(s, Zip::OpenWrite);
        EXPECT_TRUE(zip->IsKindOf(&ZvStdIOZipStream::s_type));
        EXPECT_TRUE(zip->IsKindOf(&ZvIStdIOZipStream::s_type));
        EXPECT_TRUE(zip->IsKindOf(&ZvStdIOStream::s_type));
        EXPECT_EQ(Put(*zip, "hello"), 5);
    }
    s << "behind";
    EXPECT_EQ(ToHex(s.str()), HelloHex + ToHex("behind"));
    const ZvStream$ zip = Zip::Create(s, Zip::OpenRead);
    EXPECT_EQ(Take(*zip, 10), "hello");
    EXPECT_EQ(static_cast<int>(Zip::OpenRead), 0);
    EXPECT_EQ(static_cast<int>(Zip::OpenWrite), 1);
}

TEST(ZvStdIOZipStream, PositionsAreThoseOfTheUncompressedBytes) {
    const std::string content = Prose(100000);
    std::stringstream in(Compressed(content, 1000));
    const Owned zip = Reader(in);
    const auto at = [&](long long position) {
        EXPECT_EQ(zip->Tellg(), position);
        EXPECT_EQ(zip->Tellp(), position);
        EXPECT_EQ(Take(*zip, 20), content.substr(static_cast<size_t>(position), 20));
    };
    at(0);
    zip->Seekg(70000, ZvStream::Begin);
    at(70000);
    zip->Seekg(-60000, ZvStream::Current);
    at(10020);
    zip->Seekp(0, ZvStream::Begin);
    at(0);
    zip->Seekg(20000, ZvStream::Current);
    at(20020);
    EXPECT_EQ(TakeAll(*zip), content.substr(20040));
    EXPECT_FALSE(zip->Fail());
    zip->Seekg(99990, ZvStream::Begin);      // back from the end as well
    EXPECT_EQ(Take(*zip, 20), content.substr(99990));
    zip->Seekg(100, ZvStream::Current);      // beyond the end: as far as it goes
    EXPECT_EQ(zip->Tellg(), 100000);
    EXPECT_FALSE(zip->Fail());
    zip->Seekg(5, ZvStream::Begin);
    at(5);
}

TEST(ZvStdIOZipStream, RefusedSeeksAreIgnored) {
    std::stringstream in(FromHex(HelloHex)), out;
    const Owned reader = Reader(in);
    EXPECT_EQ(Take(*reader, 2), "he");
    reader->Seekg(0, ZvStream::End);
    reader->Seekp(-1, ZvStream::End);
    reader->Seekg(-3, ZvStream::Current);
    reader->Seekg(-1, ZvStream::Begin);
    reader->Seekg(INT64_MAX, ZvStream::Current);
    reader->Seekg(1, static_cast<ZvStream::SeekOrigin>(3));
    EXPECT_EQ(reader->Tellg(), 2);
    EXPECT_FALSE(reader->Fail());
    EXPECT_EQ(Take(*reader, 10), "llo");
    {
        const Owned writer = Writer(out);
        EXPECT_EQ(Put(*writer, "abc"), 3);
        writer->Seekp(0, ZvStream::End);
        writer->Seekp(2, ZvStream::Begin);
        writer->Seekp(-1, ZvStream::Current);
        writer->Seekp(INT64_MIN, ZvStream::Begin);
        writer->Seekp(7, static_cast<ZvStream::SeekOrigin>(-1));
        EXPECT_EQ(writer->Tellp(), 3);
        EXPECT_FALSE(writer->Fail());
        EXPECT_EQ(Put(*writer, "d"), 1);
    }
    EXPECT_EQ(ReadWhole(out.str()).out, "abcd");
}

TEST(ZvStdIOZipStream, ForwardSeekOfAWriterPadsWithZeros) {
    std::stringstream out;
    {
        const Owned zip = Writer(out);
        Put(*zip, "abc");
        zip->Seekp(5, ZvStream::Begin);
        EXPECT_EQ(zip->Tellp(), 5);
        Put(*zip, "d");
        zip->Seekg(40000, ZvStream::Current);
        EXPECT_EQ(zip->Tellg(), 40006);
        Put(*zip, "e");
    }
    EXPECT_TRUE(ReadWhole(out.str()).out == std::string("abc\0\0d", 6) + std::string(40000, '\0') + "e");
}

TEST(ZvStdIOZipStream, PlainTextSeeksInTheWrappedStream) {
    std::stringstream in("0123456789");
    const Owned zip = Reader(in);
    EXPECT_EQ(Take(*zip, 3), "012");
    EXPECT_EQ(zip->Tellg(), 3);
    zip->Seekg(7, ZvStream::Begin);
    EXPECT_EQ(TakeAll(*zip), "789");
    EXPECT_EQ(zip->Tellg(), 10);
    zip->Seekg(-9, ZvStream::Current);
    EXPECT_EQ(zip->Tellg(), 1);
    EXPECT_EQ(Take(*zip, 2), "12");
    zip->Seekg(100, ZvStream::Begin);        // where the wrapped stream cannot go
    EXPECT_EQ(zip->Tellg(), 3);
    EXPECT_EQ(TakeAll(*zip), "3456789");
    EXPECT_FALSE(zip->Fail());
}

TEST(ZvStdIOZipStream, ReadsAndRewindsFromTheMiddleOfTheWrappedStream) {
    std::stringstream in("front" + Member("one") + Member("two"));
    in.seekg(5);
    const Owned zip = Reader(in);
    EXPECT_EQ(TakeAll(*zip), "onetwo");
    zip->Seekg(1, ZvStream::Begin);
    EXPECT_EQ(TakeAll(*zip), "netwo");
}

namespace {

/// Takes only so many bytes.
class SmallBuffer : public std::stringbuf {
public:
    explicit SmallBuffer(std::streamsize room) : m_room(room) {}
    std::streamsize xsputn(const char* s, std::streamsize n) override {
        const std::streamsize taken = std::min(n, m_room);
        m_room -= taken;
        std::stringbuf::xsputn(s, taken);
        return taken;
    }

private:
    std::streamsize m_room;
};

/// A stream without positions, as one on a socket.
class NoPositions : public std::stringbuf {
public:
    using std::stringbuf::stringbuf;
    pos_type seekoff(off_type, std::ios_base::seekdir, std::ios_base::openmode) override { return off_type(-1); }
    pos_type seekpos(pos_type, std::ios_base::openmode) override { return off_type(-1); }
};

}

TEST(ZvStdIOZipStream, WrappedStreamThatTakesLessIsAFailureForGood) {
    SmallBuffer buffer(30000);
    std::iostream out(&buffer);
    const std::string noise = Noise(100000);
    {
        ZvStdIOZipStream zip(out, Zip::OpenWrite);
        const long long taken = Put(zip, noise);
        EXPECT_GT(taken, 16384);
        EXPECT_LT(taken, 100000);
        EXPECT_TRUE(zip.Fail());
        EXPECT_EQ(Put(zip, noise), 0);
        EXPECT_EQ(zip.Tellp(), -1);
        EXPECT_TRUE(zip.Fail());
    }
    EXPECT_EQ(buffer.str().size(), 30000u);
}

TEST(ZvStdIOZipStream, StreamWithoutPositionsIsReadButNotWritten) {
    NoPositions full(Member("one"), std::ios::in | std::ios::out);
    std::iostream in(&full);
    ZvStdIOZipStream reader(in, Zip::OpenRead);
    EXPECT_EQ(Take(reader, 2), "on");
    reader.Seekg(0, ZvStream::Begin);        // there is no way back
    EXPECT_EQ(reader.Tellg(), 2);
    EXPECT_EQ(Take(reader, 2), "e");
    EXPECT_FALSE(reader.Fail());
    NoPositions empty(std::ios::in | std::ios::out);
    std::iostream out(&empty);
    ZvStdIOZipStream writer(out, Zip::OpenWrite);
    EXPECT_TRUE(writer.Fail());
}

TEST(ZvStdIOZipStream, FlushHandsOnWhatTheCompressorHasGiven) {
    std::stringstream out;
    const std::string noise = Noise(60000);
    const Owned zip = Writer(out);
    EXPECT_EQ(out.str(), Header());
    zip->Flush();
    Put(*zip, noise.substr(0, 50000));
    zip->Flush();
    EXPECT_FALSE(zip->Fail());
    const size_t flushed = out.str().size();
    EXPECT_GT(flushed, 16394u);              // more than whole blocks
    EXPECT_NE(flushed % 16384, 10u);
    zip->Flush();
    EXPECT_EQ(out.str().size(), flushed);
    EXPECT_EQ(Put(*zip, noise.substr(50000)), 10000);
    EXPECT_FALSE(zip->Fail());
    std::stringstream in(FromHex(HelloHex));
    const Owned reader = Reader(in);
    reader->Flush();
    EXPECT_FALSE(reader->Fail());
}

TEST(ZvStdIOZipStream, OutputIsWhatTheCallerAskedFor) {
    std::stringstream bomb(Compressed(std::string(50000000, '\0'), 1 << 20));
    EXPECT_LT(bomb.str().size(), 60000u);
    const Owned zip = Reader(bomb);
    EXPECT_EQ(Take(*zip, 10), std::string(10, '\0'));
    EXPECT_EQ(zip->Tellg(), 10);
    zip->Seekg(49999995, ZvStream::Begin);
    EXPECT_EQ(TakeAll(*zip), std::string(5, '\0'));
}

TEST(ZvStdIOZipStream, CoderWorksThroughIt) {
    ZvArrayList$ list = new ZvArrayList;
    for (int i = 0; i < 3000; ++i) list->Add(new ZvPrimitive<double>(i * 1.5));
    std::stringstream s;
    {
        ZvStream$ zip = Zip::Create(s, Zip::OpenWrite);
        cases::Coder(1)->Write(zip, list);
    }
    ZvStream$ zip = Zip::Create(s, Zip::OpenRead);
    ZvObject$ back;
    cases::Coder(1)->Read(zip, back);
    const ZvArrayList$ same = back;
    ASSERT_TRUE(same);
    ASSERT_EQ(same->Count(), 3000u);
    for (size_t i = 0; i < 3000; ++i) EXPECT_TRUE(same->ItemAt(i)->Equals(list->ItemAt(i).Get()));
}

TEST(ZvStdIOZipStream, DamageStopsACoder) {
    std::string file = Compressed("0123456789", 10);
    file[file.size() - 8] ^= 1;
    std::stringstream in(file);
    ZvStream$ zip = Zip::Create(in, Zip::OpenRead);
    ZvBinaryCoder$ coder = cases::Coder(0);
    char bytes[10];
    try {
        coder->Read(zip, bytes, 10ull);
        FAIL();
    } catch (const ZvCoderException& e) {
        EXPECT_EQ(e.cause, 1);
    }
}

TEST(ZvStdIOZipStream, RaisesNothingOnAStreamThatWasToldTo) {
    const std::string content = Noise(50000);
    std::stringstream s;
    s.exceptions(std::ios::badbit | std::ios::failbit | std::ios::eofbit);
    {
        const Owned zip = Writer(s);
        EXPECT_EQ(Put(*zip, content), 50000);
    }
    {
        const Owned zip = Reader(s);                     // comes to the end of the wrapped stream, and goes back from there
        EXPECT_EQ(TakeAll(*zip), content);
        zip->Seekg(40000, ZvStream::Begin);
        EXPECT_EQ(TakeAll(*zip), content.substr(40000));
        EXPECT_FALSE(zip->Fail());
    }
    {
        std::stringstream gone;
        gone.setstate(std::ios::badbit);
        try {
            gone.exceptions(std::ios::badbit);
        } catch (const std::ios::failure&) {
        }
        const Owned zip = Writer(gone);
        EXPECT_TRUE(zip->Fail());
        Put(*zip, content);
        zip->Flush();
    }
}
