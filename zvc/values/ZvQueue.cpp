#include "zvc/values/ZvQueue.h"

#include "zvc/values/ZvDeque.h"

ZV_DEFINE_CLASS(ZvQueue, (ZvObject, ZvICollection), .codec = true, .create = &Create)
ZV_DEFINE_CLASS(ZvQueue::Enumerator, (ZvObject, ZvIEnumerator))

namespace deque = zvc::detail::deque;

ZvQueue::ZvQueue() = default;
ZvQueue::ZvQueue(const ZvQueue& other) : ZvObject(other), ZvICollection(other), m_items(other.m_items) {}
ZvQueue::~ZvQueue() = default;

ZvQueue& ZvQueue::operator=(const ZvQueue& other) {
    std::deque<ZvObject$> items = other.m_items;
    m_items.swap(items);                          // what was here ends when the new elements are in: its end may use them
    return *this;
}

void ZvQueue::Enqueue(ZvObject$ const& value) {
    ZvLock lock(this);
    m_items.push_back(value);
}

ZvObject$ ZvQueue::Dequeue() {
    ZvLock lock(this);
    ZvObject$ taken = std::move(m_items.front());
    m_items.pop_front();
    ++m_taken;
    return taken;
}

ZvObject$ ZvQueue::Peek() const {
    ZvLock lock(this);
    return m_items.front();
}

void ZvQueue::Clear() {
    ZvLock lock(this);
    std::deque<ZvObject$> items;
    m_items.swap(items);
}

bool ZvQueue::Contains(ZvObject$ const& value) const {
    ZvLock lock(this);
    return deque::Contains(m_items, value);
}

ZvIEnumerator$ ZvQueue::GetEnumerator() const { return new Enumerator(*this); }
ZvIEnumerator$ ZvQueue::GetEnumerator() { return new Enumerator(*this); }
size_t ZvQueue::GetHashCode() const { return deque::Hash(m_items, "ZvQueue::GetHashCode"); }

bool ZvQueue::Equals(const ZvObject* other) const {
    if (this == other) return true;
    if (other == nullptr || other->GetType()->CalcOffset(&s_type) == ZvNoOffset) return false;
    return deque::Equal(m_items, static_cast<const ZvQueue*>(other)->m_items, "ZvQueue::Equals");
}

ZvObject* ZvQueue::Clone() const { return new ZvQueue(*this); }
ZvString$ ZvQueue::ToString() const { return zvc::detail::IndexedText(m_items); }
void ZvQueue::Encode(ZvStream$& stream, ZvCoder* coder) const { zvc::detail::EncodeElements(stream, coder, m_items); }
void ZvQueue::Decode(ZvStream$& stream, ZvCoder* coder) { deque::Decode(stream, coder, m_items); }

ZvQueue::Enumerator::Enumerator(const ZvQueue& queue) : m_queue(&queue), m_offset(queue.m_taken) {}
ZvQueue::Enumerator::~Enumerator() = default;
ZvObject* ZvQueue::Enumerator::Clone() const { return new Enumerator(*this); }
