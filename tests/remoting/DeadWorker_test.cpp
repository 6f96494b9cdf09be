// Workers that die or stand still: in the middle of a call, of a large message and while they start; and hosts that live on.

#include "Support.h"

#include "support/Child.h"

#include <cstdlib>

using remoting::ConstructingCall;
using remoting::MethodResponse;
using remoting::Pump;
using remoting::Response;
using zvc::platform::Infinite;

namespace {

ZvType$ IntType() { return TypeHandle(ZvPrimitive<int>::s_type); }

/// The workshop as a child process, with a fault or without.
struct Workshop {
    explicit Workshop(const char* fault = "", bool watched = true) {
        setenv("ZVC_WORKSHOP", fault, 1);
        channel = new ZvChannel(4, Text(Beside("workshop")));
        unsetenv("ZVC_WORKSHOP");
        process = channel->GetProcess();
        if (watched) channel->WatchPeer();
        channel->StartListening();
    }
    ~Workshop() {
        if (channel) channel->Abandon();
        Kill();
    }
    void Kill() {
        zvc::platform::ProcessKill(process->GetProcessHandle(), 9);
        EndOf(process);
    }
    bool Lives() const {
        uint32_t code = 0;
        return zvc::platform::ProcessExitCode(process->GetProcessHandle(), &code) && code == zvc::platform::ProcessStillActive;
    }
    ZvObjRef$ Activate() {
        channel->Send(new ConstructingCall(IntType(), Arguments({})));
        const remoting::ConstructingResponse$ response = channel->GetResponse(0);
        return response ? response->CreatedObject() : ZvObject$();
    }
    ZvChannel$ channel;
    ZvProcess$ process;
};

int Sum(const ZvObjRef$& target, int a, int b, unsigned int slot = 0) {
    const remoting::MethodResponse$ response = target->Invoke(IntType(), ZvString$(new ZvString("Sum")), Arguments({Box(a), Box(b)}), slot);
    const ZvHandle<ZvPrimitive<int>, ZvValue$> value = response ? response->GetReturnValue() : ZvObject$();
    return value ? value->value : -1;
}

remoting::MethodResponse$ Hang(const ZvObjRef$& target, unsigned int slot) {
    return target->Invoke(IntType(), ZvString$(new ZvString("Hang")), Arguments({Box(0)}), slot);
}

remoting::MethodResponse$ HalfAnAnswer(const ZvObjRef$& target, bool dies) {
    return target->Invoke(TypeHandle(ZvPrimitive<ZvObject$>::s_type), ZvString$(new ZvString("HalfAnAnswer")), Arguments({Box(dies)}), 1);
}

ZvObject$ LargeMessage() { return new MethodResponse(1, new ZvPrimArray<int>(1000000, nullptr)); }

/// An ended channel answers everything at once, and goes without harm.
void ExpectEnded(const ZvChannel$& channel) {
    EXPECT_TRUE(channel->IsAbandoned());
    for (int i = 0; i < 3; ++i) {
        EXPECT_NO_THROW(channel->Send(new Response(1)));
        for (unsigned int slot = 0; slot < 4; ++slot) EXPECT_FALSE(channel->GetResponse(slot));
    }
    while (channel->GetMethod()) {}
    EXPECT_FALSE(channel->GetMethod());
    EXPECT_NO_THROW(channel->StopListening());
}

void ExpectPeerGone(const ZvChannel$& channel) {
    EXPECT_TRUE(channel->WaitForPeerGone(Infinite));
    EXPECT_TRUE(channel->IsPeerGone());
    ExpectEnded(channel);
}

}

// ---- a peer that is watched -----------------------------------------------------------------------------------------------

TEST(DeadWorker, OneThatDiesInACallGivesItsCallerNull) {
    Workshop worker;
    const ZvObjRef$ target = worker.Activate();
    ASSERT_EQ(Sum(target, 2, 3), 5);
    EXPECT_FALSE(worker.channel->IsPeerGone());
    EXPECT_FALSE(target->Invoke(IntType(), $L("Kill"), Arguments({Box(0)}), 2));
    ExpectPeerGone(worker.channel);
    EXPECT_EQ(Sum(target, 2, 3), -1);
    EXPECT_EQ(EndOf(worker.process), 137u);
}

TEST(DeadWorker, OneThatIsKilledWakesEveryCallerWithNull) {
    Workshop worker;
    const ZvObjRef$ target = worker.Activate();
    std::vector<std::thread> callers;
    std::atomic<int> nulls{0}, waiting{0};
    for (unsigned int slot = 0; slot < 4; ++slot)
        callers.emplace_back([&, slot] {
            ++waiting;
            if (!Hang(target, slot)) ++nulls;
        });
    std::thread pump([&] { EXPECT_EQ(Pump(worker.channel).Run(), Pump::End::Channel); });
    while (waiting != 4) zvc::platform::YieldOnce();
    worker.Kill();
    for (std::thread& caller : callers) caller.join();
    pump.join();
    EXPECT_EQ(nulls, 4);
    ExpectPeerGone(worker.channel);
}

TEST(DeadWorker, OneThatDiesInALargeAnswerGivesItsCallerNull) {
    Workshop worker;
    const ZvObjRef$ target = worker.Activate();
    EXPECT_FALSE(HalfAnAnswer(target, true));
    ExpectPeerGone(worker.channel);
}

TEST(DeadWorker, OneThatIsKilledInALargeAnswerGivesItsCallerNull) {
    Workshop worker;
    const ZvObjRef$ target = worker.Activate();
    std::thread caller([&] { EXPECT_FALSE(HalfAnAnswer(target, false)); });
    zvc::platform::SleepFor(20);                             // wherever in the answer it is by then
    worker.Kill();
    caller.join();
    ExpectPeerGone(worker.channel);
}

TEST(DeadWorker, OneThatIsKilledInALargeMessageLetsTheSenderGo) {
    Workshop worker("deaf");
    std::thread sender([&] { worker.channel->Send(LargeMessage()); });       // more than the pipe holds
    zvc::platform::SleepFor(20);
    worker.Kill();
    sender.join();
    ExpectPeerGone(worker.channel);
}

TEST(DeadWorker, OneThatDiesWhileItStartsIsNoticed) {
    for (const char* fault : {"dies", "exits"}) {
        Workshop worker(fault);
        EXPECT_FALSE(worker.Activate()) << fault;
        ExpectPeerGone(worker.channel);
    }
}

TEST(DeadWorker, OneThatIsKilledWhileItStartsIsNoticed) {
    for (const char* fault : {"hangs", "deaf", ""}) {
        Workshop worker(fault);
        worker.Kill();
        EXPECT_FALSE(worker.Activate()) << fault;
        ExpectPeerGone(worker.channel);
    }
}

TEST(DeadWorker, OneThatPrintsIntoTheConversationCountsAsGone) {
    Workshop worker("prints");
    EXPECT_FALSE(worker.Activate());
    ExpectPeerGone(worker.channel);
    EXPECT_TRUE(worker.Lives());                             // to kill it is the host's decision
}

TEST(DeadWorker, OneThatPrintsToItsErrorsInsteadDoesNoHarm) {
    Workshop worker("chatty");
    const ZvObjRef$ target = worker.Activate();
    ASSERT_TRUE(target);
    EXPECT_EQ(Sum(target, 2, 3), 5);
}

TEST(DeadWorker, WhatItSentBeforeIsDeliveredFirst) {
    Raw raw;
    raw.channel->WatchPeer();
    raw.Feed("84" + TypeOf("remoting::Response") + "a001" "84a801a002" "84a8");      // two, and the beginning of a third
    raw.CloseInput();
    raw.channel->StartListening();
    EXPECT_TRUE(raw.channel->WaitForPeerGone(Infinite));
    EXPECT_TRUE(raw.channel->GetResponse(1));
    EXPECT_TRUE(raw.channel->GetResponse(2));
    EXPECT_FALSE(raw.channel->GetResponse(1));
    EXPECT_FALSE(raw.channel->GetMethod());
}

TEST(DeadWorker, ParentThatIsGoneEndsAWatchingChildsEnd) {
    Pair pair;
    pair.b->WatchPeer();
    pair.Listen();
    std::thread caller([&] { EXPECT_FALSE(pair.b->GetResponse(0)); });
    pair.a->Abandon();
    pair.a = nullptr;                                        // closes its ends of the pipes
    caller.join();
    ExpectPeerGone(pair.b);
}

TEST(DeadWorker, DamagedMessageEndsAWatchingChannelAlone) {
    const char* const damages[] = {"00", "85", "ac07", "84a805", "848789785a83585858", "84a9"};
    for (const char* damage : damages) {
        Raw raw;
        raw.channel->WatchPeer();
        raw.channel->StartListening();
        raw.Feed(damage);
        raw.CloseInput();
        ExpectPeerGone(raw.channel);
    }
    Raw slot(3);
    slot.channel->WatchPeer();
    slot.channel->StartListening();
    slot.Feed("84" + TypeOf("remoting::Response") + "a003");
    EXPECT_TRUE(slot.channel->WaitForPeerGone(Infinite));
}

TEST(DeadWorker, OrderlyStopIsNoDeath) {
    Workshop worker;
    ASSERT_TRUE(worker.Activate());
    worker.channel->StopListening();
    EXPECT_FALSE(worker.channel->GetMethod());
    EXPECT_FALSE(worker.channel->WaitForPeerGone(Infinite));
    EXPECT_EQ(EndOf(worker.process), 0u);
    EXPECT_FALSE(worker.channel->IsPeerGone());
}

TEST(DeadWorker, PeerThatStopsFirstIsNoDeath) {
    Workshop worker("closes");
    EXPECT_FALSE(worker.channel->GetMethod());
    EXPECT_FALSE(worker.channel->WaitForPeerGone(Infinite));
    EXPECT_EQ(EndOf(worker.process), 0u);
}

TEST(DeadWorker, WaitForItsEndRunsOutOfTime) {
    Workshop worker;
    ASSERT_TRUE(worker.Activate());
    EXPECT_FALSE(worker.channel->WaitForPeerGone(1));
    EXPECT_FALSE(worker.channel->IsAbandoned());
}

TEST(DeadWorker, OthersAreStartedInItsPlace) {
    for (int i = 0; i < 10; ++i) {
        Workshop worker;
        const ZvObjRef$ target = worker.Activate();
        ASSERT_TRUE(target);
        EXPECT_EQ(Sum(target, i, 1), i + 1);
        EXPECT_FALSE(target->Invoke(IntType(), $L("Kill"), Arguments({Box(0)}), 0));
        worker.channel = nullptr;                            // without a word before
    }
}

// ---- a channel that is abandoned ------------------------------------------------------------------------------------------

TEST(AbandonedChannel, LetsEveryCallerOfAStuckWorkerGo) {
    Workshop worker("", false);
    const ZvObjRef$ target = worker.Activate();
    std::vector<std::thread> callers;
    std::atomic<int> nulls{0}, waiting{0};
    for (unsigned int slot = 0; slot < 4; ++slot)
        callers.emplace_back([&, slot] {
            ++waiting;
            if (!Hang(target, slot)) ++nulls;
        });
    std::thread pump([&] { EXPECT_EQ(Pump(worker.channel).Run(), Pump::End::Channel); });
    while (waiting != 4) zvc::platform::YieldOnce();
    worker.channel->Abandon();
    for (std::thread& caller : callers) caller.join();
    pump.join();
    EXPECT_EQ(nulls, 4);
    ExpectEnded(worker.channel);
    EXPECT_FALSE(worker.channel->IsPeerGone());
    EXPECT_FALSE(worker.channel->WaitForPeerGone(Infinite));
    EXPECT_TRUE(worker.Lives());
}

TEST(AbandonedChannel, LetsItsListenerLeaveALargeAnswer) {
    Workshop worker("", false);
    const ZvObjRef$ target = worker.Activate();
    std::thread caller([&] { EXPECT_FALSE(HalfAnAnswer(target, false)); });
    zvc::platform::SleepFor(20);
    worker.channel->Abandon();
    caller.join();
    ExpectEnded(worker.channel);
}

TEST(AbandonedChannel, LetsASenderGoThatNobodyReads) {
    Workshop worker("deaf", false);
    std::atomic<bool> sent{false};
    std::thread sender([&] {
        worker.channel->Send(LargeMessage());
        sent = true;
    });
    zvc::platform::SleepFor(20);
    EXPECT_FALSE(sent);                                      // it cannot: the pipe is too small
    worker.channel->Abandon();
    sender.join();
    ExpectEnded(worker.channel);
}

TEST(AbandonedChannel, OfAWorkerThatDiedUnwatched) {
    Workshop worker("", false);
    const ZvObjRef$ target = worker.Activate();
    std::atomic<bool> back{false};
    std::thread caller([&] {
        EXPECT_FALSE(target->Invoke(IntType(), $L("Kill"), Arguments({Box(0)}), 3));
        back = true;
    });
    EXPECT_EQ(EndOf(worker.process), 137u);
    zvc::platform::SleepFor(20);
    EXPECT_FALSE(back);                                      // as ever: a dead peer is silence
    EXPECT_FALSE(worker.channel->WaitForPeerGone(0));
    worker.channel->Abandon();
    caller.join();
    ExpectEnded(worker.channel);
}

TEST(AbandonedChannel, GivesOutWhatHadArrived) {
    Raw raw;
    raw.Feed("84" + TypeOf("remoting::Response") + "a001" "84" + TypeOf("remoting::MethodCall") + "80808080a000" "80");
    raw.channel->Run();
    raw.channel->Abandon();
    EXPECT_TRUE(raw.channel->GetResponse(1));
    EXPECT_FALSE(raw.channel->GetResponse(1));
    EXPECT_TRUE(raw.channel->GetMethod());
    EXPECT_FALSE(raw.channel->GetMethod());
}

TEST(AbandonedChannel, MayBeAbandonedAgainAndByMany) {
    Pair pair;
    pair.Listen();
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) threads.emplace_back([&] { pair.a->Abandon(); });
    for (std::thread& thread : threads) thread.join();
    pair.a->Abandon();
    EXPECT_TRUE(pair.a->IsAbandoned());
    EXPECT_FALSE(pair.b->IsAbandoned());                     // at this end alone
    pair.b->Abandon();
}

TEST(AbandonedChannel, BeforeItListens) {
    Raw raw;
    raw.channel->Abandon();
    ExpectEnded(raw.channel);
    EXPECT_FALSE(raw.channel->Receive());
    raw.channel->StartListening();                           // a thread that ends at once
    raw.channel->Abandon();
}

TEST(AbandonedChannel, DestroyedAtOnceWhileCallersLeave) {
    for (int round = 0; round < 200; ++round) {
        ZvHandle<OpenChannel, ZvChannel$> channel;
        Pipe in, out;
        channel = new OpenChannel(2, Reading(in.reading), Writing(out.writing));
        channel->StartListening();
        ZvChannel* const plain = channel.Get();
        std::atomic<int> waiting{0};
        std::vector<std::thread> callers;
        for (unsigned int slot = 0; slot < 2; ++slot)
            callers.emplace_back([plain, slot, &waiting] {
                ++waiting;
                EXPECT_FALSE(plain->GetResponse(slot));      // on the plain channel, as references do
            });
        while (waiting != 2) zvc::platform::YieldOnce();
        zvc::platform::SleepFor(1);                          // both are inside
        channel->Abandon();
        channel = nullptr;
        for (std::thread& caller : callers) caller.join();
        zvc::platform::CloseHandle(in.writing);
        zvc::platform::CloseHandle(out.reading);
    }
}

TEST(AbandonedChannel, DestroyedInTheMiddleOfAnAsynchronousSection) {
    Raw raw;
    raw.channel->BeginAsync();
    raw.channel->Abandon();
    raw.channel = nullptr;                                   // ends the section's thread as well
}

TEST(ZvChannel, DestroyedWithAListenerThatWaits) {
    Raw raw;
    raw.channel->StartListening();
    raw.channel = nullptr;
}
