// Calls from end to end, within one process: the caller's end, the pump's end, and the references between them.

#include "Support.h"

#include <fstream>

using remoting::ConstructingCall;
using remoting::MethodCall;
using remoting::MethodResponse;
using remoting::Pump;
using remoting::Response;

namespace {

ZvType$ IntType() { return TypeHandle(ZvPrimitive<int>::s_type); }

template <class T>
T ValueOf(const ZvObject$& box) {
    const ZvHandle<ZvPrimitive<T>, ZvValue$> value = box;
    EXPECT_TRUE(value);
    return value ? value->value : T();
}

int Sum(const ZvObjRef$& target, int a, int b, unsigned int slot) {
    const remoting::MethodResponse$ response = target->Invoke(IntType(), $L("Sum"), Arguments({Box(a), Box(b)}), slot);
    return response ? ValueOf<int>(response->GetReturnValue()) : -1;
}

/// Two ends that listen; the second is pumped. The first one's reference on an activated Calc.
struct Conversation : Pair {
    explicit Conversation(unsigned int slots = 4) : Pair(slots) {
        remoting::RemotingConfigulation::RegisterActivatedType(TypeHandle(Calc::s_type));
        Listen();
        pump = std::thread([this] { Pump(b).Run(); });
        a->Send(new ConstructingCall(TypeHandle(Calc::s_type), Arguments({Box(100)})));
        const remoting::ConstructingResponse$ response = a->GetResponse(0);
        calc = response->CreatedObject();
    }
    ~Conversation() {
        a->StopListening();
        pump.join();
        b->StopListening();
        EXPECT_FALSE(a->GetMethod());
        remoting::RemotingConfigulation::Shutdown();
        if (calc) ForgetFar();
    }
    /// Both ends are in this process: the object behind the reference can be let go.
    void ForgetFar() {
        for (const Calc$& made : far) made->Forget();
    }
    std::thread pump;
    ZvObjRef$ calc;
    std::vector<Calc$> far;
};

}

TEST(Calls, ValuesGoThereAndBack) {
    Conversation c;
    ASSERT_TRUE(c.calc);
    EXPECT_EQ(c.calc->GetChannel(), c.a.Get());
    EXPECT_FALSE(c.calc->IsFromThisProcess());
    EXPECT_EQ(Sum(c.calc, 2, 3, 1), 105);
    EXPECT_EQ(Sum(c.calc, -7, 3, 0), 96);
    const ZvObjRef& constant = *c.calc;
    EXPECT_EQ(ValueOf<int>(constant.Invoke(IntType(), $L("Sum"), Arguments({Box(1), Box(1)}), 2)->GetReturnValue()), 102);
}

TEST(Calls, TextsGoThereAndBack) {
    Conversation c;
    const remoting::MethodResponse$ response = c.calc->Invoke(TypeHandle(ZvString::s_type), $L("Join"),
                                                              Arguments({new ZvString("over "), new ZvString("there")}), 0);
    const ZvString$ text = ValueOf<ZvObject$>(response->GetReturnValue());
    EXPECT_EQ(*text, "over there");
}

TEST(Calls, MethodWithoutAResultAnswersNull) {
    Conversation c;
    const remoting::MethodResponse$ response = c.calc->Invoke(TypeHandle(ZvVoid::s_type), $L("Reset"), Arguments({}), 3);
    ASSERT_TRUE(response);
    EXPECT_EQ(response->GetThreadID(), 3u);
    EXPECT_FALSE(response->GetReturnValue());
    EXPECT_EQ(Sum(c.calc, 2, 3, 1), 5);
}

TEST(Calls, ResultThatGoesByReferenceCanBeCalled) {
    Conversation c;
    const remoting::MethodResponse$ response =
        c.calc->Invoke(TypeHandle(ZvPrimitive<ZvObject$>::s_type), $L("Itself"), Arguments({}), 0);
    const ZvObjRef$ itself = ValueOf<ZvObject$>(response->GetReturnValue());
    EXPECT_EQ(itself, c.calc);                               // one object, one reference
    EXPECT_EQ(Sum(itself, 1, 1, 0), 102);
}

TEST(Calls, ReferenceComesHome) {
    Conversation c;
    const remoting::MethodResponse$ home = c.calc->Invoke(TypeHandle(ZvPrimitive<bool>::s_type), $L("IsHere"),
                                                          Arguments({static_cast<const ZvObject$&>(c.calc)}), 0);
    EXPECT_TRUE(ValueOf<bool>(home->GetReturnValue()));
    const Calc$ mine = new Calc(1);
    // The search compares types exactly: what arrives is a reference, and so the method takes one.
    const remoting::MethodResponse$ away = c.calc->Invoke(TypeHandle(ZvPrimitive<bool>::s_type), $L("IsHere"),
                                                          Arguments({static_cast<const ZvObject$&>(mine)}), 0);
    EXPECT_FALSE(ValueOf<bool>(away->GetReturnValue()));
    mine->Forget();
}

TEST(Calls, MethodMayCallBackThroughTheSameChannel) {
    Conversation c;
    const Calc$ mine = new Calc(1000);
    c.a->BeginAsync();
    std::thread pumping([&] { EXPECT_EQ(Pump(c.a).Run(), Pump::End::Section); });
    const remoting::MethodResponse$ response =
        c.calc->Invoke(IntType(), $L("CallBack"), Arguments({static_cast<const ZvObject$&>(mine), Box(1)}), 0);
    EXPECT_EQ(ValueOf<int>(response->GetReturnValue()), 1000 + 100 + 1);
    c.a->EndAsync();
    pumping.join();
    mine->Forget();
}

TEST(Calls, SeveralCallersEachWithASlot) {
    constexpr int Callers = 8, Calls = 500;
    Conversation c(Callers);
    ASSERT_EQ(Sum(c.calc, 0, 0, 0), 100);                    // the first of its kind goes alone
    std::vector<std::thread> callers;
    std::atomic<int> wrong{0};
    for (int t = 0; t < Callers; ++t)
        callers.emplace_back([&, t] {
            for (int i = 0; i < Calls; ++i)
                if (Sum(c.calc, t * 10000, i, static_cast<unsigned int>(t)) != 100 + t * 10000 + i) ++wrong;
        });
    for (std::thread& t : callers) t.join();
    EXPECT_EQ(wrong, 0);
}

TEST(Calls, PumpFindsTheEndOfASection) {
    Conversation c;
    for (int round = 0; round < 20; ++round) {
        c.a->BeginAsync();
        std::thread pumping([&] { EXPECT_EQ(Pump(c.a).Run(), Pump::End::Section); });
        EXPECT_EQ(Sum(c.calc, 1, 1, 0), 102);
        c.a->EndAsync();
        pumping.join();
    }
}

TEST(Calls, NothingIsLeftUnreadWhenNobodyWaits) {
    Pair pair;
    pair.Listen();
    pair.a->Send(new Response(1));
    EXPECT_TRUE(pair.b->GetResponse(1));
    // More than the pipes hold, in both directions, and nobody takes anything: both come back.
    const ZvObject$ large = new MethodResponse(2, new ZvPrimArray<int>(500000, nullptr));
    std::thread other([&] { pair.b->Send(large); });
    pair.a->Send(large);
    other.join();
    EXPECT_TRUE(pair.b->GetResponse(2));
    EXPECT_TRUE(pair.a->GetResponse(2));
    pair.Stop();
}

TEST(Calls, EachOfManyWaitersGetsItsOwnResponse) {
    Pair pair(8);
    pair.Listen();
    pair.a->Send(new Response(0));
    EXPECT_TRUE(pair.b->GetResponse(0));
    std::vector<std::thread> waiting;
    for (unsigned int slot = 0; slot < 8; ++slot) waiting.emplace_back([&, slot] { EXPECT_TRUE(pair.b->GetResponse(slot)); });
    for (unsigned int slot = 0; slot < 8; ++slot) {
        zvc::platform::SleepFor(2);
        pair.a->Send(new Response(slot));
    }
    for (std::thread& thread : waiting) thread.join();
    pair.Stop();
}

TEST(Calls, ResponseOfAnotherClassGivesNull) {
    Raw raw(8);
    const ZvObjRef$ reference = new ZvObjRef;
    reference->SetChannel(raw.channel);
    raw.Feed("84" + TypeOf("remoting::Response") + "a007" "80");
    raw.channel->Run();
    EXPECT_FALSE(reference->Invoke(IntType(), $L("Sum"), Arguments({}), 7));
    raw.Feed("84a801a007" "80");
    raw.channel->Run();
    const ZvObject$ dropped = raw.channel->GetResponse(7);   // taken directly it is what it is
    EXPECT_EQ(dropped->GetType(), &Response::s_type);
}

namespace {

/// Calls of read and of write that this process has made so far, of whichever kind; waiting is neither.
struct Transfers {
    unsigned long long reads = 0, writes = 0;
};
Transfers TransfersSoFar() {
    Transfers transfers;
    std::ifstream file("/proc/self/io");
    for (std::string word; file >> word;) {
        if (word == "syscr:") file >> transfers.reads;
        if (word == "syscw:") file >> transfers.writes;
    }
    return transfers;
}

}

TEST(Calls, CostTwoWritesAndTwoReads) {
    ASSERT_GT(TransfersSoFar().reads, 0u) << "this kernel does not count";
    Conversation c;
    ASSERT_EQ(Sum(c.calc, 1, 1, 0), 102);
    constexpr unsigned long long Count = 500;
    const Transfers before = TransfersSoFar();
    for (unsigned long long i = 0; i < Count; ++i) Sum(c.calc, 1, 1, 0);
    const Transfers after = TransfersSoFar();                // both ends are in this process
    constexpr unsigned long long Looking = 10;               // at the counts themselves
    EXPECT_LE(after.writes - before.writes, 2 * Count);
    EXPECT_LE(after.reads - before.reads, 2 * Count + Looking);
}

TEST(Calls, AbandonedChannelAnswersNullAtOnce) {
    Raw raw;
    const ZvObjRef$ reference = new ZvObjRef;
    reference->SetChannel(raw.channel);
    raw.channel->Abandon();
    EXPECT_FALSE(reference->Invoke(IntType(), $L("Sum"), Arguments({}), 0));
}

TEST(Pump, TellsHowItEnded) {
    Raw raw;
    raw.channel->BeginAsync();
    raw.channel->EndAsync();
    EXPECT_EQ(Pump(raw.channel).Run(), Pump::End::Section);
    raw.Feed("80");
    raw.channel->Run();
    EXPECT_EQ(Pump(raw.channel).Run(), Pump::End::Channel);
}

TEST(Pump, SendsNothingForACallWithoutATarget) {
    Raw raw;
    Pump(raw.channel).Serve(new MethodCall);
    raw.channel->Send(ZvObject$());
    EXPECT_EQ(raw.Sent(), "80");
}

TEST(Pump, AnswersAConstructionWithWhatWasMade) {
    Raw raw;
    Pump(raw.channel).Serve(new ConstructingCall(TypeHandle(Calc::s_type), Arguments({})));
    EXPECT_EQ(raw.Sent(), "84" + TypeOf("remoting::ConstructingResponse") + "80");      // nothing is registered
}

TEST(Pump, LetsAnExceptionPass) {
    Raw raw;
    const Calc$ calc = new Calc;
    Pump pump(raw.channel);
    EXPECT_THROW(pump.Serve(new MethodCall(calc->CreateObjRef(), $L("Fail"), TypeHandle(ZvVoid::s_type), Arguments({}), 0)),
                 ZvBadCastException);
    raw.channel->StopDataTransfer(true);
    EXPECT_THROW(pump.Serve(new MethodCall(calc->CreateObjRef(), $L("Reset"), TypeHandle(ZvVoid::s_type), Arguments({}), 0)),
                 ZvChannelException);
    calc->Forget();
}

TEST(Pump, MayAnswerAFailureWithABareResponse) {
    class Forgiving : public Pump {
    public:
        using Pump::Pump;
    protected:
        void OnFailure(const ZvObject$& message) override {
            if (const remoting::MethodCall$ call = message) Channel()->Send(new Response(call->GetThreadID()));
        }
    };
    Pair pair;
    pair.Listen();
    const Calc$ calc = new Calc;
    std::thread pumping([&] { EXPECT_EQ(Forgiving(pair.b).Run(), Pump::End::Channel); });
    pair.b->Send(new MethodResponse(0, static_cast<const ZvObject$&>(calc)));
    const remoting::MethodResponse$ first = pair.a->GetResponse(0);
    const ZvObjRef$ far = first->GetReturnValue();
    EXPECT_FALSE(far->Invoke(TypeHandle(ZvVoid::s_type), $L("Fail"), Arguments({}), 2));
    EXPECT_EQ(Sum(far, 1, 2, 2), 3);
    pair.a->StopListening();
    pumping.join();
    pair.b->StopListening();
    EXPECT_FALSE(pair.a->GetMethod());
    calc->Forget();
}
