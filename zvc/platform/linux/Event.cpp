#include "zvc/platform/Event.h"

#include "zvc/platform/linux/Object.h"

#include <new>

namespace zvc::platform {

namespace {

class EventObject final : public Object {
public:
    EventObject() noexcept : Object(ObjectKind::Event) {}
    static bool Is(ObjectKind kind) noexcept { return kind == ObjectKind::Event; }
    WaitResult Wait(uint32_t timeout) noexcept override {
        return event.Wait(timeout) ? WaitResult::Signalled : WaitResult::TimedOut;
    }

    Event event;

private:
    ~EventObject() override = default;
};

bool Apply(Handle handle, void (Event::*operation)() noexcept) noexcept {
    Use<EventObject> object(handle);
    if (!object) return false;
    (object->event.*operation)();
    return true;
}

}

Handle EventCreate() noexcept {
    Region region;
    auto* object = new (std::nothrow) EventObject;
    if (object == nullptr) return nullptr;
    const Handle handle = EnterObject(object);
    if (handle == nullptr) object->Release();
    return handle;
}

bool EventSet(Handle handle) noexcept { return Apply(handle, &Event::Set); }
bool EventReset(Handle handle) noexcept { return Apply(handle, &Event::Reset); }
bool EventPulse(Handle handle) noexcept { return Apply(handle, &Event::Pulse); }

}
