#include "zvc/remoting/Services.h"

#include "zvc/values/ZvHashSet.h"

namespace remoting {

namespace {

// Never destroyed: at the process's end the descriptors of clients go before this library does, and a release would reach
// into what is gone.
union Kept {
    constexpr Kept() : set() {}
    ~Kept() {}
    ZvHashSet$ set;
};
constinit Kept s_kept;
ZvHashSet$& s_activatedTypes = s_kept.set;

}

ZvHashSet$ RemotingServices::m_remoteObjects;

void RemotingConfigulation::RegisterActivatedType(ZvType$ type) {
    if (!s_activatedTypes) s_activatedTypes = new ZvHashSet;
    ZvLock lock(s_activatedTypes.Get());
    s_activatedTypes->Add(type);
}

// The set's first element, whatever is asked for: meant so. Servers register their one class, and clients ask for what they
// happen to know.
ZvType$ RemotingConfigulation::LookupActivatedType(ZvType$) {
    if (!s_activatedTypes) return ZvType$();
    const ZvIEnumerator$ e = s_activatedTypes->GetEnumerator();
    return e->HasNext() ? ZvType$(e->Next()) : ZvType$();
}

void RemotingConfigulation::Shutdown() { s_activatedTypes = ZvHashSet$(); }

void RemotingServices::RegistRemoteObject(const ZvObject$& object) {
    if (!m_remoteObjects) m_remoteObjects = new ZvHashSet;
    ZvLock lock(m_remoteObjects.Get());
    m_remoteObjects->Add(object);
}

void RemotingServices::UnregistRemoteObject(const ZvObject$& object) {
    if (!m_remoteObjects || !m_remoteObjects->Contains(object)) return;
    ZvLock lock(m_remoteObjects.Get());
    m_remoteObjects->Remove(object);
}

ZvObject$ RemotingServices::Connect(const ZvType$&) { return ZvObject$(); }

ChannelServices::ChannelServices() = default;
ChannelServices::ChannelServices(const ChannelServices& other) = default;
ChannelServices::ChannelServices(ChannelServices&& other) noexcept = default;
ChannelServices& ChannelServices::operator=(const ChannelServices& other) = default;
ChannelServices::~ChannelServices() = default;

}
