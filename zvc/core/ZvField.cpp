#include "zvc/core/ZvField.h"

#include "zvc/core/ZvFieldPrimitive.h"
#include "zvc/core/ZvSystem.h"
#include "zvc/values/ZvDictionary.h"
#include "zvc/values/ZvString.h"

#include <cstring>

ZV_DEFINE_CLASS(ZvField, (ZvObject))
ZV_DEFINE_CLASS(ZvFieldMap, (ZvObject))

ZvField::ZvField(ZvType* owner, const char* name, ZvType* type) : m_owner(owner), m_name($L(name)), m_type(type) {}
ZvField::ZvField(const ZvField& other) = default;
ZvField::~ZvField() = default;

void ZvField::Traverse(ZvTraverser&, ZvObject$&) {}
void ZvField::SetDefault(ZvObject*) const {}

ZvString$ ZvField::ToString() const {
    ZvString$ text = new ZvString;
    text->Format("address[0x%p] \"%s.%s\"", static_cast<const void*>(this), m_owner->GetName()->CStr(), m_name->CStr());
    return text;
}

ZvFieldMap::ZvFieldMap(ZvField** table) {
    while (table[m_count] != nullptr) ++m_count;
    const size_t bytes = static_cast<size_t>(m_count) * sizeof *table;
    m_fields = static_cast<ZvField**>(ZvSystem::Malloc(bytes != 0 ? bytes : 1));
    if (bytes != 0) std::memcpy(m_fields, table, bytes);
}

ZvFieldMap::ZvFieldMap(const ZvFieldMap& other)
    : ZvObject(other), m_fields(other.m_fields), m_count(other.m_count), m_owns(false) {}

ZvFieldMap& ZvFieldMap::operator=(const ZvFieldMap& other) {
    m_fields = other.m_fields;
    m_count = other.m_count;
    m_owns = false;
    return *this;
}

ZvFieldMap::~ZvFieldMap() {
    if (!m_owns) return;
    for (int i = 0; i < m_count; ++i) delete m_fields[i];
    ZvSystem::Free(m_fields);
}

void ZvFieldMap::GetFieldInfos(ZvDictionary$& d) {
    for (int i = 0; i < m_count; ++i) d->operator[](m_fields[i]->Name()) = m_fields[i]->Clone();
}

void ZvFieldMap::GetFieldValues(const ZvObject* o, ZvDictionary$& d) {
    for (int i = 0; i < m_count; ++i) d->operator[](m_fields[i]->Name()) = m_fields[i]->GetValue(o);
}

namespace {

template <class T>
ZvField* Make(ZvType* owner, const char* name, int ZvObject::* member) {
    return new ZvFieldPrimitive<T>(owner, name, reinterpret_cast<T ZvObject::*>(member));
}

}

ZvField* ZvSelectFieldPrimitive(ZvType* owner, const char* name, ZvValueType type, int ZvObject::* member) {
    switch (static_cast<int>(type)) {
#define ZV_SELECT(text, ...) \
    case zvc::detail::KindNumber<__VA_ARGS__>: return Make<__VA_ARGS__>(owner, name, member);
        ZV_FOR_EACH_ELEMENT_NAME(ZV_SELECT)
        ZV_SELECT("", CG::vec3<int>)
        ZV_SELECT("", CG::vec4<int>)
#undef ZV_SELECT
        default: return nullptr;
    }
}
