#include "zvc/remoting/Messages.h"

#include "zvc/core/ZvMethod.h"
#include "zvc/remoting/Services.h"
#include "zvc/remoting/ZvChannelException.h"
#include "zvc/serialization/ZvCoder.h"
#include "zvc/values/ZvString.h"
#include "zvc/values/ZvVoid.h"

ZV_DEFINE_CLASS(remoting::MethodCall, (ZvObject), .codec = true, .create = &Create)
ZV_DEFINE_CLASS(remoting::ConstructingCall, (ZvObject), .codec = true, .create = &Create)
ZV_DEFINE_CLASS(remoting::Response, (ZvObject), .codec = true, .create = &Create)
ZV_DEFINE_CLASS(remoting::MethodResponse, (remoting::Response), .codec = true, .create = &Create)
ZV_DEFINE_CLASS(remoting::ConstructingResponse, (remoting::Response), .codec = true, .create = &Create)
ZV_DEFINE_CLASS(remoting::AsyncTerminator, (ZvObject), .codec = true, .create = &Create)

namespace remoting {

namespace {

void WriteObject(ZvStream$& stream, ZvCoder* coder, const ZvObject$& object) { coder->Write(stream, object); }

// Null when the stream has an object of another class there.
template <class Handle>
void ReadObject(ZvStream$& stream, ZvCoder* coder, Handle& handle) {
    ZvObject$ object;
    coder->Read(stream, object);
    handle = Handle(std::move(object));
}

}

// ---- MethodCall -----------------------------------------------------------------------------------------------------------

MethodCall::MethodCall() = default;
MethodCall::MethodCall(const ZvObjRef$& target, const ZvString$& name, const ZvType$& returnType, const ZvArguments$& arguments,
                       unsigned int threadId)
    : m_target(target), m_name(name), m_retType(returnType), m_arguments(arguments), m_threadId(threadId) {}
MethodCall::MethodCall(const MethodCall& other) = default;
MethodCall::~MethodCall() = default;

MethodCall& MethodCall::operator=(const MethodCall& other) {
    m_target = other.m_target;
    m_name = other.m_name;
    m_retType = other.m_retType;
    m_arguments = other.m_arguments;
    m_threadId = other.m_threadId;
    return *this;
}

MethodResponse$ MethodCall::Invoke() {
    const ZvObject$ real = m_target ? m_target->RealObject() : ZvObject$();
    if (!real) return MethodResponse$();
    const ZvMethod$ method = real->GetType()->Find(m_name, m_retType, m_arguments);
    if (!method) throw ZvChannelException("MethodCall::Invoke: the object has no such method");
    // The box that the method fills. A method without a result answers with null, and so may one whose result has no type.
    ZvValue$ result;
    if (m_retType && m_retType != &ZvVoid::s_type) result = ZvObject$(m_retType->CreateObject());
    method->Invoke(real.Get(), result, m_arguments);
    return new MethodResponse(m_threadId, result);
}

void MethodCall::Encode(ZvStream$& stream, ZvCoder* coder) const {
    WriteObject(stream, coder, m_target);
    WriteObject(stream, coder, m_name);
    WriteObject(stream, coder, m_retType);
    WriteObject(stream, coder, m_arguments);
    coder->Write(stream, m_threadId);
}

void MethodCall::Decode(ZvStream$& stream, ZvCoder* coder) {
    ReadObject(stream, coder, m_target);
    ReadObject(stream, coder, m_name);
    ReadObject(stream, coder, m_retType);
    ReadObject(stream, coder, m_arguments);
    coder->Read(stream, m_threadId);
}

// ---- ConstructingCall -----------------------------------------------------------------------------------------------------

ConstructingCall::ConstructingCall() = default;
ConstructingCall::ConstructingCall(const ZvType$& type, const ZvArguments$& arguments) : m_type(type), m_arguments(arguments) {}
ConstructingCall::ConstructingCall(const ConstructingCall& other) = default;
ConstructingCall::~ConstructingCall() = default;

ConstructingCall& ConstructingCall::operator=(const ConstructingCall& other) {
    m_type = other.m_type;
    m_arguments = other.m_arguments;
    return *this;
}

ZvObject$ ConstructingCall::Construct() {
    const ZvType$ type = RemotingConfigulation::LookupActivatedType(m_type);
    return type ? type->Construct(m_arguments) : nullptr;
}

void ConstructingCall::Encode(ZvStream$& stream, ZvCoder* coder) const {
    WriteObject(stream, coder, m_type);
    WriteObject(stream, coder, m_arguments);
}

void ConstructingCall::Decode(ZvStream$& stream, ZvCoder* coder) {
    ReadObject(stream, coder, m_type);
    ReadObject(stream, coder, m_arguments);
}

// ---- answers --------------------------------------------------------------------------------------------------------------

Response::Response() = default;
Response::Response(unsigned int threadId) : m_threadId(threadId) {}
Response::Response(const Response& other) = default;
Response::~Response() = default;

Response& Response::operator=(const Response& other) {
    m_threadId = other.m_threadId;
    return *this;
}

void Response::Encode(ZvStream$& stream, ZvCoder* coder) const { coder->Write(stream, m_threadId); }
void Response::Decode(ZvStream$& stream, ZvCoder* coder) { coder->Read(stream, m_threadId); }

MethodResponse::MethodResponse() = default;
MethodResponse::MethodResponse(unsigned int threadId, const ZvObject$& value) : Response(threadId), m_value(value) {}
MethodResponse::MethodResponse(const MethodResponse& other) = default;
MethodResponse::~MethodResponse() = default;

MethodResponse& MethodResponse::operator=(const MethodResponse& other) {
    Response::operator=(other);
    m_value = other.m_value;
    return *this;
}

void MethodResponse::Encode(ZvStream$& stream, ZvCoder* coder) const {
    Response::Encode(stream, coder);
    coder->Write(stream, m_value);
}

void MethodResponse::Decode(ZvStream$& stream, ZvCoder* coder) {
    Response::Decode(stream, coder);
    coder->Read(stream, m_value);
}

ConstructingResponse::ConstructingResponse() = default;
ConstructingResponse::ConstructingResponse(const ZvObject$& object) : m_object(object) {}
ConstructingResponse::ConstructingResponse(const ConstructingResponse& other) = default;
ConstructingResponse::~ConstructingResponse() = default;

ConstructingResponse& ConstructingResponse::operator=(const ConstructingResponse& other) {
    Response::operator=(other);
    m_object = other.m_object;
    return *this;
}

// The thread id stays at home: meant so. The answer is waited for in slot 0.
void ConstructingResponse::Encode(ZvStream$& stream, ZvCoder* coder) const { coder->Write(stream, m_object); }
void ConstructingResponse::Decode(ZvStream$& stream, ZvCoder* coder) {
    coder->Read(stream, m_object);
    m_threadId = 0;
}

// ---- AsyncTerminator ------------------------------------------------------------------------------------------------------

AsyncTerminator::AsyncTerminator() = default;
AsyncTerminator::AsyncTerminator(const AsyncTerminator& other) = default;
AsyncTerminator& AsyncTerminator::operator=(const AsyncTerminator&) { return *this; }
AsyncTerminator::~AsyncTerminator() = default;

void AsyncTerminator::Encode(ZvStream$&, ZvCoder*) const {}
void AsyncTerminator::Decode(ZvStream$&, ZvCoder*) {}

}
