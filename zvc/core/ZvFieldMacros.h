#pragma once

// The field table of a class.
//
//     ZV_FIELDS(Mesh,
//         ZV_FIELD(m_count), ZV_FIELD_ARRAY(m_weights), ZV_FIELD_NEST(m_detail.lod), ZV_FIELD(m_next))
//
// The order is that of the table, a field's name the member as it is written. The table may be empty. Members may be
// private. Kinds: the eleven scalars, the geometry records, zvcolor, ZvObject$ and any other handle, ZvObject*; of single
// fields also ZvInterface$ and ZvInterface*.

#include "zvc/core/ZvField.h"
#include "zvc/core/ZvFieldPrimitive.h"

#include <type_traits>

namespace zvc::detail {

template <class T>
constexpr bool IsFieldKind = KindNumber<T> != ZvVtInterface || std::is_same_v<T, ZvInterface$> || std::is_same_v<T, ZvInterface*>;

template <class T, class Owner>
ZvField* MakeField(ZvType* owner, const char* name, T Owner::* member) {
    const auto inObject = static_cast<T ZvObject::*>(member);
    if constexpr (std::is_base_of_v<ZvObject$, T> && !std::is_same_v<T, ZvObject$>) {
        return new ZvFieldHandle<T>(owner, name, reinterpret_cast<ZvObject$ ZvObject::*>(inObject));
    } else {
        static_assert(IsFieldKind<T>, "ZV_FIELD: a member of this type cannot be a reflected field");
        return new ZvFieldPrimitive<T>(owner, name, inObject);
    }
}

template <class T, size_t Count, class Owner>
ZvField* MakeArrayField(ZvType* owner, const char* name, T (Owner::*member)[Count]) {
    static_assert(KindNumber<T> != ZvVtInterface, "ZV_FIELD_ARRAY: an array of this type cannot be a reflected field");
    const auto inObject = static_cast<T (ZvObject::*)[Count]>(member);
    return new ZvFieldPrimitiveArray<T>(owner, name, static_cast<unsigned int>(Count), reinterpret_cast<T ZvObject::*>(inObject));
}

template <class T>
ZvField* MakeNestField(ZvType* owner, const char* name, size_t offset) {
    static_assert(KindNumber<T> != ZvVtInterface && !(std::is_base_of_v<ZvObject$, T> && !std::is_same_v<T, ZvObject$>),
                  "ZV_FIELD_NEST: a member of this type cannot be a reflected field");
    return new ZvNestFieldPrimitive<T>(owner, name, offset);
}

}

#define ZV_FIELD(member) zvc::detail::MakeField(&s_type, #member, &Self::member)
#define ZV_FIELD_ARRAY(member) zvc::detail::MakeArrayField(&s_type, #member, &Self::member)
#define ZV_FIELD_NEST(member) \
    zvc::detail::MakeNestField<decltype(Self::member)>(&s_type, #member, __builtin_offsetof(Self, member))

/// Defines Class::GetFieldMap().
#define ZV_FIELDS(Class, ...)                                                               \
    _Pragma("GCC diagnostic push") _Pragma("GCC diagnostic ignored \"-Winvalid-offsetof\"") \
    ZvFieldMap* Class::GetFieldMap() {                                                      \
        using Self [[maybe_unused]] = Class;                                                \
        static ZvField* s_fields[] = {__VA_ARGS__ __VA_OPT__(, ) nullptr};                  \
        static ZvFieldMap s_map(s_fields);                                                  \
        return &s_map;                                                                      \
    }                                                                                       \
    _Pragma("GCC diagnostic pop")
