#include "zvc/values/ZvHashTable.h"

#include "zvc/values/ZvString.h"

#include <typeinfo>

namespace zvc::detail {

namespace {

constexpr size_t FirstBuckets = 8;
constexpr size_t MostBuckets = 0x0FFFFFFFFFFFFFFF;

// The minimal standard generator of Park and Miller, one step by Schrage's method, over the key's hash.
uint32_t Mix(uint32_t hash) {
    const auto h = static_cast<int32_t>(hash);
    const int32_t q = h / 127773;
    const int32_t r = h % 127773;
    uint32_t x = static_cast<uint32_t>(r) * 16807u - static_cast<uint32_t>(q) * 2836u;
    if (static_cast<int32_t>(x) < 0) x += 0x7FFFFFFFu;
    return x;
}

bool IsExactlyString(const ZvObject* key) { return typeid(*key) == typeid(ZvString); }

const char* TextOf(const ZvObject* key) { return static_cast<const ZvString*>(key)->CStr(); }

// The non-null side is asked; two nulls are equal.
bool AskEquals(const ZvObject* receiver, const ZvObject* argument) {
    if (receiver != nullptr) return receiver->Equals(argument);
    return argument == nullptr || argument->Equals(nullptr);
}

}

HashTable::HashTable() { ResetBuckets(FirstBuckets); }
HashTable::~HashTable() { Clear(); }

HashTable& HashTable::operator=(const HashTable& other) {
    if (this == &other) return *this;
    Clear();
    try {
        m_maxLoadFactor = other.m_maxLoadFactor;
        ResetBuckets(other.Buckets());
        for (const Link* at = other.First(); at != other.End(); at = at->next) {
            const auto* node = static_cast<const Node*>(at);
            bool inserted;
            Insert(node->key, node->value, inserted);
        }
    } catch (...) {
        Clear();
        throw;
    }
    return *this;
}

void HashTable::ResetBuckets(size_t count) {
    m_buckets.assign(count, Bucket{&m_end, &m_end});
    m_mask = count - 1;
}

uint32_t HashTable::NumberOf(size_t hash) { return Mix(static_cast<uint32_t>(hash) ^ 0xDEADBEEF); }

HashTable::Probe HashTable::ProbeFor(ZvObject* key) {
    if (key == nullptr) return {nullptr, Mix(0), false};
    if (IsExactlyString(key)) {
        const size_t hash = ZvString::Hash(TextOf(key));
        return {key, NumberOf(hash), true};
    }
    return {key, NumberOf(key->GetHashCode()), false};
}

HashTable::Node* HashTable::Find(const ZvObject$& key) const {
    const Probe probe = ProbeFor(key.Get());
    const Bucket& bucket = m_buckets[probe.number & m_mask];
    if (bucket.first == &m_end) return nullptr;
    for (Link* at = bucket.first;; at = at->next) {
        auto* node = static_cast<Node*>(at);
        ZvObject* stored = node->key.Get();
        if (probe.isString && node->isString) {
            if (node->number == probe.number && (stored == probe.key || std::strcmp(TextOf(stored), TextOf(probe.key)) == 0))
                return node;
        } else if (AskEquals(stored, probe.key)) {
            return AskEquals(probe.key, stored) ? node : nullptr;        // the probe has the last word
        }
        if (at == bucket.last) return nullptr;
    }
}

// Links node into its bucket; false, with the node that is in the way, when an equal key stands there.
bool HashTable::Place(Node* node, const Probe& probe, Node*& existing) {
    Bucket& bucket = m_buckets[probe.number & m_mask];
    Link* before = &m_end;                       // an empty bucket begins at the very end of the list
    if (bucket.first != &m_end) {
        for (Link* at = bucket.last;; at = at->previous) {
            auto* other = static_cast<Node*>(at);
            ZvObject* stored = other->key.Get();
            bool equal;
            if (probe.isString && other->isString)
                equal = other->number == probe.number && (stored == probe.key || std::strcmp(TextOf(stored), TextOf(probe.key)) == 0);
            else
                equal = AskEquals(probe.key, stored);
            if (equal) {
                existing = other;
                return false;
            }
            if (at == bucket.first) break;
        }
        before = bucket.first;
    }
    node->next = before;
    node->previous = before->previous;
    before->previous->next = node;
    before->previous = node;
    if (bucket.first == &m_end) bucket.last = node;
    bucket.first = node;
    return true;
}

HashTable::Node* HashTable::Insert(const ZvObject$& key, const ZvObject$& value, bool& inserted) {
    const Probe probe = ProbeFor(key.Get());
    std::unique_ptr<Node> node(new Node{{nullptr, nullptr}, key, value, probe.number, probe.isString});
    Node* existing = nullptr;
    inserted = Place(node.get(), probe, existing);
    if (!inserted) return existing;
    Node* entry = node.release();
    ++m_count;
    if (static_cast<float>(m_count) / static_cast<float>(Buckets()) > m_maxLoadFactor) {
        try {
            const size_t count = m_count;
            Grow();
            if (m_count != count) entry = Find(key);      // a key that changed its mind was dropped, perhaps this one
        } catch (...) {
            Erase(key);
            throw;
        }
    }
    return entry;
}

// Every node is placed anew, from the front of the list to the node that was last when growing began. The list's order
// changes in the course of it, and files depend on how.
void HashTable::Grow() {
    const size_t buckets = Buckets();
    if (buckets >= MostBuckets) return;
    std::vector<Bucket> larger(buckets < 512 ? buckets * 8 : buckets * 2, Bucket{&m_end, &m_end});
    Link* const last = m_end.previous;
    // What a key throws leaves the table whole: numbers are taken before anything moves.
    for (Link* at = m_end.next; at != &m_end; at = at->next) {
        auto* node = static_cast<Node*>(at);
        if (!node->isString) node->number = ProbeFor(node->key.Get()).number;
    }
    m_buckets.swap(larger);
    m_mask = m_buckets.size() - 1;
    for (;;) {
        Link* const at = m_end.next;
        const bool wasLast = at == last;
        auto* node = static_cast<Node*>(at);
        at->previous->next = at->next;
        at->next->previous = at->previous;
        Node* existing = nullptr;
        if (!Place(node, Probe{node->key.Get(), node->number, node->isString}, existing)) {
            --m_count;                            // a key whose Equals changed its mind
            delete node;
        }
        if (wasLast) break;
    }
}

bool HashTable::Erase(const ZvObject$& key) {
    Node* node = Find(key);
    if (node == nullptr) return false;
    if (m_count == 1) {
        Clear();                                  // back to the first size: a new table again
        return true;
    }
    Bucket& bucket = m_buckets[(node->isString ? node->number : ProbeFor(key.Get()).number) & m_mask];
    Unlink(node, bucket);
    delete node;
    return true;
}

void HashTable::Unlink(Node* node, Bucket& bucket) {
    if (bucket.first == node && bucket.last == node)
        bucket.first = bucket.last = &m_end;
    else if (bucket.first == node)
        bucket.first = node->next;
    else if (bucket.last == node)
        bucket.last = node->previous;
    node->previous->next = node->next;
    node->next->previous = node->previous;
    --m_count;
}

void HashTable::Clear() {
    Link* at = m_end.next;
    m_end.next = m_end.previous = &m_end;
    m_count = 0;
    ResetBuckets(FirstBuckets);
    while (at != &m_end) {                        // a value's destructor may look at the table: it is empty already
        auto* node = static_cast<Node*>(at);
        at = at->next;
        delete node;
    }
}

}
