// Any bytes as the incoming side of a channel: the conversation ends in the stated way, and nothing else comes to harm. The
// first byte chooses the end (a worker that is asked, or a host that asked before and has objects of its own at the far end)
// and whether the peer is watched; the rest is what the other process sends before it goes.

#include <zvc/platform/Pipe.h>
#include <zvc/platform/File.h>
#include <zvc/zvc.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

ZV_MODULE("App", nullptr, nullptr)

namespace platform = zvc::platform;

/// What a peer may call: one method for each kind of argument.
class Target : public ZvMarshalByRefObject {
    ZV_DECLARE_CLASS(Target)
    ZV_DECLARE_TABLES()
public:
    Target() { s_made.push_back(this); }
    explicit Target(int) : Target() {}
    int Sum(int a, int b) { return static_cast<int>(static_cast<unsigned int>(a) + static_cast<unsigned int>(b)); }
    ZvString$ Text(const ZvString$& text) { return text; }
    ZvObject$ Any(const ZvObject$& object) { return object; }
    ZvObject$ Itself() { return this; }
    void Refuse() { throw ZvException("no"); }
    void CallBack(const ZvObjRef$& reference) {
        if (reference) reference->Invoke(ZvType$(&ZvVoid::s_type), new ZvString("Refuse"), new ZvPrimArray<ZvObject$>(0, nullptr), 1);
    }
    float First(const ZvHandle<ZvSharePrimArray<float>, ZvArrayValue$>& shared) {
        return shared && shared->Count() != 0 && shared->GetBaseAddress() != nullptr ? (*shared)[0] : 0.0f;
    }
    double Total(const ZvHandle<ZvPrimArray<double>, ZvArrayValue$>& values) {
        double total = 0;
        for (unsigned long long i = 0; values && i < values->Count(); ++i) total += (*values)[i];
        return total;
    }

    /// An object and its reference hold each other: lets go of all that were made.
    static void ForgetAll() {
        std::vector<ZvHandle<Target, ZvMarshalByRefObject$>> held;
        for (Target* target : s_made) held.emplace_back(target);
        s_made.clear();
        for (const auto& target : held) target->m_objRef = ZvObjRef$();
    }
    ~Target() override { std::erase(s_made, this); }

private:
    static std::vector<Target*> s_made;
};
ZV_DECLARE_HANDLE(Target, ZvMarshalByRefObject$);
std::vector<Target*> Target::s_made;

ZV_DEFINE_CLASS(Target, (ZvMarshalByRefObject), ZV_TABLES)
ZV_FIELDS(Target)
ZV_METHODS(Target, ZV_METHOD(Sum, "a", "b"), ZV_METHOD(Text, "text"), ZV_METHOD(Any, "object"), ZV_METHOD(Itself),
           ZV_METHOD(Refuse), ZV_METHOD(CallBack, "reference"), ZV_METHOD(First, "shared"), ZV_METHOD(Total, "values"))
ZV_CONSTRUCTORS(Target, ZV_CONSTRUCTOR(), ZV_CONSTRUCTOR(int))

namespace {

constexpr unsigned int Slots = 4;

/// A channel whose listening work is done here, and not on a thread.
class OpenChannel : public ZvChannel {
public:
    using ZvChannel::Run;
    using ZvChannel::ZvChannel;
};

void Require(bool condition) {
    if (!condition) std::abort();
}

ZvStream$ Incoming(const uint8_t* data, size_t size) {
    platform::Handle reading = nullptr, writing = nullptr;
    Require(platform::PipeCreate(&reading, &writing));
    uint32_t done = 0;
    Require(platform::FileWrite(writing, data, static_cast<uint32_t>(size), &done));
    platform::CloseHandle(writing);
    return new ZvFileStream(reading, ZvFile::Read);
}

/// What a host has sent before: an object of its own, a request, a call.
void Ask(const ZvChannel$& channel) {
    const Target$ mine = new Target;
    const ZvArguments$ arguments = new ZvPrimArray<ZvObject$>(2, nullptr);
    (*arguments)[0] = static_cast<const ZvObject$&>(mine);
    (*arguments)[1] = new ZvPrimitive<int>(7);
    channel->Send(new remoting::ConstructingCall(ZvType$(&Target::s_type), arguments));
    channel->Send(new remoting::MethodCall(ZvObjRef$(), new ZvString("Sum"), ZvType$(&ZvPrimitive<int>::s_type), arguments, 1));
}

// An exception on the listening thread of a channel that does not watch is the end of the process: that is the stated way.
void Listen(OpenChannel& channel) {
    try {
        channel.Run();
    } catch (const ZvException&) {
    } catch (const std::bad_alloc&) {
    }
}

void Look(const ZvObject$& answer) {
    const ZvObjRef$ reference = answer;
    if (!reference) return;
    Require(reference->GetChannel() != nullptr);
    const ZvArguments$ none = new ZvPrimArray<ZvObject$>(0, nullptr);
    if (const ZvRemoteTypeInfo$ info = reference->GetTypeInfo())
        info->FindMethod(new ZvString("Itself"), ZvType$(&ZvPrimitive<ZvObject$>::s_type), none);
    Require(!reference->Invoke(ZvType$(&ZvVoid::s_type), new ZvString("Refuse"), none, 2));      // the channel has ended
}

/// What the application does with all that came in.
void Serve(const ZvChannel$& channel) {
    remoting::Pump pump(channel);
    while (const ZvObject$ message = channel->GetMethod()) {
        try {
            pump.Serve(message);
        } catch (const ZvException&) {
        } catch (const std::bad_alloc&) {
        }
    }
    for (unsigned int slot = 0; slot < Slots; ++slot)
        while (const ZvObject$ response = channel->GetResponse(slot)) {
            if (const remoting::MethodResponse$ method = response) Look(method->GetReturnValue());
            if (const remoting::ConstructingResponse$ constructed = response) Look(constructed->CreatedObject());
        }
}

}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const bool s_registered = [] {
        remoting::RemotingConfigulation::RegisterActivatedType(ZvType$(&Target::s_type));
        return true;
    }();
    if (size == 0 || size > 60000 || !s_registered) return 0;
    const bool host = (data[0] & 1) != 0, watches = (data[0] & 2) != 0;
    {
        const ZvStream$ nowhere = new ZvFileStream("/dev/null", ZvFile::Write, ZvFile::Open);
        const ZvHandle<OpenChannel, ZvChannel$> channel = new OpenChannel(Slots, Incoming(data + 1, size - 1), nowhere);
        if (watches) channel->WatchPeer();
        if (host) Ask(channel);
        Listen(*channel);
        channel->Abandon();
        Serve(channel);
    }
    Target::ForgetAll();
    return 0;
}

// A box or an array of plain pointers owns nothing by design: what only it refers to is its reader's to free.
extern "C" const char* __asan_default_options() { return "detect_leaks=0:allocator_may_return_null=1"; }
