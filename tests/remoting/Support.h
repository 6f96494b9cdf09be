#pragma once

// Ends of channels on pipes within one process, and classes to be called through them.

#include "support/Arguments.h"
#include "support/Bytes.h"

#include <zvc/platform/CriticalSection.h>
#include <zvc/platform/File.h>
#include <zvc/platform/Pipe.h>
#include <zvc/platform/Thread.h>
#include <zvc/zvc.h>

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <thread>
#include <vector>

/// A class that goes by reference, with what calls need: values, texts, references, no result, a failure.
class Calc : public ZvMarshalByRefObject {
    ZV_DECLARE_CLASS(Calc)
    ZV_DECLARE_TABLES()
public:
    Calc();
    explicit Calc(int bias);
    ~Calc() override;
    int Sum(int a, int b);
    ZvString$ Join(const ZvString$& a, const ZvString$& b);
    void Reset();
    ZvObject$ Itself();                              ///< goes as a reference
    bool IsHere(const ZvObjRef$& reference);         ///< is it a reference of this process?
    int CallBack(const ZvObjRef$& target, int slot); ///< calls target's Sum(bias, 1) in the middle of this call
    void Fail();                                     ///< throws

    /// An object and its reference hold each other: tests let go of both.
    void Forget() { m_objRef = ZvObjRef$(); }

    int m_bias = 0;
    ZvObjRef$ m_last;                                // what IsHere was given
    static std::atomic<int> s_alive;
};
ZV_DECLARE_HANDLE(Calc, ZvMarshalByRefObject$);

/// The same without methods.
class AdderPlain : public ZvMarshalByRefObject {
    ZV_DECLARE_CLASS(AdderPlain)
    ZV_DECLARE_CREATE(AdderPlain)
    ZV_DECLARE_TABLES()
public:
    void Forget() { m_objRef = ZvObjRef$(); }
};
ZV_DECLARE_HANDLE(AdderPlain, ZvMarshalByRefObject$);

/// A channel whose listening work can be done on the test's own thread.
class OpenChannel : public ZvChannel {
public:
    using ZvChannel::ZvChannel;
    using ZvChannel::Run;
    using ZvChannel::CreateMethodResponseSplitter;
    using ZvChannel::EndAsyncWait;
};

struct Pipe {
    Pipe() { EXPECT_TRUE(zvc::platform::PipeCreate(&reading, &writing)); }
    zvc::platform::Handle reading = nullptr, writing = nullptr;
};

inline ZvStream$ Reading(zvc::platform::Handle handle) { return new ZvFileStream(handle, ZvFile::Read); }
inline ZvStream$ Writing(zvc::platform::Handle handle) { return new ZvFileStream(handle, ZvFile::Write); }

/// Two ends that talk to each other.
struct Pair {
    explicit Pair(unsigned int slots = 4) {
        Pipe there, back;
        a = new OpenChannel(slots, Reading(back.reading), Writing(there.writing));
        b = new OpenChannel(slots, Reading(there.reading), Writing(back.writing));
    }
    ZvHandle<OpenChannel, ZvChannel$> a, b;

    void Listen() {
        a->StartListening();
        b->StartListening();
    }
    /// The orderly end: a stops, b answers.
    void Stop() {
        a->StopListening();
        EXPECT_FALSE(b->GetMethod());
        b->StopListening();
        EXPECT_FALSE(a->GetMethod());
    }
};

/// One end, and the bare bytes of the other.
struct Raw {
    explicit Raw(unsigned int slots = 4) { channel = new OpenChannel(slots, Reading(in.reading), Writing(out.writing)); }
    ~Raw() {
        CloseInput();
        zvc::platform::CloseHandle(out.reading);
    }
    void Feed(const std::string& hex) {
        const std::string bytes = FromHex(hex);
        uint32_t done = 0;
        EXPECT_TRUE(zvc::platform::FileWrite(in.writing, bytes.data(), static_cast<uint32_t>(bytes.size()), &done));
    }
    void CloseInput() { zvc::platform::CloseHandle(in.writing); }
    /// What the channel has sent: at least one byte.
    std::string Sent() {
        std::string bytes(65536, '\0');
        uint32_t done = 0;
        zvc::platform::FileRead(out.reading, bytes.data(), 65536, &done);
        bytes.resize(done);
        return ToHex(bytes);
    }
    Pipe in, out;
    ZvHandle<OpenChannel, ZvChannel$> channel;
};

/// "87", name, module, spec: how a type's definition begins.
inline std::string TypeHead(const std::string& name, const std::string& module, unsigned char spec) {
    const auto text = [](const std::string& s) {
        std::string head(1, static_cast<char>(s.size() < 16 ? 0x88 + s.size() : 0x98));
        if (s.size() >= 16) head.push_back(static_cast<char>(s.size()));
        return ToHex(head + s);
    };
    return "87" + text(name) + text(module) + "a0" + ToHex(std::string(1, static_cast<char>(spec)));
}
/// The definition of a class of the library with a codec and the ordinary schema.
inline std::string TypeOf(const std::string& name, unsigned char spec = 1) { return TypeHead(name, "ZVC", spec) + "a301000080"; }

inline ZvType$ TypeHandle(ZvType& type) { return ZvType$(&type); }
