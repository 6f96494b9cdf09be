#pragma once

#include "zvc/values/ZvCollectionInterfaces.h"

#include <deque>

/// Last in, first out. Elements are searched by identity. Nothing checks for emptiness: ask Count.
///
/// Push, Pop, Peek, Clear and Contains hold the object's lock; nothing else does.
class ZV_API ZvStack : public ZvObject, public ZvICollection {
    ZV_DECLARE_CLASS(ZvStack)
    ZV_DECLARE_CREATE(ZvStack)
public:
    ZvStack();
    ZvStack(const ZvStack& other);                                   ///< the same element objects
    ZvStack& operator=(const ZvStack& other);
    ~ZvStack() override;

    void Push(ZvObject$ const& value);                            ///< at the back
    ZvObject$ Pop();                                            ///< takes the back
    ZvObject$ Peek() const;                                          ///< the back, which stays

    size_t Count() const override { return m_items.size(); }
    void Clear() override;
    bool Contains(ZvObject$ const& value) const override;
    ZvIEnumerator$ GetEnumerator() const override;                   ///< From the oldest to the newest.
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
};
ZV_DECLARE_HANDLE(ZvStack, ZvObject$);

/// The walk over a stack.
class ZV_API ZvStack::Enumerator : public ZvObject, public ZvIEnumerator {
    ZV_DECLARE_CLASS(ZvStack::Enumerator)
public:
    explicit Enumerator(const std::deque<ZvObject$>& items);
    Enumerator(const Enumerator& other) = default;
    ~Enumerator() override;
    bool HasNext() override { return m_offset < m_items->size(); }
    ZvObject$ Next() override { return (*m_items)[m_offset++]; }
    void Reset() override { m_offset = 0; }
    ZvObject* Clone() const override;

private:
    const std::deque<ZvObject$>* m_items;
    size_t m_offset = 0;
};
