#include "zvc/core/ZvFieldPrimitive.h"

#include "zvc/core/ZvElementName.h"
#include "zvc/core/ZvTraverser.h"
#include "zvc/serialization/ZvCoder.h"
#include "zvc/values/ZvConversion.h"
#include "zvc/values/ZvPrimArray.h"
#include "zvc/values/ZvPrimitive.h"
#include "zvc/values/ZvString.h"

#include <type_traits>

namespace {

/// A colour says that it is a vec3<float>. It is meant so: the box of a colour takes that kind as well.
template <class T>
constexpr ZvValueType KindOf = std::is_same_v<T, zvcolor> ? ZvVtVec3f : zvc::detail::KindNumber<T>;

template <class T>
ZvObject$ BoxOf(const T* member) {
    void* block = std::malloc(sizeof(ZvPrimitive<T>));             // the class's own new would raise
    if (block == nullptr) return nullptr;
    // The box of an interface takes no value of its own kind, and stays empty.
    if constexpr (zvc::detail::KindNumber<T> == ZvVtInterface)
        return new (block) ZvPrimitive<T>;
    else
        return new (block) ZvPrimitive<T>(*member);
}

/// The value when it has as many elements, else null.
ZvValue$ ValueOf(const ZvObject$& object, unsigned long long count) {
    ZvValue$ value = object;
    return value && value->Count() == count ? value : ZvValue$();
}

/// Element index of value; zero where the value does not take the kind.
template <class T>
T ElementOf(const ZvValue$& value, int index) {
    T element{};
    value->GetValue(&element, KindOf<T>, index);
    return element;
}

ZvString$ WithOffset(ZvString$ text, size_t offset) {
    ZvString$ whole = new ZvString;
    whole->Format("%s mem_ptr = 0x%p", text->CStr(), reinterpret_cast<const void*>(offset));
    return whole;
}

}

// What the three families define alike.
#define ZV_FIELD_FAMILY(Family)                                                                    \
    template <class T> Family<T>::Family(const Family& other) = default;                           \
    template <class T> Family<T>::~Family() = default;                                             \
    template <class T> ZvBase* Family<T>::GetBases() {                                             \
        static zvc::detail::BaseTable<Family<T>, ZvField> s_table;                                 \
        return s_table.entries;                                                                    \
    }                                                                                              \
    template <class T> ZvType* Family<T>::GetType() const { return &s_type; }                      \
    template <class T> long Family<T>::ReferenceCount() const { return ZvObject::ReferenceCount(); } \
    template <class T> void Family<T>::Retain() { ZvObject::Retain(); }                            \
    template <class T> void Family<T>::Release() { ZvObject::Release(); }                          \
    template <class T> ZvObject* Family<T>::Clone() const { return new Family(*this); }            \
    template <class T> ZvValueType Family<T>::GetValueType() { return KindOf<T>; }

// And the two whose member is one value.
#define ZV_FIELD_FAMILY_OF_ONE(Family)                                                             \
    ZV_FIELD_FAMILY(Family)                                                                        \
    template <class T> ZvString$ Family<T>::ToString() const {                                     \
        return WithOffset(ZvField::ToString(), static_cast<size_t>(m_offset));                     \
    }                                                                                              \
    template <class T> ZvObject$ Family<T>::GetValue(const ZvObject* o) {                          \
        return BoxOf(At(o));                                                          \
    }                                                                                              \
    template <class T> void Family<T>::SetValue(ZvObject* o, const ZvObject$& object) const {      \
        if (ZvValue$ value = ValueOf(object, 1)) *At(o) = ElementOf<T>(value, 0);                  \
    }                                                                                              \
    template <class T>                                                                             \
    void Family<T>::Encode(ZvStream$& stream, ZvCoder* coder, const ZvObject* o) const {           \
        coder->Write(stream, *At(o));                                                              \
    }                                                                                              \
    template <class T> void Family<T>::Decode(ZvStream$& stream, ZvCoder* coder, ZvObject* o) {    \
        coder->Read(stream, *At(o));                                                               \
    }

ZV_FIELD_FAMILY_OF_ONE(ZvFieldPrimitive)
ZV_FIELD_FAMILY_OF_ONE(ZvNestFieldPrimitive)
ZV_FIELD_FAMILY(ZvFieldPrimitiveArray)

template <class T>
ZvFieldPrimitive<T>::ZvFieldPrimitive(ZvType* owner, const char* name, T ZvObject::* member)
    : ZvField(owner, name, &ZvPrimitive<T>::s_type), m_offset(zvc::detail::OffsetOf(member)) {}

template <class T>
ZvNestFieldPrimitive<T>::ZvNestFieldPrimitive(ZvType* owner, const char* name, size_t offset)
    : ZvField(owner, name, &ZvPrimitive<T>::s_type), m_offset(offset) {}

template <class T>
ZvFieldPrimitiveArray<T>::ZvFieldPrimitiveArray(ZvType* owner, const char* name, unsigned int count, T ZvObject::* member)
    : ZvField(owner, name, &ZvPrimArray<T>::s_type), m_count(count), m_offset(zvc::detail::OffsetOf(member)) {}

template <class T>
void ZvFieldPrimitive<T>::Traverse([[maybe_unused]] ZvTraverser& traverser, [[maybe_unused]] ZvObject$& o) {
    if constexpr (std::is_same_v<T, ZvObject$>) traverser.Traverse(*At(o.Get()));
}

// The array that a factory makes is empty, and setting its elements does not make it grow: it is given room first.
template <class T>
ZvObject$ ZvFieldPrimitiveArray<T>::GetValue(const ZvObject* o) {
    ZvObject$ object = m_valueType->CreateObject();
    auto* array = static_cast<ZvPrimArray<T>*>(object.Get());
    array->CreateBuffer(m_count);
    for (unsigned int i = 0; i < m_count; ++i) array->SetValue(At(o) + i, KindOf<T>, static_cast<int>(i));
    return object;
}

template <class T>
void ZvFieldPrimitiveArray<T>::SetValue(ZvObject* o, const ZvObject$& object) const {
    ZvValue$ value = ValueOf(object, m_count);
    if (!value) return;
    for (unsigned int i = 0; i < m_count; ++i) At(o)[i] = ElementOf<T>(value, static_cast<int>(i));
}

template <class T>
void ZvFieldPrimitiveArray<T>::Encode(ZvStream$& stream, ZvCoder* coder, const ZvObject* o) const {
    for (unsigned int i = 0; i < m_count; ++i) coder->Write(stream, At(o)[i]);
}

template <class T>
void ZvFieldPrimitiveArray<T>::Decode(ZvStream$& stream, ZvCoder* coder, ZvObject* o) {
    for (unsigned int i = 0; i < m_count; ++i) coder->Read(stream, At(o)[i]);
}

ZvField* ZvSelectFieldPrimitive(ZvType* owner, const char* name, ZvValueType type, int ZvObject::* member) {
#include "zvc/values/ZvElements.inc"
#define ZV_SELECT(...)                                  \
    if (type == zvc::detail::KindNumber<__VA_ARGS__>)   \
        return new ZvFieldPrimitive<__VA_ARGS__>(owner, name, reinterpret_cast<__VA_ARGS__ ZvObject::*>(member));
    ZV_ELEMENTS_PLAIN(ZV_SELECT)
    ZV_SELECT(ZvObject$)
    using ZvObjectPointer = ZvObject*;
    ZV_SELECT(ZvObjectPointer)
#undef ZV_SELECT
    return nullptr;
}

// Names that stand in no table but are the same on every platform, as those of all template instances.
#define ZV_DEFINE_FIELD(Family, ...)                                                                                \
    template <> ZvType Family<__VA_ARGS__>::s_type(zvc::detail::InstanceName<__VA_ARGS__>(#Family).c_str(),         \
                                                   sizeof(Family<__VA_ARGS__>), Family<__VA_ARGS__>::GetBases(),    \
                                                   typeid(Family<__VA_ARGS__>), ZvThisModule(), {.schema = 1});     \
    template class Family<__VA_ARGS__>;
#define ZV_DEFINE_FIELDS(...)                             \
    ZV_DEFINE_FIELD(ZvFieldPrimitive, __VA_ARGS__)        \
    ZV_DEFINE_FIELD(ZvNestFieldPrimitive, __VA_ARGS__)    \
    ZV_DEFINE_FIELD(ZvFieldPrimitiveArray, __VA_ARGS__)
#define ZV_DEFINE_FIELD_ONLY(...) ZV_DEFINE_FIELD(ZvFieldPrimitive, __VA_ARGS__)

ZV_ELEMENTS_FIELD(ZV_DEFINE_FIELDS)
ZV_ELEMENTS_FIELD_ONLY(ZV_DEFINE_FIELD_ONLY)
