// Values through a coder of somebody else, which takes its values from where it likes: it sees every element, may have no
// stream, and is asked for a block as a whole.

#include "support/RecordingCoder.h"

#include <gtest/gtest.h>

namespace {

constexpr unsigned int Many = 70'000;                    // more than is believed of a count at once

/// States that many elements.
class ManyElements : public RecordingCoder {
public:
    using RecordingCoder::Read;
    void Read(ZvStream$&, unsigned int& value) override { value = Many; }
    void Read(ZvStream$&, int& value) override { value = ++ints; }
    void Read(ZvStream$&, ZvObject$& value) override { value = new ZvPrimitive<int>(++objects); }
    ZvObject* DecodeObject(ZvStream$&) override {
        ++objects;
        return new ZvString("candidate");
    }
    int ints = 0;
    int objects = 0;
};

/// States a picture of 300 by 300 bytes.
class PictureOfBytes : public RecordingCoder {
public:
    using RecordingCoder::Read;
    void Read(ZvStream$&, int& value) override { value = 300; }
    void Read(ZvStream$&, short& value) override { value = 8; }
    void Read(ZvStream$&, char& value) override { value = 1; }
};

class OpenData : public ZvData {
public:
    using ZvData::Decode;
};

}

TEST(ZvRun, VectorsAndArraysNeedNoStreamWhereTheCoderNeedsNone) {
    ZvStream$ none;
    ManyElements coder;
    ZvVector<int> vector;
    vector.Decode(none, &coder);
    ASSERT_EQ(vector.Count(), Many);
    EXPECT_EQ(vector[Many - 1], static_cast<int>(Many));
    EXPECT_EQ(vector.Capacity(), Many);
    ZvPrimArray<int> array;
    array.Decode(none, &coder);
    ASSERT_EQ(array.Count(), Many);
    EXPECT_EQ(array[0], static_cast<int>(Many) + 1);
}

TEST(ZvRun, CollectionsNeedNoStreamWhereTheCoderNeedsNone) {
    ZvStream$ none;
    const ZvObject$ objects[] = {new ZvArrayList, new ZvQueue, new ZvStack, new ZvHashSet};
    for (const ZvObject$& o : objects) {
        ManyElements coder;
        o->Decode(none, &coder);
        EXPECT_EQ(ZvICollection$(o)->Count(), Many) << o->GetType()->GetName()->CStr();
    }
    ManyElements coder;
    ZvDictionary dictionary;
    dictionary.Decode(none, &coder);
    EXPECT_EQ(dictionary.Count(), Many);
}

TEST(ZvRun, CandidatesAndSignaturesNeedNoStreamWhereTheCoderNeedsNone) {
    ZvStream$ none;
    ManyElements coder;
    ZvEnum candidates;
    candidates.Decode(none, &coder);
    EXPECT_EQ(candidates.AddCandidate(nullptr), Many);
    ZvMethod method;
    method.Decode(none, &coder);
    EXPECT_EQ(method.Count(), static_cast<int>(Many));
}

TEST(ZvRun, RawBlockIsReadAsAWhole) {
    ZvStream$ none;
    ManyElements coder;
    OpenData data;
    data.Decode(none, &coder);
    EXPECT_EQ(data.GetCount(), Many);
    EXPECT_EQ(coder.calls, "block:70000 ");
    PictureOfBytes picture;
    ZvImage image;
    image.Decode(none, &picture);
    EXPECT_EQ(picture.calls, "block:90000 ");
}

TEST(ZvRun, EveryElementIsAskedForByItself) {
    ZvStream$ none;
    RecordingCoder coder;                                // the count is 1
    ZvVector<CG::vec2<int>> points;
    points.Decode(none, &coder);
    points.Encode(none, &coder);
    EXPECT_EQ(coder.calls, "u1 i2 i3 u1 i2 i3 ");
}
