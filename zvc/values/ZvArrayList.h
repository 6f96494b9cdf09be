#pragma once

#include "zvc/values/ZvCollectionInterfaces.h"

#include <vector>

/// A growable list of object handles. Elements are searched by identity and never by Equals. Indexes are not checked.
///
/// Add, Clear, Contains, IndexOf, Insert, Remove and RemoveAt hold the object's lock; nothing else does.
class ZV_API ZvArrayList : public ZvObject, public ZvIList {
    ZV_DECLARE_CLASS(ZvArrayList)
    ZV_DECLARE_CREATE(ZvArrayList)
public:
    ZvArrayList();
    ZvArrayList(const ZvArrayList& other);                           ///< the same element objects
    ZvArrayList& operator=(const ZvArrayList& other);
    ~ZvArrayList() override;

    size_t Count() const override { return m_items.size(); }
    void Clear() override;
    bool Contains(ZvObject$ const& value) const override;
    ZvObject$ const& operator[](size_t index) const override { return m_items[index]; }
    ZvObject$& operator[](size_t index) override { return m_items[index]; }
    ZvObject$ const& ItemAt(size_t index) const override { return m_items[index]; }
    ZvObject$& ItemAt(size_t index) override { return m_items[index]; }

    /// Appends, and answers the new element's index.
    size_t Add(ZvObject$ const& value) override;
    /// The first index of that very object; all ones when there is none.
    size_t IndexOf(ZvObject$ const& value) const override;
    /// An index beyond the end fills the list with null handles up to it.
    void Insert(size_t index, ZvObject$ const& value) override;
    void Remove(size_t first, size_t last) override;                 ///< the half-open range
    void Remove(ZvObject$ const& value) override;                    ///< the first occurrence, if any
    void RemoveAt(size_t index) override;

    size_t Capacity() const { return m_items.capacity(); }
    void Reserve(size_t count);                                      ///< exactly count when that is more
    void Resize(size_t count);                                       ///< cuts, or fills with null handles

    /// The index of the first element whose address is greater than value's, in a list that is ordered by address; -1 when
    /// there is none. It has nothing to do with the elements' values.
    int BinarySearch(ZvObject$ const& value) const;

    ZvIEnumerator$ GetEnumerator() const override;
    ZvIEnumerator$ GetEnumerator() override;

    size_t GetHashCode() const override;
    bool Equals(const ZvObject* other) const override;
    ZvObject* Clone() const override;
    ZvString$ ToString() const override;
    void Encode(ZvStream$& stream, ZvCoder* coder) const override;
    void Decode(ZvStream$& stream, ZvCoder* coder) override;         ///< appends

    class Enumerator;

private:
    void MakeRoom(size_t count);
    void TakeOut(size_t first, size_t last);

    std::vector<ZvObject$> m_items;
};

/// The walk over a list, from its first element.
class ZV_API ZvArrayList::Enumerator : public ZvObject, public ZvIEnumerator {
    ZV_DECLARE_CLASS(ZvArrayList::Enumerator)
public:
    explicit Enumerator(const std::vector<ZvObject$>& items);
    Enumerator(const Enumerator& other) = default;
    ~Enumerator() override;
    bool HasNext() override { return m_at != m_items->data() + m_items->size(); }
    ZvObject$ Next() override { return *m_at++; }
    void Reset() override { m_at = m_items->data(); }
    ZvObject* Clone() const override;

private:
    const std::vector<ZvObject$>* m_items;
    const ZvObject$* m_at;
};
