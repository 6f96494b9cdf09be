#include "zvc/core/ZvMethod.h"

#include "zvc/core/ZvSystem.h"
#include "zvc/serialization/ZvCoder.h"
#include "zvc/values/ZvString.h"

#include <cstdarg>

ZV_DEFINE_CLASS(ZvMethod, (ZvMarshalByRefObject), .spec = ZvType::SpecMarshalByRef | ZvType::SpecMethod)

ZvMethod::ZvMethod() = default;
ZvMethod::~ZvMethod() = default;

ZvMethod::ZvMethod(ZvType* owner, const char* name, ZvValueType result, int count, ...)
    : m_owner(owner), m_name($L(name)), m_result(ZvValue::FindType(result)) {
    va_list entries;
    va_start(entries, count);
    for (int i = 0; i < count; ++i) {
        m_parameters.emplace_back(ZvValue::FindType(static_cast<ZvValueType>(va_arg(entries, int))));
        m_names.emplace_back(new ZvString(va_arg(entries, const char*)));
    }
    va_end(entries);
    ZvObject::Retain();
}

ZvMethod::ZvMethod(ZvType* owner, const char* name, ZvType* result, std::vector<ZvType$> parameters, std::vector<ZvString$> names)
    : m_owner(owner), m_name($L(name)), m_result(result), m_parameters(std::move(parameters)), m_names(std::move(names)) {
    ZvObject::Retain();
}

ZvMethod::ZvMethod(const ZvString$& name, ZvType* result, const ZvArguments$& args)
    : m_name(name), m_result(result), m_parameters(zvc::detail::SignatureOf(args)) {}

ZvObjRef$ ZvMethod::CreateObjRef() { return ZvMarshalByRefObject::CreateObjRef(); }

void ZvMethod::Invoke(ZvObject*, ZvValue$&, ZvArguments$&) {}

bool ZvMethod::operator==(const ZvMethod& other) const {
    return *m_name == *other.m_name && m_result == other.m_result && m_parameters == other.m_parameters;
}

size_t ZvMethod::GetHashCode() const {
    size_t h = zvc::detail::SignatureHashStart ^ m_name->GetHashCode();
    h = (h * 16777619) ^ m_result->GetHashCode();
    return zvc::detail::HashSignature(h, m_parameters);
}

bool ZvMethod::Equals(const ZvObject* other) const {
    if (this == other) return true;
    if (other == nullptr || other->GetType()->CalcOffset(&s_type) == ZvNoOffset) return false;
    return *this == *static_cast<const ZvMethod*>(other);
}

void ZvMethod::Encode(ZvStream$& stream, ZvCoder* coder) const {
    coder->Write(stream, static_cast<const ZvObject$&>(m_name));
    coder->Write(stream, static_cast<const ZvObject$&>(m_result));
    coder->Write(stream, static_cast<unsigned int>(m_parameters.size()));
    for (size_t i = 0; i < m_parameters.size(); ++i) {
        coder->Write(stream, static_cast<const ZvObject$&>(m_parameters[i]));
        coder->Write(stream, i < m_names.size() ? ZvObject$(m_names[i]) : ZvObject$());
    }
}

void ZvMethod::Decode(ZvStream$& stream, ZvCoder* coder) {
    ZvObject$ name, result;
    coder->Read(stream, name);
    coder->Read(stream, result);
    unsigned int count = 0;
    coder->Read(stream, count);
    std::vector<ZvType$> parameters;
    std::vector<ZvString$> names;
    for (; count != 0; --count) {
        ZvObject$ type, parameterName;
        coder->Read(stream, type);
        coder->Read(stream, parameterName);
        parameters.emplace_back(type);
        names.emplace_back(parameterName);
    }
    m_name = name;
    m_result = result;
    m_parameters = std::move(parameters);
    m_names = std::move(names);
}

ZvMethodMap::ZvMethodMap(ZvMethod$* table) : m_table(table) {
    while (table[m_count]) ++m_count;
}

// Each entry is left to its static handle.
ZvMethodMap::~ZvMethodMap() {
    for (unsigned int i = 0; i < m_count; ++i)
        while (m_table[i]->ReferenceCount() > 1) m_table[i]->Release();
}
