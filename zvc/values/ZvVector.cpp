#include "zvc/values/ZvVector.h"

#include "zvc/core/ZvDeclare.h"
#include "zvc/values/ZvElementBuffer.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

ZV_DEFINE_CLASS(ZvVectorValue, (ZvValue))

ZvVectorValue::~ZvVectorValue() = default;

using zvc::detail::AllocateElements;
using zvc::detail::ClearElements;
using zvc::detail::CopyElements;

namespace {

template <class T> constexpr unsigned long long MaxCount = ~0ull / sizeof(T);

template <class T>
void CheckCount(unsigned long long count) {
    if (count > MaxCount<T>) throw std::length_error("vector<T> too long");
}

/// The capacity and half of it, or the needed one where that is more.
template <class T>
unsigned long long GrownCapacity(unsigned long long capacity, unsigned long long needed) {
    if (capacity > MaxCount<T> - capacity / 2) return needed;
    return std::max(capacity + capacity / 2, needed);
}

/// What a capacity becomes when elements are added one by one until there are so many.
template <class T>
unsigned long long CapacityOfAdding(unsigned long long capacity, unsigned long long size) {
    while (capacity < size) capacity = GrownCapacity<T>(capacity, capacity + 1);
    return capacity;
}

}

template <class T> ZvBase* ZvVector<T>::GetBases() {
    static zvc::detail::BaseTable<ZvVector<T>, ZvVectorValue> s_table;
    return s_table.entries;
}
template <class T> long ZvVector<T>::ReferenceCount() const { return ZvObject::ReferenceCount(); }
template <class T> void ZvVector<T>::Retain() { ZvObject::Retain(); }
template <class T> void ZvVector<T>::Release() { ZvObject::Release(); }

template <class T>
ZvVector<T>::ZvVector(unsigned long long count, const T* const source) {
    Reserve(count);
    CopyElements(first, source, count);
    last += count;
}

template <class T>
ZvVector<T>::ZvVector(unsigned long long count, const T& value) {
    Reserve(count);
    last = std::fill_n(first, count, value);
}

template <class T>
ZvVector<T>::ZvVector(const ZvVector& other) : ZvVector(other.Count(), other.first) {}

template <class T>
ZvVector<T>::ZvVector(ZvVector&& other) noexcept : ZvVectorValue(other), first(other.first), last(other.last), end(other.end) {
    other.first = other.last = other.end = nullptr;
}

template <class T> ZvVector<T>::~ZvVector() { ZvSystem::Free(first); }

template <class T>
ZvVector<T>& ZvVector<T>::operator=(const ZvVector& other) {
    if (this == &other) return *this;
    if (other.Count() > Capacity()) return *this = ZvVector(other);
    CopyElements(first, other.first, other.Count());
    last = first + other.Count();
    return *this;
}

template <class T>
ZvVector<T>& ZvVector<T>::operator=(ZvVector&& other) noexcept {
    if (this == &other) return *this;
    ZvSystem::Free(first);
    first = other.first;
    last = other.last;
    end = other.end;
    other.first = other.last = other.end = nullptr;
    return *this;
}

template <class T> ZvObject* ZvVector<T>::CreateInstance() { return new ZvVector; }
template <class T> ZvObject* ZvVector<T>::Clone() const { return new ZvVector(*this); }

template <class T>
void ZvVector<T>::AddGrowing(const T& value) {
    const T copy = value;                            // value may lie in the buffer that goes
    GrowFor(Count() + 1);
    *last++ = copy;
}

template <class T>
void ZvVector<T>::Insert(unsigned long long index, const T& value) {
    const T copy = value;
    if (last == end) GrowFor(Count() + 1);
    T* at = first + index;
    std::memmove(at + 1, at, static_cast<size_t>(last - at) * sizeof(T));
    *at = copy;
    ++last;
}

template <class T>
void ZvVector<T>::Remove(unsigned long long index) {
    Remove(index, index + 1);
}

template <class T>
void ZvVector<T>::Remove(unsigned long long firstIndex, unsigned long long lastIndex) {
    if (firstIndex == lastIndex) return;
    T* tail = first + lastIndex;
    std::memmove(first + firstIndex, tail, static_cast<size_t>(last - tail) * sizeof(T));
    last -= lastIndex - firstIndex;
}

template <class T>
void ZvVector<T>::Resize(unsigned long long count) {
    const unsigned long long size = Count();
    if (count > size) {
        if (count > Capacity()) GrowFor(count);
        ClearElements(last, count - size);
    }
    last = first + count;
}

template <class T>
void ZvVector<T>::Reserve(unsigned long long count) {
    CheckCount<T>(count);
    if (count > Capacity()) Reallocate(count);
}

template <class T>
void ZvVector<T>::GrowFor(unsigned long long needed) {
    CheckCount<T>(needed);
    Reallocate(GrownCapacity<T>(Capacity(), needed));
}

template <class T>
void ZvVector<T>::Reallocate(unsigned long long capacity) {
    T* buffer = AllocateElements<T>(capacity);
    const unsigned long long size = Count();
    CopyElements(buffer, first, size);
    ZvSystem::Free(first);
    first = buffer;
    last = buffer + size;
    end = buffer + capacity;
}

template <class T>
void ZvVector<T>::Encode(ZvStream$& stream, ZvCoder* coder) const {
    coder->Write(stream, static_cast<unsigned int>(Count()));
    if (Count() != 0) zvc::detail::WriteRun(stream, coder, first, static_cast<size_t>(Count()));
}

/// Reads step elements behind the last. When the coder raises, those that had come have been appended, and the capacity is
/// what adding them one by one gives.
template <class T>
void ZvVector<T>::AppendStep(ZvStream$& stream, ZvCoder* coder, size_t step, unsigned long long reserved) {
    size_t done = 0;
    try {
        zvc::detail::ReadRun(stream, coder, last, step, done);
    } catch (...) {
        last += done;
        end = first + std::min(Capacity(), CapacityOfAdding<T>(reserved, Count()));
        throw;
    }
    last += step;
}

// The vector is not emptied first: decoding appends, and it is meant so.
template <class T>
void ZvVector<T>::Decode(ZvStream$& stream, ZvCoder* coder) {
    unsigned int stored = 0;
    coder->Read(stream, stored);
    const unsigned long long reserved = std::max<unsigned long long>(Capacity(), stored);
    const unsigned long long capacity = CapacityOfAdding<T>(reserved, Count() + stored);
    for (size_t arrived = 0; arrived < stored;) {
        const size_t step = zvc::detail::RoomFor(stream, coder, zvc::detail::LeastStreamBytes<T>, arrived, stored - arrived);
        const unsigned long long needed = Count() + step;
        const bool isLastStep = arrived + step == stored;
        if (needed > Capacity()) Reallocate(isLastStep ? capacity : needed);
        AppendStep(stream, coder, step, reserved);
        arrived += step;
    }
    if (Capacity() < capacity) Reallocate(capacity);
}

template <class T>
bool ZvVector<T>::SetValue(const void* source, ZvValueType type, int index) {
    return zvc::detail::SetFrom(first[index], source, type);
}
template <class T>
bool ZvVector<T>::GetValue(void* target, ZvValueType type, int index) const {
    return zvc::detail::GetTo(first[index], target, type);
}

template <class T> void ZvVector<T>::SetValue(const void*) {}

template <class T>
bool ZvVector<T>::SetValue(const ZvValue& value) {
    if (value.GetType() != &s_type) return false;
    *this = static_cast<const ZvVector&>(value);
    return true;
}

template <class T>
void ZvVector<T>::GetValue(void* target) const {
    CopyElements(static_cast<T*>(target), first, Count());
}

template <class T> const std::type_info& ZvVector<T>::TypeID() const { return typeid(T); }

// The registered names stand in files. Four of the classes state the kind bits of an array, as they always have.
#define ZV_VECTOR(name, classSpec, ...)                                                                                 \
    template <> ZvType ZvVector<__VA_ARGS__>::s_type(                                                                   \
        name, sizeof(ZvVector<__VA_ARGS__>), ZvVector<__VA_ARGS__>::GetBases(), typeid(ZvVector<__VA_ARGS__>),          \
        ZvThisModule(),                                                                                                 \
        {.schema = 1, .spec = classSpec, .codec = true, .create = &ZvVector<__VA_ARGS__>::CreateInstance});             \
    template class ZvVector<__VA_ARGS__>;

constexpr unsigned int PlainClass = ZvType::SpecClass;
constexpr unsigned int ArrayBits = ZvType::SpecPrimitive | ZvType::SpecArray;

ZV_VECTOR("ZvByteVector", PlainClass, unsigned char)
ZV_VECTOR("ZvSByteVector", PlainClass, char)
ZV_VECTOR("ZvShortVector", PlainClass, short)
ZV_VECTOR("ZvUShortVector", PlainClass, unsigned short)
ZV_VECTOR("ZvIntVector", PlainClass, int)
ZV_VECTOR("ZvUIntVector", PlainClass, unsigned int)
ZV_VECTOR("ZvLongVector", PlainClass, long long)
ZV_VECTOR("ZvULongVector", ArrayBits, unsigned long long)
ZV_VECTOR("ZvFloatVector", PlainClass, float)
ZV_VECTOR("ZvDoubleVector", ArrayBits, double)
ZV_VECTOR("ZvVec2iVector", PlainClass, CG::vec2<int>)
ZV_VECTOR("ZvVec2fVector", ArrayBits, CG::vec2<float>)
ZV_VECTOR("ZvVec2dVector", PlainClass, CG::vec2<double>)
ZV_VECTOR("ZvVec3iVector", PlainClass, CG::vec3<int>)
ZV_VECTOR("ZvVec3fVector", ArrayBits, CG::vec3<float>)
ZV_VECTOR("ZvVec3dVector", PlainClass, CG::vec3<double>)
ZV_VECTOR("ZvVec4iVector", PlainClass, CG::vec4<int>)
ZV_VECTOR("ZvVec4fVector", PlainClass, CG::vec4<float>)
ZV_VECTOR("ZvVec4dVector", PlainClass, CG::vec4<double>)
