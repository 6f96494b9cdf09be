#pragma once

#include "zvc/core/ZvType.h"

namespace remoting {

/// The classes that a peer may have made in this process. The spelling of the name is part of the interface.
class ZV_API RemotingConfigulation {
public:
    /// Adds a class. The first registrations of a process must not race; later ones may.
    static void RegisterActivatedType(ZvType$ type);

    /// The first registered class in the order of the set, whatever is asked for: the server's registration picks the class,
    /// and not the client's request. Null when none is registered.
    static ZvType$ LookupActivatedType(ZvType$ type);

    /// Forgets them all.
    static void Shutdown();
};

/// Objects that are kept alive for remote use.
class ZV_API RemotingServices {
public:
    /// Keeps object until it is unregistered or the library is unloaded. The first registrations must not race.
    static void RegistRemoteObject(const ZvObject$& object);

    /// Lets it go. Unknown objects are no error.
    static void UnregistRemoteObject(const ZvObject$& object);

    /// Always null: a client sends a ConstructingCall.
    static ZvObject$ Connect(const ZvType$& type);

    static ZvHashSet$ m_remoteObjects;                               ///< null until the first registration
};

/// A holder of one object, and nothing else.
class ZV_API ChannelServices {
public:
    ChannelServices();
    ChannelServices(const ChannelServices& other);
    ChannelServices(ChannelServices&& other) noexcept;
    ChannelServices& operator=(const ChannelServices& other);
    ~ChannelServices();

    ZvObject$ m_object;
};

}
