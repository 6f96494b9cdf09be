#include "zvc/core/ZvField.h"

#include "zvc/core/ZvSystem.h"
#include "zvc/values/ZvDictionary.h"
#include "zvc/values/ZvString.h"

#include <cstring>

ZV_DEFINE_CLASS(ZvField, (ZvObject))
ZV_DEFINE_CLASS(ZvFieldMap, (ZvObject))

ZvField::ZvField(ZvType* owner, const char* name, ZvType* valueType)
    : m_owner(owner), m_name($L(name)), m_valueType(valueType) {}
ZvField::ZvField(const ZvField& other) = default;
ZvField::~ZvField() = default;

ZvString$ ZvField::ToString() const {
    ZvString$ text = new ZvString;
    text->Format("address[0x%p] \"%s.%s\"", static_cast<const void*>(this), m_owner->GetName()->CStr(), m_name->CStr());
    return text;
}

void ZvField::Traverse(ZvTraverser&, ZvObject$&) {}
void ZvField::SetDefault(ZvObject*) const {}

ZvFieldMap::ZvFieldMap(ZvField** table) : m_fields(nullptr), m_count(0), m_owns(true) {
    while (table[m_count] != nullptr) ++m_count;
    const size_t bytes = static_cast<size_t>(m_count) * sizeof *table;
    m_fields = static_cast<ZvField**>(ZvSystem::Malloc(bytes));
    std::memcpy(m_fields, table, bytes);
}

ZvFieldMap::ZvFieldMap(const ZvFieldMap& other)
    : ZvObject(other), m_fields(other.m_fields), m_count(other.m_count), m_owns(false) {}

ZvFieldMap& ZvFieldMap::operator=(const ZvFieldMap& other) {
    if (m_fields == other.m_fields) return *this;
    DeleteFields();
    m_fields = other.m_fields;
    m_count = other.m_count;
    m_owns = false;
    return *this;
}

ZvFieldMap::~ZvFieldMap() { DeleteFields(); }

void ZvFieldMap::DeleteFields() {
    if (!m_owns) return;
    for (int i = 0; i < m_count; ++i) delete m_fields[i];
    ZvSystem::Free(m_fields);
}

void ZvFieldMap::GetFieldInfos(ZvDictionary$& d) {
    for (int i = 0; i < m_count; ++i) (*d)[m_fields[i]->Name()] = m_fields[i]->Clone();
}

void ZvFieldMap::GetFieldValues(const ZvObject* o, ZvDictionary$& d) {
    for (int i = 0; i < m_count; ++i) (*d)[m_fields[i]->Name()] = m_fields[i]->GetValue(o);
}
