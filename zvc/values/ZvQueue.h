#pragma once

#include "zvc/values/ZvCollectionInterfaces.h"

#include <deque>

/// First in, first out. Elements are searched by identity. Nothing checks for emptiness: ask Count.
///
/// Enqueue, Dequeue, Peek, Clear and Contains hold the object's lock; nothing else does.
class ZV_API ZvQueue : public ZvObject, public ZvICollection {
    ZV_DECLARE_CLASS(ZvQueue)
    ZV_DECLARE_CREATE(ZvQueue)
public:
    ZvQueue();
    ZvQueue(const ZvQueue& other);                                   ///< the same element objects
    ZvQueue& operator=(const ZvQueue& other);
    ~ZvQueue() override;

    void Enqueue(ZvObject$ const& value);                            ///< at the back
    ZvObject$ Dequeue();                                            ///< takes the front
    ZvObject$ Peek() const;                                          ///< the front, which stays

    size_t Count() const override { return m_items.size(); }
    void Clear() override;
    bool Contains(ZvObject$ const& value) const override;
    ZvIEnumerator$ GetEnumerator() const override;                   ///< From the front.
    ZvIEnumerator$ GetEnumerator() override;

    size_t GetHashCode() const override;                             ///< null elements are not allowed
    bool Equals(const ZvObject* other) const override;
    ZvObject* Clone() const override;
    ZvString$ ToString() const override;
    void Encode(ZvStream$& stream, ZvCoder* coder) const override;
    void Decode(ZvStream$& stream, ZvCoder* coder) override;         ///< appends

    class Enumerator;

private:
    std::deque<ZvObject$> m_items;
    size_t m_taken = 0;          // from the front: the running offset of the first element
};
ZV_DECLARE_HANDLE(ZvQueue, ZvObject$);

/// The walk over a queue.
class ZV_API ZvQueue::Enumerator : public ZvObject, public ZvIEnumerator {
    ZV_DECLARE_CLASS(ZvQueue::Enumerator)
public:
    explicit Enumerator(const ZvQueue& queue);
    Enumerator(const Enumerator& other) = default;
    ~Enumerator() override;
    bool HasNext() override { return m_offset != m_queue->m_taken + m_queue->m_items.size(); }
    ZvObject$ Next() override { return m_queue->m_items[m_offset++ - m_queue->m_taken]; }
    void Reset() override { m_offset = m_queue->m_taken; }
    ZvObject* Clone() const override;

private:
    const ZvQueue* m_queue;
    size_t m_offset;             // runs on when elements leave at the front
};
