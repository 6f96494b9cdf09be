#pragma once

#include "zvc/values/ZvCollectionInterfaces.h"
#include "zvc/values/ZvHashTable.h"

/// A set of objects by their GetHashCode and Equals; GetHashCode and Equals of the set itself are by identity. The order of
/// enumeration is that of the dictionary's table. Add, Clear, Contains, Remove and each insertion of Decode hold the lock.
class ZV_API ZvHashSet : public ZvObject, public ZvICollection {
    ZV_DECLARE_CLASS(ZvHashSet)
    ZV_DECLARE_CREATE(ZvHashSet)
public:
    ZvHashSet();
    ZvHashSet(const ZvHashSet& other);
    ZvHashSet& operator=(const ZvHashSet& other);
    ~ZvHashSet() override;

    size_t Count() const override { return m_table.Count(); }
    void Clear() override;
    bool Contains(ZvObject$ const& value) const override;
    void Add(ZvObject$ const& value);                                ///< nothing for a value that is there
    void Remove(ZvObject$ const& value);

    ZvIEnumerator$ GetEnumerator() const override;
    ZvIEnumerator$ GetEnumerator() override;

    ZvObject* Clone() const override;
    ZvString$ ToString() const override;                             ///< one element a line
    void Encode(ZvStream$& stream, ZvCoder* coder) const override;
    void Decode(ZvStream$& stream, ZvCoder* coder) override;         ///< adds to what is there

    class Enumerator;

private:
    zvc::detail::HashTable m_table;
};

/// The walk over a set, in its order of enumeration.
class ZV_API ZvHashSet::Enumerator : public ZvObject, public ZvIEnumerator {
    ZV_DECLARE_CLASS(ZvHashSet::Enumerator)
public:
    explicit Enumerator(const zvc::detail::HashTable& table);
    Enumerator(const Enumerator& other) = default;
    ~Enumerator() override;
    bool HasNext() override { return m_at != m_table->End(); }
    ZvObject$ Next() override;
    void Reset() override { m_at = m_table->First(); }
    ZvObject* Clone() const override;

private:
    const zvc::detail::HashTable* m_table;
    const zvc::detail::HashTable::Link* m_at;
};
