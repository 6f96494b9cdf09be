#include "zvc/values/ZvPrimArray.h"

#include "zvc/core/ZvDeclare.h"
#include "zvc/core/ZvSystem.h"
#include "zvc/serialization/ZvRun.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <type_traits>

ZV_DEFINE_CLASS(ZvArrayValue, (ZvValue))

ZvArrayValue::~ZvArrayValue() = default;

namespace {

template <class T> constexpr bool IsHandle = std::is_same_v<T, ZvObject$>;

/// A size that overflows asks for everything, so that the allocator refuses it.
template <class T>
size_t BytesOf(unsigned long long count) {
    return count > ~size_t(0) / sizeof(T) ? ~size_t(0) : static_cast<size_t>(count) * sizeof(T);
}

template <class T>
T* AllocateBuffer(unsigned long long count) {
    const size_t bytes = BytesOf<T>(count);
    void* block = ZvSystem::Malloc(bytes != 0 ? bytes : 1);
    if constexpr (IsHandle<T>) std::memset(block, 0, bytes);         // null handles
    return static_cast<T*>(block);
}

template <class T>
void FreeBuffer(T* data, unsigned long long count) {
    if constexpr (IsHandle<T>)
        for (unsigned long long i = 0; i < count; ++i) data[i].~T();
    ZvSystem::Free(data);
}

/// A buffer that grows while elements arrive, and cleans up after an exception.
template <class T>
struct Growing {
    T* data = nullptr;
    unsigned long long count = 0;

    ~Growing() { FreeBuffer(data, count); }
    void Grow(size_t newCount) {
        void* block = std::realloc(static_cast<void*>(data), BytesOf<T>(newCount));      // handles move as bytes
        if (block == nullptr) FreeNothingAndRaise();
        data = static_cast<T*>(block);
        std::memset(static_cast<void*>(data + count), 0, IsHandle<T> || std::is_pointer_v<T> ? (newCount - count) * sizeof(T) : 0);
        count = newCount;
    }
    [[noreturn]] static void FreeNothingAndRaise() {
        ZvSystem::Malloc(~size_t(0));
        std::abort();
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
    : count(newCount), data(AllocateBuffer<T>(newCount)) {
    if (source != nullptr) std::memcpy(static_cast<void*>(data), static_cast<const void*>(source), BytesOf<T>(count));
}

template <class T>
ZvPrimArray<T>::ZvPrimArray(const ZvPrimArray& other)
    : ZvArrayValue(other), count(other.count), data(AllocateBuffer<T>(other.count)) {
    if (count != 0) std::memcpy(static_cast<void*>(data), static_cast<const void*>(other.data), BytesOf<T>(count));
}

template <class T> ZvPrimArray<T>::~ZvPrimArray() { FreeBuffer(data, count); }

template <class T>
ZvPrimArray<T>& ZvPrimArray<T>::operator=(const ZvPrimArray& other) {
    count = other.count;                                            // meant so, see the header
    data = other.data;
    return *this;
}

template <class T> ZvObject* ZvPrimArray<T>::CreateInstance() { return new ZvPrimArray; }
template <class T> ZvObject* ZvPrimArray<T>::CreateFromPtr(void* source, unsigned int n) {
    return new ZvPrimArray(n, static_cast<const T*>(source));
}
template <class T> ZvObject* ZvPrimArray<T>::Clone() const { return new ZvPrimArray(*this); }

template <class T>
void ZvPrimArray<T>::CreateBuffer(unsigned long long newCount) {
    T* buffer = AllocateBuffer<T>(newCount);                        // before the old one goes
    FreeBuffer(data, count);
    data = buffer;
    count = newCount;
}

template <class T>
void ZvPrimArray<T>::Encode(ZvStream$& stream, ZvCoder* coder) const {
    coder->Write(stream, static_cast<unsigned int>(count));
    zvc::detail::WriteRun(stream, coder, data, static_cast<size_t>(count));
}

template <class T>
void ZvPrimArray<T>::Decode(ZvStream$& stream, ZvCoder* coder) {
    unsigned int stored = 0;
    coder->Read(stream, stored);
    Growing<T> incoming;
    constexpr size_t atLeast = std::is_floating_point_v<typename zvc::detail::Shape<T>::Scalar> ? sizeof(T) : 1;
    while (incoming.count < stored) {
        const size_t from = incoming.count;
        incoming.Grow(from + zvc::detail::RoomFor(stream, coder, atLeast, from, stored - from));
        zvc::detail::ReadRun(stream, coder, incoming.data + from, incoming.count - from);
    }
    if (incoming.data == nullptr) incoming.data = AllocateBuffer<T>(0);
    std::swap(count, incoming.count);
    std::swap(data, incoming.data);
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
