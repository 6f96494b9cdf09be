#pragma once

// Counted handles. A handle is one pointer and nothing else; fields and arrays store handles in raw memory.
//
// Each reflected class X that is passed around has a handle class X$ of its own, so that overloads and exported
// signatures tell ZvString$ from ZvObject$. A class without one uses ZvHandle<X, ZvObject$>. Widening is a copy;
// narrowing is the checked cast: a handle on an object that is no X becomes a null X$. Both are implicit.
// Comparison is identity; nullptr, NULL and 0 compare as the null pointer. There is no check for null behind -> and *.
//
// Copying and destroying handles is safe from any number of threads, each with a handle of its own.

#include "zvc/core/ZvObject.h"

#include <type_traits>
#include <utility>

class ZvInterface;
class ZvInterface$;

namespace zvc::detail {
/// The object when it is of class type, else null. Inline in ZvType.h, which every header with a handle cast brings in.
inline ZvObject* CastObject(ZvObject* o, const ZvType& type);
ZV_API ZvInterface* CastInterface(ZvInterface* p, const ZvType& type);
ZV_API ZvObject* InterfaceToObject(const ZvInterface* p);
ZV_API ZvInterface* ObjectToInterface(const ZvObject* o);
ZV_API void RetainInterface(ZvInterface* p);
ZV_API void ReleaseInterface(ZvInterface* p);
struct Checked {};           // selects the constructor that takes a pointer which a cast has already looked at
struct Taken {};             // the same, and that takes over the count of the handle that held it
}

/// Handle on any object.
class ZV_API ZvObject$ {
public:
    constexpr ZvObject$() noexcept = default;
    ZvObject$(ZvObject* o) noexcept : m_object(o) {
        if (o) o->Retain();
    }
    ZvObject$(const ZvObject$& other) noexcept : ZvObject$(other.m_object) {}
    ZvObject$(ZvObject$&& other) noexcept : m_object(other.m_object) { other.m_object = nullptr; }
    ZvObject$(const ZvInterface$& i) noexcept;
    ~ZvObject$() {
        if (ZvObject* o = m_object) {
            o->Release();
            m_object = nullptr;
        }
    }

    ZvObject$& operator=(const ZvObject$& other) {
        ZvObject* incoming = other.m_object;
        if (incoming != m_object) {
            if (incoming) incoming->Retain();
            ZvObject* old = m_object;
            m_object = incoming;
            if (old) old->Release();
        }
        return *this;
    }
    ZvObject$& operator=(ZvObject$&& other) {
        if (this != &other) {
            ZvObject* old = m_object;
            m_object = other.m_object;
            other.m_object = nullptr;
            if (old) old->Release();
        }
        return *this;
    }

    ZvObject* Get() const noexcept { return m_object; }
    ZvObject* operator->() const noexcept { return m_object; }
    ZvObject& operator*() const noexcept { return *m_object; }
    explicit operator bool() const noexcept { return m_object != nullptr; }
    bool operator!() const noexcept { return m_object == nullptr; }

    friend bool operator==(const ZvObject$& a, const ZvObject$& b) noexcept { return a.m_object == b.m_object; }
    friend bool operator==(const ZvObject$& a, const ZvObject* b) noexcept { return a.m_object == b; }

protected:
    using Root = ZvObject;
    ZvObject$(zvc::detail::Checked, ZvObject* o) noexcept : ZvObject$(o) {}
    ZvObject$(zvc::detail::Taken, ZvObject* o) noexcept : m_object(o) {}
    static ZvObject* Cast(const ZvObject$& o, const ZvType& type) { return zvc::detail::CastObject(o.m_object, type); }
    static ZvObject* Take(ZvObject$& o, const ZvType& type) {
        ZvObject* const cast = Cast(o, type);
        if (cast != nullptr) o.m_object = nullptr;
        return cast;
    }
    static ZvObject* Cast(const ZvInterface$& i, const ZvType& type);
    ZvObject* Pointer() const noexcept { return m_object; }

    ZvObject* m_object = nullptr;
};

/// Handle on any interface. It counts only through the interface's own virtual operations.
class ZV_API ZvInterface$ {
public:
    constexpr ZvInterface$() noexcept = default;
    ZvInterface$(ZvInterface* p) : m_interface(p) {
        if (p) zvc::detail::RetainInterface(p);
    }
    ZvInterface$(const ZvInterface$& other) : ZvInterface$(other.m_interface) {}
    ZvInterface$(ZvInterface$&& other) noexcept : m_interface(other.m_interface) { other.m_interface = nullptr; }
    ZvInterface$(const ZvObject$& o) : ZvInterface$(zvc::detail::ObjectToInterface(o.Get())) {}
    ~ZvInterface$() {
        if (m_interface) {
            zvc::detail::ReleaseInterface(m_interface);
            m_interface = nullptr;
        }
    }

    ZvInterface$& operator=(const ZvInterface$& other) {
        ZvInterface* incoming = other.m_interface;
        if (incoming != m_interface) {
            if (incoming) zvc::detail::RetainInterface(incoming);
            ZvInterface* old = m_interface;
            m_interface = incoming;
            if (old) zvc::detail::ReleaseInterface(old);
        }
        return *this;
    }
    ZvInterface$& operator=(ZvInterface$&& other) {
        if (this != &other) {
            ZvInterface* old = m_interface;
            m_interface = other.m_interface;
            other.m_interface = nullptr;
            if (old) zvc::detail::ReleaseInterface(old);
        }
        return *this;
    }

    ZvInterface* Get() const noexcept { return m_interface; }
    ZvInterface* operator->() const noexcept { return m_interface; }
    ZvInterface& operator*() const noexcept { return *m_interface; }
    explicit operator bool() const noexcept { return m_interface != nullptr; }
    bool operator!() const noexcept { return m_interface == nullptr; }

    friend bool operator==(const ZvInterface$& a, const ZvInterface$& b) noexcept { return a.m_interface == b.m_interface; }
    friend bool operator==(const ZvInterface$& a, const ZvInterface* b) noexcept { return a.m_interface == b; }

protected:
    using Root = ZvInterface;
    ZvInterface$(zvc::detail::Checked, ZvInterface* p) : ZvInterface$(p) {}
    static ZvInterface* Cast(const ZvInterface$& i, const ZvType& type) {
        return zvc::detail::CastInterface(i.m_interface, type);
    }
    static ZvInterface* Cast(const ZvObject$& o, const ZvType& type) {
        return zvc::detail::CastInterface(zvc::detail::ObjectToInterface(o.Get()), type);
    }
    ZvInterface* Pointer() const noexcept { return m_interface; }

    ZvInterface* m_interface = nullptr;
};

inline ZvObject$::ZvObject$(const ZvInterface$& i) noexcept : ZvObject$(zvc::detail::InterfaceToObject(i.Get())) {}
inline ZvObject* ZvObject$::Cast(const ZvInterface$& i, const ZvType& type) {
    return zvc::detail::CastObject(zvc::detail::InterfaceToObject(i.Get()), type);
}

/// Handle on T, extending the handle class Base of a base of T. T may be incomplete where a handle is only passed.
template <class T, class Base>
class ZV_API ZvHandle : public Base {
public:
    constexpr ZvHandle() noexcept = default;
    ZvHandle(T* p) : Base(p) {}

    /// Checked casts: null when the object is no T.
    ZvHandle(const ZvObject$& o) : Base(zvc::detail::Checked{}, Base::Cast(o, T::s_type)) {}
    ZvHandle(ZvObject$&& o) requires std::is_same_v<typename Base::Root, ZvObject>
        : Base(zvc::detail::Taken{}, Base::Take(o, T::s_type)) {}
    ZvHandle(const ZvInterface$& i) : Base(zvc::detail::Checked{}, Base::Cast(i, T::s_type)) {}

    T* Get() const noexcept { return static_cast<T*>(this->Pointer()); }
    T* operator->() const noexcept { return Get(); }
    T& operator*() const noexcept { return *Get(); }

protected:
    using Root = typename Base::Root;
    ZvHandle(zvc::detail::Checked, Root* p) : Base(zvc::detail::Checked{}, p) {}
    ZvHandle(zvc::detail::Taken, Root* p) : Base(zvc::detail::Taken{}, p) {}
};

/// Declares the handle class X$ of an object class X, which extends the handle class Base$ of X's base.
#define ZV_DECLARE_HANDLE(X, BaseHandle)                        \
    class X;                                                    \
    class ZV_API X##$ : public ZvHandle<X, BaseHandle> {               \
    public:                                                     \
        constexpr X##$() noexcept = default;                    \
        using ZvHandle<X, BaseHandle>::ZvHandle;                \
    }

/// The same for an interface.
#define ZV_DECLARE_INTERFACE_HANDLE(X, BaseHandle) ZV_DECLARE_HANDLE(X, BaseHandle)

// The handles of the ground floor, which its headers pass to each other before their classes are complete.
ZV_DECLARE_HANDLE(ZvType, ZvObject$);
ZV_DECLARE_HANDLE(ZvString, ZvObject$);
ZV_DECLARE_HANDLE(ZvField, ZvObject$);
ZV_DECLARE_HANDLE(ZvConstructor, ZvObject$);
ZV_DECLARE_HANDLE(ZvMarshalByRefObject, ZvObject$);
ZV_DECLARE_HANDLE(ZvMethod, ZvMarshalByRefObject$);
ZV_DECLARE_HANDLE(ZvValue, ZvObject$);
ZV_DECLARE_HANDLE(ZvArrayValue, ZvValue$);
ZV_DECLARE_HANDLE(ZvDictionary, ZvObject$);
ZV_DECLARE_HANDLE(ZvArrayList, ZvObject$);
ZV_DECLARE_HANDLE(ZvHashSet, ZvObject$);
ZV_DECLARE_HANDLE(ZvStream, ZvObject$);

#include "zvc/core/ZvType.h"
