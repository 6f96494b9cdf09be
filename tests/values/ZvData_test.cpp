#include "zvc/values/ZvData.h"

#include "../support/Coding.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

constexpr auto Plain = ZvStreamingContext::States(0);

ZvData$ MakeData(const std::string& bytes) {
    return new ZvData(bytes.size(), reinterpret_cast<const unsigned char*>(bytes.data()));
}

std::string BytesOf(const ZvData& data) { return std::string(data.GetValue(), data.GetValue() + data.GetCount()); }

/// Encode and Decode are protected: a derived class stands for the coder that calls them.
class OpenData : public ZvData {
public:
    using ZvData::ZvData;
    using ZvData::Decode;
    using ZvData::Encode;
};

}

TEST(ZvData, IsEmptyAtFirst) {
    ZvData data;
    EXPECT_EQ(data.GetCount(), 0u);
    EXPECT_EQ(*data.ToString(), "");
    EXPECT_EQ(data.GetHashCode(), 0x5FB1232Au);
}

TEST(ZvData, CopiesTheBytesItIsMadeOf) {
    unsigned char bytes[] = {1, 2, 3};
    ZvData data(3, bytes);
    bytes[0] = 9;
    EXPECT_EQ(BytesOf(data), "\1\2\3");
    unsigned char out[2] = {};
    data.GetBytes(2, out);
    EXPECT_EQ(out[1], 2);
    data.GetBytes(0, nullptr);
    data.GetValue()[2] = 7;
    EXPECT_EQ(BytesOf(data), "\1\2\7");
}

TEST(ZvData, SetValueReplaces) {
    ZvData$ data = MakeData("abc");
    data->SetValue(2, reinterpret_cast<const unsigned char*>("xy"));
    EXPECT_EQ(BytesOf(*data), "xy");
    data->SetValue(1, data->GetValue() + 1);                 // of its own
    EXPECT_EQ(BytesOf(*data), "y");
    data->SetValue(0, nullptr);
    EXPECT_EQ(data->GetCount(), 0u);
}

TEST(ZvData, SetValueOfNoMoreBytesKeepsTheirPlace) {
    ZvData$ data = MakeData("abcdef");
    const unsigned char* place = data->GetValue();
    data->SetValue(6, reinterpret_cast<const unsigned char*>("uvwxyz"));
    EXPECT_EQ(data->GetValue(), place);
    data->SetValue(3, data->GetValue() + 2);
    EXPECT_EQ(BytesOf(*data), "wxy");
    EXPECT_EQ(data->GetValue(), place);
    data->SetValue(4, reinterpret_cast<const unsigned char*>("1234"));
    EXPECT_EQ(BytesOf(*data), "1234");
}

TEST(ZvData, AddValueAppends) {
    ZvData data;
    std::string expected;
    for (int i = 0; i < 1000; ++i) {
        const std::string piece(static_cast<size_t>(i % 7), static_cast<char>('a' + i % 26));
        data.AddValue(piece.size(), piece.data());
        expected += piece;
    }
    EXPECT_EQ(BytesOf(data), expected);
    data.AddValue(0, nullptr);
    EXPECT_EQ(data.GetCount(), expected.size());
}

TEST(ZvData, AddValueMayTakeFromItself) {
    ZvData$ data = MakeData("abcd");
    std::string expected = "abcd";
    for (int i = 0; i < 6; ++i) {
        data->AddValue(data->GetCount(), data->GetValue());
        expected += expected;
    }
    EXPECT_EQ(BytesOf(*data), expected);
}

TEST(ZvData, HashIsOfTheChecksumAndTheCount) {
    const struct {
        const char* bytes;
        size_t hash;
    } cases[] = {
        {"", 0x5fb1232a},
        {"37aa2ca1af0144b2fa72334dcfd22d8153b15b1608305fdaf3afdda60401bfbc4250bdee0ff8c0e6", 0x45344523},
        {"a095303d815671a4e29444e70768d3a8", 0x9cc7d373},
        {"c2968b", 0x6faacf21},
    };
    for (const auto& c : cases) EXPECT_EQ(MakeData(FromHex(c.bytes))->GetHashCode(), c.hash) << c.bytes;
}

TEST(ZvData, HashStaysStaleOnceComputed) {
    ZvData$ data = MakeData("abc");
    EXPECT_EQ(data->GetHashCode(), 0x6a9562ebu);
    data->AddValue(3, "def");
    EXPECT_EQ(data->GetHashCode(), 0x6a9562ebu);
    data->SetValue(1, reinterpret_cast<const unsigned char*>("z"));
    EXPECT_EQ(data->GetHashCode(), 0x6a9562ebu);
    EXPECT_EQ(MakeData("abcdef")->GetHashCode(), 0x143f1ac3u);
}

TEST(ZvData, CopiesTakeTheHashAlong) {
    ZvData$ data = MakeData("abc");
    data->GetHashCode();
    data->AddValue(3, "def");
    ZvData copy(*data), assigned;
    assigned = *data;
    ZvData$ clone = ZvObject$(data->Clone());
    for (const ZvData* c : {static_cast<const ZvData*>(&copy), static_cast<const ZvData*>(&assigned),
                            static_cast<const ZvData*>(clone.Get())}) {
        EXPECT_EQ(BytesOf(*c), "abcdef");
        EXPECT_EQ(c->GetHashCode(), 0x6a9562ebu);
    }
    EXPECT_EQ(clone->ReferenceCount(), 1);
}

TEST(ZvData, EqualsComparesTheBytes) {
    ZvData$ abc = MakeData("abc");
    const OpenData derived(3, reinterpret_cast<const unsigned char*>("abc"));
    EXPECT_TRUE(abc->Equals(abc.Get()));
    EXPECT_TRUE(abc->Equals(MakeData("abc").Get()));
    EXPECT_TRUE(abc->Equals(&derived));
    EXPECT_FALSE(abc->Equals(MakeData("abd").Get()));
    EXPECT_FALSE(abc->Equals(MakeData("ab").Get()));
    EXPECT_FALSE(abc->Equals(nullptr));
    EXPECT_FALSE(abc->Equals(ZvString$(new ZvString("abc")).Get()));
    EXPECT_TRUE(ZvData().Equals(MakeData("").Get()));
}

TEST(ZvData, ToStringPutsABlankBehindEachByte) {
    EXPECT_EQ(*MakeData("abc")->ToString(), "a b c ");
    EXPECT_EQ(*MakeData(std::string("a\0b", 3))->ToString(), "a ");
}

TEST(ZvData, IsMadeByName) {
    EXPECT_EQ(ZvSystem::FindType("ZvData"), &ZvData::s_type);
    ZvData$ data = ZvObject$(ZvData::s_type.CreateObject());
    EXPECT_TRUE(data);
    EXPECT_EQ(ZvData::s_type.GetSchema(), 0x80000001u);
    EXPECT_EQ(ZvData::s_type.GetClassSpec(), 1u);
    EXPECT_TRUE(ZvData::s_type.HasCodec());
}

TEST(ZvData, StoredBytes) {
    const std::vector<std::string> expected = {
        "84878e5a76446174618b5a5643a001a301000080a000",
        "84a801a014000102030405060708090a0b0c0d0e0f10111213"};
    const std::vector<ZvObject$> objects = {new ZvData, MakeData(FromHex("000102030405060708090a0b0c0d0e0f10111213"))};
    EXPECT_EQ(Written(objects, Plain), expected);
    const std::vector<ZvObject$> back = ReadBack(expected[0] + expected[1], 2, Plain);
    EXPECT_TRUE(back[0]->Equals(objects[0].Get()));
    EXPECT_TRUE(back[1]->Equals(objects[1].Get()));
}

TEST(ZvData, LongDataComesBackWhole) {
    std::string bytes;
    for (int i = 0; i < 500000; ++i) bytes.push_back(static_cast<char>(i * 31 + i / 257));
    ZvData$ data = MakeData(bytes);
    const std::vector<ZvObject$> back = ReadBack(Written({data}, Plain)[0], 1, Plain);
    EXPECT_TRUE(data->Equals(back[0].Get()));
}

TEST(ZvData, DecodeReplacesTheBytesAndKeepsTheHash) {
    OpenData data(3, reinterpret_cast<const unsigned char*>("abc"));
    data.GetHashCode();
    ZvStream$ stream = StreamOf("a002787900");
    ZvBinaryCoder$ coder = new ZvBinaryCoder(new ZvStreamingContext(Plain));
    data.Decode(stream, coder.Get());
    EXPECT_EQ(BytesOf(data), "xy");
    EXPECT_EQ(data.GetHashCode(), 0x6a9562ebu);
}

TEST(ZvData, EncodeOnAReadOnlyStreamRaisesBeforeAnythingIsWritten) {
    ZvStream$ stream = new ZvFileStream("/dev/null", ZvFile::Read, ZvFile::Open);
    ASSERT_FALSE(stream->CanWrite());
    ZvBinaryCoder$ coder = new ZvBinaryCoder(new ZvStreamingContext(Plain));
    const OpenData data(3, reinterpret_cast<const unsigned char*>("abc"));
    try {
        data.Encode(stream, coder.Get());
        ADD_FAILURE();
    } catch (ZvCoderException& e) {
        EXPECT_EQ(e.cause, ZvCoderException::NotWritable);
        EXPECT_STREQ(e.function, "ZvData::Encode");
        EXPECT_STREQ(e.file, "ZvData");
        EXPECT_EQ(e.line, 89u);
    }
}

TEST(ZvData, CountThatTheStreamDoesNotBearOutRaises) {
    OpenData data(3, reinterpret_cast<const unsigned char*>("abc"));
    ZvStream$ stream = StreamOf("a3ffffffff6162");
    ZvBinaryCoder$ coder = new ZvBinaryCoder(new ZvStreamingContext(Plain));
    EXPECT_THROW(data.Decode(stream, coder.Get()), ZvCoderException);
    EXPECT_EQ(BytesOf(data), "abc");
}
