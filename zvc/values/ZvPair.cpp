#include "zvc/values/ZvPair.h"

#include "zvc/core/ZvFieldMacros.h"
#include "zvc/core/ZvMethodMacros.h"

ZV_DEFINE_CLASS(ZvPair, (ZvObject), ZV_TABLES)
ZV_FIELDS(ZvPair)
ZV_METHODS(ZvPair)
ZV_CONSTRUCTORS(ZvPair)

ZvPair::ZvPair() = default;
ZvPair::ZvPair(ZvObject$ const& first, ZvObject$ const& second) : m_first(first), m_second(second) {}
ZvPair::ZvPair(const ZvPair& other) = default;
ZvPair::~ZvPair() = default;

ZvPair& ZvPair::operator=(const ZvPair& other) {
    m_first = other.m_first;
    m_second = other.m_second;
    return *this;
}

ZV_DEFINE_CLASS(ZvDictionaryEntry, (ZvObject))

ZvDictionaryEntry::ZvDictionaryEntry(ZvObject$ const& key, ZvObject$ const& value) : m_key(key), m_value(value) {}
ZvDictionaryEntry::ZvDictionaryEntry(const ZvDictionaryEntry& other) = default;
ZvDictionaryEntry::~ZvDictionaryEntry() = default;

ZvDictionaryEntry& ZvDictionaryEntry::operator=(const ZvDictionaryEntry& other) {
    m_key = other.m_key;
    m_value = other.m_value;
    return *this;
}
