#pragma once

// The hash table of ZvDictionary and ZvHashSet. Internal; not for clients.
//
// Its enumeration order is a fixed function of what was done to it, and files depend on that order: a coder writes the
// entries as the list has them. All nodes stand in one circular list; the nodes of a bucket are neighbours in it.
//
// What a client's key can observe, the calls of GetHashCode and Equals, is part of the contract. A node of a plain string
// key keeps the key's number; nobody can observe that.

#include "zvc/core/ZvObject.h"

#include <memory>
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
        uint32_t number;          // the key's mixed hash, where isString
        bool isString;            // exactly a ZvString
    };

    HashTable();
    HashTable(const HashTable&) = delete;
    ~HashTable();
    /// Takes the load factor, the bucket count and the entries, which are placed anew in list order. Clears on failure.
    HashTable& operator=(const HashTable& other);

    size_t Count() const { return m_count; }
    size_t Buckets() const { return m_mask + 1; }
    const Link* End() const { return &m_end; }
    const Link* First() const { return m_end.next; }

    Node* Find(const ZvObject$& key) const;
    /// The entry with this very string as its key, where a look at each of few entries tells it; null does not say that there is
    /// none.
    const Node* FindSame(const ZvObject* key) const {
        if (m_count > 16) return nullptr;
        for (const Link* at = m_end.next; at != &m_end; at = at->next) {
            const auto* node = static_cast<const Node*>(at);
            if (node->key.Get() == key) return node;
        }
        return nullptr;
    }
    /// What Find gives for a key with this hash, where matches(stored key) tells what the keys would answer each other.
    template <class Matches>
    const Node* FindLike(size_t hash, Matches matches) const {
        const Bucket& bucket = m_buckets[NumberOf(hash) & m_mask];
        if (bucket.first == &m_end) return nullptr;
        for (const Link* at = bucket.first;; at = at->next) {
            const auto* node = static_cast<const Node*>(at);
            if (matches(node->key.Get())) return node;
            if (at == bucket.last) return nullptr;
        }
    }
    /// The entry of key, and whether it was made now with the value.
    Node* Insert(const ZvObject$& key, const ZvObject$& value, bool& inserted);
    bool Erase(const ZvObject$& key);
    void Clear();

    void SetLoadFactor(float factor) { m_maxLoadFactor = factor; }
    float LoadFactor() const { return m_maxLoadFactor; }

private:
    struct Bucket {
        Link* first;
        Link* last;               // both the end where the bucket is empty
    };
    struct Probe {
        ZvObject* key;
        uint32_t number;
        bool isString;
    };

    static uint32_t NumberOf(size_t hash);
    static Probe ProbeFor(ZvObject* key);
    bool Place(Node* node, const Probe& probe, Node*& existing);
    void Unlink(Node* node, Bucket& bucket);
    void Grow();
    void ResetBuckets(size_t count);

    float m_maxLoadFactor = 1.0f;
    Link m_end{&m_end, &m_end};
    size_t m_count = 0;
    std::vector<Bucket> m_buckets;
    size_t m_mask = 0;
};

}
