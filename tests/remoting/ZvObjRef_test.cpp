// References: what they hold, how they travel and how they are told apart.

#include "Support.h"

#include "support/Cases.h"
#include "support/Coding.h"

namespace {

constexpr auto Marshal = ZvStreamingContext::MarshalChannel;

/// Writes on one coder and reads on another, as the two ends of a conversation do.
struct Ends {
    ZvBinaryCoder$ here = cases::Coder(4), there = cases::Coder(4);

    ZvObject$ Pass(const ZvObject$& object, std::string* bytes = nullptr) { return Pass(here, there, object, bytes); }
    ZvObject$ PassBack(const ZvObject$& object, std::string* bytes = nullptr) { return Pass(there, here, object, bytes); }

private:
    static ZvObject$ Pass(ZvBinaryCoder$& from, ZvBinaryCoder$& to, const ZvObject$& object, std::string* bytes) {
        cases::Memory out;
        from->Write(out.stream, object);
        if (bytes != nullptr) *bytes = ToHex(out.Taken());
        cases::Memory in(out.Taken());
        ZvObject$ read;
        to->Read(in.stream, read);
        return read;
    }
};

}

TEST(ZvMarshalByRefObject, HasOneReferenceForItsLife) {
    const Calc$ calc = new Calc;
    const ZvObjRef$ reference = calc->CreateObjRef();
    ASSERT_TRUE(reference);
    EXPECT_EQ(reference->GetType(), &ZvObjRef::s_type);
    EXPECT_EQ(calc->CreateObjRef(), reference);
    EXPECT_TRUE(reference->IsFromThisProcess());
    EXPECT_EQ(reference->RealObject(), static_cast<const ZvObject$&>(calc));
    EXPECT_EQ(reference->GetChannel(), nullptr);
    ASSERT_TRUE(reference->GetTypeInfo());
    EXPECT_EQ(*reference->GetTypeInfo()->GetTypeName(), "Calc");
    calc->Forget();
}

TEST(ZvMarshalByRefObject, GivesThreadsThatAskAtOnceTheSameReference) {
    for (int round = 0; round < 50; ++round) {
        const Calc$ calc = new Calc;
        ZvObjRef$ made[2];
        std::thread other([&] { made[0] = calc->CreateObjRef(); });
        made[1] = calc->CreateObjRef();
        other.join();
        EXPECT_EQ(made[0], made[1]);
        calc->Forget();
    }
}

TEST(ZvMarshalByRefObject, AndItsReferenceHoldEachOther) {
    const int before = Calc::s_alive;
    Calc* plain = nullptr;
    {
        const Calc$ calc = new Calc;
        plain = calc.Get();
        calc->CreateObjRef();
    }
    EXPECT_EQ(Calc::s_alive, before + 1);
    plain->Forget();
    EXPECT_EQ(Calc::s_alive, before);
}

TEST(ZvObjRef, IsAllNullAtFirst) {
    const ZvObjRef$ reference = new ZvObjRef;
    EXPECT_FALSE(reference->IsFromThisProcess());
    EXPECT_FALSE(reference->RealObject());
    EXPECT_FALSE(reference->GetTypeInfo());
    EXPECT_EQ(reference->GetChannel(), nullptr);
    EXPECT_EQ(Written({reference}, Marshal)[0], "84" + TypeOf("ZvObjRef", 0x21) + "80");
}

TEST(ZvObjRef, InvokeWithoutAChannelGivesNull) {
    const ZvObjRef$ reference = new ZvObjRef;
    EXPECT_FALSE(reference->Invoke(TypeHandle(ZvPrimitive<int>::s_type), $L("Sum"), Arguments({}), 0));
    const ZvObjRef& constant = *reference;
    EXPECT_FALSE(constant.Invoke(TypeHandle(ZvPrimitive<int>::s_type), $L("Sum"), Arguments({}), 0));
}

TEST(ZvObjRef, KeepsAPlainChannel) {
    Raw raw;
    const ZvObjRef$ reference = new ZvObjRef;
    const long count = raw.channel->ReferenceCount();
    reference->SetChannel(raw.channel);
    EXPECT_EQ(reference->GetChannel(), raw.channel.Get());
    EXPECT_EQ(raw.channel->ReferenceCount(), count);
    reference->SetChannel(ZvChannel$());
    EXPECT_EQ(reference->GetChannel(), nullptr);
}

TEST(ZvObjRef, CopiesShareWhatTheyHold) {
    const Calc$ calc = new Calc;
    const ZvObjRef$ reference = calc->CreateObjRef();
    const ZvObjRef$ copy = new ZvObjRef(*reference);
    EXPECT_EQ(copy->RealObject(), reference->RealObject());
    EXPECT_EQ(copy->GetTypeInfo(), reference->GetTypeInfo());
    calc->Forget();
}

TEST(ZvObjRef, LeavesItsObjectAtHome) {
    Ends ends;
    const Calc$ calc = new Calc;
    const ZvObjRef$ far = ends.Pass(calc);
    ASSERT_TRUE(far);
    EXPECT_FALSE(far->IsFromThisProcess());
    EXPECT_FALSE(far->RealObject());
    EXPECT_EQ(*far->GetTypeInfo()->GetTypeName(), "Calc");
    calc->Forget();
}

TEST(ZvObjRef, GoesInFullOnceAndAsANumberFromThenOn) {
    Ends ends;
    const Calc$ calc = new Calc;
    std::string first, second;
    const ZvObjRef$ far = ends.Pass(calc, &first);
    EXPECT_EQ(ends.Pass(calc, &second), static_cast<const ZvObject$&>(far));
    EXPECT_EQ(first.substr(0, 4), "8487");
    EXPECT_EQ(second, "ac02");                       // its class is 1
    calc->Forget();
}

TEST(ZvObjRef, ComesHomeAsTheVeryReferenceThatLeft) {
    Ends ends;
    const Calc$ calc = new Calc;
    const ZvObject$ far = ends.Pass(calc);
    std::string bytes;
    const ZvObjRef$ home = ends.PassBack(far, &bytes);
    EXPECT_EQ(bytes, "ac02");
    EXPECT_EQ(home, calc->CreateObjRef());
    EXPECT_TRUE(home->IsFromThisProcess());
    calc->Forget();
}

TEST(ZvObjRef, TravelsWithEveryMethodOfItsClass) {
    // The class is 1, the reference 2, ZvRemoteTypeInfo 3, the info 4, ZvString 5, ZvDictionary 6, ZvMethodRef 7, the method 8,
    // ZvInt32 9. Key and value of a method are one object.
    class One : public ZvMarshalByRefObject {};
    const ZvHandle<ZvMethod, ZvMarshalByRefObject$> method =
        new ZvMethod(&Calc::s_type, "Sum", ZvVtInt32, 2, ZvVtInt32, "a", ZvVtInt32, "b");
    ZvBinaryCoder$ coder = cases::Coder(4);
    cases::Memory out;
    coder->Write(out.stream, static_cast<const ZvObject$&>(method));
    EXPECT_EQ(ToHex(out.Taken()), "84" + TypeOf("ZvMethodRef", 0x21) +            // 1; the method is 2
                                  "84" + TypeOf("ZvString", 2) + "8b53756d" +     // 3
                                  "878f5a76496e7433328b5a5643a002a001" +          // 4
                                  "a002" +
                                  "ac04" "84a8038961" +
                                  "ac04" "84a8038962");
    // Its reference holds it, and the entry holds itself as those of static tables do.
    EXPECT_GE(method->ReferenceCount(), 3);
}

TEST(ZvObjRef, MethodsAreFoundAtTheFarEnd) {
    Ends ends;
    const Calc$ calc = new Calc;
    const ZvObjRef$ far = ends.Pass(calc);
    const ZvType$ intType = TypeHandle(ZvPrimitive<int>::s_type);
    const ZvMethodRef$ sum = far->GetTypeInfo()->FindMethod($L("Sum"), intType, Arguments({Box(1), Box(2)}));
    ASSERT_TRUE(sum);
    EXPECT_EQ(*sum->GetName(), "Sum");
    EXPECT_EQ(sum->GetRetType(), intType.Get());
    ASSERT_EQ(sum->GetNumParams(), 2u);
    EXPECT_EQ(sum->GetParamType(0), intType.Get());
    EXPECT_EQ(*sum->GetParamName(0), "a");
    EXPECT_EQ(*sum->GetParamName(1), "b");
    EXPECT_FALSE(far->GetTypeInfo()->FindMethod($L("Sum"), intType, Arguments({Box(1)})));
    EXPECT_FALSE(far->GetTypeInfo()->FindMethod($L("Sums"), intType, Arguments({Box(1), Box(2)})));
    EXPECT_FALSE(ZvRemoteTypeInfo().FindMethod($L("Sum"), intType, Arguments({})));
    calc->Forget();
}

TEST(ZvRemoteTypeInfo, FindsNoReferenceWhereTheMethodsStandForThemselves) {
    const ZvType$ intType = TypeHandle(ZvPrimitive<int>::s_type);
    const ZvArguments$ arguments = Arguments({Box(1), Box(2)});
    EXPECT_TRUE(Calc::s_type.Find($L("Sum"), intType.Get(), arguments));
    EXPECT_FALSE(ZvRemoteTypeInfo(&Calc::s_type).FindMethod($L("Sum"), intType, arguments));
    EXPECT_FALSE(ZvRemoteTypeInfo(&AdderPlain::s_type).FindMethod($L("Sum"), intType, arguments));
}

TEST(ZvRemoteTypeInfo, KnowsNameAndMethodsOfItsType) {
    const ZvRemoteTypeInfo$ info = new ZvRemoteTypeInfo(&AdderPlain::s_type);
    EXPECT_EQ(info->GetTypeName(), AdderPlain::s_type.GetName());
    EXPECT_EQ(Written({info}, Marshal)[0], "84" + TypeOf("ZvRemoteTypeInfo", 0x21) +
                                           "84" + TypeOf("ZvString", 2) + "924164646572506c61696e" +
                                           "84" + TypeOf("ZvDictionary") + "a000");
    const ZvRemoteTypeInfo$ read = ReadBack(Written({info}, Marshal)[0], 1, Marshal)[0];
    EXPECT_EQ(*read->GetTypeName(), "AdderPlain");
    EXPECT_FALSE(ZvRemoteTypeInfo().GetTypeName());
}

TEST(ZvMethodRef, OfAMethodHasItsSignature) {
    ZvMethod$ method = Calc::GetMethodMap()->GetMethods()[0];
    const ZvMethodRef$ reference = method->CreateObjRef();
    ASSERT_TRUE(reference);
    EXPECT_EQ(method->CreateObjRef(), static_cast<const ZvObjRef$&>(reference));
    EXPECT_EQ(reference->RealObject(), static_cast<const ZvObject$&>(method));
    EXPECT_TRUE(reference->IsFromThisProcess());
    EXPECT_EQ(*reference->GetName(), "Sum");
    EXPECT_EQ(reference->GetRetType(), &ZvPrimitive<int>::s_type);
    EXPECT_EQ(reference->GetNumParams(), 2u);
    EXPECT_EQ(*reference->GetParamName(1), "b");
    EXPECT_EQ(*reference->GetTypeInfo()->GetTypeName(), "ZvMethod");
    EXPECT_EQ(reference->GetHashCode(), method->GetHashCode());
}

TEST(ZvMethodRef, KeyTakesTheTypesOfItsArguments) {
    for (const cases::Json& c : cases::Group("remoting", "method-key")) {
        const ZvArguments$ arguments = Arguments({Box(1), new ZvString("x"), ZvObject$(&ZvPrimitive<float>::s_type)});
        const ZvMethodRef key($L("f"), TypeHandle(ZvVoid::s_type), arguments);
        ASSERT_EQ(key.GetNumParams(), c["parameterTypes"].size());
        for (unsigned int i = 0; i < key.GetNumParams(); ++i) {
            EXPECT_EQ(std::string(key.GetParamType(i)->GetName()->CStr()), c["parameterTypes"][i]) << c;
            EXPECT_FALSE(key.GetParamName(i));
        }
        EXPECT_FALSE(const_cast<ZvMethodRef&>(key).RealObject());
        EXPECT_FALSE(const_cast<ZvMethodRef&>(key).GetTypeInfo());
    }
    EXPECT_EQ(ZvMethodRef($L("f"), TypeHandle(ZvVoid::s_type), ZvArguments$()).GetNumParams(), 0u);
}

TEST(ZvMethodRef, KeysWithOneSignatureAreEqualAndHashAlike) {
    const ZvType$ intType = TypeHandle(ZvPrimitive<int>::s_type);
    const ZvMethodRef a(new ZvString("Sum"), intType, Arguments({Box(1), Box(2)}));
    const ZvMethodRef b(new ZvString("Sum"), intType, Arguments({Box(3), Box(4)}));
    EXPECT_TRUE(a == b);
    EXPECT_TRUE(a.Equals(&b));
    EXPECT_EQ(a.GetHashCode(), b.GetHashCode());
    EXPECT_FALSE(a == ZvMethodRef(new ZvString("Sun"), intType, Arguments({Box(1), Box(2)})));
    EXPECT_FALSE(a == ZvMethodRef(new ZvString("Sum"), TypeHandle(ZvVoid::s_type), Arguments({Box(1), Box(2)})));
    EXPECT_FALSE(a == ZvMethodRef(new ZvString("Sum"), intType, Arguments({Box(1)})));
    EXPECT_FALSE(a == ZvMethodRef(new ZvString("Sum"), intType, Arguments({Box(1), Box(2.0)})));
    EXPECT_FALSE(a.Equals(nullptr));
    EXPECT_TRUE(a.Equals(&a));
    EXPECT_FALSE(a.Equals(Calc::GetMethodMap()->GetMethods()[0].Get()));
}

TEST(ZvMethodRef, HashIsTheSignaturesFold) {
    // ((name ^ 0x811d69050c5d1f) * p ^ result) * p ^ count, then * p ^ type for each parameter; p is 16777619.
    const ZvString$ name = new ZvString("Sum");
    ZvType& i = ZvPrimitive<int>::s_type;
    ZvType& d = ZvPrimitive<double>::s_type;
    const size_t p = 16777619;
    size_t h = ((name->GetHashCode() ^ 0x811D69050C5D1F) * p ^ i.GetHashCode()) * p ^ 1;
    h = h * p ^ d.GetHashCode();
    EXPECT_EQ(ZvMethodRef(name, TypeHandle(i), Arguments({Box(1.0)})).GetHashCode(), h);
}

TEST(ZvMethodRef, WithoutNameAndTypesIsHarmless) {
    const ZvMethodRef empty;
    EXPECT_EQ(empty.GetNumParams(), 0u);
    EXPECT_EQ(empty.GetHashCode(), ZvMethodRef().GetHashCode());
    EXPECT_TRUE(empty == ZvMethodRef());
    // A key of a dictionary that a hostile peer sent.
    const std::string hex = "84" + TypeOf("ZvDictionary") + "a001" "84" + TypeOf("ZvMethodRef", 0x21) + "8080a000" "80";
    const ZvDictionary$ read = ReadBack(hex, 1, Marshal)[0];
    ASSERT_TRUE(read);
    EXPECT_EQ(read->Count(), 1u);
}

TEST(ZvMethodRef, BelievesACountAsParametersArrive) {
    const std::string hex = "84" + TypeOf("ZvMethodRef", 0x21) + "8080a3ffffffff8080";
    EXPECT_THROW(ReadBack(hex, 1, Marshal), ZvCoderException);
}

TEST(References, DescriptorsSayThatTheyGoByReference) {
    const struct { ZvType* type; const char* name; } classes[] = {
        {&ZvObjRef::s_type, "ZvObjRef"}, {&ZvMethodRef::s_type, "ZvMethodRef"}, {&ZvRemoteTypeInfo::s_type, "ZvRemoteTypeInfo"}};
    for (const auto& c : classes) {
        EXPECT_EQ(ZvSystem::FindType(c.name), c.type);
        EXPECT_EQ(c.type->GetClassSpec(), 0x21u) << c.name;
        EXPECT_TRUE(c.type->IsMarshalByRef()) << c.name;
        EXPECT_EQ(c.type->GetSchema(), 0x80000001u) << c.name;
        EXPECT_TRUE(c.type->HasCodec()) << c.name;
        const ZvObject$ made = c.type->CreateObject();
        EXPECT_EQ(made->GetType(), c.type) << c.name;
    }
}

namespace {
class Stub : public remoting::Proxy {
public:
    ZvObjRef$& Reference() { return m_reference; }
    void Forget() { m_objRef = ZvObjRef$(); }
};
}

TEST(Proxy, IsABareBaseForStubs) {
    EXPECT_EQ(remoting::Proxy().GetType(), &remoting::Proxy::s_type);
    EXPECT_EQ(remoting::Proxy::s_type.GetBaseType(), &ZvMarshalByRefObject::s_type);
    EXPECT_EQ(remoting::Proxy::s_type.GetClassSpec(), 1u);
    EXPECT_FALSE(remoting::Proxy::s_type.HasCodec());
    EXPECT_EQ(remoting::Proxy::s_type.CreateObject(), nullptr);
    EXPECT_EQ(remoting::Proxy::GetMethodMap()->GetNumMethod(), 0u);
    EXPECT_EQ(remoting::Proxy::GetConstructorMap()->GetNumConstructors(), 0u);
    ASSERT_NE(remoting::Proxy::GetFieldMap(), nullptr);
    Stub stub;
    EXPECT_FALSE(stub.Reference());
    stub.Reference() = new ZvObjRef;
    Stub copy(stub);
    EXPECT_EQ(copy.Reference(), stub.Reference());
}

TEST(Proxy, IsTransparentLikeEveryClass) {
    EXPECT_TRUE(remoting::Proxy::s_type.IsTransparent());
    for (const char* name : {"ZvObject", "ZvInterface", "ZvType", "ZvString", "ZvInt32", "ZvInt32Array", "ZvMethod", "ZvConstructor",
                             "ZvMarshalByRefObject", "ZvObjRef", "ZvMethodRef", "ZvRemoteTypeInfo", "ZvDictionary", "ZvChannel"}) {
        const ZvType* type = ZvSystem::FindType(name);
        ASSERT_NE(type, nullptr) << name;
        EXPECT_TRUE(type->IsTransparent()) << name;
    }
}

TEST(Proxy, CrossesAsAReferenceOnItself) {
    Ends ends;
    const ZvHandle<Stub, ZvMarshalByRefObject$> stub = new Stub;
    const ZvObjRef$ reference = stub->CreateObjRef();
    const ZvObjRef$ far = ends.Pass(stub);
    ASSERT_TRUE(far);
    EXPECT_EQ(*far->GetTypeInfo()->GetTypeName(), "remoting::Proxy");
    EXPECT_EQ(ends.PassBack(far), static_cast<const ZvObject$&>(reference));
    stub->Forget();
}

TEST(ZvBinaryCoder, TellsReferencesTheirChannel) {
    Raw raw;
    const Calc$ calc = new Calc;
    ZvBinaryCoder$ coder = cases::Coder(4);
    coder->SetChannel(raw.channel.Get());
    cases::Memory out;
    coder->Write(out.stream, static_cast<const ZvObject$&>(calc));
    EXPECT_EQ(calc->CreateObjRef()->GetChannel(), raw.channel.Get());

    ZvBinaryCoder$ reader = cases::Coder(0);             // in every state
    reader->SetChannel(raw.channel.Get());
    cases::Memory in(out.Taken());
    ZvObject$ read;
    reader->Read(in.stream, read);
    const ZvObjRef$ reference = read;
    EXPECT_EQ(reference->GetChannel(), raw.channel.Get());
    calc->Forget();
}

TEST(ZvBinaryCoder, ReplacesObjectsInBothMarshallingStates) {
    for (const int state : {4, 8, 12, 5, 9}) {
        const AdderPlain$ object = new AdderPlain;
        EXPECT_EQ(Written({object}, static_cast<ZvStreamingContext::States>(state))[0].substr(0, 22), "8487905a764f626a526566") << state;
        object->Forget();
    }
    for (const int state : {0, 1, 2}) {
        const AdderPlain$ object = new AdderPlain;
        EXPECT_EQ(Written({object}, static_cast<ZvStreamingContext::States>(state))[0].substr(0, 10), "8487924164") << state;
    }
}
