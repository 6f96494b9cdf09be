#include "zvc/remoting/ZvMethodRef.h"

#include "zvc/serialization/ZvCoder.h"
#include "zvc/serialization/ZvCoderException.h"
#include "zvc/values/ZvString.h"

ZV_DEFINE_CLASS(ZvMethodRef, (ZvObjRef), .spec = ZvType::SpecClass | ZvType::SpecMarshalByRef, .codec = true, .create = &Create)

using zvc::detail::Signature;

ZvMethodRef::ZvMethodRef() = default;

ZvMethodRef::ZvMethodRef(ZvMethod* method)
    : ZvObjRef(method, method->GetType()), m_name(method->Name()), m_retType(method->ReturnType()) {
    for (int i = 0; i < method->Count(); ++i) {
        m_types.Add(method->ParameterType(i));
        m_names.push_back(method->ParameterName(i));
    }
}

ZvMethodRef::ZvMethodRef(const ZvString$& name, const ZvType$& returnType, const ZvArguments$& arguments)
    : m_name(name), m_retType(returnType) {
    m_types.AddArguments(arguments);
}

ZvMethodRef::ZvMethodRef(const ZvMethodRef& other) = default;
ZvMethodRef::~ZvMethodRef() = default;

ZvMethodRef& ZvMethodRef::operator=(const ZvMethodRef& other) {
    ZvObjRef::operator=(other);
    m_name = other.m_name;
    m_retType = other.m_retType;
    m_types = other.m_types;
    m_names = other.m_names;
    return *this;
}

ZvString$ ZvMethodRef::GetParamName(unsigned int index) const { return index < m_names.size() ? m_names[index] : ZvString$(); }

bool ZvMethodRef::operator==(const ZvMethodRef& other) const {
    const bool sameName = m_name && other.m_name ? *m_name == *other.m_name : m_name == other.m_name;
    return sameName && m_retType == other.m_retType && m_types == other.m_types;
}

// A decoded one may lack its name and types: they count as 0.
size_t ZvMethodRef::GetHashCode() const {
    size_t h = zvc::detail::SignatureHashStart ^ (m_name ? m_name->GetHashCode() : 0);
    h = Signature::Fold(h, m_retType.Get());
    h = (h * zvc::detail::SignatureHashPrime) ^ m_types.Count();
    for (size_t i = 0; i < m_types.Count(); ++i) h = Signature::Fold(h, m_types[i]);
    return h;
}

bool ZvMethodRef::Equals(const ZvObject* other) const {
    if (this == other) return true;
    if (other == nullptr || other->GetType()->CalcOffset(&s_type) == ZvNoOffset) return false;
    return *this == *static_cast<const ZvMethodRef*>(other);
}

void ZvMethodRef::Encode(ZvStream$& stream, ZvCoder* coder) const {
    coder->Write(stream, static_cast<const ZvObject$&>(m_name));
    coder->Write(stream, static_cast<const ZvObject$&>(m_retType));
    coder->Write(stream, GetNumParams());
    for (unsigned int i = 0; i < GetNumParams(); ++i) {
        coder->Write(stream, ZvObject$(m_types[i]));
        coder->Write(stream, ZvObject$(GetParamName(i)));
    }
}

void ZvMethodRef::Decode(ZvStream$& stream, ZvCoder* coder) {
    ZvObject$ name, type;
    coder->Read(stream, name);
    coder->Read(stream, type);
    const ZvType$ retType = type;
    unsigned int count = 0;
    coder->Read(stream, count);
    Signature types;
    std::vector<ZvString$> names;            // grows as parameters arrive: the count is only a claim
    for (; count != 0; --count) {
        ZvObject$ parameter;
        coder->Read(stream, type);
        coder->Read(stream, parameter);
        types.Add(ZvType$(type).Get());
        names.emplace_back(parameter);
        // A memory stream gives its last byte for ever.
        if (count % 1024 == 0 && stream->Fail())
            throw ZvCoderException(ZvCoderException::StreamFailed, "ZvMethodRef", "ZvMethodRef::Decode", __LINE__, "");
    }
    m_name = name;
    m_retType = retType;
    m_types = types;
    m_names = std::move(names);
}
