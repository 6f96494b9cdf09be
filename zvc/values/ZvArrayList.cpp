#include "zvc/values/ZvArrayList.h"

#include "zvc/serialization/ZvRun.h"
#include "zvc/values/ZvSequence.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>

ZV_DEFINE_CLASS(ZvArrayList, (ZvObject, ZvIList), .codec = true, .create = &Create)
ZV_DEFINE_CLASS(ZvArrayList::Enumerator, (ZvObject, ZvIEnumerator))

ZvArrayList::ZvArrayList() = default;
ZvArrayList::ZvArrayList(const ZvArrayList& other) : ZvObject(other), ZvIList(other), m_items(other.m_items) {}
ZvArrayList::~ZvArrayList() = default;

ZvArrayList& ZvArrayList::operator=(const ZvArrayList& other) {
    if (this == &other) return *this;
    std::vector<ZvObject$> items;                 // the capacity stays, or becomes what is needed
    items.reserve(std::max(m_items.capacity(), other.m_items.size()));
    items.assign(other.m_items.begin(), other.m_items.end());
    m_items.swap(items);
    return *this;
}

// Half as much again, or what is needed.
void ZvArrayList::MakeRoom(size_t count) {
    if (count <= m_items.capacity()) return;
    if (count > m_items.max_size()) throw std::length_error("vector<T> too long");
    m_items.reserve(std::max(count, m_items.capacity() + m_items.capacity() / 2));
}

// What leaves the list ends only when the list is whole again: the end of an object may use the list that held it.
void ZvArrayList::TakeOut(size_t first, size_t last) {
    const auto from = m_items.begin() + static_cast<std::ptrdiff_t>(first), to = m_items.begin() + static_cast<std::ptrdiff_t>(last);
    const std::vector<ZvObject$> taken(std::make_move_iterator(from), std::make_move_iterator(to));
    m_items.erase(from, to);
}

void ZvArrayList::Clear() {
    ZvLock lock(this);
    std::vector<ZvObject$> items;
    items.swap(m_items);
    items.clear();
    if (m_items.capacity() >= items.capacity()) return;
    items.assign(std::make_move_iterator(m_items.begin()), std::make_move_iterator(m_items.end()));
    m_items.swap(items);                          // the capacity stays
}

bool ZvArrayList::Contains(ZvObject$ const& value) const {
    ZvLock lock(this);
    return std::find(m_items.begin(), m_items.end(), value) != m_items.end();
}

size_t ZvArrayList::Add(ZvObject$ const& value) {
    ZvLock lock(this);
    ZvObject$ element = value;                    // it may stand in the list itself
    MakeRoom(m_items.size() + 1);
    m_items.push_back(std::move(element));
    return m_items.size() - 1;
}

size_t ZvArrayList::IndexOf(ZvObject$ const& value) const {
    ZvLock lock(this);
    const auto found = std::find(m_items.begin(), m_items.end(), value);
    return found != m_items.end() ? static_cast<size_t>(found - m_items.begin()) : ~size_t(0);
}

void ZvArrayList::Insert(size_t index, ZvObject$ const& value) {
    ZvLock lock(this);
    ZvObject$ element = value;
    // The filling counts in 32 bits.
    for (auto i = static_cast<unsigned int>(m_items.size()); i < index; ++i) {
        MakeRoom(m_items.size() + 1);
        m_items.emplace_back();
    }
    MakeRoom(m_items.size() + 1);
    m_items.insert(m_items.begin() + static_cast<std::ptrdiff_t>(index), std::move(element));
}

void ZvArrayList::Remove(size_t first, size_t last) {
    ZvLock lock(this);
    if (first != last) TakeOut(first, last);      // an empty range may lie anywhere
}

void ZvArrayList::Remove(ZvObject$ const& value) {
    ZvLock lock(this);
    const size_t index = IndexOf(value);
    if (index != ~size_t(0)) RemoveAt(index);
}

void ZvArrayList::RemoveAt(size_t index) {
    ZvLock lock(this);
    const ZvObject$ taken = std::move(m_items[index]);
    m_items.erase(m_items.begin() + static_cast<std::ptrdiff_t>(index));
}

void ZvArrayList::Reserve(size_t count) {
    if (count > m_items.max_size()) throw std::length_error("vector<T> too long");
    m_items.reserve(count);
}

void ZvArrayList::Resize(size_t count) {
    if (count < m_items.size()) return TakeOut(count, m_items.size());
    MakeRoom(count);
    m_items.resize(count);
}

int ZvArrayList::BinarySearch(ZvObject$ const& value) const {
    const auto found = std::upper_bound(m_items.begin(), m_items.end(), value, [](const ZvObject$& a, const ZvObject$& b) {
        return reinterpret_cast<uintptr_t>(a.Get()) < reinterpret_cast<uintptr_t>(b.Get());
    });
    return found != m_items.end() ? static_cast<int>(found - m_items.begin()) : -1;
}

ZvIEnumerator$ ZvArrayList::GetEnumerator() const { return new Enumerator(m_items); }
ZvIEnumerator$ ZvArrayList::GetEnumerator() { return new Enumerator(m_items); }

size_t ZvArrayList::GetHashCode() const {
    zvc::detail::NestedWalk walk("ZvArrayList::GetHashCode");
    size_t h = zvc::detail::SequenceHashStart;
    for (const ZvObject$& e : m_items) {
        walk.Step();
        h *= zvc::detail::SequenceHashPrime;
        if (e) h ^= e->GetHashCode();
    }
    return h;
}

bool ZvArrayList::Equals(const ZvObject* other) const {
    if (this == other) return true;
    if (other == nullptr || other->GetType()->CalcOffset(&s_type) == ZvNoOffset) return false;
    const auto& theirs = static_cast<const ZvArrayList*>(other)->m_items;
    if (m_items.size() != theirs.size()) return false;
    zvc::detail::NestedWalk walk("ZvArrayList::Equals");
    for (size_t i = 0; i < m_items.size(); ++i) {
        walk.Step();
        if (m_items[i] && !m_items[i]->Equals(theirs[i].Get())) return false;
        if (theirs[i] && !theirs[i]->Equals(m_items[i].Get())) return false;
    }
    return true;
}

ZvObject* ZvArrayList::Clone() const { return new ZvArrayList(*this); }
ZvString$ ZvArrayList::ToString() const { return zvc::detail::IndexedText(m_items); }
void ZvArrayList::Encode(ZvStream$& stream, ZvCoder* coder) const { zvc::detail::EncodeElements(stream, coder, m_items); }

void ZvArrayList::Decode(ZvStream$& stream, ZvCoder* coder) {
    unsigned int count = 0;
    coder->Read(stream, count);
    // A count is believed as fast as elements arrive: room for a few thousand at first.
    constexpr unsigned int atFirst = 4096;
    size_t capacity = std::max<size_t>(m_items.capacity(), count);
    if (std::min(count, atFirst) > m_items.capacity()) Reserve(std::min(count, atFirst));
    zvc::detail::Arrival arrival(stream, coder);
    for (unsigned int i = 0; i < count; ++i) {
        arrival.After(sizeof(ZvObject$));
        ZvObject$ element;
        coder->Read(stream, element);
        Add(element);
    }
    while (capacity < m_items.size()) capacity += std::max<size_t>(capacity / 2, 1);
    if (count > atFirst && m_items.capacity() != capacity) {
        std::vector<ZvObject$> exact;             // as if room for the count had been made at once
        exact.reserve(capacity);
        for (ZvObject$& e : m_items) exact.push_back(std::move(e));
        m_items.swap(exact);
    }
}

ZvArrayList::Enumerator::Enumerator(const std::vector<ZvObject$>& items) : m_items(&items), m_at(items.data()) {}
ZvArrayList::Enumerator::~Enumerator() = default;
ZvObject* ZvArrayList::Enumerator::Clone() const { return new Enumerator(*this); }
