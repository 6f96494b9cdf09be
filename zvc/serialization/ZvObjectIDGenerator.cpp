#include "zvc/serialization/ZvObjectIDGenerator.h"

#include <algorithm>

ZV_DEFINE_CLASS(ZvObjectIDGenerator, (ZvObject))

namespace {
constexpr size_t FirstSlots = 64;
}

ZvObjectIDGenerator::ZvObjectIDGenerator() : m_slots(new Slot[FirstSlots]()), m_mask(FirstSlots - 1) {}

ZvObjectIDGenerator::ZvObjectIDGenerator(const ZvObjectIDGenerator& other)
    : ZvObject(other), m_slots(new Slot[other.m_mask + 1]), m_mask(other.m_mask), m_count(other.m_count) {
    std::copy_n(other.m_slots.get(), m_mask + 1, m_slots.get());
}

ZvObjectIDGenerator& ZvObjectIDGenerator::operator=(const ZvObjectIDGenerator& other) {
    if (this == &other) return *this;
    std::unique_ptr<Slot[]> slots(new Slot[other.m_mask + 1]);
    std::copy_n(other.m_slots.get(), other.m_mask + 1, slots.get());
    m_slots = std::move(slots);
    m_mask = other.m_mask;
    m_count = other.m_count;
    return *this;
}

ZvObjectIDGenerator::~ZvObjectIDGenerator() = default;

long long ZvObjectIDGenerator::GetId(ZvObject* object, bool* firstTime) {
    ZvLock lock(this);
    long long id = Find(object);
    const bool entered = id == 0 && object != nullptr;
    if (entered) id = Enter(object);
    if (firstTime != nullptr) *firstTime = entered;
    return id;
}

long long ZvObjectIDGenerator::HasId(ZvObject* object, bool* firstTime) {
    ZvLock lock(this);
    const long long id = Find(object);
    if (firstTime != nullptr) *firstTime = id == 0 && object != nullptr;
    return id;
}

// The slot of object, or the free one where it belongs. Objects are 16 bytes apart at the least and come in runs from
// the allocator, and are mostly asked for in these runs: those of one block of memory stay together in the table, so that
// the next one's slot is in the cache, and the multiplication spreads the blocks.
inline size_t ZvObjectIDGenerator::Place(const ZvObject* object) const {
    const uint64_t key = reinterpret_cast<uintptr_t>(object) >> 4;
    const uint64_t block = ((key >> 7) * 0x9E3779B97F4A7C15ull) >> 20;
    size_t i = static_cast<size_t>(block ^ (key & 127)) & m_mask;
    while (m_slots[i].object != nullptr && m_slots[i].object != object) i = (i + 1) & m_mask;
    return i;
}

long long ZvObjectIDGenerator::Find(const ZvObject* object) const {
    if (object == nullptr) return 0;
    const Slot& slot = m_slots[Place(object)];
    return slot.object != nullptr ? slot.id : 0;
}

long long ZvObjectIDGenerator::Enter(const ZvObject* object) {
    if (m_count * 2 > m_mask) Grow();
    const long long id = static_cast<long long>(m_count++);
    m_slots[Place(object)] = Slot{object, id};
    return id;
}

void ZvObjectIDGenerator::Grow() {
    const size_t slots = (m_mask + 1) * 2;
    std::unique_ptr<Slot[]> old(new Slot[slots]());
    old.swap(m_slots);
    const size_t oldMask = m_mask;
    m_mask = slots - 1;
    for (size_t i = 0; i <= oldMask; ++i)
        if (old[i].object != nullptr) m_slots[Place(old[i].object)] = old[i];
}
