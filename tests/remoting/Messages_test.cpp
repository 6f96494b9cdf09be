// The messages of a channel: what they hold, what they write, and how they are run.

#include "Support.h"

#include "support/Cases.h"
#include "support/Coding.h"

using remoting::AsyncTerminator;
using remoting::ConstructingCall;
using remoting::ConstructingResponse;
using remoting::MethodCall;
using remoting::MethodResponse;
using remoting::Response;

ZV_DEFINE_CLASS(Calc, (ZvMarshalByRefObject), ZV_TABLES)
ZV_FIELDS(Calc)
ZV_METHODS(Calc, ZV_METHOD(Sum, "a", "b"), ZV_METHOD(Join, "a", "b"), ZV_METHOD(Reset), ZV_METHOD(Itself),
           ZV_METHOD(IsHere, "reference"), ZV_METHOD(CallBack, "target", "slot"), ZV_METHOD(Fail))
ZV_CONSTRUCTORS(Calc, ZV_CONSTRUCTOR(), ZV_CONSTRUCTOR(int))

std::atomic<int> Calc::s_alive{0};
Calc::Calc() { ++s_alive; }
Calc::Calc(int bias) : m_bias(bias) { ++s_alive; }
Calc::~Calc() { --s_alive; }
int Calc::Sum(int a, int b) { return m_bias + a + b; }
ZvString$ Calc::Join(const ZvString$& a, const ZvString$& b) { return new ZvString((std::string(a->CStr()) + b->CStr()).c_str()); }
void Calc::Reset() { m_bias = 0; }
ZvObject$ Calc::Itself() { return this; }
bool Calc::IsHere(const ZvObjRef$& reference) {
    m_last = reference;
    return reference->IsFromThisProcess();
}
int Calc::CallBack(const ZvObjRef$& target, int slot) {
    const remoting::MethodResponse$ response = target->Invoke(TypeHandle(ZvPrimitive<int>::s_type), $L("Sum"),
                                                              Arguments({Box(m_bias), Box(1)}), static_cast<unsigned int>(slot));
    const ZvHandle<ZvPrimitive<int>, ZvValue$> value = response->GetReturnValue();
    return value->value;
}
void Calc::Fail() { throw ZvBadCastException("no such thing"); }

ZV_DEFINE_CLASS(AdderPlain, (ZvMarshalByRefObject), .create = &Create, ZV_TABLES)
ZV_FIELDS(AdderPlain)
ZV_METHODS(AdderPlain)
ZV_CONSTRUCTORS(AdderPlain, ZV_CONSTRUCTOR())

namespace {

constexpr auto Marshal = ZvStreamingContext::MarshalChannel;

/// What one new coder writes, after the tag of a new object and the definition of the object's class.
std::string Content(const ZvObject$& message, const std::string& className) {
    const std::string all = Written({message}, Marshal)[0];
    const std::string head = "84" + TypeOf(className);
    EXPECT_EQ(all.substr(0, head.size()), head);
    return all.substr(head.size());
}

template <class Handle>
Handle Again(const ZvObject$& message) {
    return ReadBack(Written({message}, Marshal)[0], 1, Marshal)[0];
}

int IntOf(const ZvObject$& box) {
    const ZvHandle<ZvPrimitive<int>, ZvValue$> value = box;
    return value ? value->value : -1;
}

const std::string Int32 = "878f5a76496e7433328b5a5643a002a001";       // its definition
const std::string String = TypeOf("ZvString", 2);

}

TEST(MethodCall, IsAllNullAtFirst) {
    MethodCall call;
    EXPECT_FALSE(call.GetName());
    EXPECT_FALSE(call.GetRetType());
    EXPECT_EQ(call.GetThreadID(), 0u);
    EXPECT_EQ(Content(new MethodCall, "remoting::MethodCall"), "80808080a000");
}

TEST(MethodCall, WritesTargetNameResultArgumentsAndSlot) {
    const ZvObjRef$ target = new ZvObjRef;
    const remoting::MethodCall$ call =
        new MethodCall(target, $L("Sum"), TypeHandle(ZvPrimitive<int>::s_type), Arguments({Box(2)}), 300);
    EXPECT_EQ(*call->GetName(), "Sum");
    EXPECT_EQ(call->GetRetType(), &ZvPrimitive<int>::s_type);
    EXPECT_EQ(call->GetThreadID(), 300u);
    // The call's class is 1; the reference's class 2, the reference 3, ZvString 4, ZvInt32 5.
    EXPECT_EQ(Content(call, "remoting::MethodCall"),
              "84" + TypeOf("ZvObjRef", 0x21) + "80" +
              "84" + String + "8b53756d" +
              Int32 +
              "84" + TypeHead("ZvObjectArray", "ZVC", 6) + "a001" + "a001" + "84a805a002" +
              "a12c01");
}

TEST(MethodCall, ReadsWhatItWrites) {
    const remoting::MethodCall$ call =
        Again<remoting::MethodCall$>(new MethodCall(ZvObjRef$(), $L("Sum"), TypeHandle(ZvPrimitive<int>::s_type), Arguments({}), 7));
    ASSERT_TRUE(call);
    EXPECT_EQ(*call->GetName(), "Sum");
    EXPECT_EQ(call->GetRetType(), &ZvPrimitive<int>::s_type);
    EXPECT_EQ(call->GetThreadID(), 7u);
}

TEST(MethodCall, OfOtherObjectsThanItsFieldsReadsNull) {
    // A text where the target should be, a box for the name, a text for the type and the arguments.
    const std::string hex = "84" + TypeOf("remoting::MethodCall") + "84" + String + "8978" + "84" + Int32 + "a001" +
                            "84a8028978" + "84a8028978" + "a005";
    const remoting::MethodCall$ call = ReadBack(hex, 1, Marshal)[0];
    ASSERT_TRUE(call);
    EXPECT_FALSE(call->GetName());
    EXPECT_FALSE(call->GetRetType());
    EXPECT_EQ(call->GetThreadID(), 5u);
    EXPECT_FALSE(call->Invoke());
}

TEST(MethodCall, CopiesShareWhatTheyHold) {
    const ZvString$ name = new ZvString("Sum");
    const MethodCall call(ZvObjRef$(), name, TypeHandle(ZvPrimitive<int>::s_type), Arguments({}), 3);
    const MethodCall copy(call);
    EXPECT_EQ(copy.GetName(), name);
    MethodCall assigned;
    assigned = call;
    EXPECT_EQ(assigned.GetName(), name);
    EXPECT_EQ(assigned.GetThreadID(), 3u);
}

TEST(MethodCall, InvokeRunsTheMethodOfTheRealObject) {
    const Calc$ calc = new Calc(100);
    const ZvObjRef$ target = calc->CreateObjRef();
    const remoting::MethodCall$ call =
        new MethodCall(target, $L("Sum"), TypeHandle(ZvPrimitive<int>::s_type), Arguments({Box(2), Box(3)}), 6);
    const remoting::MethodResponse$ response = call->Invoke();
    ASSERT_TRUE(response);
    EXPECT_EQ(response->GetThreadID(), 6u);
    EXPECT_EQ(IntOf(response->GetReturnValue()), 105);
    calc->Forget();
}

TEST(MethodCall, InvokeWithoutARealObjectGivesNull) {
    const remoting::MethodCall$ far =
        new MethodCall(new ZvObjRef, $L("Sum"), TypeHandle(ZvPrimitive<int>::s_type), Arguments({}), 0);
    EXPECT_FALSE(far->Invoke());
    EXPECT_FALSE(MethodCall().Invoke());
}

TEST(MethodCall, InvokeOfAMethodWithoutAResultAnswersNull) {
    const Calc$ calc = new Calc(5);
    const remoting::MethodCall$ call =
        new MethodCall(calc->CreateObjRef(), $L("Reset"), TypeHandle(ZvVoid::s_type), Arguments({}), 2);
    const remoting::MethodResponse$ response = call->Invoke();
    ASSERT_TRUE(response);
    EXPECT_EQ(response->GetThreadID(), 2u);
    EXPECT_FALSE(response->GetReturnValue());
    EXPECT_EQ(calc->m_bias, 0);
    calc->Forget();
}

namespace {

/// A handwritten entry, which looks at the box that the call made for it.
class Handwritten : public ZvMethod {
public:
    Handwritten(const char* name, ZvValueType result) : ZvMethod(&ZvMarshalByRefObject::s_type, name, result, 0) {}
    void Invoke(ZvObject*, ZvValue$& result, ZvArguments$&) override {
        s_given = result;
        if (const ZvHandle<ZvPrimitive<int>, ZvValue$> box = ZvObject$(result)) box->value = 17;
    }
    static ZvValue$ s_given;
};
ZvValue$ Handwritten::s_given;

class HandMade : public ZvMarshalByRefObject {
    ZV_DECLARE_CLASS(HandMade)
    ZV_DECLARE_TABLES()
public:
    void Forget() { m_objRef = ZvObjRef$(); }
};

}

ZV_DEFINE_CLASS(HandMade, (ZvMarshalByRefObject), ZV_TABLES)
ZV_FIELDS(HandMade)
ZvMethodMap* HandMade::GetMethodMap() {
    static ZvMethod$ s_methods[] = {new Handwritten("Seventeen", ZvVtInt32), new Handwritten("Nothing", ZvVtVoid),
                                     new Handwritten("Untyped", ZvVtInterface), ZvMethod$()};
    static ZvMethodMap s_map(s_methods);
    return &s_map;
}
ZV_CONSTRUCTORS(HandMade)

TEST(MethodCall, InvokeHandsTheMethodABoxOfTheResultType) {
    const ZvHandle<HandMade, ZvMarshalByRefObject$> object = new HandMade;
    const ZvObjRef$ target = object->CreateObjRef();
    const remoting::MethodResponse$ filled =
        MethodCall(target, $L("Seventeen"), TypeHandle(ZvPrimitive<int>::s_type), Arguments({}), 0).Invoke();
    EXPECT_EQ(Handwritten::s_given, filled->GetReturnValue());
    EXPECT_EQ(IntOf(filled->GetReturnValue()), 17);

    const remoting::MethodResponse$ nothing = MethodCall(target, $L("Nothing"), TypeHandle(ZvVoid::s_type), Arguments({}), 0).Invoke();
    EXPECT_FALSE(Handwritten::s_given);
    EXPECT_FALSE(nothing->GetReturnValue());
    Handwritten::s_given = ZvValue$();
    object->Forget();
}

// The kind of interfaces has no descriptor, and a method may be declared with it: its signature has a null result type.
TEST(MethodCall, InvokeWithANullResultTypeMakesNoBox) {
    const ZvHandle<HandMade, ZvMarshalByRefObject$> object = new HandMade;
    const remoting::MethodResponse$ response = MethodCall(object->CreateObjRef(), $L("Untyped"), ZvType$(), Arguments({}), 6).Invoke();
    ASSERT_TRUE(response);
    EXPECT_EQ(response->GetThreadID(), 6u);
    EXPECT_FALSE(Handwritten::s_given);
    EXPECT_FALSE(response->GetReturnValue());
    object->Forget();
}

TEST(MethodCall, InvokeLetsAnExceptionPass) {
    const Calc$ calc = new Calc;
    MethodCall call(calc->CreateObjRef(), $L("Fail"), TypeHandle(ZvVoid::s_type), Arguments({}), 0);
    EXPECT_THROW(call.Invoke(), ZvBadCastException);
    calc->Forget();
}

TEST(MethodCall, InvokeOfAMethodThatIsNotThereRaises) {
    const Calc$ calc = new Calc;
    const ZvObjRef$ target = calc->CreateObjRef();
    const ZvType$ intType = TypeHandle(ZvPrimitive<int>::s_type);
    EXPECT_THROW(MethodCall(target, $L("Product"), intType, Arguments({Box(1), Box(2)}), 0).Invoke(), ZvChannelException);
    EXPECT_THROW(MethodCall(target, $L("Sum"), intType, Arguments({Box(1.0), Box(2)}), 0).Invoke(), ZvChannelException);
    EXPECT_THROW(MethodCall(target, ZvString$(), ZvType$(), ZvArguments$(), 0).Invoke(), ZvChannelException);
    EXPECT_THROW(MethodCall(target, $L("Sum"), intType, Arguments({ZvObject$(), Box(2)}), 0).Invoke(), ZvChannelException);
    calc->Forget();
}

TEST(ConstructingCall, HoldsAndWritesTypeAndArguments) {
    EXPECT_FALSE(ConstructingCall().GetConstructType());
    EXPECT_EQ(Content(new ConstructingCall, "remoting::ConstructingCall"), "8080");
    const remoting::ConstructingCall$ call = new ConstructingCall(TypeHandle(Calc::s_type), Arguments({}));
    EXPECT_EQ(call->GetConstructType(), &Calc::s_type);
    EXPECT_EQ(Content(call, "remoting::ConstructingCall"),
              TypeHead("Calc", "App", 1) + "a000" + "84" + TypeHead("ZvObjectArray", "ZVC", 6) + "a001" + "a000");
    EXPECT_EQ(Again<remoting::ConstructingCall$>(call)->GetConstructType(), &Calc::s_type);
    ConstructingCall assigned;
    assigned = ConstructingCall(*call);
    EXPECT_EQ(assigned.GetConstructType(), &Calc::s_type);
}

TEST(ConstructingCall, ConstructMakesWhatIsRegisteredAndNotWhatIsAskedFor) {
    remoting::RemotingConfigulation::RegisterActivatedType(TypeHandle(Calc::s_type));
    const Calc$ calc = ConstructingCall(TypeHandle(AdderPlain::s_type), Arguments({Box(9)})).Construct();
    ASSERT_TRUE(calc);
    EXPECT_EQ(calc->m_bias, 9);
    EXPECT_FALSE(ConstructingCall(TypeHandle(Calc::s_type), Arguments({Box(1.0)})).Construct());
    remoting::RemotingConfigulation::Shutdown();
    EXPECT_FALSE(ConstructingCall(TypeHandle(Calc::s_type), Arguments({})).Construct());
}

TEST(Response, IsItsSlot) {
    EXPECT_EQ(Response().GetThreadID(), 0u);
    EXPECT_EQ(Response(7).GetThreadID(), 7u);
    EXPECT_EQ(Content(new Response(7), "remoting::Response"), "a007");
    EXPECT_EQ(Again<remoting::Response$>(new Response(70000))->GetThreadID(), 70000u);
    Response assigned;
    assigned = Response(Response(8));
    EXPECT_EQ(assigned.GetThreadID(), 8u);
}

TEST(MethodResponse, IsItsSlotAndAValue) {
    EXPECT_EQ(MethodResponse().GetThreadID(), 0u);
    EXPECT_FALSE(MethodResponse().GetReturnValue());
    const remoting::MethodResponse$ response = new MethodResponse(3, Box(5));
    EXPECT_EQ(response->GetThreadID(), 3u);
    EXPECT_EQ(IntOf(response->GetReturnValue()), 5);
    EXPECT_EQ(Content(response, "remoting::MethodResponse"), "a003" "84" + Int32 + "a005");
    EXPECT_EQ(Content(new MethodResponse(3, ZvObject$()), "remoting::MethodResponse"), "a00380");
    const remoting::MethodResponse$ again = Again<remoting::MethodResponse$>(response);
    EXPECT_EQ(again->GetThreadID(), 3u);
    EXPECT_EQ(IntOf(again->GetReturnValue()), 5);
    MethodResponse assigned;
    assigned = MethodResponse(*response);
    EXPECT_EQ(assigned.GetReturnValue(), response->GetReturnValue());
}

namespace {
class Slotted : public ConstructingResponse {
public:
    explicit Slotted(unsigned int threadId) { m_threadId = threadId; }
};
}

TEST(ConstructingResponse, LosesItsSlotOnTheWay) {
    ZvObject$ object = Box(5);
    EXPECT_EQ(ConstructingResponse().GetThreadID(), 0u);
    EXPECT_EQ(ConstructingResponse(object).GetThreadID(), 0u);
    EXPECT_EQ(ConstructingResponse(object).CreatedObject(), object);
    EXPECT_EQ(Content(new ConstructingResponse(object), "remoting::ConstructingResponse"), "84" + Int32 + "a005");
    EXPECT_EQ(Content(new ConstructingResponse, "remoting::ConstructingResponse"), "80");
    const remoting::ConstructingResponse$ again = Again<remoting::ConstructingResponse$>(new Slotted(5));
    ASSERT_TRUE(again);
    EXPECT_EQ(again->GetThreadID(), 0u);
    const remoting::ConstructingResponse$ used = new Slotted(5);
    ZvStream$ stream = StreamOf("8000");
    const ZvBinaryCoder$ coder = new ZvBinaryCoder(new ZvStreamingContext(Marshal));
    used->Decode(stream, coder.Get());
    EXPECT_EQ(used->GetThreadID(), 0u);
    ConstructingResponse assigned;
    assigned = ConstructingResponse(ConstructingResponse(object));
    EXPECT_EQ(assigned.CreatedObject(), object);
}

TEST(AsyncTerminator, CostsItsTagAndTypeAlone) {
    EXPECT_EQ(Content(new AsyncTerminator, "remoting::AsyncTerminator"), "");
    EXPECT_TRUE(Again<remoting::AsyncTerminator$>(new AsyncTerminator));
    EXPECT_EQ(Written({new AsyncTerminator, new AsyncTerminator}, Marshal)[1], "84a801");
}

TEST(Messages, DescriptorsAreThoseOfCreatableClasses) {
    const struct { ZvType* type; const char* name; ZvType* base; } classes[] = {
        {&MethodCall::s_type, "remoting::MethodCall", &ZvObject::s_type},
        {&ConstructingCall::s_type, "remoting::ConstructingCall", &ZvObject::s_type},
        {&Response::s_type, "remoting::Response", &ZvObject::s_type},
        {&MethodResponse::s_type, "remoting::MethodResponse", &Response::s_type},
        {&ConstructingResponse::s_type, "remoting::ConstructingResponse", &Response::s_type},
        {&AsyncTerminator::s_type, "remoting::AsyncTerminator", &ZvObject::s_type},
    };
    for (const auto& c : classes) {
        EXPECT_EQ(ZvSystem::FindType(c.name), c.type) << c.name;
        EXPECT_EQ(c.type->GetSchema(), 0x80000001u) << c.name;
        EXPECT_EQ(c.type->GetClassSpec(), 1u) << c.name;
        EXPECT_TRUE(c.type->HasCodec()) << c.name;
        EXPECT_EQ(c.type->GetBaseType(), c.base) << c.name;
        const ZvObject$ made = c.type->CreateObject();
        ASSERT_TRUE(made) << c.name;
        EXPECT_EQ(made->GetType(), c.type) << c.name;
    }
}

// ---- the bytes of a call and its answer, once everything that they name has been named ------------------------------------

namespace {

/// Two coders that have come as far as the tables below: ids 1 to 0x16, of which those named matter.
struct Worked {
    Worked() : reference(new ZvObjRef) {
        // ZvObjRef's own class is 6, so that the reference is 7; the rest are types as they come.
        ZvType* const types[] = {
            &ZvPrimitive<bool>::s_type, &ZvPrimitive<char>::s_type, &ZvString::s_type, &ZvPrimitive<short>::s_type,
            &ZvPrimitive<float>::s_type, nullptr, nullptr, &ZvPrimitive<double>::s_type, &ZvPrimitive<long long>::s_type,
            &ZvPrimitive<unsigned int>::s_type, &ZvPrimitive<unsigned short>::s_type, &ZvPrimitive<unsigned char>::s_type,
            &ZvPrimitive<unsigned long long>::s_type, &ZvPrimArray<int>::s_type, &ZvPrimArray<bool>::s_type,
            &ZvPrimArray<float>::s_type, &ZvPrimArray<double>::s_type, &MethodCall::s_type, &Response::s_type,
            &ZvPrimitive<int>::s_type, &ZvPrimArray<ZvObject$>::s_type, &MethodResponse::s_type};
        cases::Memory preset;
        for (ZvType* type : types) {
            if (type == nullptr) continue;
            writer->Write(preset.stream, ZvObject$(type));
            if (type == &ZvPrimitive<float>::s_type) writer->Write(preset.stream, static_cast<const ZvObject$&>(reference));
        }
        cases::Memory back(preset.Taken());
        for (ZvType* type : types) {
            ZvObject$ read;
            if (type == nullptr) continue;
            reader->Read(back.stream, read);
            if (type == &ZvPrimitive<float>::s_type) reader->Read(back.stream, read), received = read;
        }
    }
    std::string Bytes(const ZvObject$& message) {
        cases::Memory out;
        writer->Write(out.stream, message);
        return ToHex(out.Taken());
    }
    ZvObject$ Message(const std::string& hex) {
        cases::Memory in(FromHex(hex));
        ZvObject$ read;
        reader->Read(in.stream, read);
        return read;
    }
    ZvBinaryCoder$ writer = cases::Coder(Marshal), reader = cases::Coder(Marshal);
    ZvObjRef$ reference, received;
};

const char CallBytes[] = "84"               // a new object: the call
                         "a812"             // of class 0x12
                         "ac07"             // target: the reference
                         "84a803"           // name: a new text,
                         "8b53756d"         // "Sum"
                         "ac14"             // return type: the descriptor as an object
                         "84a815"           // arguments: a new array,
                         "a002"             // two of them,
                         "84a814a002"       // a box of 2
                         "84a814a003"       // and a box of 3
                         "a001";            // thread id
const char ReplyBytes[] = "84a816"          // the response
                          "a001"            // thread id
                          "84a814a005";     // a box of 5

}

TEST(Wire, ALaterCallOfSum) {
    Worked w;
    const ZvObject$ call = new MethodCall(w.reference, $L("Sum"), TypeHandle(ZvPrimitive<int>::s_type), Arguments({Box(2), Box(3)}), 1);
    EXPECT_EQ(w.Bytes(call), CallBytes);
    const remoting::MethodCall$ read = w.Message(CallBytes);
    ASSERT_TRUE(read);
    EXPECT_EQ(*read->GetName(), "Sum");
    EXPECT_EQ(read->GetRetType(), &ZvPrimitive<int>::s_type);
    EXPECT_EQ(read->GetThreadID(), 1u);
    cases::Memory rewritten;
    w.reader->Write(rewritten.stream, static_cast<const ZvObject$&>(read));
    EXPECT_EQ(ToHex(rewritten.Taken()), CallBytes);
}

TEST(Wire, TheReplyToSum) {
    Worked w;
    EXPECT_EQ(w.Bytes(new MethodResponse(1, Box(5))), ReplyBytes);
    const remoting::MethodResponse$ read = w.Message(ReplyBytes);
    ASSERT_TRUE(read);
    EXPECT_EQ(read->GetThreadID(), 1u);
    EXPECT_EQ(IntOf(read->GetReturnValue()), 5);
}

TEST(Wire, WorkedCasesOfTheModel) {
    for (const cases::Json& c : cases::Group("remoting", "worked")) EXPECT_EQ(c["bytes"], c["name"] == "call" ? CallBytes : ReplyBytes);
}

TEST(Wire, ShortNumbersForWhatWasSentBefore) {
    for (const cases::Json& c : cases::Group("remoting", "tracking")) {
        const ZvObject$ text = new ZvString("t");
        const auto bytes = Written({text, text}, static_cast<ZvStreamingContext::States>(c["state"].get<int>()));
        EXPECT_EQ(bytes[0], c["bytes"][0]) << c;
        EXPECT_EQ(bytes[1], c["bytes"][1]) << c;
    }
}

TEST(Wire, ObjectsStayAtHomeInAMarshallingStateAlone) {
    for (const cases::Json& c : cases::Group("remoting", "states")) {
        const AdderPlain$ object = new AdderPlain;
        const auto bytes = Written({object, object}, static_cast<ZvStreamingContext::States>(c["state"].get<int>()));
        EXPECT_EQ(bytes[0], c["bytes"][0]) << c;
        EXPECT_EQ(bytes[1], c["bytes"][1]) << c;
        object->Forget();
    }
}
