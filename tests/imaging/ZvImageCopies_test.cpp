// Comparison, copies, coding and the end of images.

#include "zvc/imaging/ZvImage.h"

#include "../support/Cases.h"
#include "../support/Coding.h"
#include "../support/Leaks.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

using cases::Group;
using cases::Json;

ZvImage$ Over(std::string& bytes, int width, int height, int channels, int depth, int sampleType = 0, int pitch = 0) {
    return new ZvImage(width, height, static_cast<char>(channels), static_cast<short>(depth), static_cast<char>(sampleType),
                       reinterpret_cast<unsigned char*>(bytes.data()), pitch, false);
}

ZvImage$ OfCase(const Json& c, std::string& block) {
    block = cases::FromHex(c["block"]);
    return Over(block, c["width"], c["height"], c["channels"], c["depth"], c["sampleType"]);
}

std::string BlockOf(const ZvImage& image) {
    return {reinterpret_cast<const char*>(image.GetBaseAddress()), static_cast<size_t>(std::abs(image.GetHeight()) * image.GetLinePitch())};
}

class KindOfImage : public ZvImage {
    ZV_DECLARE_CLASS(KindOfImage)
public:
    using ZvImage::ZvImage;
};

/// What OnDeleted calls back.
struct Witness {
    int calls = 0;
    ZvObject* sender = nullptr;
    bool hadPixels = false, hadArguments = false;

    void OnDeleted(ZvObject* object, ZvEventArgs& arguments) {
        ++calls;
        sender = object;
        hadPixels = static_cast<ZvImage*>(object)->GetBaseAddress()[0] == 'p';
        hadArguments = arguments.GetType() == &ZvEventArgs::s_type;
    }
};

}

ZV_DEFINE_CLASS(KindOfImage, (ZvImage))

TEST(ZvImage, EqualsIsTheComputedOne) {
    for (const Json& c : Group("image", "equals")) {
        std::string a, b;
        const ZvImage$ first = OfCase(c["a"], a), second = OfCase(c["b"], b);
        EXPECT_EQ(first->Equals(second.Get()), c["equal"].get<bool>()) << c["name"];
    }
}

TEST(ZvImage, EqualsComparesLayoutAndBytes) {
    std::string bytes = "0123456789abcdef", same = bytes, other = "0123456789abcdeX";
    const ZvImage$ image = Over(bytes, 4, 4, 1, 8);
    EXPECT_TRUE(image->Equals(image.Get()));
    EXPECT_TRUE(image->Equals(Over(same, 4, 4, 1, 8).Get()));
    EXPECT_FALSE(image->Equals(Over(other, 4, 4, 1, 8).Get()));
    EXPECT_FALSE(image->Equals(nullptr));
    EXPECT_FALSE(image->Equals(ZvObject$(new ZvString("0123456789abcdef")).Get()));
    EXPECT_FALSE(image->Equals(Over(same, 3, 4, 1, 8).Get()));
    EXPECT_FALSE(image->Equals(Over(same, 4, 3, 1, 8).Get()));
    EXPECT_FALSE(image->Equals(Over(same, 4, -4, 1, 8).Get()));
    EXPECT_FALSE(image->Equals(Over(same, 1, 4, 4, 8).Get()));
    EXPECT_FALSE(image->Equals(Over(same, 4, 4, 1, 9, 0, 4).Get()));
}

TEST(ZvImage, EqualsIgnoresTheSampleType) {
    std::string bytes = "0123456789abcdef", same = bytes;
    EXPECT_TRUE(Over(bytes, 4, 4, 1, 8, 1)->Equals(Over(same, 4, 4, 1, 8, 2).Get()));
}

TEST(ZvImage, EqualsTakesDerivedImages) {
    std::string bytes = "0123456789abcdef", same = bytes;
    const ZvObject$ derived = new KindOfImage(4, 4, 1, 8, 0, reinterpret_cast<unsigned char*>(same.data()), 0, false);
    EXPECT_TRUE(Over(bytes, 4, 4, 1, 8)->Equals(derived.Get()));
}

TEST(ZvImage, EqualsCountsTheReceiversBytesWithTheirPadding) {
    std::string bytes = "abc.def.", padded = "abc-def-";
    EXPECT_FALSE(Over(bytes, 3, 2, 1, 8)->Equals(Over(padded, 3, 2, 1, 8).Get()));
    // A pitch of its own is not compared, but decides how many bytes are.
    EXPECT_TRUE(Over(bytes, 3, 2, 1, 8, 0, 3)->Equals(Over(bytes, 3, 2, 1, 8).Get()));
    std::string begin = "abc.deXX";
    EXPECT_TRUE(Over(bytes, 3, 2, 1, 8, 0, 3)->Equals(Over(begin, 3, 2, 1, 8).Get()));
}

TEST(ZvImage, EqualsOfTopDownImagesComparesTheirRows) {
    std::string bytes = "0123456789abcdef", other = "0123456789abcdeX", same = bytes;
    EXPECT_FALSE(Over(bytes, 4, -4, 1, 8)->Equals(Over(other, 4, -4, 1, 8).Get()));
    EXPECT_TRUE(Over(bytes, 4, -4, 1, 8)->Equals(Over(same, 4, -4, 1, 8).Get()));
}

TEST(ZvImage, EqualsWithoutPixels) {
    std::string bytes(16, 'a');
    const ZvImage$ none = new ZvImage(4, 4, 1, 8, 0, nullptr, 0, false), full = Over(bytes, 4, 4, 1, 8);
    EXPECT_FALSE(none->Equals(full.Get()));
    EXPECT_FALSE(full->Equals(none.Get()));
    EXPECT_TRUE(ZvImage$(new ZvImage)->Equals(ZvImage$(new ZvImage).Get()));
}

TEST(ZvImage, CloneIsDeep) {
    std::string bytes = "abc.def.";
    const ZvImage$ image = Over(bytes, 3, -2, 1, 8, 7);
    const ZvImage$ clone = ZvObject$(image->Clone());
    EXPECT_NE(clone->GetBaseAddress(), image->GetBaseAddress());
    EXPECT_EQ(BlockOf(*clone), bytes);
    EXPECT_EQ(clone->GetHeight(), -2);
    EXPECT_EQ(clone->GetSampleType(), 7);
    EXPECT_EQ(clone->Realize(255.0f), 1.0f);
    clone->GetBaseAddress()[0] = 'X';
    EXPECT_EQ(bytes, "abc.def.");
}

TEST(ZvImage, CloneKeepsAPitchOfItsOwn) {
    std::string bytes = "abcde.....fghij.....";
    const ZvImage$ clone = ZvObject$(Over(bytes, 5, 2, 1, 8, 0, 10)->Clone());
    EXPECT_EQ(clone->GetLinePitch(), 10);
    EXPECT_EQ(BlockOf(*clone), bytes);
}

TEST(ZvImage, CloneOfAFloatImageHasABlockOfItsOwn) {
    std::string bytes(2 * 12, 'f');
    const ZvImage$ image = Over(bytes, 3, 2, 1, int16_t(0x8020));
    ASSERT_EQ(image->GetLinePitch(), 12);
    const ZvImage$ clone = ZvObject$(image->Clone());
    EXPECT_NE(clone->GetBaseAddress(), image->GetBaseAddress());
    EXPECT_EQ(BlockOf(*clone), bytes);
    EXPECT_EQ(clone->GetDepth(), int16_t(0x8020));
}

TEST(ZvImage, CloneHasNoTargetsAndComputesItsOwnHash) {
    std::string bytes(16, 'p');
    Witness witness;
    const ZvImage$ image = Over(bytes, 4, 4, 1, 8);
    image->OnDeleted() = zvc::Delegate<void(ZvObject*, ZvEventArgs&)>(&witness, &Witness::OnDeleted);
    const size_t hash = image->GetHashCode();
    bytes[0] = 'q';
    {
        const ZvImage$ clone = ZvObject$(image->Clone());
        EXPECT_FALSE(clone->OnDeleted());
        EXPECT_NE(clone->GetHashCode(), hash);
    }
    EXPECT_EQ(witness.calls, 0);
    image->OnDeleted() = nullptr;
}

TEST(ZvImage, AssignmentSharesTheBlock) {
    ZvImage$ first = new ZvImage(4, 4, 1, 8, 3, nullptr, 0, true), second = new ZvImage;
    std::memset(first->GetBaseAddress(), 'a', 16);
    const size_t hash = first->GetHashCode();
    *second = *first;
    EXPECT_EQ(second->GetBaseAddress(), first->GetBaseAddress());
    EXPECT_EQ(second->GetWidth(), 4);
    EXPECT_EQ(second->GetSampleType(), 3);
    EXPECT_EQ(second->GetLinePitch(), 4);
    EXPECT_EQ(second->Realize(255.0f), 1.0f);
    first->GetBaseAddress()[0] = 'b';
    EXPECT_EQ(second->GetHashCode(), hash);                 // copied with the other fields
    // Both own it, and the last of them ends it.
    first = nullptr;
    EXPECT_EQ(second->GetBaseAddress()[0], 'b');
    *second = *second;
    EXPECT_EQ(second->GetBaseAddress()[1], 'a');
}

TEST(ZvImage, AssignmentDuplicatesTheTargets) {
    std::string bytes(16, 'p');
    Witness witness;
    {
        const ZvImage$ first = Over(bytes, 4, 4, 1, 8), second = new ZvImage;
        first->OnDeleted() = zvc::Delegate<void(ZvObject*, ZvEventArgs&)>(&witness, &Witness::OnDeleted);
        *second = *first;
        EXPECT_TRUE(second->OnDeleted());
    }
    EXPECT_EQ(witness.calls, 2);
}

TEST(ZvImage, OnDeletedIsCalledWhileThePixelsAreThere) {
    Witness witness;
    ZvImage$ image = new ZvImage(4, 4, 1, 8, 0, nullptr, 0, true);
    std::memset(image->GetBaseAddress(), 'p', 16);
    image->OnDeleted() += zvc::Delegate<void(ZvObject*, ZvEventArgs&)>(&witness, &Witness::OnDeleted);
    ZvObject* address = image.Get();
    image = nullptr;
    EXPECT_EQ(witness.calls, 1);
    EXPECT_EQ(witness.sender, address);
    EXPECT_TRUE(witness.hadPixels);
    EXPECT_TRUE(witness.hadArguments);
}

TEST(ZvImage, TargetMayHoldTheImageForAWhile) {
    int calls = 0;
    ZvImage$ image = new ZvImage(4, 4, 1, 8, 0, nullptr, 0, true);
    image->OnDeleted() = zvc::Delegate<void(ZvObject*, ZvEventArgs&)>([&calls](ZvObject* object, ZvEventArgs&) {
        const ZvObject$ handle = object;
        const ZvObject$ second = handle;
        ++calls;
    });
    image = nullptr;
    EXPECT_EQ(calls, 1);
}

TEST(ZvImage, ToStringIsTheComputedOne) {
    for (const Json& c : Group("image", "to-string")) {
        std::string block;
        const ZvImage$ image = OfCase(c, block);
        EXPECT_EQ(std::string(image->ToString()->CStr()), cases::Text(c["out"])) << c["name"];
    }
}

TEST(ZvImage, ToStringWritesCharactersAndRows) {
    std::string bytes = "ABCxDEFx";
    EXPECT_STREQ(Over(bytes, 3, 2, 1, 8, '!')->ToString()->CStr(), "width :3\nheight:2\nchannels:\x01\ndepth:8\nsample type:!\nA B C \nD E F \n");
    // Nothing of a top-down image's pixels.
    EXPECT_STREQ(Over(bytes, 3, -2, 1, 8, '!')->ToString()->CStr(), "width :3\nheight:-2\nchannels:\x01\ndepth:8\nsample type:!\n");
    // The text ends at the first zero byte.
    EXPECT_STREQ(Over(bytes, 3, 2, 1, 8, 0)->ToString()->CStr(), "width :3\nheight:2\nchannels:\x01\ndepth:8\nsample type:");
    EXPECT_STREQ(ZvImage$(new ZvImage)->ToString()->CStr(), "width :0\nheight:0\nchannels:");
    std::string zero("A\0Bx", 4);
    EXPECT_STREQ(Over(zero, 3, 1, 1, -8, '!', 4)->ToString()->CStr(), "width :3\nheight:1\nchannels:\x01\ndepth:-8\nsample type:!\nA ");
}

TEST(ZvImage, IsCodedByItsMembers) {
    std::string bytes = "abc.def.";
    const ZvImage$ image = Over(bytes, 3, -2, 1, 8, 5);
    cases::Memory memory;
    const ZvBinaryCoder$ coder = cases::Coder(0);
    image->Encode(memory.stream, coder.Get());
    // As the coder writes the same values by itself.
    cases::Memory expected;
    coder->Write(expected.stream, 3);
    coder->Write(expected.stream, -2);
    coder->Write(expected.stream, static_cast<char>(1));
    coder->Write(expected.stream, static_cast<short>(8));
    coder->Write(expected.stream, static_cast<char>(5));
    coder->Write(expected.stream, static_cast<const void*>(bytes.data()), size_t(8));
    EXPECT_EQ(cases::ToHex(memory.Taken()), cases::ToHex(expected.Taken()));

    cases::Memory back(memory.Taken());
    const ZvImage$ decoded = new ZvImage;
    decoded->Decode(back.stream, coder.Get());
    EXPECT_TRUE(decoded->Equals(image.Get()));
    EXPECT_EQ(decoded->GetSampleType(), 5);
    EXPECT_EQ(decoded->GetLinePitch(), 4);
    EXPECT_EQ(decoded->GetPixelPitch(), 1);
    EXPECT_EQ(decoded->Realize(255.0f), 1.0f);
    EXPECT_EQ(BlockOf(*decoded), bytes);
}

TEST(ZvImage, APitchOfItsOwnIsLostWhenDecoded) {
    std::string bytes = "abc-----def-----";
    const ZvImage$ image = Over(bytes, 3, 2, 1, 8, 0, 8);
    cases::Memory memory;
    const ZvBinaryCoder$ coder = cases::Coder(0);
    image->Encode(memory.stream, coder.Get());
    cases::Memory back(memory.Taken());
    const ZvImage$ decoded = new ZvImage;
    decoded->Decode(back.stream, coder.Get());
    EXPECT_EQ(decoded->GetLinePitch(), 4);
    EXPECT_EQ(BlockOf(*decoded), "abc-----");              // eight bytes of the sixteen that were written
}

TEST(ZvImage, GoesThroughTheCoderAsAnObject) {
    std::string bytes(6 * 4 * 2, 'z');
    bytes[7] = 0;
    const ZvImage$ image = Over(bytes, 3, 4, 2, 16, 1);
    cases::Memory memory;
    cases::Coder(0)->Write(memory.stream, ZvObject$(image));
    cases::Memory back(memory.Taken());
    ZvObject$ read;
    cases::Coder(0)->Read(back.stream, read);
    ASSERT_TRUE(read);
    EXPECT_EQ(read->GetType(), &ZvImage::s_type);
    EXPECT_TRUE(read->Equals(image.Get()));
}

TEST(ZvImage, DecodingLeavesTheOldBlock) {
    const LeaksAllowed leaks;
    std::string bytes = "abcd";
    cases::Memory memory;
    const ZvBinaryCoder$ coder = cases::Coder(0);
    Over(bytes, 4, 1, 1, 8)->Encode(memory.stream, coder.Get());
    const ZvImage$ image = new ZvImage(4, 4, 1, 8, 0, nullptr, 0, true);
    unsigned char* old = image->GetBaseAddress();
    old[3] = 'o';
    cases::Memory back(memory.Taken());
    image->Decode(back.stream, coder.Get());
    EXPECT_NE(image->GetBaseAddress(), old);
    EXPECT_EQ(old[3], 'o');
    EXPECT_EQ(BlockOf(*image), "abcd");
}

TEST(ZvImage, HostileSizesEndInTheCodersFailure) {
    const struct { int width, height; char channels; short depth; } rows[] = {
        {0x7FFFFFFF, 0x7FFFFFFF, 4, 16}, {1 << 30, 1, 127, 8}, {-1, -1, -1, -1}, {100000, -100000, 4, 8}, {0x7FFFFFFF, INT32_MIN, 1, 1},
    };
    const ZvBinaryCoder$ coder = cases::Coder(0);
    for (const auto& row : rows) {
        cases::Memory memory;
        coder->Write(memory.stream, row.width);
        coder->Write(memory.stream, row.height);
        coder->Write(memory.stream, row.channels);
        coder->Write(memory.stream, row.depth);
        coder->Write(memory.stream, static_cast<char>(0));
        cases::Memory back(memory.Taken() + "some pixels, but far from all");
        std::string bytes(16, 'k');
        const ZvImage$ image = Over(bytes, 4, 4, 1, 8);
        try {
            image->Decode(back.stream, coder.Get());
            // A size that multiplies to nothing is no failure.
            EXPECT_LE(std::abs(static_cast<long long>(image->GetHeight())) * image->GetLinePitch(), 64) << row.width;
        } catch (ZvCoderException& e) {
            EXPECT_EQ(e.cause, ZvCoderException::StreamFailed) << row.width;
            EXPECT_EQ(BlockOf(*image), bytes) << row.width;              // what it was before
        }
    }
}

TEST(ZvImage, BitmapHasTheImagesHeader) {
    std::string bytes(3 * 4 * 2, 0);
    for (int i = 0; i < 24; ++i) bytes[static_cast<size_t>(i)] = static_cast<char>('a' + i);
    for (const int height : {2, -2}) {
        const HBITMAP bitmap = Over(bytes, 4, height, 3, 8)->GetHBITMAP();
        ASSERT_NE(bitmap, nullptr);
        const zvc::platform::BitmapHeader* header = zvc::platform::GetBitmapHeader(bitmap);
        EXPECT_EQ(header->size, 40u);
        EXPECT_EQ(header->width, 4);
        EXPECT_EQ(header->height, height);
        EXPECT_EQ(header->planes, 1);
        EXPECT_EQ(header->bitCount, 24);
        EXPECT_EQ(header->compression, 0u);
        EXPECT_EQ(header->imageSize, 0u);
        EXPECT_EQ(header->horizontalResolution, 0);
        EXPECT_EQ(header->verticalResolution, 0);
        EXPECT_EQ(header->colorsUsed, 0u);
        EXPECT_EQ(header->colorsImportant, 0u);
        // The first and the third byte of each pixel change places.
        EXPECT_EQ(std::string(static_cast<const char*>(zvc::platform::GetBitmapBits(bitmap)), 24), "cbafedihglkjonmrqputsxwv");
        EXPECT_TRUE(zvc::platform::DeleteBitmap(bitmap));
    }
}

TEST(ZvImage, BitmapOfFourChannelsPacksThreeBytes) {
    std::string bytes = "abcdefghijklmnop";
    const HBITMAP bitmap = Over(bytes, 2, 2, 4, 8)->GetHBITMAP();
    ASSERT_NE(bitmap, nullptr);
    EXPECT_EQ(zvc::platform::GetBitmapHeader(bitmap)->bitCount, 32);
    const auto* bits = static_cast<const char*>(zvc::platform::GetBitmapBits(bitmap));
    EXPECT_EQ(std::string(bits, 6), "cbagfe");
    EXPECT_EQ(std::string(bits + 8, 6), "kjionm");                        // rows at the image's own pitch
    zvc::platform::DeleteBitmap(bitmap);
}

TEST(ZvImage, BitmapOfAnEmptyImage) {
    const HBITMAP bitmap = ZvImage$(new ZvImage)->GetHBITMAP();
    ASSERT_NE(bitmap, nullptr);
    EXPECT_EQ(zvc::platform::GetBitmapHeader(bitmap)->width, 0);
    EXPECT_EQ(zvc::platform::GetBitmapHeader(bitmap)->bitCount, 0);
    EXPECT_TRUE(zvc::platform::DeleteBitmap(bitmap));
    EXPECT_FALSE(zvc::platform::DeleteBitmap(nullptr));
}

TEST(ZvImageUnloadedException, CarriesItsMessage) {
    try {
        throw ZvImageUnloadedException("decode error");
    } catch (ZvException& e) {
        EXPECT_EQ(e.GetType(), &ZvImageUnloadedException::s_type);
        EXPECT_STREQ(e.What()->CStr(), "decode error");
    }
    EXPECT_TRUE(ZvImageUnloadedException::s_type.GetName()->CStr() == std::string("ZvImageUnloadedException"));
}
