#pragma once

#include <zvc/zvc.h>

/// The newest codec type, with the plug-ins beside the tests loaded: their search would otherwise come in the middle of the
/// first test that asks for a codec, and put their types in front of the test's own.
inline ZvCodecType* LoadedCodecs() {
    ZvHandle<ZvPrimArray<unsigned char>, ZvArrayValue$> bytes = new ZvPrimArray<unsigned char>(1, nullptr);
    ZvStream$ none = new ZvMemoryStream(bytes);
    ZvImgCodec::GetEncoder(none, "no codec's");
    return ZvImgCodec::s_root;
}
