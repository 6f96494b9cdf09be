#include "zvc/core/ZvObject.h"

#include "zvc/core/ZvInterface.h"
#include "zvc/core/ZvModuleState.h"
#include "zvc/core/ZvMonitor.h"
#include "zvc/core/ZvSystem.h"
#include "zvc/core/ZvSystemState.h"
#include "zvc/core/ZvType.h"
#include "zvc/values/ZvDictionary.h"
#include "zvc/values/ZvString.h"

#include <cstdlib>

// The descriptors of the roots. Their base tables are static ones: the roots are not declared by the macros.

ZvBase ZvSuper::s_bases[1] = {ZvBase()};
ZvBase ZvObject::s_bases[2] = {ZvBase(&ZvSuper::s_type, 0), ZvBase()};
ZvBase ZvInterface::s_bases[2] = {ZvBase(&ZvSuper::s_type, 0), ZvBase()};

ZvType ZvSuper::s_type("class ZvSuper", sizeof(ZvSuper), ZvSuper::s_bases, typeid(ZvSuper), ZvThisModule(), {});
ZvType ZvObject::s_type("class ZvObject", sizeof(ZvObject), ZvObject::s_bases, typeid(ZvObject), ZvThisModule(), {});
ZvType ZvInterface::s_type("class ZvInterface", sizeof(ZvInterface), ZvInterface::s_bases, typeid(ZvInterface),
                           ZvThisModule(), {});
ZvType ZvType::s_type("class ZvType", sizeof(ZvType), ZvType::GetBaseArray(), typeid(ZvType), ZvThisModule(),
                      {.spec = ZvType::SpecClass | ZvType::SpecMarshalByRef});

ZvType* ZvSuper::GetType() const { return &s_type; }
bool ZvSuper::IsKindOf(const ZvType* t) const { return GetType()->CalcOffset(t) != ZvNoOffset; }

ZvInterface::~ZvInterface() = default;
ZvType* ZvInterface::GetType() const { return &s_type; }

ZvObject* ZvInterface::ToObject(const ZvInterface* p) {
    if (p == nullptr) return nullptr;
    const ZvType* t = p->GetType();
    const size_t object = t->CalcOffset(&ZvObject::s_type);
    const size_t interface = t->CalcOffset(&ZvInterface::s_type);
    if (object == ZvNoOffset || interface == ZvNoOffset) return nullptr;
    return reinterpret_cast<ZvObject*>(reinterpret_cast<uintptr_t>(p) + object - interface);
}

ZvInterface* ZvInterface::FromObject(const ZvObject* o) {
    if (o == nullptr) return nullptr;
    const ZvType* t = o->GetType();
    const size_t object = t->CalcOffset(&ZvObject::s_type);
    const size_t interface = t->CalcOffset(&ZvInterface::s_type);
    if (object == ZvNoOffset || interface == ZvNoOffset) return nullptr;
    return reinterpret_cast<ZvInterface*>(reinterpret_cast<uintptr_t>(o) + interface - object);
}

namespace zvc::detail {

ZvInterface* CastInterface(ZvInterface* p, const ZvType& type) {
    return p != nullptr && p->GetType()->CalcOffset(&type) != ZvNoOffset ? p : nullptr;
}
ZvObject* InterfaceToObject(const ZvInterface* p) { return ZvInterface::ToObject(p); }
ZvInterface* ObjectToInterface(const ZvObject* o) { return ZvInterface::FromObject(o); }
void RetainInterface(ZvInterface* p) { p->Retain(); }
void ReleaseInterface(ZvInterface* p) { p->Release(); }

}

uint32_t ZvObject::s_serial = 0;

ZvType* ZvObject::GetType() const { return &s_type; }
size_t ZvObject::GetHashCode() const { return reinterpret_cast<uintptr_t>(this) >> 4; }
bool ZvObject::Equals(const ZvObject* other) const { return this == other; }
ZvObject* ZvObject::Clone() const { return nullptr; }
ZvString$ ZvObject::ToString() const { return GetType()->GetName(); }
void ZvObject::Encode(ZvStream$&, ZvCoder*) const {}
void ZvObject::Decode(ZvStream$&, ZvCoder*) {}
void ZvObject::OnDispose() {}
void ZvObject::DebugObjectRelease() {}

namespace {

// An object whose end lets go of the next one, and so on, ends as deep as the chain is long. From a certain depth on the
// ends wait for the outermost one, so that a chain of any length needs no more stack than a short one.
struct Waiting {
    ZvObject* object;
    Waiting* next;
};
constexpr unsigned int DeepestEnd = 100;
thread_local unsigned int t_endDepth __attribute__((tls_model("initial-exec"))) = 0;
thread_local Waiting* t_waiting __attribute__((tls_model("initial-exec"))) = nullptr;

ZvObject* NextWaiting() noexcept {
    Waiting* const waiting = t_waiting;
    if (waiting == nullptr) return nullptr;
    ZvObject* const object = waiting->object;
    t_waiting = waiting->next;
    std::free(waiting);
    return object;
}

}

// An exception of OnDispose ends here, whether a handle or a plain Release let the object go.
void ZvObject::Destroy() noexcept {
    if (t_endDepth >= DeepestEnd) {
        if (auto* waiting = static_cast<Waiting*>(std::malloc(sizeof(Waiting)))) {
            *waiting = Waiting{this, t_waiting};
            t_waiting = waiting;
            return;
        }
    }
    ++t_endDepth;
    // The outermost end takes those that waited, one deep itself: the end of one of them never takes the others from inside.
    for (ZvObject* object = this; object != nullptr; object = t_endDepth == 1 ? NextWaiting() : nullptr) {
        object->OnDispose();
        delete object;
    }
    --t_endDepth;
}

ZvDictionary$ ZvObject::GetFieldValues() const { return GetType()->GetFieldValues(this); }

void* ZvObject::operator new(size_t size) { return ZvSystem::Malloc(size); }
void ZvObject::operator delete(void* block) { ZvSystem::Free(block); }
void ZvObject::operator delete(void*, size_t) {}
void ZvObject::operator delete(void*, void*) noexcept {}

ZvMonitor* ZvObject::MakeMonitor() const {
    zvc::platform::SectionLock lock(ZvSystemState::Get().monitorSection);
    ZvMonitor* monitor = m_monitor.load(std::memory_order_relaxed);
    if (monitor == nullptr) {
        monitor = new ZvMonitor;
        m_monitor.store(monitor, std::memory_order_release);
    }
    return monitor;
}

void ZvObject::Wait() const { EnsureMonitor()->Wait(0xFFFFFFFF); }
void ZvObject::Notify() const { EnsureMonitor()->Notify(); }
void ZvObject::NotifyAll() const { EnsureMonitor()->NotifyAll(); }
