#include "zvc/remoting/Services.h"

#include "zvc/values/ZvHashSet.h"

namespace remoting {

namespace {

// Dropped by Shutdown alone, and never at the end: the descriptors of the program go before the library does.
ZvHashSet$& ActivatedTypes() {
    static ZvHashSet$* const types = new ZvHashSet$;
    return *types;
}

}

ZvHashSet$ RemotingServices::m_remoteObjects;

void RemotingConfigulation::RegisterActivatedType(ZvType$ type) {
    ZvHashSet$& types = ActivatedTypes();
    if (!types) types = new ZvHashSet;
    ZvLock lock(types.Get());
    types->Add(type);
}

// The set's first element, whatever is asked for: meant so. Servers register their one class, and clients ask for what they
// happen to know.
ZvType$ RemotingConfigulation::LookupActivatedType(ZvType$) {
    const ZvHashSet$& types = ActivatedTypes();
    if (!types) return ZvType$();
    const ZvIEnumerator$ e = types->GetEnumerator();
    return e->HasNext() ? ZvType$(e->Next()) : ZvType$();
}

void RemotingConfigulation::Shutdown() { ActivatedTypes() = ZvHashSet$(); }

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
