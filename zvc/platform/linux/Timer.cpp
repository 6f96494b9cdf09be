#include "zvc/platform/Timer.h"

#include "zvc/platform/linux/EventObject.h"

#include <new>
#include <sys/prctl.h>

namespace zvc::platform {

namespace {

/// A schedule that is laid upon an event. It takes no thread and no descriptor.
class TimerObject final : public Object {
public:
    explicit TimerObject(EventObject* event) noexcept : Object(ObjectKind::Timer), m_event(event) {}
    static bool Is(ObjectKind kind) noexcept { return kind == ObjectKind::Timer; }
    void OnClose() noexcept override { m_event->Disarm(); }

private:
    ~TimerObject() override { m_event->Release(); }

    EventObject* const m_event;
};

EventObject* RetainEvent(Handle handle) noexcept {
    Object* object = RetainObject(handle);
    if (object == nullptr || EventObject::Is(object->Kind())) return static_cast<EventObject*>(object);
    object->Release();
    return nullptr;
}

}

Handle TimerStart(uint32_t milliseconds, bool periodic, Handle* event, uint64_t from) noexcept {
    Region region;
    EventObject* object = RetainEvent(*event);
    if (object == nullptr) return nullptr;
    if (!object->Arm(from, uint64_t(milliseconds == 0 ? 1 : milliseconds) * 1000000, periodic)) {
        object->Release();
        return nullptr;
    }
    auto* timer = new (std::nothrow) TimerObject(object);
    const Handle handle = timer != nullptr ? EnterObject(timer) : nullptr;
    if (handle != nullptr) return handle;
    object->Disarm();
    if (timer != nullptr) timer->Release();
    else object->Release();
    return nullptr;
}

bool TimerStop(Handle handle) noexcept {
    return static_cast<bool>(Use<TimerObject>(handle)) && CloseHandle(handle);
}

// The kernel may be late by this much to save power; it is a matter of each thread.
PreciseWaits::PreciseWaits() noexcept : m_before(prctl(PR_GET_TIMERSLACK)) { prctl(PR_SET_TIMERSLACK, 1); }
PreciseWaits::~PreciseWaits() {
    if (m_before >= 0) prctl(PR_SET_TIMERSLACK, m_before);
}

}
