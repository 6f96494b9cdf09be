#pragma once

// The hash table of ZvDictionary and ZvHashSet. Internal; not for clients.
//
// Its enumeration order is a fixed function of what was done to it, and files depend on that order: a coder writes the
// entries as the list has them. All nodes stand in one circular list; the nodes of a bucket are neighbours in it, its run.
//
// What a client's key can observe, the calls of GetHashCode and Equals, is part of the contract. A plain key, null or
// exactly a ZvString, observes nothing: its node keeps its number, and as long as all keys are plain the table looks for
// them and grows as it likes best, to the same order.

#include "zvc/core/ZvObject.h"
#include "zvc/platform/Memory.h"

#include <vector>

namespace zvc::detail {

class ZV_API HashTable {
public:
    struct Link {
        Link* previous;
        Link* next;
    };
    struct Node : Link {
        ZvObject$ key;
        ZvObject$ value;
        uint32_t number;          // the key's mixed hash, where the key is plain
        bool isPlain;
        bool endsRun;             // the last node of its bucket
    };

    HashTable();
    HashTable(const HashTable&) = delete;
    ~HashTable();
    /// Takes the load factor, the bucket count and the entries, which are placed anew in list order. Clears on failure.
    HashTable& operator=(const HashTable& other);

    size_t Count() const { return m_count; }
    size_t Buckets() const { return m_runs.size(); }
    const Link* End() const { return &m_end; }
    const Link* First() const { return m_end.next; }

    Node* Find(const ZvObject$& key) const { return FindIn(ProbeFor(key.Get())); }
    /// The first entry in the list whose key matches.
    template <class Matches>
    const Node* FindWhere(Matches matches) const {
        for (const Link* at = m_end.next; at != &m_end; at = at->next) {
            const auto* node = static_cast<const Node*>(at);
            if (matches(node->key.Get())) return node;
        }
        return nullptr;
    }
    /// What Find gives for a key with this hash, where matches(stored key) tells what the keys would answer each other.
    template <class Matches>
    const Node* FindLike(size_t hash, Matches matches) const {
        const Node* node = m_runs[BucketOf(NumberOf(hash))].first;
        for (; node != nullptr; node = static_cast<const Node*>(node->next)) {
            if (matches(node->key.Get())) return node;
            if (node->endsRun) return nullptr;
        }
        return nullptr;
    }
    /// Makes an entry. One that is there already stays as it is.
    void Insert(const ZvObject$& key, const ZvObject$& value);
    /// The entry that Find gives; without one, what Insert leaves there for key and a null value.
    Node* EntryOf(const ZvObject$& key);
    bool Erase(const ZvObject$& key);
    void Clear();

    void SetLoadFactor(float factor) { m_maxLoadFactor = factor; }
    float LoadFactor() const { return m_maxLoadFactor; }

private:
    struct Probe {
        ZvObject* key;
        uint32_t number;
        bool isPlain;
    };
    /// Memory of nodes, in blocks. A node's address stays; all memory goes back at once.
    class Nodes {
    public:
        Nodes() = default;
        ~Nodes();
        void swap(Nodes& other) noexcept;
        Node* Make(const ZvObject$& key, const ZvObject$& value, const Probe& probe);
        void Destroy(Node* node);

    private:
        void* Room();
        struct Block {
            std::byte* memory;
            size_t nodes;
        };
        std::vector<Block> m_blocks;
        size_t m_used = 0;        // nodes of the newest block
        Link* m_free = nullptr;   // destroyed nodes' rooms, by next
    };
    /// A bucket, with what of its first node tells most probes whether they have to look at it. An empty one answers a
    /// plain probe as one with a single other key does: a second branch here would be guessed wrong half of the time.
    struct Run {
        Node* first = nullptr;    // null where the bucket is empty
        const ZvObject* key = nullptr;
        uint32_t number = ~uint32_t(0);       // no key's
        bool isPlain = true;
        bool isSingle = true;
        void Begin(Node* node, uint32_t number, bool single);
    };
    using Runs = std::vector<Run, zvc::platform::LargeAllocator<Run>>;

    static uint32_t NumberOf(size_t hash);
    static Probe ProbeFor(ZvObject* key);
    static bool SamePlain(const ZvObject* stored, const ZvObject* key);
    size_t BucketOf(uint32_t number) const { return number & (m_runs.size() - 1); }
    Node* FindIn(const Probe& probe) const;
    Node* InTheWay(const Probe& probe) const;
    Node* Enter(const ZvObject$& key, const ZvObject$& value, const Probe& probe);
    void Put(Node* node, uint32_t number);
    void TakeOut(Node* node, uint32_t number);
    void Remove(Node* node, uint32_t number);
    void Grow(Node*& entry);
    void GrowPlain(Runs& larger);
    void GrowAsking(Runs& larger, Node*& entry);

    float m_maxLoadFactor = 1.0f;
    Link m_end{&m_end, &m_end};
    size_t m_count = 0;
    size_t m_askedCount = 0;                  // nodes whose keys are not plain
    Runs m_runs;
    Nodes m_nodes;
};

}
