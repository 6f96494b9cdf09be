#pragma once

// The declaration macros: what makes a C++ class a reflected class.
//
//     // Mesh.h                                              // Mesh.cpp
//     class Mesh : public ZvObject {                          ZV_MODULE("App", nullptr, nullptr)   // once a module
//         ZV_DECLARE_CLASS(Mesh)                              ZV_DEFINE_CLASS(Mesh, (ZvObject), .create = &Create, ZV_TABLES)
//         ZV_DECLARE_CREATE(Mesh)                             ZV_FIELDS(Mesh, ZV_FIELD(m_count))
//         ZV_DECLARE_TABLES()                                 ZV_METHODS(Mesh, ZV_METHOD(Sum, "a", "b"))
//     public: ...                                             ZV_CONSTRUCTORS(Mesh, ZV_CONSTRUCTOR())
//     };
//     ZV_DECLARE_HANDLE(Mesh, ZvObject$);
//
// ZV_DEFINE_CLASS stands at global scope and takes the full name ("studio::Light"): the class's name in the registry
// and in streams is its source name, the same on every platform. Its options are those of ZvTypeOptions, in order.
// The field macros stand in ZvFieldMacros.h, those of methods and constructors in ZvMethodMacros.h; who includes single
// headers and not zvc.h includes those beside this one.

#include "zvc/core/ZvInterface.h"
#include "zvc/core/ZvModuleState.h"
#include "zvc/core/ZvObject.h"
#include "zvc/core/ZvType.h"

#include <type_traits>

namespace zvc::detail {

/// Bytes from a Derived to its Base subobject.
template <class Derived, class Base>
size_t BaseOffset() {
    constexpr uintptr_t at = 0x10000;            // any aligned place: only addresses are computed
    auto* derived = reinterpret_cast<Derived*>(at);
    return static_cast<size_t>(reinterpret_cast<uintptr_t>(static_cast<Base*>(derived)) - at);
}

/// The base table of a class: its bases in declaration order, and the end.
template <class Derived, class... Bases>
struct BaseTable {
    ZvBase entries[sizeof...(Bases) + 1] = {ZvBase(&Bases::s_type, BaseOffset<Derived, Bases>())..., ZvBase()};
};

/// Whether GetHashCode and Equals of a class are those of ZvObject. No where they cannot be looked at from here.
template <class X>
inline constexpr bool ComparesByIdentity = requires {
    requires std::is_same_v<decltype(&X::GetHashCode), size_t (ZvObject::*)() const>;
    requires std::is_same_v<decltype(&X::Equals), bool (ZvObject::*)(const ZvObject*) const>;
};

template <class X>
ZvTypeOptions OptionsOf(ZvTypeOptions options) {
    options.identity = ComparesByIdentity<X>;
    return options;
}

}

#define ZV_DETAIL_UNPACK(...) __VA_ARGS__

// The declared operations override those of a base in some classes and not in others, which only clang minds.
#if defined(__clang__)
#define ZV_DETAIL_QUIET_BEGIN \
    _Pragma("clang diagnostic push") _Pragma("clang diagnostic ignored \"-Winconsistent-missing-override\"")
#define ZV_DETAIL_QUIET_END _Pragma("clang diagnostic pop")
#else
#define ZV_DETAIL_QUIET_BEGIN
#define ZV_DETAIL_QUIET_END
#endif

#define ZV_DETAIL_DECLARE_COMMON(X)                                     \
public:                                                                 \
    static ZvType s_type;                                               \
    static ZvBase* GetBases();                                          \
    ZV_DETAIL_QUIET_BEGIN                                               \
    virtual ZvType* GetType() const;                                    \
    ZV_DETAIL_QUIET_END

/// Declares a reflected object class: s_type, GetBases, GetType, ReferenceCount, Retain, Release. The members behind it
/// are public until an access specifier says otherwise.
#define ZV_DECLARE_CLASS(X)                                             \
    ZV_DETAIL_DECLARE_COMMON(X)                                         \
    ZV_DETAIL_QUIET_BEGIN                                               \
    virtual long ReferenceCount() const;                                \
    virtual void Retain();                                              \
    virtual void Release();                                             \
    ZV_DETAIL_QUIET_END                                                 \
    bool IsKindOf(const ZvType* t) const { return ZvObject::IsKindOf(t); }

/// Declares the factory: a new object with count 0.
#define ZV_DECLARE_CREATE(X) \
public:                      \
    static ZvObject* Create() { return new X; }

/// Declares the three reflection tables, which ZV_FIELDS, ZV_METHODS and ZV_CONSTRUCTORS define.
#define ZV_DECLARE_TABLES()                        \
public:                                            \
    static ZvConstructorMap* GetConstructorMap();  \
    static ZvFieldMap* GetFieldMap();              \
    static ZvMethodMap* GetMethodMap();

/// The three tables as options of ZV_DEFINE_CLASS.
#define ZV_TABLES .constructors = &GetConstructorMap, .fields = &GetFieldMap, .methods = &GetMethodMap

#define ZV_DETAIL_DEFINE_COMMON(X, Bases)                                                        \
    ZvBase* X::GetBases() {                                                                      \
        static zvc::detail::BaseTable<X, ZV_DETAIL_UNPACK Bases> s_table;                        \
        return s_table.entries;                                                                  \
    }                                                                                            \
    ZvType* X::GetType() const { return &s_type; }

#define ZV_DETAIL_DEFINE_COUNT(X)                                       \
    long X::ReferenceCount() const { return ZvObject::ReferenceCount(); } \
    void X::Retain() { ZvObject::Retain(); }                            \
    void X::Release() { ZvObject::Release(); }

/// Defines a reflected class: ZV_DEFINE_CLASS(Name, (Bases...), options...).
#define ZV_DEFINE_CLASS(X, Bases, ...)                                                           \
    ZV_DETAIL_DEFINE_COMMON(X, Bases)                                                            \
    ZV_DETAIL_DEFINE_COUNT(X)                                                                    \
    ZvType X::s_type("class " #X, sizeof(X), X::GetBases(), typeid(X), ZvThisModule(),           \
                     zvc::detail::OptionsOf<X>(ZvTypeOptions{__VA_ARGS__}));

/// Declares and defines an interface; its descriptor has schema 0 and the interface bit alone.
#define ZV_DECLARE_INTERFACE(X) ZV_DETAIL_DECLARE_COMMON(X)

#define ZV_DEFINE_INTERFACE(X, Bases)                                                            \
    ZV_DETAIL_DEFINE_COMMON(X, Bases)                                                            \
    ZvType X::s_type("class " #X, sizeof(X), X::GetBases(), typeid(X), ZvThisModule(),           \
                     ZvTypeOptions{.schema = 0, .spec = ZvType::SpecInterface});
