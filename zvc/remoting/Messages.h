#pragma once

// What travels in a channel: calls, construction requests, their answers, and one marker that stays at home. The channel
// sorts them by class (ZvChannel), the application's loop runs them (remoting::Pump). A message belongs to one thread at a
// time. Copies share what they hold.

#include "zvc/remoting/ZvObjRef.h"

namespace remoting {

/// A call of a method on an object of the other end.
class ZV_API MethodCall : public ZvObject {
    ZV_DECLARE_CLASS(MethodCall)
    ZV_DECLARE_CREATE(MethodCall)
public:
    MethodCall();                                                    ///< all null
    MethodCall(const ZvObjRef$& target, const ZvString$& name, const ZvType$& returnType, const ZvArguments$& arguments,
               unsigned int threadId);
    MethodCall(const MethodCall& other);
    MethodCall& operator=(const MethodCall& other);
    ~MethodCall() override;

    const ZvString$& GetName() const { return m_name; }
    const ZvType$& GetRetType() const { return m_retType; }
    unsigned int GetThreadID() const { return m_threadId; }

    /// Runs the call here, at the end that owns the target, and answers what is to be sent back. Null when the target has no
    /// object here: there is nothing to send, and the caller stays blocked. Whatever the method throws passes; a call for
    /// which the object has no method is the caller's fault and raises a ZvChannelException.
    MethodResponse$ Invoke();

    void Encode(ZvStream$& stream, ZvCoder* coder) const override;
    void Decode(ZvStream$& stream, ZvCoder* coder) override;

private:
    ZvObjRef$ m_target;
    ZvString$ m_name;
    ZvType$ m_retType;
    ZvArguments$ m_arguments;
    unsigned int m_threadId = 0;
};
ZV_DECLARE_HANDLE(MethodCall, ZvObject$);

/// A request for a new object of an activated class.
class ZV_API ConstructingCall : public ZvObject {
    ZV_DECLARE_CLASS(ConstructingCall)
    ZV_DECLARE_CREATE(ConstructingCall)
public:
    ConstructingCall();
    ConstructingCall(const ZvType$& type, const ZvArguments$& arguments);
    ConstructingCall(const ConstructingCall& other);
    ConstructingCall& operator=(const ConstructingCall& other);
    ~ConstructingCall() override;

    ZvType$ GetConstructType() const { return m_type; }

    /// Makes the object here. The class is the one that this process registered (RemotingConfigulation), whatever was asked
    /// for. Null when none is registered, or it has no constructor for exactly these arguments.
    ZvObject$ Construct();

    void Encode(ZvStream$& stream, ZvCoder* coder) const override;
    void Decode(ZvStream$& stream, ZvCoder* coder) override;

private:
    ZvType$ m_type;
    ZvArguments$ m_arguments;
};
ZV_DECLARE_HANDLE(ConstructingCall, ZvObject$);

/// An answer. Its thread id is the reply slot in which it is waited for, and no thread of the kernel's. Sent alone it lets
/// the caller go on with nothing: ZvObjRef::Invoke then gives null.
class ZV_API Response : public ZvObject {
    ZV_DECLARE_CLASS(Response)
    ZV_DECLARE_CREATE(Response)
public:
    Response();
    explicit Response(unsigned int threadId);
    Response(const Response& other);
    Response& operator=(const Response& other);
    ~Response() override;

    unsigned int GetThreadID() const { return m_threadId; }

    void Encode(ZvStream$& stream, ZvCoder* coder) const override;
    void Decode(ZvStream$& stream, ZvCoder* coder) override;

protected:
    unsigned int m_threadId = 0;
};
ZV_DECLARE_HANDLE(Response, ZvObject$);

/// The answer to a MethodCall.
class ZV_API MethodResponse : public Response {
    ZV_DECLARE_CLASS(MethodResponse)
    ZV_DECLARE_CREATE(MethodResponse)
public:
    MethodResponse();
    MethodResponse(unsigned int threadId, const ZvObject$& value);
    MethodResponse(const MethodResponse& other);
    MethodResponse& operator=(const MethodResponse& other);
    ~MethodResponse() override;

    /// The boxed result; null of a method without one. An object that goes by reference is a ZvObjRef here.
    ZvObject$ GetReturnValue() const { return m_value; }

    void Encode(ZvStream$& stream, ZvCoder* coder) const override;
    void Decode(ZvStream$& stream, ZvCoder* coder) override;

private:
    ZvObject$ m_value;
};
ZV_DECLARE_HANDLE(MethodResponse, Response$);

/// The answer to a ConstructingCall. Its thread id does not travel: it is always waited for in slot 0.
class ZV_API ConstructingResponse : public Response {
    ZV_DECLARE_CLASS(ConstructingResponse)
    ZV_DECLARE_CREATE(ConstructingResponse)
public:
    ConstructingResponse();
    explicit ConstructingResponse(const ZvObject$& object);
    ConstructingResponse(const ConstructingResponse& other);
    ConstructingResponse& operator=(const ConstructingResponse& other);
    ~ConstructingResponse() override;

    /// The object; at the calling end a ZvObjRef for a class that goes by reference. Null when none was made.
    ZvObject$ CreatedObject() const { return m_object; }

    void Encode(ZvStream$& stream, ZvCoder* coder) const override;
    void Decode(ZvStream$& stream, ZvCoder* coder) override;

private:
    ZvObject$ m_object;
};
ZV_DECLARE_HANDLE(ConstructingResponse, Response$);

/// Marks the end of an asynchronous section in the local queue of calls (ZvChannel::EndAsync). It has no content.
class ZV_API AsyncTerminator : public ZvObject {
    ZV_DECLARE_CLASS(AsyncTerminator)
    ZV_DECLARE_CREATE(AsyncTerminator)
public:
    AsyncTerminator();
    AsyncTerminator(const AsyncTerminator& other);
    AsyncTerminator& operator=(const AsyncTerminator& other);
    ~AsyncTerminator() override;

    void Encode(ZvStream$& stream, ZvCoder* coder) const override;
    void Decode(ZvStream$& stream, ZvCoder* coder) override;
};
ZV_DECLARE_HANDLE(AsyncTerminator, ZvObject$);

}
