#pragma once

#include <zvc/zvc.h>

/// A codec that reads and writes nothing.
class TestCodec : public ZvImgCodec {
public:
    explicit TestCodec(ZvStream$& stream) : ZvImgCodec(stream) {}
    void Reserved() override {}
    bool DecodeImage(ZvImage*) override { return false; }
    bool EncodeImage(const ZvImage*, int, const char**, const char**) override { return false; }
};
