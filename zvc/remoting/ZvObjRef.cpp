#include "zvc/remoting/ZvObjRef.h"

#include "zvc/platform/CriticalSection.h"
#include "zvc/remoting/Messages.h"
#include "zvc/remoting/ZvChannel.h"
#include "zvc/remoting/ZvRemoteTypeInfo.h"
#include "zvc/serialization/ZvCoder.h"
#include "zvc/serialization/ZvMarshalling.h"

ZV_DEFINE_CLASS(ZvObjRef, (ZvObject), .spec = ZvType::SpecClass | ZvType::SpecMarshalByRef, .codec = true, .create = &Create)

ZvObjRef::ZvObjRef() = default;

ZvObjRef::ZvObjRef(ZvMarshalByRefObject* real, ZvType* type) : m_real(real), m_typeInfo(new ZvRemoteTypeInfo(type)) {}

ZvObjRef::ZvObjRef(const ZvObjRef& other)
    : ZvObject(other), m_real(other.m_real), m_typeInfo(other.m_typeInfo), m_channel(other.m_channel.load()) {}

ZvObjRef& ZvObjRef::operator=(const ZvObjRef& other) {
    m_real = other.m_real;
    m_typeInfo = other.m_typeInfo;
    m_channel = other.m_channel.load();
    return *this;
}

ZvObjRef::~ZvObjRef() = default;

ZvObject$ ZvObjRef::RealObject() { return m_real; }

void ZvObjRef::SetChannel(const ZvChannel$& channel) { Attach(channel.Get()); }

void ZvObjRef::Attach(ZvChannel* channel) {
    ZvLock lock(this);
    m_channel = channel;
}

remoting::MethodResponse$ ZvObjRef::Invoke(const ZvType$& returnType, const ZvString$& name, const ZvArguments$& arguments,
                                           unsigned int threadId) const {
    ZvChannel* const channel = m_channel;
    if (channel == nullptr) return remoting::MethodResponse$();
    const ZvObjRef$ self(const_cast<ZvObjRef*>(this));
    return channel->Exchange(new remoting::MethodCall(self, name, returnType, arguments, threadId), threadId);
}

remoting::MethodResponse$ ZvObjRef::Invoke(const ZvType$& returnType, const ZvString$& name, const ZvArguments$& arguments,
                                           unsigned int threadId) {
    return std::as_const(*this).Invoke(returnType, name, arguments, threadId);
}

void ZvObjRef::Encode(ZvStream$& stream, ZvCoder* coder) const {
    coder->Write(stream, static_cast<const ZvObject$&>(m_typeInfo));
}

void ZvObjRef::Decode(ZvStream$& stream, ZvCoder* coder) {
    ZvObject$ info;
    coder->Read(stream, info);
    m_typeInfo = info;
}

// ---- what the floors below ask for ----------------------------------------------------------------------------------------

ZvObject$ zvc::detail::ReferenceInPlaceOf(const ZvObject* object, ZvChannel* channel) {
    auto* real = static_cast<ZvMarshalByRefObject*>(const_cast<ZvObject*>(object));
    ZvObjRef$ reference = real->CreateObjRef();
    if (reference) reference->Attach(channel);
    return reference;
}

bool zvc::detail::GoesByReference(const ZvType* type) { return type->IsDerivedFrom(&ZvMarshalByRefObject::s_type); }

bool zvc::detail::IsReference(const ZvType* type) { return type->IsDerivedFrom(&ZvObjRef::s_type); }

void zvc::detail::AttachReference(ZvObject* object, ZvChannel* channel) { static_cast<ZvObjRef*>(object)->Attach(channel); }

namespace {

// One object has one reference for its life, also when two threads marshal it for the first time at the same moment. Not the
// object's own lock: a client may hold that over a call.
zvc::platform::CriticalSection s_making;

template <class Make>
ZvObjRef$ MakeOnce(ZvObjRef$& place, Make make) {
    {
        zvc::platform::SectionLock lock(s_making);
        if (place) return place;
    }
    const ZvObjRef$ made = make();
    zvc::platform::SectionLock lock(s_making);
    if (!place) place = made;
    return place;
}

}

// Of classes of the ground floor, which know nothing of channels but the name of what this makes.
ZvObjRef$ ZvMarshalByRefObject::CreateObjRef() {
    return MakeOnce(m_objRef, [this] { return new ZvObjRef(this, GetType()); });
}

ZvObjRef$ ZvMethod::CreateObjRef() {
    return MakeOnce(m_objRef, [this] { return new ZvMethodRef(this); });
}
