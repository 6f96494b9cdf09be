// A codec plug-in without a module record's export being needed: its types register as it is loaded.

#include "TestCodec.h"

ZV_MODULE("plug_codec_b", nullptr, nullptr)

class CodecB : public TestCodec {
    ZV_DECLARE_CLASS(CodecB)
    using TestCodec::TestCodec;
};
ZV_DEFINE_CLASS(CodecB, (ZvImgCodec))

namespace {

ZvImgCodec$ Create(ZvStream$& stream) { return new CodecB(stream); }
const char* s_shared[] = {"SHARED", nullptr};
const char* s_own[] = {"OWNB", nullptr};
ZvCodecType s_first("first of b", s_shared, "*.shared", &Create, nullptr);
ZvCodecRegister s_registerFirst(&s_first);
ZvCodecType s_second("second of b", s_own, "*.ownb", &Create, nullptr);
ZvCodecRegister s_registerSecond(&s_second);

}
