#include "zvc/core/ZvConstructor.h"

#include <cstdarg>
#include <utility>

ZV_DEFINE_CLASS(ZvConstructor, (ZvObject), .spec = ZvType::SpecConstructor)

namespace zvc::detail {

Signature::Signature(const Signature& other) : m_types(other.m_types), m_counted(other.m_counted) {
    if (!m_counted) return;
    for (ZvType* type : m_types)
        if (type != nullptr) type->Retain();
}

Signature& Signature::operator=(Signature other) {
    std::swap(m_types, other.m_types);
    std::swap(m_counted, other.m_counted);
    return *this;
}

Signature::~Signature() {
    if (!m_counted) return;
    for (ZvType* type : m_types)
        if (type != nullptr) type->Release();
}

void Signature::Add(ZvType* type) {
    m_types.push_back(type);
    if (m_counted && type != nullptr) type->Retain();
}

void Signature::AddArguments(const ZvArguments$& args) {
    if (!args) return;
    const unsigned long long count = args->Count();
    m_types.reserve(m_types.size() + count);
    for (unsigned long long i = 0; i < count; ++i) Add(TypeOf((*args)[i].Get()));
}

}

ZvConstructor::ZvConstructor() = default;
ZvConstructor::~ZvConstructor() = default;

ZvConstructor::ZvConstructor(int count, ...) : m_parameters(std::initializer_list<ZvType*>{}) {
    va_list kinds;
    va_start(kinds, count);
    for (int i = 0; i < count; ++i) m_parameters.Add(ZvValue::FindType(static_cast<ZvValueType>(va_arg(kinds, int))));
    va_end(kinds);
    ZvObject::Retain();
}

ZvConstructor::ZvConstructor(std::initializer_list<ZvType*> parameters) : m_parameters(parameters) { ZvObject::Retain(); }

ZvConstructor::ZvConstructor(const ZvArguments$& args) { m_parameters.AddArguments(args); }

ZvObject* ZvConstructor::Create(ZvArguments$&) { return nullptr; }

bool ZvConstructor::operator==(const ZvConstructor& other) const { return m_parameters == other.m_parameters; }

size_t ZvConstructor::GetHashCode() const {
    size_t h = zvc::detail::SignatureHashStart ^ m_parameters.Count();
    for (size_t i = 0; i < m_parameters.Count(); ++i) h = zvc::detail::Signature::Fold(h, m_parameters[i]);
    return h;
}

bool ZvConstructor::Equals(const ZvObject* other) const {
    if (this == other) return true;
    if (other == nullptr || other->GetType()->CalcOffset(&s_type) == ZvNoOffset) return false;
    return *this == *static_cast<const ZvConstructor*>(other);
}

ZvConstructorMap::ZvConstructorMap(ZvConstructor$* table) : m_table(table) {
    while (table[m_count]) ++m_count;
}

ZvConstructorMap::~ZvConstructorMap() {
    for (unsigned int i = 0; i < m_count; ++i) {
        while (m_table[i]->ReferenceCount() > 1) m_table[i]->Release();
        m_table[i] = ZvConstructor$();
    }
}
