#include "zvc/remoting/ZvRemoteTypeInfo.h"

#include "zvc/serialization/ZvCoder.h"
#include "zvc/values/ZvDictionary.h"
#include "zvc/values/ZvString.h"

ZV_DEFINE_CLASS(ZvRemoteTypeInfo, (ZvObject), .spec = ZvType::SpecClass | ZvType::SpecMarshalByRef, .codec = true,
                .create = &Create)

ZvRemoteTypeInfo::ZvRemoteTypeInfo() = default;
ZvRemoteTypeInfo::ZvRemoteTypeInfo(ZvType* type)
    : m_type(type), m_typeName(type->GetName()), m_methods(type->CreateMethodCache()) {}
ZvRemoteTypeInfo::ZvRemoteTypeInfo(const ZvRemoteTypeInfo& other) = default;
ZvRemoteTypeInfo::~ZvRemoteTypeInfo() = default;

ZvRemoteTypeInfo& ZvRemoteTypeInfo::operator=(const ZvRemoteTypeInfo& other) {
    m_type = other.m_type;
    m_typeName = other.m_typeName;
    m_methods = other.m_methods;
    return *this;
}

ZvMethodRef$ ZvRemoteTypeInfo::FindMethod(const ZvString$& name, const ZvType$& returnType, const ZvArguments$& arguments) {
    if (!m_methods) return ZvMethodRef$();
    const ZvMethodRef$ key = new ZvMethodRef(name, returnType, arguments);
    return m_methods->Find(key);
}

void ZvRemoteTypeInfo::Encode(ZvStream$& stream, ZvCoder* coder) const {
    coder->Write(stream, static_cast<const ZvObject$&>(m_typeName));
    coder->Write(stream, static_cast<const ZvObject$&>(m_methods));
}

void ZvRemoteTypeInfo::Decode(ZvStream$& stream, ZvCoder* coder) {
    ZvObject$ name, methods;
    coder->Read(stream, name);
    coder->Read(stream, methods);
    m_typeName = name;
    m_methods = methods;
}
