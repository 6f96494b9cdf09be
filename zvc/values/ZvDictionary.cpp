#include "zvc/values/ZvDictionary.h"

#include "zvc/serialization/ZvRun.h"
#include "zvc/values/ZvArrayList.h"
#include "zvc/values/ZvSequence.h"

ZV_DEFINE_CLASS(ZvDictionary, (ZvObject, ZvIDictionary), .codec = true, .create = &Create)
ZV_DEFINE_CLASS(ZvDictionary::Enumerator, (ZvObject, ZvIDictionaryEnumerator))

using zvc::detail::HashTable;

namespace {

const HashTable::Node& At(const HashTable::Link* link) { return *static_cast<const HashTable::Node*>(link); }

}

ZvDictionary::ZvDictionary() = default;
ZvDictionary::~ZvDictionary() = default;

ZvDictionary::ZvDictionary(const ZvDictionary& other) : ZvObject(other), ZvIDictionary(other) {
    m_table.SetLoadFactor(other.m_table.LoadFactor());
    for (auto* at = other.m_table.First(); at != other.m_table.End(); at = at->next) (*this)[At(at).key] = At(at).value;
}

ZvDictionary& ZvDictionary::operator=(const ZvDictionary& other) {
    m_table = other.m_table;
    return *this;
}

void ZvDictionary::Clear() {
    ZvLock lock(this);
    m_table.Clear();
}

bool ZvDictionary::Contains(ZvObject$ const& key) const { return m_table.Find(key) != nullptr; }

ZvObject$& ZvDictionary::operator[](ZvObject$ const& key) { return m_table.EntryOf(key)->value; }

ZvObject$ ZvDictionary::Find(ZvObject$ const& key) const {
    const HashTable::Node* node = m_table.Find(key);
    return node != nullptr ? node->value : ZvObject$();
}

ZvObject$ ZvDictionary::Find(ZvObject$ const& key) { return static_cast<const ZvDictionary*>(this)->Find(key); }

ZvICollection$ ZvDictionary::Keys() {
    ZvLock lock(this);
    ZvArrayList$ keys = new ZvArrayList;
    for (auto* at = m_table.First(); at != m_table.End(); at = at->next) keys->Add(At(at).key);
    return keys;
}

ZvICollection$ ZvDictionary::Values() {
    ZvLock lock(this);
    ZvArrayList$ values = new ZvArrayList;
    for (auto* at = m_table.First(); at != m_table.End(); at = at->next) values->Add(At(at).value);
    return values;
}

void ZvDictionary::Add(ZvObject$ const& key, ZvObject$ const& value) {
    ZvLock lock(this);
    m_table.Insert(key, value);                   // an entry that is there stays as it was: meant so
}

void ZvDictionary::Remove(ZvObject$ const& key) {
    ZvLock lock(this);
    m_table.Erase(key);
}

ZvIEnumerator$ ZvDictionary::GetEnumerator() const { return new Enumerator(m_table); }
ZvIEnumerator$ ZvDictionary::GetEnumerator() { return new Enumerator(m_table); }

size_t ZvDictionary::GetHashCode() const {
    zvc::detail::NestedWalk walk("ZvDictionary::GetHashCode");
    size_t h = zvc::detail::SequenceHashStart;
    for (auto* at = m_table.First(); at != m_table.End(); at = at->next) {
        walk.Step();
        h *= zvc::detail::SequenceHashPrime;
        if (At(at).value) h ^= At(at).value->GetHashCode();
    }
    return h;
}

// Two dictionaries with equal entries in another order are not equal: meant so.
bool ZvDictionary::Equals(const ZvObject* other) const {
    if (this == other) return true;
    if (other == nullptr || other->GetType()->CalcOffset(&s_type) == ZvNoOffset) return false;
    const HashTable& theirs = static_cast<const ZvDictionary*>(other)->m_table;
    if (m_table.Count() != theirs.Count()) return false;
    zvc::detail::NestedWalk walk("ZvDictionary::Equals");
    for (auto *a = m_table.First(), *b = theirs.First(); a != m_table.End(); a = a->next, b = b->next) {
        walk.Step();
        const char* const function = "ZvDictionary::Equals";
        if (!zvc::detail::Needed(At(a).key.Get(), function)->Equals(At(b).key.Get())) return false;
        if (!zvc::detail::Needed(At(a).value.Get(), function)->Equals(At(b).value.Get())) return false;
    }
    return true;
}

ZvObject* ZvDictionary::Clone() const { return new ZvDictionary(*this); }

ZvString$ ZvDictionary::ToString() const {
    std::ostringstream out;
    for (auto* at = m_table.First(); at != m_table.End(); at = at->next)
        out << At(at).key->ToString()->CStr() << "=\"" << At(at).value->ToString()->CStr() << '"';
    return new ZvString(out.str().c_str());
}

void ZvDictionary::Encode(ZvStream$& stream, ZvCoder* coder) const {
    coder->Write(stream, static_cast<unsigned int>(Count()));
    for (auto* at = m_table.First(); at != m_table.End(); at = at->next) {
        coder->Write(stream, At(at).key);
        coder->Write(stream, At(at).value);
    }
}

void ZvDictionary::Decode(ZvStream$& stream, ZvCoder* coder) {
    unsigned int count = 0;
    coder->Read(stream, count);
    zvc::detail::Arrival arrival(stream, coder);
    for (; count != 0; --count) {
        arrival.After(sizeof(ZvObject$));
        ZvObject$ key, value;
        coder->Read(stream, key);
        coder->Read(stream, value);
        Add(key, value);
    }
}

ZvDictionary::Enumerator::Enumerator(const HashTable& table) : m_table(&table), m_at(table.First()) {}
ZvDictionary::Enumerator::~Enumerator() = default;

ZvObject$ ZvDictionary::Enumerator::Next() {
    const HashTable::Node& node = Node();
    m_at = node.next;
    if (HasNext()) {                              // what the next step needs comes in the meantime
        __builtin_prefetch(m_at->next);
        __builtin_prefetch(Node().key.Get(), 1);
        __builtin_prefetch(Node().value.Get(), 1);
    }
    return new ZvDictionaryEntry(node.key, node.value);
}

ZvDictionaryEntry ZvDictionary::Enumerator::Entry() { return ZvDictionaryEntry(Node().key, Node().value); }
ZvObject$ ZvDictionary::Enumerator::Key() { return HasNext() ? Node().key : ZvObject$(); }
ZvObject$ ZvDictionary::Enumerator::Value() { return HasNext() ? Node().value : ZvObject$(); }
ZvObject* ZvDictionary::Enumerator::Clone() const { return new Enumerator(*this); }
