#pragma once

#include "zvc/core/ZvMarshalByRefObject.h"
#include "zvc/core/ZvType.h"

#include <atomic>

class ZvChannel;
class ZvChannel$;

ZV_DECLARE_HANDLE(ZvRemoteTypeInfo, ZvObject$);

namespace remoting {
class MethodResponse$;
}

/// What crosses a channel in place of a ZvMarshalByRefObject. It comes into being at the end that owns the object, travels
/// in full once, and from then on both ends call it by the number that their coders gave it: it carries no identity of its
/// own. One that comes home is the very reference that left, and IsFromThisProcess tells so.
///
/// The object holds its reference and the reference holds the object, and each coder holds what it numbered: what was once
/// marshalled stays alive. There is no message that releases it.
class ZV_API ZvObjRef : public ZvObject {
    ZV_DECLARE_CLASS(ZvObjRef)
    ZV_DECLARE_CREATE(ZvObjRef)
public:
    ZvObjRef();                                                      ///< all null
    /// A reference on real, of which type tells the methods. No channel yet.
    ZvObjRef(ZvMarshalByRefObject* real, ZvType* type);
    ZvObjRef(const ZvObjRef& other);
    ZvObjRef& operator=(const ZvObjRef& other);
    ~ZvObjRef() override;

    /// The object itself at the end that owns it; null at the far end.
    virtual ZvObject$ RealObject();
    bool IsFromThisProcess() const { return static_cast<bool>(m_real); }

    /// Null in a key that is made for a search, and in what has not been decoded.
    ZvRemoteTypeInfo$ GetTypeInfo() { return m_typeInfo; }

    /// The channel that calls go through. Not counted, and nothing clears it when the channel dies: whoever keeps a
    /// reference keeps its channel. The coder sets it when the reference passes; it is written under the reference's lock
    /// and read without.
    ZvChannel* GetChannel() { return m_channel.load(std::memory_order_acquire); }
    void SetChannel(const ZvChannel$& channel);

    /// Calls the method with exactly this name, result and arguments on the object at the far end, and waits for the answer.
    /// threadId is the calling thread's own reply slot in the channel. Null, and nothing is sent, without a channel; null
    /// when the answer is no MethodResponse. When the peer dies the wait does not end, unless the channel is told to watch
    /// for it (ZvChannel::WatchPeer) or is abandoned: then the result is null. Raises as ZvChannel::Send does.
    remoting::MethodResponse$ Invoke(const ZvType$& returnType, const ZvString$& name, const ZvArguments$& arguments,
                                     unsigned int threadId);
    remoting::MethodResponse$ Invoke(const ZvType$& returnType, const ZvString$& name, const ZvArguments$& arguments,
                                     unsigned int threadId) const;

    /// The type info alone: the object stays at home.
    void Encode(ZvStream$& stream, ZvCoder* coder) const override;
    void Decode(ZvStream$& stream, ZvCoder* coder) override;

    /// What the coder does when a reference passes: SetChannel with a plain pointer.
    void Attach(ZvChannel* channel);

protected:
    ZvMarshalByRefObject$ m_real;            // at the end that owns the object alone
    ZvRemoteTypeInfo$ m_typeInfo;
    std::atomic<ZvChannel*> m_channel{nullptr};
};
