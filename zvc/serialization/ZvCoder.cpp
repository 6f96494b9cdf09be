#include "zvc/serialization/ZvCoder.h"

#include "zvc/values/ZvConversion.h"

ZV_DEFINE_CLASS(ZvCoder, (ZvObject))

ZvCoder::ZvCoder() = default;
ZvCoder::ZvCoder(const ZvCoder& other) = default;
ZvCoder::~ZvCoder() = default;

ZvCoder& ZvCoder::operator=(const ZvCoder& other) {
    m_channel = other.m_channel;
    m_reserved = other.m_reserved;
    return *this;
}

void ZvCoder::SetChannel(ZvChannel* channel) { m_channel = channel; }

unsigned int ZvObject::FindFileVersion(ZvCoder* coder, ZvType* type) { return coder->FindFileVersion(type); }

namespace {

template <class T>
void WriteElements(ZvCoder& coder, ZvStream$& stream, const T& value) {
    using Scalar = typename zvc::detail::Shape<T>::Scalar;
    const auto* elements = reinterpret_cast<const Scalar*>(&value);
    for (int i = 0; i < zvc::detail::Shape<T>::count; ++i) coder.Write(stream, elements[i]);
}

template <class T>
void ReadElements(ZvCoder& coder, ZvStream$& stream, T& value) {
    using Scalar = typename zvc::detail::Shape<T>::Scalar;
    auto* elements = reinterpret_cast<Scalar*>(&value);
    for (int i = 0; i < zvc::detail::Shape<T>::count; ++i) coder.Read(stream, elements[i]);
}

}

#define ZV_COMPOSITE(...)                                                                                            \
    void ZvCoder::Write(ZvStream$& stream, const __VA_ARGS__& value) { WriteElements(*this, stream, value); }        \
    void ZvCoder::Read(ZvStream$& stream, __VA_ARGS__& value) { ReadElements(*this, stream, value); }

ZV_COMPOSITE(zvcolor)
ZV_COMPOSITE(CG::rotation<double>)
ZV_COMPOSITE(CG::rotation<float>)
ZV_COMPOSITE(CG::mat4<double>)
ZV_COMPOSITE(CG::mat4<float>)
ZV_COMPOSITE(CG::mat3<double>)
ZV_COMPOSITE(CG::mat3<float>)
ZV_COMPOSITE(CG::vec4<double>)
ZV_COMPOSITE(CG::vec4<float>)
ZV_COMPOSITE(CG::vec4<int>)
ZV_COMPOSITE(CG::vec3<double>)
ZV_COMPOSITE(CG::vec3<float>)
ZV_COMPOSITE(CG::vec3<int>)
ZV_COMPOSITE(CG::vec2<double>)
ZV_COMPOSITE(CG::vec2<float>)
ZV_COMPOSITE(CG::vec2<int>)
