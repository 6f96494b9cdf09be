#include "zvc/values/ZvPrimArray.h"

#include "zvc/core/ZvDeclare.h"
#include "zvc/values/ZvElementBuffer.h"

#include <type_traits>
#include <utility>

using zvc::detail::AllocateElements;
using zvc::detail::ClearElements;
using zvc::detail::CopyElements;

namespace {

template <class T> constexpr bool IsHandle = std::is_same_v<T, ZvObject$>;

template <class T>
T* NewBuffer(unsigned long long count) {
    T* buffer = AllocateElements<T>(count);
    if constexpr (IsHandle<T>) ClearElements(buffer, count);        // null handles
    return buffer;
}

template <class T>
void FreeBuffer(T* buffer, unsigned long long count) {
    if constexpr (IsHandle<T>)
        for (unsigned long long i = 0; i < count; ++i) buffer[i].~T();
    ZvSystem::Free(static_cast<void*>(buffer));
}

/// The buffer of elements that are still arriving. It goes with what it holds when an exception ends the arrival.
template <class T>
struct Arriving {
    T* buffer = nullptr;
    unsigned long long room = 0;

    Arriving() = default;
    Arriving(const Arriving&) = delete;
    ~Arriving() { FreeBuffer(buffer, room); }

    void Grow(unsigned long long newRoom) {
        buffer = zvc::detail::ReallocateElements(buffer, newRoom);
        if constexpr (IsHandle<T>) ClearElements(buffer + room, newRoom - room);
        room = newRoom;
    }
};

}

template <class T> ZvBase* ZvPrimArray<T>::GetBases() {
    static zvc::detail::BaseTable<ZvPrimArray<T>, ZvArrayValue> s_table;
    return s_table.entries;
}
template <class T> long ZvPrimArray<T>::ReferenceCount() const { return ZvObject::ReferenceCount(); }
template <class T> void ZvPrimArray<T>::Retain() { ZvObject::Retain(); }
template <class T> void ZvPrimArray<T>::Release() { ZvObject::Release(); }

template <class T>
ZvPrimArray<T>::ZvPrimArray(unsigned long long newCount, const T* source)
    : count(newCount), data(NewBuffer<T>(newCount)) {
    if (source != nullptr) CopyElements(data, source, count);       // handles without a reference: meant so
}

template <class T>
ZvPrimArray<T>::ZvPrimArray(const ZvPrimArray& other)
    : ZvArrayValue(other), count(other.count), data(NewBuffer<T>(other.count)) {
    if (other.data != nullptr) CopyElements(data, other.data, count);   // handles without a reference: meant so
    else ClearElements(data, count);                                // a shared array whose memory was not found
}

template <class T> ZvPrimArray<T>::~ZvPrimArray() { FreeBuffer(data, count); }

template <class T>
ZvPrimArray<T>& ZvPrimArray<T>::operator=(const ZvPrimArray& other) {
    count = other.count;                                            // meant so, see the header
    data = other.data;
    return *this;
}

template <class T> ZvObject* ZvPrimArray<T>::CreateInstance() { return new ZvPrimArray; }
template <class T> ZvObject* ZvPrimArray<T>::CreateFromPtr(void* source, unsigned int count) {
    return new ZvPrimArray(count, static_cast<const T*>(source));
}
template <class T> ZvObject* ZvPrimArray<T>::Clone() const { return new ZvPrimArray(*this); }

template <class T>
void ZvPrimArray<T>::CreateBuffer(unsigned long long newCount) {
    T* buffer = NewBuffer<T>(newCount);                             // before the old one goes
    FreeBuffer(data, count);
    data = buffer;
    count = newCount;
}

template <class T>
void ZvPrimArray<T>::Encode(ZvStream$& stream, ZvCoder* coder) const {
    coder->Write(stream, static_cast<unsigned int>(count));
    if (count == 0) return;                                         // there may be no buffer
    if constexpr (std::is_same_v<T, zvcolor>)                       // colours go out as three floats each: a coder sees those
        zvc::detail::WriteRun(stream, coder, reinterpret_cast<const float*>(data), static_cast<size_t>(count) * 3);
    else
        zvc::detail::WriteRun(stream, coder, data, static_cast<size_t>(count));
}

template <class T>
void ZvPrimArray<T>::Decode(ZvStream$& stream, ZvCoder* coder) {
    unsigned int stored = 0;
    coder->Read(stream, stored);
    Arriving<T> incoming;
    if (stored == 0) incoming.Grow(0);                              // even no elements have a buffer
    for (size_t arrived = 0; arrived < stored; arrived = incoming.room) {
        const size_t step = zvc::detail::RoomFor(stream, coder, zvc::detail::LeastStreamBytes<T>, arrived, stored - arrived);
        incoming.Grow(arrived + step);
        size_t done = 0;
        zvc::detail::ReadRun(stream, coder, incoming.buffer + arrived, step, done);
    }
    std::swap(count, incoming.room);
    std::swap(data, incoming.buffer);
}

template <class T>
bool ZvPrimArray<T>::SetValue(const void* source, ZvValueType type, int index) {
    return zvc::detail::SetFrom(data[index], source, type);
}
template <class T>
bool ZvPrimArray<T>::GetValue(void* target, ZvValueType type, int index) const {
    return zvc::detail::GetTo(data[index], target, type);
}

// The registered names. They stand in files.
#define ZV_ARRAY(name, ...)                                                                                           \
    template <> ZvType ZvPrimArray<__VA_ARGS__>::s_type(                                                              \
        name, sizeof(ZvPrimArray<__VA_ARGS__>), ZvPrimArray<__VA_ARGS__>::GetBases(), typeid(__VA_ARGS__), ZvThisModule(), \
        {.schema = 1, .spec = ZvType::SpecPrimitive | ZvType::SpecArray, .codec = true,                               \
         .create = &ZvPrimArray<__VA_ARGS__>::CreateInstance});                                                       \
    template class ZvPrimArray<__VA_ARGS__>;

ZV_ARRAY("ZvBoolArray", bool)
ZV_ARRAY("ZvByteArray", unsigned char)
ZV_ARRAY("ZvSByteArray", char)
ZV_ARRAY("ZvInt16Array", short)
ZV_ARRAY("ZvUInt16Array", unsigned short)
ZV_ARRAY("ZvInt32Array", int)
ZV_ARRAY("ZvUInt32Array", unsigned int)
ZV_ARRAY("ZvInt64Array", long long)
ZV_ARRAY("ZvUInt64Array", unsigned long long)
ZV_ARRAY("ZvFloatArray", float)
ZV_ARRAY("ZvDoubleArray", double)
ZV_ARRAY("ZvVec2iArray", CG::vec2<int>)
ZV_ARRAY("ZvVec2fArray", CG::vec2<float>)
ZV_ARRAY("ZvVec2dArray", CG::vec2<double>)
ZV_ARRAY("ZvVec3iArray", CG::vec3<int>)
ZV_ARRAY("ZvVec3fArray", CG::vec3<float>)
ZV_ARRAY("ZvVec3dArray", CG::vec3<double>)
ZV_ARRAY("ZvVec4iArray", CG::vec4<int>)
ZV_ARRAY("ZvVec4fArray", CG::vec4<float>)
ZV_ARRAY("ZvVec4dArray", CG::vec4<double>)
ZV_ARRAY("ZvMat3fArray", CG::mat3<float>)
ZV_ARRAY("ZvMat3dArray", CG::mat3<double>)
ZV_ARRAY("ZvMat4fArray", CG::mat4<float>)
ZV_ARRAY("ZvMat4dArray", CG::mat4<double>)
ZV_ARRAY("ZvRotfArray", CG::rotation<float>)
ZV_ARRAY("ZvRotdArray", CG::rotation<double>)
ZV_ARRAY("ZvColorArray", zvcolor)
ZV_ARRAY("ZvObjectArray", ZvObject$)
ZV_ARRAY("ZvObjectPtrArray", ZvObject*)
