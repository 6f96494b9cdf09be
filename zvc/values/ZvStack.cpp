#include "zvc/values/ZvStack.h"

#include "zvc/values/ZvDeque.h"

ZV_DEFINE_CLASS(ZvStack, (ZvObject, ZvICollection), .codec = true, .create = &Create)
ZV_DEFINE_CLASS(ZvStack::Enumerator, (ZvObject, ZvIEnumerator))

namespace deque = zvc::detail::deque;

ZvStack::ZvStack() = default;
ZvStack::ZvStack(const ZvStack& other) : ZvObject(other), ZvICollection(other), m_items(other.m_items) {}
ZvStack::~ZvStack() = default;

ZvStack& ZvStack::operator=(const ZvStack& other) {
    std::deque<ZvObject$> items = other.m_items;
    m_items.swap(items);                          // what was here ends when the new elements are in: its end may use them
    return *this;
}

void ZvStack::Push(ZvObject$ const& value) {
    ZvLock lock(this);
    m_items.push_back(value);
}

ZvObject$ ZvStack::Pop() {
    ZvLock lock(this);
    ZvObject$ taken = std::move(m_items.back());
    m_items.pop_back();
    return taken;
}

ZvObject$ ZvStack::Peek() const {
    ZvLock lock(this);
    return m_items.back();
}

void ZvStack::Clear() {
    ZvLock lock(this);
    std::deque<ZvObject$> items;
    m_items.swap(items);
}

bool ZvStack::Contains(ZvObject$ const& value) const {
    ZvLock lock(this);
    return deque::Contains(m_items, value);
}

ZvIEnumerator$ ZvStack::GetEnumerator() const { return new Enumerator(m_items); }
ZvIEnumerator$ ZvStack::GetEnumerator() { return new Enumerator(m_items); }
size_t ZvStack::GetHashCode() const { return deque::Hash(m_items, "ZvStack::GetHashCode"); }

bool ZvStack::Equals(const ZvObject* other) const {
    if (this == other) return true;
    if (other == nullptr || other->GetType()->CalcOffset(&s_type) == ZvNoOffset) return false;
    return deque::Equal(m_items, static_cast<const ZvStack*>(other)->m_items, "ZvStack::Equals");
}

ZvObject* ZvStack::Clone() const { return new ZvStack(*this); }
ZvString$ ZvStack::ToString() const { return zvc::detail::IndexedText(m_items); }
void ZvStack::Encode(ZvStream$& stream, ZvCoder* coder) const { zvc::detail::EncodeElements(stream, coder, m_items); }
void ZvStack::Decode(ZvStream$& stream, ZvCoder* coder) { deque::Decode(stream, coder, m_items); }

ZvStack::Enumerator::Enumerator(const std::deque<ZvObject$>& items) : m_items(&items) {}
ZvStack::Enumerator::~Enumerator() = default;
ZvObject* ZvStack::Enumerator::Clone() const { return new Enumerator(*this); }
