#pragma once

#include "zvc/core/ZvMonitor.h"
#include "zvc/core/ZvSuper.h"

#include <atomic>

class ZvCoder;
class ZvDictionary$;
class ZvObject$;
class ZvStream$;
class ZvString$;

/// Root of all concrete objects.
///
/// An object is owned by an intrusive count: it is born with 0, every handle on it counts one, and it dies at the change
/// from 1 to 0, after OnDispose. An object with automatic storage, and a thrown exception, live by their scope and must
/// never come into a handle. Copies start a life of their own: count 0, no monitor, a fresh serial.
///
/// The count may be used from any number of threads, as long as each has a handle of its own. The monitor (Lock, Wait)
/// is made when it is first needed, so that an object that is never locked pays one pointer for it.
class ZV_API ZvObject : public ZvSuper {
public:
    ZvObject() noexcept : m_serial(TakeSerial()) {}
    ZvObject(const ZvObject&) noexcept : ZvObject() {}
    ~ZvObject() override { delete m_monitor.load(std::memory_order_acquire); }

    ZvType* GetType() const override;

    /// A hash that agrees with Equals. Here: the address shifted right by 4.
    virtual size_t GetHashCode() const;

    /// Value comparison. Here: identity. other may be null.
    virtual bool Equals(const ZvObject* other) const;

    /// A copy with count 0, or null for a class that cannot be cloned, as here.
    virtual ZvObject* Clone() const;

    /// A text for a person. Here: the name of the class, as the very string object that the descriptor holds.
    virtual ZvString$ ToString() const;

    /// Writes the content through coder to stream; a class with a codec overrides both. Here: nothing.
    virtual void Encode(ZvStream$& stream, ZvCoder* coder) const;
    virtual void Decode(ZvStream$& stream, ZvCoder* coder);

    /// Called once when the last owner lets go, while the object is still whole. Must not throw: that ends the process.
    virtual void OnDispose();

    /// The number of owners.
    long ReferenceCount() const { return m_ref_count.load(); }

    /// One owner more. The count is only ever changed by atomic additions, also from 0: who takes the first handles of an
    /// object may be many threads.
    void Retain() { m_ref_count.fetch_add(1); }

    /// One owner less; the last one disposes of the object and deletes it.
    void Release() {
        if (m_ref_count.fetch_sub(1) == 1) Destroy();
    }

    /// Takes one from the count and does nothing else: the way out for an object that must outlive its last owner.
    void ReleaseNotDelete() { m_ref_count.fetch_sub(1); }

    /// Enters the object's monitor; the same thread may enter again. Constant operations lock as well.
    void Lock() const { EnsureMonitor()->Lock(); }

    /// Leaves the monitor. The object must have been locked by this thread: there is no check.
    void Unlock() const { m_monitor.load(std::memory_order_relaxed)->Unlock(); }

    /// Leaves the monitor once, waits for a notification without limit, and enters it again. Call it locked.
    void Wait() const;

    /// Wakes one waiter, or all of them. A notification that meets no waiter is lost. Needs no lock.
    void Notify() const;
    void NotifyAll() const;

    /// Field name to boxed value for every reflected field, own and inherited.
    ZvDictionary$ GetFieldValues() const;

    /// A hook that does nothing.
    static void DebugObjectRelease();

    /// Memory of the system's allocator: exhaustion raises ZvBadAllocException, the result is never null.
    static void* operator new(size_t size);
    static void* operator new(size_t, void* place) noexcept { return place; }
    static void operator delete(void* block);
    /// Does nothing: it only stands beside the placement form.
    static void operator delete(void* block, size_t size);
    static void operator delete(void* block, void* place) noexcept;

    static ZvType s_type;
    static ZvBase s_bases[2];

    /// The next creation number. A diagnostic figure: it is deliberately not an atomic increment, so that two threads
    /// may hand out the same number.
    static uint32_t s_serial;

protected:
    /// Identity is never assigned: does nothing but return the object.
    ZvObject& operator=(const ZvObject&) noexcept { return *this; }

    /// The version of type's data in the stream that coder is reading: what a class's Decode asks when its schema
    /// admits older data.
    static unsigned int FindFileVersion(ZvCoder* coder, ZvType* type);

private:
    // Deliberately no atomic increment: a diagnostic number is not worth a locked bus. The accesses themselves are atomic,
    // so that two threads may meet here.
    static uint32_t TakeSerial() noexcept {
        std::atomic_ref<uint32_t> serial(s_serial);
        const uint32_t taken = serial.load(std::memory_order_relaxed);
        serial.store(taken + 1, std::memory_order_relaxed);
        return taken;
    }
    void Destroy() noexcept;
    ZvMonitor* EnsureMonitor() const {
        ZvMonitor* monitor = m_monitor.load(std::memory_order_acquire);
        return monitor != nullptr ? monitor : MakeMonitor();
    }
    ZvMonitor* MakeMonitor() const;

    std::atomic<int32_t> m_ref_count{0};
    mutable std::atomic<ZvMonitor*> m_monitor{nullptr};

public:
    /// The creation number.
    uint32_t m_serial;
};

/// Holds an object's monitor for a scope. As a condition it is true, so that `if (ZvLock lock{o}) { ... }` is a block.
class ZV_API ZvLock {
public:
    ZvLock(const ZvObject* object) : m_object(object) { m_object->Lock(); }
    ZvLock(const ZvObject& object) : ZvLock(&object) {}
    ~ZvLock() { m_object->Unlock(); }
    ZvLock(const ZvLock&) = delete;
    ZvLock& operator=(const ZvLock&) = delete;

    operator bool() const { return true; }

private:
    const ZvObject* m_object;
};

#include "zvc/core/ZvHandle.h"
