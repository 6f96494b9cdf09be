#pragma once

#include "zvc/values/ZvCollectionInterfaces.h"
#include "zvc/values/ZvHashTable.h"
#include "zvc/values/ZvPair.h"

/// Keys and values, by the keys' GetHashCode and Equals. The order of enumeration is a fixed function of what was done to
/// the dictionary, and is what a coder writes. A null handle is a key like any other. Keys keep their hash while they are in.
///
/// Add, Clear, Remove, Keys and Values hold the object's lock; nothing else does.
class ZV_API ZvDictionary : public ZvObject, public ZvIDictionary {
    ZV_DECLARE_CLASS(ZvDictionary)
    ZV_DECLARE_CREATE(ZvDictionary)
public:
    ZvDictionary();
    /// Keys and values are shared. The entries are inserted one by one: their order may differ from the source's.
    ZvDictionary(const ZvDictionary& other);
    ZvDictionary& operator=(const ZvDictionary& other);
    ~ZvDictionary() override;

    size_t Count() const override { return m_table.Count(); }
    void Clear() override;
    bool Contains(ZvObject$ const& key) const override;

    /// The value of key's entry, which is made with a null value when it is not there.
    ZvObject$& operator[](ZvObject$ const& key) override;

    /// The value, or null: Contains tells an absent key from a null value.
    ZvObject$ Find(ZvObject$ const& key) const override;
    ZvObject$ Find(ZvObject$ const& key) override;

    /// New lists, in the order of enumeration.
    ZvICollection$ Keys() override;
    ZvICollection$ Values() override;

    /// A key that is there already keeps its value, and the new one is dropped.
    void Add(ZvObject$ const& key, ZvObject$ const& value) override;
    void Remove(ZvObject$ const& key) override;

    ZvIEnumerator$ GetEnumerator() const override;
    ZvIEnumerator$ GetEnumerator() override;

    size_t GetHashCode() const override;                             ///< of the values alone
    bool Equals(const ZvObject* other) const override;               ///< pairwise in the order of enumeration
    ZvObject* Clone() const override;
    ZvString$ ToString() const override;                             ///< key="value", nothing between two entries
    void Encode(ZvStream$& stream, ZvCoder* coder) const override;
    void Decode(ZvStream$& stream, ZvCoder* coder) override;         ///< adds to what is there

    class Enumerator;

private:
    friend class ZvType;                         // whose caches are dictionaries
    zvc::detail::HashTable m_table;
};

/// The walk over a dictionary, in its order of enumeration.
class ZV_API ZvDictionary::Enumerator : public ZvObject, public ZvIDictionaryEnumerator {
    ZV_DECLARE_CLASS(ZvDictionary::Enumerator)
public:
    explicit Enumerator(const zvc::detail::HashTable& table);
    Enumerator(const Enumerator& other) = default;
    ~Enumerator() override;
    bool HasNext() override { return m_at != m_table->End(); }
    ZvObject$ Next() override;                                       ///< a new ZvDictionaryEntry
    void Reset() override { m_at = m_table->First(); }
    ZvDictionaryEntry Entry() override;
    ZvObject$ Key() override;
    ZvObject$ Value() override;
    ZvObject* Clone() const override;

private:
    const zvc::detail::HashTable::Node& Node() const { return *static_cast<const zvc::detail::HashTable::Node*>(m_at); }
    const zvc::detail::HashTable* m_table;
    const zvc::detail::HashTable::Link* m_at;
};
