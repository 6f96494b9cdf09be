#pragma once

// The objects behind handles and the table that names them, for this folder's sources.

#include "zvc/platform/Handle.h"
#include "zvc/platform/linux/Region.h"

#include <cstdint>

namespace zvc::platform {

enum class ObjectKind : uint8_t { File, Event, Thread, Timer, Process, SharedMemory };

/// Counted: the table holds one reference, and so does each operation under way.
class Object {
public:
    explicit Object(ObjectKind kind, uint32_t references = 1) noexcept : m_kind(kind), m_references(references) {}
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;

    static bool Is(ObjectKind) noexcept { return true; }      // each class: which kinds it is
    ObjectKind Kind() const noexcept { return m_kind; }
    void Retain() noexcept { __atomic_fetch_add(&m_references, 1u, __ATOMIC_RELAXED); }
    void Release() noexcept {
        if (__atomic_fetch_sub(&m_references, 1u, __ATOMIC_ACQ_REL) == 1) delete this;
    }

    /// The handle has gone; operations may still be under way.
    virtual void OnClose() noexcept {}
    virtual WaitResult Wait(uint32_t) noexcept { return WaitResult::Failed; }

protected:
    virtual ~Object() = default;

private:
    const ObjectKind m_kind;
    uint32_t m_references;
};

/// Gives an object a handle, which takes over one reference. Null when there is no memory; the reference stays the caller's.
Handle EnterObject(Object* object) noexcept;

/// The object of an open handle with a reference, or null.
Object* RetainObject(Handle handle) noexcept;

/// Holds the object of a handle for the time of one operation. A thread uses one at a time. When the thread is killed
/// meanwhile, the reference is given back for it.
template <class T>
class Use {
public:
    explicit Use(Handle handle) noexcept {
        Region region;
        Object* object = RetainObject(handle);
        if (object == nullptr) return;
        if (!T::Is(object->Kind())) {
            object->Release();
            return;
        }
        t_local.inUse = m_object = static_cast<T*>(object);
    }
    ~Use() {
        if (m_object == nullptr) return;
        Region region;
        t_local.inUse = nullptr;
        m_object->Release();
    }
    Use(const Use&) = delete;
    Use& operator=(const Use&) = delete;

    explicit operator bool() const noexcept { return m_object != nullptr; }
    T* operator->() const noexcept { return m_object; }

private:
    T* m_object = nullptr;
};

}
