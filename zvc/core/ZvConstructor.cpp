#include "zvc/core/ZvConstructor.h"

#include <cstdarg>

ZV_DEFINE_CLASS(ZvConstructor, (ZvObject), .spec = ZvType::SpecConstructor)

namespace zvc::detail {

std::vector<ZvType$> SignatureOf(const ZvArguments$& args) {
    std::vector<ZvType$> types;
    if (!args) return types;
    for (unsigned long long i = 0; i < args->Count(); ++i) {
        ZvObject* argument = (*args)[i].Get();
        ZvType* type = argument->GetType();
        types.emplace_back(type == &ZvType::s_type ? static_cast<ZvType*>(argument) : type);
    }
    return types;
}

size_t HashSignature(size_t h, const std::vector<ZvType$>& parameters) {
    h = (h * 16777619) ^ parameters.size();
    for (const ZvType$& t : parameters) h = (h * 16777619) ^ t->GetHashCode();
    return h;
}

}

ZvConstructor::ZvConstructor() = default;
ZvConstructor::ZvConstructor(std::vector<ZvType$> parameters) : m_parameters(std::move(parameters)) {}
ZvConstructor::ZvConstructor(const ZvArguments$& args) : m_parameters(zvc::detail::SignatureOf(args)) {}
ZvConstructor::~ZvConstructor() = default;

ZvConstructor::ZvConstructor(int count, ...) {
    va_list kinds;
    va_start(kinds, count);
    for (int i = 0; i < count; ++i) m_parameters.emplace_back(ZvValue::FindType(static_cast<ZvValueType>(va_arg(kinds, int))));
    va_end(kinds);
    ZvObject::Retain();
}

ZvObject* ZvConstructor::Create(ZvArguments$&) { return nullptr; }

bool ZvConstructor::operator==(const ZvConstructor& other) const { return m_parameters == other.m_parameters; }

size_t ZvConstructor::GetHashCode() const {
    size_t h = zvc::detail::SignatureHashStart ^ m_parameters.size();
    for (const ZvType$& t : m_parameters) h = (h * 16777619) ^ t->GetHashCode();
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
