#include "zvc/serialization/ZvStreamingContext.h"

ZV_DEFINE_CLASS(ZvStreamingContext, (ZvObject))

ZvStreamingContext::ZvStreamingContext(States state) : m_state(state) {}
ZvStreamingContext::ZvStreamingContext(const ZvStreamingContext& other) = default;
ZvStreamingContext::~ZvStreamingContext() = default;

ZvStreamingContext& ZvStreamingContext::operator=(const ZvStreamingContext& other) {
    m_state = other.m_state;
    return *this;
}
