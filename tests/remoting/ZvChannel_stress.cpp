// Many callers, and channels that end in the middle of what they do.

#include <zvc/platform/File.h>
#include <zvc/platform/Pipe.h>
#include <zvc/platform/Thread.h>
#include <zvc/zvc.h>

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace {

/// Goes by reference; both ends of its channels are in this process.
class Adder : public ZvMarshalByRefObject {
    ZV_DECLARE_CLASS(Adder)
    ZV_DECLARE_TABLES()
public:
    int Sum(int a, int b) { return a + b; }
    int Twice(const ZvObjRef$& target, int a, int slot);     ///< a call back in the middle of the call
    void Forget() { m_objRef = ZvObjRef$(); }
};
ZV_DECLARE_HANDLE(Adder, ZvMarshalByRefObject$);

template <class T>
ZvObject$ Box(T value) {
    return new ZvPrimitive<T>(value);
}

int Call(const ZvObjRef$& target, const char* name, std::initializer_list<ZvObject$> values, unsigned int slot) {
    const ZvArguments$ arguments = new ZvPrimArray<ZvObject$>(values.size(), nullptr);
    unsigned long long i = 0;
    for (const ZvObject$& value : values) (*arguments)[i++] = value;
    const remoting::MethodResponse$ response =
        target->Invoke(ZvType$(&ZvPrimitive<int>::s_type), new ZvString(name), arguments, slot);
    const ZvHandle<ZvPrimitive<int>, ZvValue$> box = response ? response->GetReturnValue() : ZvObject$();
    return box ? box->value : -1;
}

int Sum(const ZvObjRef$& target, int a, int b, unsigned int slot) { return Call(target, "Sum", {Box(a), Box(b)}, slot); }

int Adder::Twice(const ZvObjRef$& target, int a, int slot) { return ::Sum(target, a, a, static_cast<unsigned int>(slot)); }

/// Two ends that listen, and what the first one calls at the second.
struct Conversation {
    explicit Conversation(unsigned int slots) {
        zvc::platform::Handle ends[4];
        EXPECT_TRUE(zvc::platform::PipeCreate(&ends[0], &ends[1]) && zvc::platform::PipeCreate(&ends[2], &ends[3]));
        a = new ZvChannel(slots, new ZvFileStream(ends[0], ZvFile::Read), new ZvFileStream(ends[3], ZvFile::Write));
        b = new ZvChannel(slots, new ZvFileStream(ends[2], ZvFile::Read), new ZvFileStream(ends[1], ZvFile::Write));
        a->WatchPeer();
        b->WatchPeer();
        a->StartListening();
        b->StartListening();
        b->Send(new remoting::MethodResponse(0, static_cast<const ZvObject$&>(adder)));
        const remoting::MethodResponse$ first = a->GetResponse(0);
        target = first->GetReturnValue();
    }
    ~Conversation() { adder->Forget(); }
    Adder$ adder = new Adder;
    ZvChannel$ a, b;
    ZvObjRef$ target;
};

void Pump(const ZvChannel$& channel) { remoting::Pump(channel).Run(); }

}

ZV_DEFINE_CLASS(Adder, (ZvMarshalByRefObject), ZV_TABLES)
ZV_FIELDS(Adder)
ZV_METHODS(Adder, ZV_METHOD(Sum, "a", "b"), ZV_METHOD(Twice, "target", "a", "slot"))
ZV_CONSTRUCTORS(Adder)

TEST(ZvChannelStress, EightCallersMakeAHundredThousandCalls) {
    constexpr unsigned int Callers = 8;
    constexpr int Calls = 12500;
    Conversation c(Callers);
    std::thread pump([&] { Pump(c.b); });
    ASSERT_EQ(Sum(c.target, 1, 2, 0), 3);                    // the first of its kind goes alone
    std::atomic<int> wrong{0};
    std::vector<std::thread> callers;
    for (unsigned int slot = 0; slot < Callers; ++slot)
        callers.emplace_back([&, slot] {
            for (int i = 0; i < Calls; ++i)
                if (Sum(c.target, static_cast<int>(slot) * 100000, i, slot) != static_cast<int>(slot) * 100000 + i) ++wrong;
        });
    for (std::thread& caller : callers) caller.join();
    EXPECT_EQ(wrong, 0);
    c.a->StopListening();
    pump.join();
    c.b->StopListening();
    EXPECT_FALSE(c.a->GetMethod());
}

TEST(ZvChannelStress, CallsAndCallsBackCross) {
    constexpr unsigned int Callers = 4;
    Conversation c(2 * Callers);
    Adder$ mine = new Adder;
    // A call back holds the pump that runs the call: as many pumps as callers.
    std::vector<std::thread> pumps;
    for (unsigned int i = 0; i < Callers; ++i) pumps.emplace_back([&] { Pump(c.b); });
    pumps.emplace_back([&] { Pump(c.a); });
    ASSERT_EQ(Call(c.target, "Twice", {mine, Box(4), Box(0)}, 0), 8);
    std::atomic<int> wrong{0};
    std::vector<std::thread> callers;
    for (unsigned int slot = 0; slot < Callers; ++slot)
        callers.emplace_back([&, slot] {
            for (int i = 0; i < 500; ++i)
                if (Call(c.target, "Twice", {mine, Box(i), Box(static_cast<int>(slot))}, slot) != 2 * i) ++wrong;
        });
    for (std::thread& caller : callers) caller.join();
    EXPECT_EQ(wrong, 0);
    c.a->Abandon();
    c.b->Abandon();
    for (std::thread& pump : pumps) pump.join();
    mine->Forget();
}

TEST(ZvChannelStress, EndsAreAbandonedInTheMiddleOfCalls) {
    for (int round = 0; round < 200; ++round) {
        constexpr unsigned int Callers = 3;
        Conversation c(Callers);
        std::vector<std::thread> threads;
        threads.emplace_back([&] { Pump(c.b); });
        ASSERT_EQ(Sum(c.target, 1, 2, 0), 3);
        std::atomic<int> answered{0};
        for (unsigned int slot = 0; slot < Callers; ++slot)
            threads.emplace_back([&, slot] {
                for (int answer; (answer = Sum(c.target, 1, 1, slot)) != -1; ++answered) EXPECT_EQ(answer, 2);
            });
        while (answered < round % 20) zvc::platform::YieldOnce();
        const ZvChannel$& ended = round % 2 == 0 ? c.a : c.b;
        ended->Abandon();
        if (round % 2 != 0) {                                // the far end closes its pipes, and this one sees that
            threads.front().join();
            c.b = nullptr;
            EXPECT_TRUE(c.a->WaitForPeerGone(zvc::platform::Infinite));
        } else {
            c.b->Abandon();                                  // an abandoned end tells its peer nothing
        }
        for (std::thread& thread : threads)
            if (thread.joinable()) thread.join();
        c.a->Abandon();
        if (c.b) c.b->Abandon();
    }
}
