#include "zvc/values/ZvHashSet.h"

#include "zvc/serialization/ZvRun.h"
#include "zvc/values/ZvSequence.h"

ZV_DEFINE_CLASS(ZvHashSet, (ZvObject, ZvICollection), .codec = true, .create = &Create)
ZV_DEFINE_CLASS(ZvHashSet::Enumerator, (ZvObject, ZvIEnumerator))

using zvc::detail::HashTable;

namespace {

const ZvObject$& At(const HashTable::Link* link) { return static_cast<const HashTable::Node*>(link)->key; }

}

ZvHashSet::ZvHashSet() = default;
ZvHashSet::ZvHashSet(const ZvHashSet& other) : ZvObject(other), ZvICollection(other) { m_table = other.m_table; }
ZvHashSet::~ZvHashSet() = default;

ZvHashSet& ZvHashSet::operator=(const ZvHashSet& other) {
    m_table = other.m_table;
    return *this;
}

void ZvHashSet::Clear() {
    ZvLock lock(this);
    m_table.Clear();
}

bool ZvHashSet::Contains(ZvObject$ const& value) const {
    ZvLock lock(this);
    return m_table.Find(value) != nullptr;
}

void ZvHashSet::Add(ZvObject$ const& value) {
    ZvLock lock(this);
    m_table.Insert(value, ZvObject$());
}

void ZvHashSet::Remove(ZvObject$ const& value) {
    ZvLock lock(this);
    m_table.Erase(value);
}

ZvIEnumerator$ ZvHashSet::GetEnumerator() const { return new Enumerator(m_table); }
ZvIEnumerator$ ZvHashSet::GetEnumerator() { return new Enumerator(m_table); }
ZvObject* ZvHashSet::Clone() const { return new ZvHashSet(*this); }

ZvString$ ZvHashSet::ToString() const {
    std::ostringstream out;
    for (auto* at = m_table.First(); at != m_table.End(); at = at->next) out << At(at)->ToString()->CStr() << '\n';
    return new ZvString(out.str().c_str());
}

void ZvHashSet::Encode(ZvStream$& stream, ZvCoder* coder) const {
    coder->Write(stream, static_cast<unsigned int>(Count()));
    for (auto* at = m_table.First(); at != m_table.End(); at = at->next) coder->Write(stream, At(at));
}

void ZvHashSet::Decode(ZvStream$& stream, ZvCoder* coder) {
    unsigned int count = 0;
    coder->Read(stream, count);
    zvc::detail::Arrival arrival(stream, coder);
    for (; count != 0; --count) {
        arrival.After(sizeof(ZvObject$));
        ZvObject$ element;
        coder->Read(stream, element);
        Add(element);
    }
}

ZvHashSet::Enumerator::Enumerator(const HashTable& table) : m_table(&table), m_at(table.First()) {}
ZvHashSet::Enumerator::~Enumerator() = default;

ZvObject$ ZvHashSet::Enumerator::Next() {
    const ZvObject$& element = At(m_at);
    m_at = m_at->next;
    return element;
}

ZvObject* ZvHashSet::Enumerator::Clone() const { return new Enumerator(*this); }
