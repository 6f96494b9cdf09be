// A codec plug-in without a module record's export being needed: its types register as it is loaded.

#include "TestCodec.h"

ZV_MODULE("plug_codec_a", nullptr, nullptr)

class CodecA : public TestCodec {
    ZV_DECLARE_CLASS(CodecA)
    using TestCodec::TestCodec;
};
ZV_DEFINE_CLASS(CodecA, (ZvImgCodec))

namespace {

ZvImgCodec$ Create(ZvStream$& stream) { return new CodecA(stream); }
const char* s_shared[] = {"SHARED", nullptr};
const char* s_own[] = {"OWNA", nullptr};
ZvCodecType s_first("first of a", s_shared, "*.shared", &Create, nullptr);
ZvCodecRegister s_registerFirst(&s_first);
ZvCodecType s_second("second of a", s_own, "*.owna", &Create, nullptr);
ZvCodecRegister s_registerSecond(&s_second);

}
