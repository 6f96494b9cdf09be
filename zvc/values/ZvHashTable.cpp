#include "zvc/values/ZvHashTable.h"

#include "zvc/values/ZvString.h"

#include <algorithm>
#include <new>
#include <typeinfo>

namespace zvc::detail {

namespace {

constexpr size_t FirstBuckets = 8;
constexpr size_t MostBuckets = 0x0FFFFFFFFFFFFFFF;
constexpr size_t MostNodesInABlock = 104857;          // of 4 MiB
constexpr int Ahead = 8;                          // nodes between asking for a bucket's memory and using it

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

HashTable::Node* NodeAt(HashTable::Link* link) { return static_cast<HashTable::Node*>(link); }

}

HashTable::Nodes::~Nodes() {
    for (const Block& block : m_blocks) zvc::platform::LargeFree(block.memory, block.nodes * sizeof(Node));
}

void HashTable::Nodes::swap(Nodes& other) noexcept {
    m_blocks.swap(other.m_blocks);
    std::swap(m_used, other.m_used);
    std::swap(m_free, other.m_free);
}

// The room of the node that was destroyed last, else the next one of the newest block, else the first one of a larger block.
void* HashTable::Nodes::Room() {
    if (m_free != nullptr) {
        Link* room = m_free;
        m_free = room->next;
        return room;
    }
    if (m_blocks.empty() || m_used == m_blocks.back().nodes) {
        const size_t nodes = m_blocks.empty() ? FirstBuckets : std::min(m_blocks.back().nodes * 2, MostNodesInABlock);
        m_blocks.reserve(m_blocks.size() + 1);
        m_blocks.push_back({zvc::platform::LargeAllocator<std::byte>().allocate(nodes * sizeof(Node)), nodes});
        m_used = 0;
    }
    return m_blocks.back().memory + m_used++ * sizeof(Node);
}

HashTable::Node* HashTable::Nodes::Make(const ZvObject$& key, const ZvObject$& value, const Probe& probe) {
    return new (Room()) Node{{nullptr, nullptr}, key, value, probe.number, probe.isPlain, false};
}

void HashTable::Nodes::Destroy(Node* node) {
    const ZvObject$ key = std::move(node->key), value = std::move(node->value);       // end last: they may use the table
    node->~Node();
    m_free = new (node) Link{nullptr, m_free};
}

HashTable::HashTable() : m_runs(FirstBuckets) {}
HashTable::~HashTable() { Clear(); }

HashTable& HashTable::operator=(const HashTable& other) {
    if (this == &other) return *this;
    Clear();
    try {
        m_maxLoadFactor = other.m_maxLoadFactor;
        m_runs.assign(other.Buckets(), Run());
        for (const Link* at = other.First(); at != other.End(); at = at->next) {
            const auto* node = static_cast<const Node*>(at);
            Insert(node->key, node->value);
        }
    } catch (...) {
        Clear();
        throw;
    }
    return *this;
}

uint32_t HashTable::NumberOf(size_t hash) { return Mix(static_cast<uint32_t>(hash) ^ 0xDEADBEEF); }

HashTable::Probe HashTable::ProbeFor(ZvObject* key) {
    if (key == nullptr) return {nullptr, Mix(0), true};
    const bool isPlain = IsExactlyString(key);
    const size_t hash = isPlain ? ZvString::Hash(TextOf(key)) : key->GetHashCode();
    return {key, NumberOf(hash), isPlain};
}

// Of two plain keys with the same number.
bool HashTable::SamePlain(const ZvObject* stored, const ZvObject* key) {
    if (stored == key) return true;
    return stored != nullptr && key != nullptr && std::strcmp(TextOf(stored), TextOf(key)) == 0;
}

// From the first node of the run to its last. The stored key is asked first, and the probe has the last word.
HashTable::Node* HashTable::FindIn(const Probe& probe) const {
    const Run& run = m_runs[BucketOf(probe.number)];
    Node* node = run.first;
    if (probe.isPlain && run.isPlain) {           // the common case, without a look at the node
        __builtin_prefetch(node);
        if (run.number == probe.number && SamePlain(run.key, probe.key)) return node;
        if (run.isSingle) return nullptr;
        node = NodeAt(node->next);
    }
    if (node == nullptr) return nullptr;
    for (;; node = NodeAt(node->next)) {
        if (probe.isPlain && node->isPlain) {
            if (node->number == probe.number && SamePlain(node->key.Get(), probe.key)) return node;
        } else if (AskEquals(node->key.Get(), probe.key)) {
            return AskEquals(probe.key, node->key.Get()) ? node : nullptr;
        }
        if (node->endsRun) return nullptr;
    }
}

// The node whose key is equal, for an insertion: from the last node of the run to its first, and only the probe is asked.
HashTable::Node* HashTable::InTheWay(const Probe& probe) const {
    if (probe.isPlain && m_askedCount == 0) return FindIn(probe);
    Node* const first = m_runs[BucketOf(probe.number)].first;
    if (first == nullptr) return nullptr;
    Node* node = first;
    while (!node->endsRun) node = NodeAt(node->next);
    for (;; node = NodeAt(node->previous)) {
        if (probe.isPlain && node->isPlain) {
            if (node->number == probe.number && SamePlain(node->key.Get(), probe.key)) return node;
        } else if (AskEquals(probe.key, node->key.Get())) {
            return node;
        }
        if (node == first) return nullptr;
    }
}

void HashTable::Run::Begin(Node* node, uint32_t nodeNumber, bool single) {
    *this = {node, node->key.Get(), nodeNumber, node->isPlain, single};
}

// Links a node into its bucket: before the bucket's first node, or at the very end of the list for an empty bucket.
void HashTable::Put(Node* node, uint32_t number) {
    Run& run = m_runs[BucketOf(number)];
    node->endsRun = run.first == nullptr;
    Link* const before = run.first != nullptr ? run.first : &m_end;
    node->next = before;
    node->previous = before->previous;
    before->previous->next = node;
    before->previous = node;
    run.Begin(node, number, node->endsRun);
}

void HashTable::TakeOut(Node* node, uint32_t number) {
    Run& run = m_runs[BucketOf(number)];
    if (run.isSingle) {
        run = Run();
    } else if (run.first == node) {
        Node* const next = NodeAt(node->next);
        run.Begin(next, next->number, next->endsRun);
    } else if (node->endsRun) {
        NodeAt(node->previous)->endsRun = true;
        run.isSingle = node->previous == run.first;
    }
    node->previous->next = node->next;
    node->next->previous = node->previous;
}

void HashTable::Remove(Node* node, uint32_t number) {
    TakeOut(node, number);
    --m_count;
    if (!node->isPlain) --m_askedCount;
    m_nodes.Destroy(node);
}

void HashTable::Insert(const ZvObject$& key, const ZvObject$& value) {
    const Probe probe = ProbeFor(key.Get());
    if (InTheWay(probe) == nullptr) Enter(key, value, probe);
}

HashTable::Node* HashTable::EntryOf(const ZvObject$& key) {
    const Probe probe = ProbeFor(key.Get());
    Node* entry = FindIn(probe);
    if (entry == nullptr && !(probe.isPlain && m_askedCount == 0)) entry = InTheWay(probe);
    return entry != nullptr ? entry : Enter(key, ZvObject$(), probe);
}

HashTable::Node* HashTable::Enter(const ZvObject$& key, const ZvObject$& value, const Probe& probe) {
    Node* entry = m_nodes.Make(key, value, probe);
    Put(entry, probe.number);
    ++m_count;
    if (!probe.isPlain) ++m_askedCount;
    if (static_cast<float>(m_count) / static_cast<float>(Buckets()) > m_maxLoadFactor) {
        try {
            Grow(entry);
        } catch (...) {
            Remove(entry, probe.number);
            throw;
        }
    }
    return entry;
}

// Every node is placed anew, from the front of the list to the node that was last when growing began. The list's order
// changes in the course of it, and files depend on how. What a key throws leaves the table as it was.
void HashTable::Grow(Node*& entry) {
    const size_t buckets = Buckets();
    if (buckets >= MostBuckets) return;
    Runs larger(buckets < 512 ? buckets * 8 : buckets * 2);
    if (m_askedCount == 0)
        GrowPlain(larger);
    else
        GrowAsking(larger, entry);
}

// Nodes taken one by one from the front come to stand in the order of their buckets' first arrivals, and those of a bucket
// from the last arrival to the first. So the runs are collected first, singly linked, and the list is put together after.
void HashTable::GrowPlain(Runs& larger) {
    std::vector<Node*, zvc::platform::LargeAllocator<Node*>> arrivals;                  // the first of each bucket
    arrivals.reserve(m_count);
    m_runs.swap(larger);
    Link* ahead = m_end.next;
    for (int i = 0; i < Ahead && ahead != &m_end; ++i) ahead = ahead->next;
    for (Link* at = m_end.next; at != &m_end; at = at->next) {
        if (ahead != &m_end) {
            __builtin_prefetch(&m_runs[BucketOf(NodeAt(ahead)->number)], 1);
            ahead = ahead->next;
        }
        Node* node = NodeAt(at);
        Run& run = m_runs[BucketOf(node->number)];
        node->endsRun = run.first == nullptr;
        node->previous = run.first;               // the one that came before it
        if (node->endsRun) arrivals.push_back(node);
        run.Begin(node, node->number, node->endsRun);
    }
    Link* tail = &m_end;
    for (const Node* arrival : arrivals) {
        for (Link *at = m_runs[BucketOf(arrival->number)].first, *earlier; at != nullptr; at = earlier) {
            earlier = at->previous;
            tail->next = at;
            at->previous = tail;
            tail = at;
        }
    }
    tail->next = &m_end;
    m_end.previous = tail;
}

// Step by step: each key is asked for its hash, and then whether it equals those that came before it into its bucket. One
// that changed its mind and now equals another is dropped.
void HashTable::GrowAsking(Runs& larger, Node*& entry) {
    struct Place {
        Node* node;
        uint32_t number;
        bool endsRun;
    };
    std::vector<Place> places;
    places.reserve(m_count);
    std::vector<Node*> dropped;
    dropped.reserve(m_count);
    for (Link* at = m_end.next; at != &m_end; at = at->next)
        places.push_back({NodeAt(at), NodeAt(at)->number, NodeAt(at)->endsRun});
    m_runs.swap(larger);
    Node* remaining = entry;
    try {
        for (const Place& place : places) {
            Node* node = place.node;
            const Probe probe = node->isPlain ? Probe{node->key.Get(), node->number, true} : ProbeFor(node->key.Get());
            node->previous->next = node->next;
            node->next->previous = node->previous;
            if (Node* other = InTheWay(probe)) {
                dropped.push_back(node);
                if (node == entry) remaining = other;
            } else {
                Put(node, probe.number);
            }
        }
    } catch (...) {
        m_runs.swap(larger);
        Link* tail = &m_end;
        for (const Place& place : places) {
            place.node->endsRun = place.endsRun;
            tail->next = place.node;
            place.node->previous = tail;
            tail = place.node;
        }
        tail->next = &m_end;
        m_end.previous = tail;
        throw;
    }
    entry = remaining;
    m_count -= dropped.size();
    for (Node* node : dropped) {
        if (!node->isPlain) --m_askedCount;
        m_nodes.Destroy(node);
    }
}

bool HashTable::Erase(const ZvObject$& key) {
    const Probe probe = ProbeFor(key.Get());
    Node* node = FindIn(probe);
    if (node == nullptr) return false;
    if (m_count == 1)
        Clear();                                  // back to the first size: a new table again
    else
        Remove(node, probe.number);
    return true;
}

void HashTable::Clear() {
    Nodes nodes;
    nodes.swap(m_nodes);
    Link* at = m_end.next;
    Link* const end = &m_end;
    m_end.next = m_end.previous = &m_end;
    m_count = m_askedCount = 0;
    m_runs.assign(FirstBuckets, Run());
    while (at != end) {                           // a value's destructor may look at the table: it is empty already
        Node* node = NodeAt(at);
        at = at->next;
        node->~Node();
    }
}

}
