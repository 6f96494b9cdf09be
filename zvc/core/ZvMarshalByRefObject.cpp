#include "zvc/core/ZvMarshalByRefObject.h"

ZV_DEFINE_CLASS(ZvMarshalByRefObject, (ZvObject))

ZvMarshalByRefObject::ZvMarshalByRefObject() = default;
ZvMarshalByRefObject::ZvMarshalByRefObject(const ZvMarshalByRefObject& other) = default;
ZvMarshalByRefObject::~ZvMarshalByRefObject() = default;

ZvMarshalByRefObject& ZvMarshalByRefObject::operator=(const ZvMarshalByRefObject& other) {
    m_objRef = other.m_objRef;
    return *this;
}
