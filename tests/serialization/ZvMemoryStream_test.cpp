// The stream over a byte array: one cursor, and an end that is never reached.

#include <zvc/zvc.h>

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <string>

namespace {

using Bytes = ZvHandle<ZvPrimArray<unsigned char>, ZvArrayValue$>;

Bytes Array(const std::string& content) {
    Bytes bytes = new ZvPrimArray<unsigned char>(content.size(), nullptr);
    if (!content.empty()) std::memcpy(bytes->GetBaseAddress(), content.data(), content.size());
    return bytes;
}

std::string Text(const Bytes& bytes) {
    return std::string(static_cast<const char*>(bytes->GetBaseAddress()), static_cast<size_t>(bytes->Count()));
}

std::string ReadText(ZvStream& stream, long long count) {
    std::string text(static_cast<size_t>(count), '\0');
    text.resize(static_cast<size_t>(stream.Read(text.data(), count)));
    return text;
}

const auto Begin = ZvStream::Begin, Current = ZvStream::Current, End = ZvStream::End;

}

TEST(ZvMemoryStream, StartsAtTheArraysBeginWithoutFailure) {
    Bytes bytes = Array("abcd");
    ZvMemoryStream s(bytes);
    EXPECT_EQ(s.Tellp(), 0);
    EXPECT_EQ(s.Tellg(), 0);
    EXPECT_FALSE(s.Fail());
    EXPECT_TRUE(s.CanSeek());
    EXPECT_TRUE(s.CanRead());
    EXPECT_TRUE(s.CanWrite());
    EXPECT_EQ(s.GetFileLength(), 4);
}

TEST(ZvMemoryStream, KeepsItsArrayAlive) {
    Bytes bytes = Array("abcd");
    ZvPrimArray<unsigned char>* const array = bytes.Get();
    ZvStream$ s = new ZvMemoryStream(bytes);
    EXPECT_EQ(array->ReferenceCount(), 2);
    bytes = Bytes();
    EXPECT_EQ(array->ReferenceCount(), 1);
    EXPECT_EQ(ReadText(*s, 3), "abc");
}

TEST(ZvMemoryStream, WriteThatEndsAtTheEndIsAnOverrunAlthoughEveryByteMoved) {
    Bytes bytes = Array("....");
    ZvMemoryStream s(bytes);
    EXPECT_EQ(s.Write("abc", 3), 3);
    EXPECT_FALSE(s.Fail());
    EXPECT_EQ(s.Tellp(), 3);
    EXPECT_EQ(s.Write("d", 1), 1);
    EXPECT_TRUE(s.Fail());
    EXPECT_EQ(s.Tellp(), 3);
    EXPECT_EQ(Text(bytes), "abcd");
}

TEST(ZvMemoryStream, WriteBeyondTheEndCopiesWhatFits) {
    Bytes bytes = Array("....");
    ZvMemoryStream s(bytes);
    EXPECT_EQ(s.Write("a", 1), 1);
    EXPECT_EQ(s.Write("BCDEF", 5), 3);
    EXPECT_TRUE(s.Fail());
    EXPECT_EQ(s.Tellp(), 1);
    EXPECT_EQ(Text(bytes), "aBCD");
    EXPECT_EQ(s.Write("xy", 2), 2);              // the cursor is where it was, and goes on from there
    EXPECT_EQ(s.Tellp(), 3);
    EXPECT_EQ(Text(bytes), "axyD");
    EXPECT_TRUE(s.Fail());                       // for good
}

TEST(ZvMemoryStream, ReadGoesByTheSameRule) {
    Bytes bytes = Array("abcd");
    ZvMemoryStream s(bytes);
    EXPECT_EQ(ReadText(s, 3), "abc");
    EXPECT_FALSE(s.Fail());
    EXPECT_EQ(ReadText(s, 1), "d");
    EXPECT_TRUE(s.Fail());
    EXPECT_EQ(s.Tellg(), 3);
    EXPECT_EQ(ReadText(s, 100), "d");
    EXPECT_EQ(s.Tellg(), 3);
}

TEST(ZvMemoryStream, TransferOfTheLargestCountIsAnOverrun) {
    Bytes bytes = Array("abcd");
    ZvMemoryStream s(bytes);
    s.Seekg(1, Begin);
    char to[4] = {};
    EXPECT_EQ(s.Read(to, std::numeric_limits<long long>::max()), 3);
    EXPECT_STREQ(to, "bcd");
    EXPECT_TRUE(s.Fail());
    EXPECT_EQ(s.Tellg(), 1);
}

TEST(ZvMemoryStream, TransferOfNothingFailsOnlyWithoutRoom) {
    Bytes bytes = Array("abcd"), none = Array("");
    ZvMemoryStream s(bytes), empty(none);
    EXPECT_EQ(s.Write(nullptr, 0), 0);
    EXPECT_FALSE(s.Fail());
    EXPECT_EQ(empty.Write(nullptr, 0), 0);       // the cursor stands at the end already
    EXPECT_TRUE(empty.Fail());
}

TEST(ZvMemoryStream, EmptyArrayTakesAndGivesNothing) {
    Bytes bytes = Array("");
    char c = 'x';
    {
        ZvMemoryStream s(bytes);
        EXPECT_EQ(s.Read(&c, 1), 0);
        EXPECT_TRUE(s.Fail());
        EXPECT_EQ(c, 'x');
        EXPECT_EQ(s.GetFileLength(), 0);
    }
    ZvMemoryStream s(bytes);
    s.Seekg(0, Begin);
    EXPECT_TRUE(s.Fail());
}

TEST(ZvMemoryStream, OneCursorServesBothDirections) {
    Bytes bytes = Array("abcdef");
    ZvMemoryStream s(bytes);
    s.Write("XY", 2);
    EXPECT_EQ(s.Tellg(), 2);
    EXPECT_EQ(ReadText(s, 2), "cd");
    EXPECT_EQ(s.Tellp(), 4);
    s.Seekp(1, Begin);
    EXPECT_EQ(s.Tellg(), 1);
    EXPECT_EQ(ReadText(s, 1), "Y");
    s.Seekg(0, Begin);
    s.Write("Z", 1);
    EXPECT_EQ(Text(bytes), "ZYcdef");
}

TEST(ZvMemoryStream, SeekBySeekOriginOfEitherDirection) {
    const struct {
        long long from, offset;
        ZvStream::SeekOrigin origin;
        long long to;
        bool fails;
    } rows[] = {
        {2, 0, Begin, 0, false},    {2, 3, Begin, 3, false},     {2, 4, Begin, 2, true},   {2, -1, Begin, 2, true},
        {2, 0, Current, 2, false},  {2, 1, Current, 3, false},   {2, -2, Current, 0, false}, {2, 2, Current, 2, true},
        {2, -3, Current, 2, true},  {2, 0, End, 2, true},        {2, -1, End, 3, false},   {2, -4, End, 0, false},
        {2, -5, End, 2, true},      {2, 1, End, 2, true},
        {2, std::numeric_limits<long long>::max(), Begin, 2, true}, {2, std::numeric_limits<long long>::min(), End, 2, true},
        {2, 1, static_cast<ZvStream::SeekOrigin>(3), 2, false},     {2, 100, static_cast<ZvStream::SeekOrigin>(3), 2, false},
    };
    for (const auto& row : rows) {
        for (const bool put : {true, false}) {
            Bytes bytes = Array("abcd");
            ZvMemoryStream s(bytes);
            s.Seekg(row.from, Begin);
            if (put) s.Seekp(row.offset, row.origin);
            else s.Seekg(row.offset, row.origin);
            EXPECT_EQ(s.Tellg(), row.to) << row.offset << " from " << row.origin;
            EXPECT_EQ(s.Fail(), row.fails) << row.offset << " from " << row.origin;
        }
    }
}

TEST(ZvMemoryStream, FailureStaysForGood) {
    Bytes bytes = Array("abcd");
    ZvMemoryStream s(bytes);
    s.Seekg(0, End);
    ASSERT_TRUE(s.Fail());
    s.Seekg(0, Begin);
    EXPECT_EQ(ReadText(s, 2), "ab");
    s.Flush();
    EXPECT_TRUE(s.SetEndOfFile());
    EXPECT_TRUE(s.Fail());
}

TEST(ZvMemoryStream, FlushDoesNothing) {
    Bytes bytes = Array("abcd");
    ZvMemoryStream s(bytes);
    s.Write("X", 1);
    s.Flush();
    EXPECT_EQ(s.Tellp(), 1);
    EXPECT_FALSE(s.Fail());
    EXPECT_EQ(Text(bytes), "Xbcd");
}

TEST(ZvMemoryStream, SetEndOfFileCutsTheRangeAlone) {
    Bytes bytes = Array("abcdefgh");
    ZvMemoryStream s(bytes);
    s.Seekp(4, Begin);
    EXPECT_TRUE(s.SetEndOfFile());
    EXPECT_FALSE(s.Fail());
    EXPECT_EQ(s.Tellp(), 4);
    EXPECT_EQ(s.GetFileLength(), 4);
    EXPECT_EQ(Text(bytes), "abcdefgh");
    EXPECT_EQ(s.Write("X", 1), 0);               // nothing fits behind the new end
    EXPECT_TRUE(s.Fail());
    s.Seekg(-1, End);
    EXPECT_EQ(s.Tellg(), 3);
    s.Seekg(0, Begin);
    EXPECT_EQ(ReadText(s, 3), "abc");
    EXPECT_EQ(ReadText(s, 5), "d");
    s.Seekg(0, Begin);
    EXPECT_TRUE(s.SetEndOfFile());
    EXPECT_EQ(s.GetFileLength(), 0);
    EXPECT_EQ(Text(bytes), "abcdefgh");
}

TEST(ZvMemoryStream, MovesBytesOfItsOwnArray) {
    Bytes bytes = Array("abcdefgh");
    auto* const start = static_cast<char*>(bytes->GetBaseAddress());
    ZvMemoryStream s(bytes);
    s.Seekp(2, Begin);
    EXPECT_EQ(s.Write(start, 5), 5);
    EXPECT_EQ(Text(bytes), "ababcdeh");
    s.Seekg(2, Begin);
    EXPECT_EQ(s.Read(start, 5), 5);
    EXPECT_EQ(Text(bytes), "abcdedeh");
}

TEST(ZvMemoryStream, IsAReflectedStreamWithoutFactory) {
    ZvType* type = ZvSystem::FindType("ZvMemoryStream");
    ASSERT_EQ(type, &ZvMemoryStream::s_type);
    EXPECT_EQ(type->GetBaseType(), &ZvStream::s_type);
    EXPECT_EQ(type->GetSchema(), 0x80000001u);
    EXPECT_EQ(type->GetClassSpec(), 1u);
    EXPECT_EQ(type->CreateObject(), nullptr);
    Bytes bytes = Array("a");
    EXPECT_EQ(ZvMemoryStream(bytes).GetType(), type);
}
