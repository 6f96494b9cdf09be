#pragma once

// ZV_FIELDS: the field table of a reflected class, which ZV_DECLARE_TABLES declares.
//
//     ZV_FIELDS(Mesh,
//         ZV_FIELD(m_count),                  // a member of a value kind, ZvObject$, ZvObject*, ZvInterface$, ZvInterface*,
//                                             // or of any other handle class
//         ZV_FIELD_ARRAY(m_weights),          // a fixed array of a value kind, ZvObject$ or ZvObject*
//         ZV_FIELD_NEST(m_detail.lod))        // a member inside a member, of the same types as an array's elements
//     ZV_FIELDS(Camera)                       // no fields
//
// A field's name is the member's as written, "m_detail.lod". The names are part of the stream format. A member of any
// other type is a compile-time error.

#include "zvc/core/ZvFieldPrimitive.h"
#include "zvc/core/ZvTraverser.h"
#include "zvc/serialization/ZvCoder.h"
#include "zvc/values/ZvValue.h"

#include <cstddef>
#include <type_traits>

namespace zvc::detail {

/// Whether a member of type T may stand anywhere, or directly in the class alone.
template <class T> inline constexpr bool IsFieldType = false;
template <class T> inline constexpr bool IsDirectFieldType = IsFieldType<T>;
#include "zvc/core/ZvFieldElements.inc"
#define ZV_DETAIL_FIELD_TYPE(...) template <> inline constexpr bool IsFieldType<__VA_ARGS__> = true;
#define ZV_DETAIL_DIRECT_FIELD_TYPE(...) template <> inline constexpr bool IsDirectFieldType<__VA_ARGS__> = true;
ZV_ELEMENTS_FIELD(ZV_DETAIL_FIELD_TYPE)
ZV_ELEMENTS_FIELD_ONLY(ZV_DETAIL_DIRECT_FIELD_TYPE)
#undef ZV_DETAIL_DIRECT_FIELD_TYPE
#undef ZV_DETAIL_FIELD_TYPE

/// A member whose type is some handle class X$ above Root, which is ZvObject$ or ZvInterface$. For coders and boxes it is a
/// Root. What comes in passes the checked cast: where a stream, or a box, holds an object of another class, the member
/// becomes null, so that it never refers to anything but an X.
template <class Handle, class Root, template <class> class Family>
class HandleField final : public Family<Root>, public TypedHandleField {
    static_assert(sizeof(Handle) == sizeof(Root), "a handle is one pointer and nothing else");

public:
    template <class Place>
    HandleField(ZvType* owner, const char* name, Place place) : Family<Root>(owner, name, place) {}

    ZvObject* Clone() const override { return new HandleField(*this); }

    using Family<Root>::Decode;
    void SetValue(ZvObject* o, const ZvObject$& object) const override {
        ZvValue$ value = object;
        if (!value || value->Count() != 1) return;
        Root incoming;
        constexpr bool isObject = std::is_same_v<Root, ZvObject$>;
        value->GetValue(&incoming, isObject ? ZvVtObjectRef : ZvVtInterface, 0);
        Assign(o, incoming);
    }
    void Decode(ZvStream$& stream, ZvCoder* coder, ZvObject* o) override {
        Root incoming;
        coder->Read(stream, incoming);
        Assign(o, incoming);
    }
    void Traverse(ZvTraverser& traverser, ZvObject$& o) override {
        if constexpr (std::is_same_v<Family<Root>, ZvFieldPrimitive<ZvObject$>>) {
            traverser.Traverse(*this->At(o.Get()));
            Assign(o.Get(), ZvObject$(*this->At(o.Get())));      // a visitor may have put another object in its place
        }
    }

private:
    void Assign(ZvObject* o, const Root& incoming) const { static_cast<Handle&>(*this->At(o)) = Handle(incoming); }
};

template <class T, class Root>
inline constexpr bool IsHandleAbove = std::is_base_of_v<Root, T> && !std::is_same_v<Root, T>;

template <class T> inline constexpr bool NoSuchField = false;

/// The pointer to a member of Self, or of one of its bases, as one to a member of ZvObject.
template <class Self, class Class, class T>
T ZvObject::* ObjectMember(T Class::* member) {
    static_assert(std::is_base_of_v<ZvObject, Self>, "fields belong to classes derived from ZvObject");
    return static_cast<T ZvObject::*>(static_cast<T Self::*>(member));
}

template <template <class> class Family, class T, class Place>
ZvField* MakeHandleField(ZvType* owner, const char* name, Place place) {
    if constexpr (IsHandleAbove<T, ZvObject$>)
        return new HandleField<T, ZvObject$, Family>(owner, name, place);
    else
        return new HandleField<T, ZvInterface$, Family>(owner, name, place);
}

template <class T>
ZvField* MakeField(ZvType* owner, const char* name, T ZvObject::* member) {
    if constexpr (IsDirectFieldType<T>) {
        return new ZvFieldPrimitive<T>(owner, name, member);
    } else if constexpr (IsHandleAbove<T, ZvObject$>) {
        return MakeHandleField<ZvFieldPrimitive, T>(owner, name, reinterpret_cast<ZvObject$ ZvObject::*>(member));
    } else if constexpr (IsHandleAbove<T, ZvInterface$>) {
        return MakeHandleField<ZvFieldPrimitive, T>(owner, name, reinterpret_cast<ZvInterface$ ZvObject::*>(member));
    } else if constexpr (std::is_array_v<T>) {
        static_assert(NoSuchField<T>, "ZV_FIELD: a fixed array member is declared with ZV_FIELD_ARRAY");
    } else {
        static_assert(NoSuchField<T>, "ZV_FIELD: the member's type is no value kind and no handle class");
    }
}

template <class T>
ZvField* MakeNestField(ZvType* owner, const char* name, size_t offset) {
    if constexpr (IsFieldType<T>)
        return new ZvNestFieldPrimitive<T>(owner, name, offset);
    else if constexpr (IsHandleAbove<T, ZvObject$>)
        return MakeHandleField<ZvNestFieldPrimitive, T>(owner, name, offset);
    else
        static_assert(NoSuchField<T>, "ZV_FIELD_NEST: the member's type is no value kind that a nested field can have");
}

template <class T>
ZvField* MakeArrayField(ZvType* owner, const char* name, T ZvObject::* member) {
    using Element = std::remove_extent_t<T>;
    if constexpr (!std::is_bounded_array_v<T>)
        static_assert(NoSuchField<T>, "ZV_FIELD_ARRAY: the member is no fixed array");
    else if constexpr (!IsFieldType<Element>)
        static_assert(NoSuchField<T>, "ZV_FIELD_ARRAY: the element's type is no value kind that an array field can have");
    else
        return new ZvFieldPrimitiveArray<Element>(owner, name, static_cast<unsigned int>(std::extent_v<T>),
                                                  reinterpret_cast<Element ZvObject::*>(member));
}

}

// offsetof is conditionally supported for classes with virtual functions; without virtual bases all compilers have it.
#if defined(__clang__)
#define ZV_DETAIL_OFFSETOF_BEGIN \
    _Pragma("clang diagnostic push") _Pragma("clang diagnostic ignored \"-Winvalid-offsetof\"")
#define ZV_DETAIL_OFFSETOF_END _Pragma("clang diagnostic pop")
#elif defined(__GNUC__)
#define ZV_DETAIL_OFFSETOF_BEGIN \
    _Pragma("GCC diagnostic push") _Pragma("GCC diagnostic ignored \"-Winvalid-offsetof\"")
#define ZV_DETAIL_OFFSETOF_END _Pragma("GCC diagnostic pop")
#else
#define ZV_DETAIL_OFFSETOF_BEGIN
#define ZV_DETAIL_OFFSETOF_END
#endif

/// Defines X::GetFieldMap() from field entries, at global scope; X is the class's full name. The table and the map are
/// made once, at the first call, and live until the module's exit actions.
#define ZV_FIELDS(X, ...)                                             \
    ZV_DETAIL_OFFSETOF_BEGIN                                          \
    ZvFieldMap* X::GetFieldMap() {                                    \
        using ZvSelf [[maybe_unused]] = X;                            \
        static ZvField* s_table[] = {__VA_ARGS__ __VA_OPT__(, ) nullptr}; \
        static ZvFieldMap s_map(s_table);                             \
        return &s_map;                                                \
    }                                                                 \
    ZV_DETAIL_OFFSETOF_END

/// An entry for a member of the class, or of a base that is in no table of its own.
#define ZV_FIELD(member) \
    zvc::detail::MakeField(&ZvSelf::s_type, #member, zvc::detail::ObjectMember<ZvSelf>(&ZvSelf::member))

/// An entry for a fixed array.
#define ZV_FIELD_ARRAY(member) \
    zvc::detail::MakeArrayField(&ZvSelf::s_type, #member, zvc::detail::ObjectMember<ZvSelf>(&ZvSelf::member))

/// An entry for a member inside a member: ZV_FIELD_NEST(m_detail.lod).
#define ZV_FIELD_NEST(member)                                                               \
    zvc::detail::MakeNestField<std::remove_reference_t<decltype(ZvSelf::member)>>(          \
        &ZvSelf::s_type, #member, offsetof(ZvSelf, member))
