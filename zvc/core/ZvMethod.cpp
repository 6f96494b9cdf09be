#include "zvc/core/ZvMethod.h"

#include "zvc/core/ZvSystem.h"
#include "zvc/serialization/ZvCoder.h"
#include "zvc/serialization/ZvRun.h"
#include "zvc/values/ZvString.h"

#include <cstdarg>

ZV_DEFINE_CLASS(ZvMethod, (ZvMarshalByRefObject), .spec = ZvType::SpecMarshalByRef | ZvType::SpecMethod)

ZvMethod::ZvMethod() = default;
ZvMethod::~ZvMethod() = default;

ZvMethod::ZvMethod(ZvType* owner, const char* name, ZvValueType result, int count, ...)
    : m_owner(owner), m_name($L(name)), m_types{ZvValue::FindType(result)} {
    va_list entries;
    va_start(entries, count);
    for (int i = 0; i < count; ++i) {
        m_types.Add(ZvValue::FindType(static_cast<ZvValueType>(va_arg(entries, int))));
        m_names.emplace_back(new ZvString(va_arg(entries, const char*)));
    }
    va_end(entries);
    ZvObject::Retain();
}

ZvMethod::ZvMethod(ZvType* owner, const char* name, std::initializer_list<ZvType*> resultAndParameters,
                   std::initializer_list<const char*> names)
    : m_owner(owner), m_name($L(name)), m_types(resultAndParameters) {
    for (const char* parameter : names) m_names.emplace_back(new ZvString(parameter));
    ZvObject::Retain();
}

ZvMethod::ZvMethod(const ZvString$& name, ZvType* result, const ZvArguments$& args) : m_name(name) {
    m_types.Add(result);
    m_types.AddArguments(args);
}

ZvString$ ZvMethod::ParameterName(int index) const {
    return static_cast<size_t>(index) < m_names.size() ? m_names[static_cast<size_t>(index)] : ZvString$();
}

void ZvMethod::Invoke(ZvObject*, ZvValue$&, ZvArguments$&) {}

namespace {

bool SameName(const ZvString* a, const ZvString* b) { return a == b || (a != nullptr && b != nullptr && *a == *b); }

size_t HashOfHead(const ZvString* name, const ZvType* result, size_t count) {
    using namespace zvc::detail;
    const size_t h = Signature::Fold(SignatureHashStart ^ (name != nullptr ? name->GetHashCode() : 0), result);
    return (h * SignatureHashPrime) ^ count;
}

}

bool ZvMethod::operator==(const ZvMethod& other) const {
    if (!SameName(m_name.Get(), other.m_name.Get()) || ReturnType() != other.ReturnType() || Count() != other.Count()) return false;
    for (int i = 0; i < Count(); ++i)
        if (ParameterType(i) != other.ParameterType(i)) return false;
    return true;
}

bool ZvMethod::Matches(const ZvString* name, const ZvType* result, const ZvArguments$& args) const {
    using zvc::detail::Signature;
    const size_t count = args ? args->Count() : 0;
    if (static_cast<size_t>(Count()) != count || ReturnType() != result || !SameName(m_name.Get(), name)) return false;
    for (size_t i = 0; i < count; ++i)
        if (ParameterType(static_cast<int>(i)) != Signature::TypeOf((*args)[i].Get())) return false;
    return true;
}

size_t ZvMethod::GetHashCode() const {
    using zvc::detail::Signature;
    size_t h = HashOfHead(m_name.Get(), ReturnType(), static_cast<size_t>(Count()));
    for (int i = 0; i < Count(); ++i) h = Signature::Fold(h, ParameterType(i));
    return h;
}

size_t ZvMethod::HashOf(const ZvString* name, const ZvType* result, const ZvArguments$& args) {
    using zvc::detail::Signature;
    const size_t count = args ? args->Count() : 0;
    size_t h = HashOfHead(name, result, count);
    for (size_t i = 0; i < count; ++i) h = Signature::Fold(h, Signature::TypeOf((*args)[i].Get()));
    return h;
}

bool ZvMethod::Equals(const ZvObject* other) const {
    if (this == other) return true;
    if (other == nullptr || other->GetType()->CalcOffset(&s_type) == ZvNoOffset) return false;
    return *this == *static_cast<const ZvMethod*>(other);
}

void ZvMethod::Encode(ZvStream$& stream, ZvCoder* coder) const {
    coder->Write(stream, static_cast<const ZvObject$&>(m_name));
    coder->Write(stream, ZvObject$(ReturnType()));
    coder->Write(stream, static_cast<unsigned int>(Count()));
    for (int i = 0; i < Count(); ++i) {
        coder->Write(stream, ZvObject$(ParameterType(i)));
        coder->Write(stream, ZvObject$(ParameterName(i)));
    }
}

void ZvMethod::Decode(ZvStream$& stream, ZvCoder* coder) {
    ZvObject$ name;
    coder->Read(stream, name);
    zvc::detail::Signature types;
    const auto readType = [&] {
        ZvObject$ type;
        coder->Read(stream, type);
        types.Add(ZvType$(type).Get());
    };
    readType();
    unsigned int count = 0;
    coder->Read(stream, count);
    std::vector<ZvString$> names;                // grows as parameters arrive: the count is only a claim
    zvc::detail::Arrival arrival(stream, coder);
    for (; count != 0; --count) {
        arrival.After(sizeof(ZvType$) + sizeof(ZvString$));
        readType();
        ZvObject$ parameter;
        coder->Read(stream, parameter);
        names.emplace_back(parameter);
    }
    m_name = name;
    m_types = types;
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
