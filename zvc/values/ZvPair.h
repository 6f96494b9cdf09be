#pragma once

#include "zvc/core/ZvDeclare.h"

/// Two handles. Not cloned and not stored: a coder writes no content for it.
class ZV_API ZvPair : public ZvObject {
    ZV_DECLARE_CLASS(ZvPair)
    ZV_DECLARE_TABLES()
public:
    ZvPair();
    ZvPair(ZvObject$ const& first, ZvObject$ const& second);
    ZvPair(const ZvPair& other);
    ZvPair& operator=(const ZvPair& other);
    ~ZvPair() override;

    ZvObject$& First() { return m_first; }
    const ZvObject$& First() const { return m_first; }
    ZvObject$& Second() { return m_second; }
    const ZvObject$& Second() const { return m_second; }

private:
    ZvObject$ m_first, m_second;
};
ZV_DECLARE_HANDLE(ZvPair, ZvObject$);

/// A key and its value, as a dictionary's enumerator gives them. Not cloned and not stored.
class ZV_API ZvDictionaryEntry : public ZvObject {
    ZV_DECLARE_CLASS(ZvDictionaryEntry)
public:
    ZvDictionaryEntry(ZvObject$ const& key, ZvObject$ const& value);
    ZvDictionaryEntry(const ZvDictionaryEntry& other);
    ZvDictionaryEntry& operator=(const ZvDictionaryEntry& other);
    ~ZvDictionaryEntry() override;

    ZvObject$ Key() const { return m_key; }
    ZvObject$ Value() const { return m_value; }

private:
    ZvObject$ m_key, m_value;
};
