// The two ends of a channel: what goes where, what waits for what, and how it ends.

#include "Support.h"

#include "support/Cases.h"
#include "support/OtherStream.h"

#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <set>
#include <unistd.h>

using remoting::ConstructingCall;
using remoting::ConstructingResponse;
using remoting::MethodCall;
using remoting::MethodResponse;
using remoting::Response;

namespace {

const std::string ResponseType = TypeOf("remoting::Response");

ZvType$ IntType() { return TypeHandle(ZvPrimitive<int>::s_type); }

int IntOf(const ZvObject$& box) {
    const ZvHandle<ZvPrimitive<int>, ZvValue$> value = box;
    return value ? value->value : -1;
}

/// Derived from the calls, and no call for the channel.
class SpecialCall : public MethodCall {
    ZV_DECLARE_CLASS(SpecialCall)
    ZV_DECLARE_CREATE(SpecialCall)
};
class SpecialResponse : public Response {
    ZV_DECLARE_CLASS(SpecialResponse)
    ZV_DECLARE_CREATE(SpecialResponse)
};

/// Tells that it was decoded.
class Noticed : public ZvObject {
    ZV_DECLARE_CLASS(Noticed)
    ZV_DECLARE_CREATE(Noticed)
public:
    void Decode(ZvStream$&, ZvCoder*) override { ++s_decoded; }
    static std::atomic<int> s_decoded;
};
std::atomic<int> Noticed::s_decoded{0};

/// Refuses to be written behind its first byte.
class Refusing : public ZvObject {
    ZV_DECLARE_CLASS(Refusing)
    ZV_DECLARE_CREATE(Refusing)
public:
    void Encode(ZvStream$&, ZvCoder*) const override { throw ZvBadCastException("not me"); }
};

std::set<std::string> Threads() {
    std::set<std::string> ids;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/task")) ids.insert(entry.path().filename());
    return ids;
}

/// Is the thread in a wait of the kernel's?
bool Sleeps(const std::string& thread) {
    std::ifstream in("/proc/self/task/" + thread + "/stat");
    std::string id, name, state;
    in >> id >> name >> state;
    return state == "S";
}

bool WaitUntil(const std::function<bool()>& condition) {
    for (int i = 0; i < 10000; ++i) {
        if (condition()) return true;
        zvc::platform::SleepFor(1);
    }
    return false;
}

}

ZV_DEFINE_CLASS(SpecialCall, (remoting::MethodCall), .codec = true, .create = &Create)
ZV_DEFINE_CLASS(SpecialResponse, (remoting::Response), .codec = true, .create = &Create)
ZV_DEFINE_CLASS(Noticed, (ZvObject), .codec = true, .create = &Create)
ZV_DEFINE_CLASS(Refusing, (ZvObject), .codec = true, .create = &Create)

TEST(ZvChannel, IsReflectedWithEmptyTables) {
    EXPECT_EQ(ZvSystem::FindType("ZvChannel"), &ZvChannel::s_type);
    EXPECT_EQ(ZvChannel::s_type.GetClassSpec(), 1u);
    EXPECT_EQ(ZvChannel::s_type.GetSchema(), 0x80000001u);
    EXPECT_FALSE(ZvChannel::s_type.HasCodec());
    EXPECT_EQ(ZvChannel::s_type.GetBaseType(), &ZvObject::s_type);
    EXPECT_EQ(ZvChannel::GetMethodMap()->GetNumMethod(), 0u);
    EXPECT_EQ(ZvChannel::GetConstructorMap()->GetNumConstructors(), 0u);
    EXPECT_NE(ZvChannel::GetFieldMap(), nullptr);
}

TEST(ZvChannelException, IsAnException) {
    ZvChannelException e("text");
    EXPECT_EQ(*e.What(), "text");
    EXPECT_EQ(e.GetType(), &ZvChannelException::s_type);
    EXPECT_EQ(ZvChannelException::s_type.GetBaseType(), &ZvException::s_type);
    ZvChannelException copy(e);
    EXPECT_EQ(copy.What(), e.What());
    ZvChannelException other("other");
    other = e;
    EXPECT_EQ(other.What(), e.What());
}

TEST(ZvChannel, StopMessageIsTheByteOfNull) {
    Raw raw;
    raw.channel->Send(ZvObject$());
    EXPECT_EQ(raw.Sent(), "80");
    raw.channel->StopListening();
    EXPECT_EQ(raw.Sent(), "80");
}

TEST(ZvChannel, MessageIsJustTheCodersBytes) {
    Raw raw;
    raw.channel->Send(new Response(7));
    EXPECT_EQ(raw.Sent(), "84" + ResponseType + "a007");
    raw.channel->Send(new Response(8));
    EXPECT_EQ(raw.Sent(), "84a801a008");
}

TEST(ZvChannel, MessageLeavesInOneWrite) {
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_DIRECT | O_CLOEXEC), 0);         // each read of such a pipe brings what one write brought
    Pipe in;
    const ZvChannel$ channel = new ZvChannel(1, Reading(in.reading), Writing(zvc::platform::FileAdopt(ends[1], zvc::platform::FileAccessWrite)));
    const Calc$ calc = new Calc;
    channel->Send(new MethodResponse(0, static_cast<const ZvObject$&>(calc)));
    std::vector<char> bytes(65536);
    const ssize_t first = read(ends[0], bytes.data(), bytes.size());
    EXPECT_GT(first, 400);                                   // it holds every method of the class
    channel->Send(ZvObject$());
    EXPECT_EQ(read(ends[0], bytes.data(), bytes.size()), 1);
    close(ends[0]);
    zvc::platform::CloseHandle(in.writing);
    calc->Forget();
}

TEST(ZvChannel, FlushesItsOutputBehindEachMessage) {
    struct Counting : OtherStream {
        bool CanWrite() const override { return true; }
        void Flush() override { flushedAt.push_back(bytes.size()); }
        std::vector<size_t> flushedAt;
    };
    auto* const counting = new Counting;
    const ZvChannel$ channel = new ZvChannel(1, new OtherStream, counting);
    channel->Send(ZvObject$());
    channel->Send(ZvObject$());
    EXPECT_EQ(counting->flushedAt, (std::vector<size_t>{1, 2}));
}

TEST(ZvChannel, WriteToABrokenPipeShowsInTheStreamAlone) {
    Pipe in, out;
    const ZvStream$ output = Writing(out.writing);
    const ZvChannel$ channel = new ZvChannel(1, Reading(in.reading), output);
    channel->Send(new Response(7));
    EXPECT_FALSE(output->Fail());
    zvc::platform::CloseHandle(out.reading);
    EXPECT_NO_THROW(channel->Send(new Response(8)));
    EXPECT_TRUE(output->Fail());
    EXPECT_NO_THROW(channel->Send(ZvObject$()));
    EXPECT_TRUE(output->Fail());
    zvc::platform::CloseHandle(in.writing);
}

TEST(ZvChannel, ConversationOfAConstructedObject) {
    for (const cases::Json& c : cases::Group("remoting", "conversations")) {
        remoting::RemotingConfigulation::RegisterActivatedType(TypeHandle(AdderPlain::s_type));
        Raw parent(2), child(301);
        AdderPlain$ made;
        ZvObjRef$ reference;
        for (const cases::Json& step : c["steps"]) {
            Raw& from = step["from"] == "parent" ? parent : child;
            Raw& to = step["from"] == "parent" ? child : parent;
            const std::string message = step["message"];
            ZvObject$ object;
            if (message.starts_with("ConstructingCall")) object = new ConstructingCall(TypeHandle(AdderPlain::s_type), Arguments({}));
            if (message.starts_with("ConstructingResponse")) object = new ConstructingResponse(static_cast<const ZvObject$&>(made));
            if (message.starts_with("MethodCall"))
                object = new MethodCall(reference, new ZvString("Sum"), IntType(), Arguments({Box(2), Box(3)}), 1);
            if (message.starts_with("the same call"))
                object = new MethodCall(reference, new ZvString("Sum"), IntType(), Arguments({Box(20), Box(30)}), 300);
            if (message.starts_with("MethodResponse(1")) object = new MethodResponse(1, Box(5));
            if (message.starts_with("MethodResponse(300")) object = new MethodResponse(300, Box(50));
            from.channel->Send(object);
            EXPECT_EQ(from.Sent(), step["bytes"]) << message;
            to.Feed(step["bytes"]);
            const ZvObject$ received = to.channel->Receive();
            EXPECT_EQ(static_cast<bool>(received), static_cast<bool>(object)) << message;
            if (const remoting::ConstructingCall$ call = received) made = call->Construct();
            if (const remoting::ConstructingResponse$ response = received) reference = response->CreatedObject();
        }
        EXPECT_EQ(reference->GetChannel(), parent.channel.Get());
        EXPECT_EQ(made->CreateObjRef()->GetChannel(), child.channel.Get());
        made->Forget();
        remoting::RemotingConfigulation::Shutdown();
    }
}

TEST(ZvChannel, FirstReferenceCarriesEveryMethodOfItsClass) {
    // What an independent reading of the format makes of a class with one method: the class of the answer is 1, ZvObjRef 2,
    // the reference 3, ZvRemoteTypeInfo 4, the info 5, ZvString 6, ZvDictionary 7, ZvMethodRef 8, Sum 9, ZvInt32 10.
    class SumOnly : public ZvMarshalByRefObject {
    public:
        ZvType* GetType() const override { return s_sumOnly; }
        void Forget() { m_objRef = ZvObjRef$(); }
        ZvType* s_sumOnly = nullptr;
    };
    static ZvMethod$ s_methods[] = {
        new ZvMethod(&ZvMarshalByRefObject::s_type, "Sum", ZvVtInt32, 2, ZvVtInt32, "a", ZvVtInt32, "b"), ZvMethod$()};
    static ZvMethodMap s_map(s_methods);
    static ZvBase s_bases[] = {ZvBase(&ZvMarshalByRefObject::s_type, 0), ZvBase()};
    static ZvType s_type("class SumOnly", sizeof(SumOnly), 0x80000001, nullptr, s_bases, nullptr, nullptr, &s_map, false,
                         typeid(SumOnly), ZvThisModule(), 1);
    Raw raw;
    auto* plain = new SumOnly;
    plain->s_sumOnly = &s_type;
    const ZvMarshalByRefObject$ object(plain);
    raw.channel->Send(new ConstructingResponse(static_cast<const ZvObject$&>(object)));
    EXPECT_EQ(raw.Sent(), "84" + TypeOf("remoting::ConstructingResponse") +
                          "84" + TypeOf("ZvObjRef", 0x21) +
                          "84" + TypeOf("ZvRemoteTypeInfo", 0x21) +
                          "84" + TypeOf("ZvString", 2) + "8f53756d4f6e6c79" +
                          "84" + TypeOf("ZvDictionary") + "a001" +
                          "84" + TypeOf("ZvMethodRef", 0x21) +
                          "84a806" "8b53756d" +
                          "878f5a76496e7433328b5a5643a002a001" +
                          "a002" "ac0a" "84a806" "8961" "ac0a" "84a806" "8962" +
                          "ac09");
    plain->Forget();
}

TEST(ZvChannel, ListenerSortsByClass) {
    Pair pair(8);
    const struct { ZvObject$ message; int goesTo; } cases[] = {      // -1: the calls; -2: nowhere; else the slot
        {new ConstructingCall, -1},
        {new MethodCall, -1},
        {new Response(7), 7},
        {new MethodResponse(3, ZvObject$()), 3},
        {new ConstructingResponse, 0},
        {new SpecialResponse, 0},
        {new SpecialCall, -2},
        {new remoting::AsyncTerminator, -2},
        {new Noticed, -2},
        {new ZvString("text"), -2},
        {TypeHandle(Calc::s_type), -2},
    };
    for (const auto& c : cases) pair.a->Send(c.message);
    pair.a->Send(ZvObject$());
    pair.b->Run();
    for (const auto& c : cases) {
        if (c.goesTo == -2) continue;
        const ZvObject$ got = c.goesTo == -1 ? pair.b->GetMethod() : pair.b->GetResponse(static_cast<unsigned int>(c.goesTo));
        ASSERT_TRUE(got);
        EXPECT_EQ(got->GetType(), c.message->GetType());
    }
    EXPECT_FALSE(pair.b->GetMethod());
}

TEST(ZvChannel, DispatchCasesOfTheModel) {
    for (const cases::Json& c : cases::Group("remoting", "dispatch")) {
        Pair pair;
        const std::string incoming = c["incoming"], goesTo = c["goesTo"];
        ZvType* const type = incoming == "null" ? nullptr : ZvSystem::FindType(incoming.c_str());
        pair.a->Send(type != nullptr ? ZvObject$(type->CreateObject()) : ZvObject$());
        if (type != nullptr) pair.a->Send(ZvObject$());
        pair.b->Run();
        if (goesTo.starts_with("slot")) {
            EXPECT_EQ(pair.b->GetResponse(static_cast<unsigned int>(std::stoi(goesTo.substr(5))))->GetType(), type);
        } else if (type != nullptr) {
            EXPECT_EQ(pair.b->GetMethod()->GetType(), type);
        }
        EXPECT_FALSE(pair.b->GetMethod());
    }
}

TEST(ZvChannel, ObjectThatIsNoMessageIsDecodedAndDropped) {
    Pair pair;
    const int before = Noticed::s_decoded;
    pair.a->Send(new Noticed);
    pair.a->Send(new Response(1));
    pair.a->Send(ZvObject$());
    pair.b->Run();
    EXPECT_EQ(Noticed::s_decoded, before + 1);
    EXPECT_EQ(pair.b->GetResponse(1)->GetType(), &Response::s_type);
    EXPECT_FALSE(pair.b->GetMethod());
}

TEST(ZvChannel, RepliesOfASlotComeInTheOrderOfArrival) {
    Pair pair;
    pair.a->Send(new MethodResponse(3, Box(1)));
    pair.a->Send(new MethodResponse(3, Box(2)));
    pair.a->Send(ZvObject$());
    pair.b->Run();                                           // before anyone asks
    const remoting::MethodResponse$ first = pair.b->GetResponse(3), second = pair.b->GetResponse(3);
    EXPECT_EQ(IntOf(first->GetReturnValue()), 1);
    EXPECT_EQ(IntOf(second->GetReturnValue()), 2);
}

TEST(ZvChannel, ConstructingResponseArrivesInSlot0) {
    class Slotted : public ConstructingResponse {
    public:
        Slotted() { m_threadId = 5; }
    };
    Pair pair(8);
    pair.a->Send(new Slotted);
    pair.a->Send(ZvObject$());
    pair.b->Run();
    EXPECT_EQ(pair.b->GetResponse(0)->GetType(), &ConstructingResponse::s_type);
}

TEST(ZvChannel, ReplyForASlotThatIsNotThereIsDamage) {
    Raw raw(3);
    raw.Feed("84" + ResponseType + "a003");
    try {
        raw.channel->Run();
        FAIL();
    } catch (const ZvCoderException& e) {
        EXPECT_EQ(e.cause, ZvCoderException::BadTag);
        EXPECT_STREQ(e.function, "ZvChannel::Run");
    }
    Raw none(0);
    none.Feed("84" + ResponseType + "a000");
    EXPECT_THROW(none.channel->Run(), ZvCoderException);
    Raw huge(3);
    huge.Feed("84" + ResponseType + "a3ffffffff");
    EXPECT_THROW(huge.channel->Run(), ZvCoderException);
}

TEST(ZvChannel, DamageLeavesTheListeningWork) {
    const struct { const char* hex; int cause; } damages[] = {
        {"00", ZvCoderException::BadTag},
        {"85", ZvCoderException::BadTag},
        {"ac07", ZvCoderException::UnknownReference},
        {"84a805", ZvCoderException::UnknownReference},
        {"848789785a83585858", ZvCoderException::BadTag},
        {"", ZvCoderException::BadTag},                      // the end of the pipe
    };
    for (const auto& d : damages) {
        Raw raw;
        raw.Feed(d.hex);
        raw.CloseInput();
        try {
            raw.channel->Run();
            ADD_FAILURE() << d.hex;
        } catch (const ZvCoderException& e) {
            EXPECT_EQ(e.cause, d.cause) << d.hex;
        }
    }
}

TEST(ZvChannel, MessageIsDeliveredAsSoonAsItIsWhole) {
    Raw raw;
    raw.channel->StartListening();
    raw.Feed("84" + ResponseType + "a001" "84a801a001" "84");     // two, and the beginning of a third
    EXPECT_TRUE(raw.channel->GetResponse(1));
    EXPECT_TRUE(raw.channel->GetResponse(1));
    raw.Feed("a801");
    raw.Feed("a0");
    raw.Feed("01");
    EXPECT_TRUE(raw.channel->GetResponse(1));
    raw.Feed("80");
    EXPECT_FALSE(raw.channel->GetMethod());
}

TEST(ZvChannel, MessageLargerThanThePipeGoesThrough) {
    Pair pair;
    pair.Listen();
    const ZvHandle<ZvPrimArray<int>, ZvArrayValue$> large = new ZvPrimArray<int>(1000000, nullptr);
    for (int i = 0; i < 1000000; ++i) (*large)[static_cast<unsigned long long>(i)] = i * 7;
    pair.a->Send(new MethodResponse(2, static_cast<const ZvObject$&>(large)));
    const remoting::MethodResponse$ response = pair.b->GetResponse(2);
    const ZvHandle<ZvPrimArray<int>, ZvArrayValue$> received = response->GetReturnValue();
    ASSERT_TRUE(received);
    ASSERT_EQ(received->Count(), 1000000u);
    for (int i = 0; i < 1000000; ++i) ASSERT_EQ((*received)[static_cast<unsigned long long>(i)], i * 7);
    pair.Stop();
}

TEST(ZvChannel, StoppedDataTransferBarsObjectsAndNotTheStop) {
    Raw raw;
    EXPECT_FALSE(raw.channel->IsStopDataTransfer());
    raw.channel->StopDataTransfer(true);
    EXPECT_TRUE(raw.channel->IsStopDataTransfer());
    try {
        raw.channel->Send(new Response(1));
        FAIL();
    } catch (ZvChannelException& e) {
        EXPECT_EQ(*e.What(), "stopDataTransfer");
    }
    EXPECT_NO_THROW(raw.channel->Send(ZvObject$()));
    EXPECT_EQ(raw.Sent(), "80");
    EXPECT_NO_THROW(raw.channel->StopListening());
    EXPECT_EQ(raw.Sent(), "80");
    raw.channel->StopDataTransfer(false);
    std::thread([&] { raw.channel->Send(new Response(1)); }).join();     // the refusal has left the channel's lock
    EXPECT_EQ(raw.Sent(), "84" + ResponseType + "a001");
}

TEST(ZvChannel, StoppedDataTransferLetsInWhatComes) {
    Pair pair;
    pair.b->StopDataTransfer(true);
    pair.a->Send(new Response(1));
    pair.a->Send(ZvObject$());
    pair.b->Run();
    EXPECT_TRUE(pair.b->GetResponse(1));
}

TEST(ZvChannel, SendToNobodyReturnsAsIfAllWereWell) {
    Raw raw;
    zvc::platform::CloseHandle(raw.out.reading);
    EXPECT_NO_THROW(raw.channel->Send(new Response(1)));
    EXPECT_NO_THROW(raw.channel->Send(new MethodResponse(1, new ZvPrimArray<int>(100000, nullptr))));
    EXPECT_NO_THROW(raw.channel->Send(ZvObject$()));
}

TEST(ZvChannel, SendLeavesItsLockWhenAnObjectCannotBeCoded) {
    Raw raw;
    EXPECT_THROW(raw.channel->Send(new Refusing), ZvBadCastException);
    std::thread([&] { raw.channel->Send(ZvObject$()); }).join();
    EXPECT_EQ(raw.Sent().substr(0, 4), "8487");              // what came before had been handed over
}

TEST(ZvChannel, LeavesNothingInThePipeForTheNextOne) {
    using namespace zvc::platform;
    int in[2], out[2];
    ASSERT_EQ(pipe(in), 0);
    ASSERT_EQ(pipe(out), 0);
    for (int i = 0; i < 3; ++i) {
        const ZvChannel$ channel =
            new ZvChannel(1, Reading(FileAdopt(dup(in[0]), FileAccessRead)), Writing(FileAdopt(dup(out[1]), FileAccessWrite)));
        EXPECT_EQ(write(in[1], "\x80", 1), 1);
        channel->StartListening();
        EXPECT_FALSE(channel->GetMethod());
    }
    for (int end : {in[0], in[1], out[0], out[1]}) close(end);
}

TEST(ZvChannel, StopIsAHandshakeOfTwoNulls) {
    Pair pair;
    pair.Listen();
    pair.a->StopListening();
    EXPECT_FALSE(pair.b->GetMethod());
    pair.b->StopListening();
    EXPECT_FALSE(pair.a->GetMethod());
}

TEST(ZvChannel, GetMethodBehindTheEndWaitsAgain) {
    Raw raw;
    raw.Feed("80");
    raw.channel->Run();
    EXPECT_FALSE(raw.channel->GetMethod());
    std::atomic<bool> back{false};
    std::thread waiting([&] {
        EXPECT_EQ(raw.channel->GetMethod()->GetType(), &remoting::AsyncTerminator::s_type);      // and no second null
        back = true;
    });
    zvc::platform::SleepFor(20);
    EXPECT_FALSE(back);
    raw.channel->BeginAsync();
    raw.channel->EndAsync();
    waiting.join();
}

TEST(ZvChannel, EndOfListeningWakesNobodyInASlot) {
    Raw raw;
    std::atomic<bool> back{false};
    std::thread waiting([&] {
        EXPECT_TRUE(raw.channel->GetResponse(1));
        back = true;
    });
    raw.Feed("80");
    raw.channel->Run();
    zvc::platform::SleepFor(20);
    EXPECT_FALSE(back);
    raw.Feed("84" + ResponseType + "a001" "80");
    raw.channel->Run();
    waiting.join();
}

TEST(ZvChannel, StoppedListenerStaysUntilTheNextObject) {
    Raw raw;
    raw.channel->StartListening();
    raw.channel->StopListening();
    raw.Feed("84" + ResponseType + "a001" "84a801a002");     // the first ends it; the second stays in the pipe
    EXPECT_FALSE(raw.channel->GetMethod());
    EXPECT_TRUE(raw.channel->GetResponse(1));
}

TEST(ZvChannel, EntriesBeforeTheStopComeFirst) {
    Pair pair;
    pair.a->Send(new MethodCall);
    pair.a->Send(ZvObject$());
    pair.b->Run();
    EXPECT_TRUE(pair.b->GetMethod());
    EXPECT_FALSE(pair.b->GetMethod());
}

TEST(ZvChannel, EndAsyncAloneDoesNothing) {
    Raw raw;
    EXPECT_FALSE(raw.channel->IsAsync());
    raw.channel->EndAsync();
    raw.channel->EndAsync();
    EXPECT_FALSE(raw.channel->IsAsync());
    raw.Feed("80");
    raw.channel->Run();
    EXPECT_FALSE(raw.channel->GetMethod());                  // and not a terminator
}

TEST(ZvChannel, AsynchronousSectionEndsBehindWhatHadArrived) {
    Raw raw;
    for (int round = 0; round < 3; ++round) {
        raw.channel->BeginAsync();
        EXPECT_TRUE(raw.channel->IsAsync());
        if (round == 0) raw.Feed("84" + TypeOf("remoting::MethodCall") + "80808080a000" "80");
        else raw.Feed("84a80180808080a000" "80");
        raw.channel->Run();
        raw.channel->EndAsync();
        EXPECT_FALSE(raw.channel->IsAsync());
        EXPECT_EQ(raw.channel->GetMethod()->GetType(), &MethodCall::s_type);
        EXPECT_FALSE(raw.channel->GetMethod());
        EXPECT_EQ(raw.channel->GetMethod()->GetType(), &remoting::AsyncTerminator::s_type);
    }
}

TEST(ZvChannel, IsAsyncStaysTrueWhenTheTerminatorWasTaken) {
    Raw raw;
    const std::set<std::string> before = Threads();
    raw.channel->BeginAsync();
    std::string section;                                     // the section's own thread
    for (const std::string& thread : Threads())
        if (!before.contains(thread)) section = thread;
    ASSERT_TRUE(WaitUntil([&] { return Sleeps(section); }));     // for the end of the section
    std::thread ending;
    {
        ZvLock lock(raw.channel.Get());                      // EndAsync cannot come back: its thread needs the channel
        ending = std::thread([&, here = std::to_string(zvc::platform::CurrentThreadId())] {
            EXPECT_TRUE(WaitUntil([&] { return Sleeps(here); }));
            raw.channel->EndAsync();
        });
        raw.channel->EndAsyncWait();                         // the same work here, at the same signal
        EXPECT_EQ(raw.channel->GetMethod()->GetType(), &remoting::AsyncTerminator::s_type);
        EXPECT_TRUE(raw.channel->IsAsync());
    }
    ending.join();
    EXPECT_FALSE(raw.channel->IsAsync());
}

TEST(ZvChannel, SeveralThreadsMayTakeFromOneQueue) {
    Pair pair;
    pair.Listen();
    std::atomic<int> taken{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] {
            while (pair.b->GetMethod()) ++taken;
        });
    for (int i = 0; i < 400; ++i) pair.a->Send(new ConstructingCall);
    EXPECT_TRUE(WaitUntil([&] { return taken == 400; }));
    pair.b->Abandon();                                       // one null for each
    for (std::thread& t : threads) t.join();
    pair.a->Abandon();
    EXPECT_EQ(taken, 400);
}

TEST(ZvChannel, CopiesShareTheConversation) {
    Raw raw;
    raw.Feed("84" + ResponseType + "a001" "80");
    const ZvChannel$ copy = new ZvChannel(*raw.channel);
    raw.channel->Run();
    EXPECT_TRUE(copy->GetResponse(1));
    EXPECT_FALSE(copy->GetMethod());
    ZvChannel$ assigned = new ZvChannel(1, Reading(nullptr), Writing(nullptr));
    *assigned = *copy;
    assigned->Send(ZvObject$());
    EXPECT_EQ(raw.Sent(), "80");
}

TEST(ZvChannel, ProcessIsNullAtAChildsEnd) {
    Raw raw;
    EXPECT_FALSE(raw.channel->GetProcess());
}

TEST(ZvChannel, SplitterMakesSlotsAnew) {
    Raw raw(1);
    raw.channel->CreateMethodResponseSplitter(10);
    raw.Feed("84" + ResponseType + "a009" "80");
    raw.channel->Run();
    EXPECT_TRUE(raw.channel->GetResponse(9));
}

// ---- what nobody catches ends the process ---------------------------------------------------------------------------------

TEST(ZvChannelDeathTest, DamageOnTheListeningThreadEndsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH({
        Raw raw;
        raw.channel->StartListening();
        raw.Feed("85");
        raw.channel->GetMethod();
    }, "");
    EXPECT_DEATH({
        Raw raw;
        raw.channel->StartListening();
        raw.CloseInput();
        raw.channel->GetMethod();
    }, "");
    EXPECT_DEATH({
        Raw raw(2);
        raw.channel->StartListening();
        raw.Feed("84" + ResponseType + "a002");
        raw.channel->GetMethod();
    }, "");
}

TEST(ZvChannelDeathTest, ProgramThatIsNotThereEndsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(ZvChannel$ channel = new ZvChannel(1, $L("/no/such/program")), "cannot be started");
}
