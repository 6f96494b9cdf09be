// The coder against a model of it, where no whole document stands in a stream: too little room, damaged bytes, and one coder
// that writes and reads in turns.

#include "support/Graph.h"
#include "support/Leaks.h"

#include <algorithm>
#include <functional>

using namespace cases;

namespace {

/// The rule of a memory stream in a stream of the client's own, which the coder does not know: each byte goes through it.
class LikeMemory : public ZvStream {
public:
    using ZvStream::Read;
    using ZvStream::Write;
    explicit LikeMemory(const Bytes& bytes) : m_bytes(bytes) {}
    long long GetFileLength() override { return 0; }
    long long Write(const void* data, long long count) override {
        return Move(count, [&](unsigned char* at, size_t size) { std::memcpy(at, data, size); });
    }
    long long Read(void* data, long long count) override {
        return Move(count, [&](unsigned char* at, size_t size) { std::memcpy(data, at, size); });
    }
    long long Tellp() const override { return m_at; }
    long long Tellg() const override { return m_at; }
    void Flush() override {}
    void Seekp(long long, SeekOrigin) override {}
    void Seekg(long long, SeekOrigin) override {}
    bool Fail() const override { return m_failed; }
    bool SetEndOfFile() override { return false; }
    bool CanRead() const override { return true; }
    bool CanWrite() const override { return true; }

private:
    template <class F>
    long long Move(long long count, F f) {
        const auto rest = static_cast<long long>(m_bytes->Count()) - m_at;
        const long long moved = std::min(count, rest);
        if (moved != 0) f(static_cast<unsigned char*>(m_bytes->GetBaseAddress()) + m_at, static_cast<size_t>(moved));
        if (count < rest) m_at += count;
        else m_failed = true;
        return moved;
    }

    Bytes m_bytes;
    long long m_at = 0;
    bool m_failed = false;
};

Bytes BytesOf(const std::string& content) {
    return new ZvPrimArray<unsigned char>(content.size(), reinterpret_cast<const unsigned char*>(content.data()));
}

ZvStream$ StreamOn(Bytes& bytes, bool known) {
    if (known) return new ZvMemoryStream(bytes);
    return new LikeMemory(bytes);
}

/// What f raises, in the form of the cases.
Json RaisedBy(const std::function<void()>& f) {
    try {
        f();
    } catch (const ZvCoderException& e) {
        return Json{{"cause", static_cast<int>(e.cause)}, {"function", e.function}};
    }
    return nullptr;
}

void ExpectWritten(int state, const std::vector<ZvObject$>& objects, const Json& expected) {
    ASSERT_EQ(objects.size(), expected.size());
    ZvBinaryCoder$ coder = Coder(state);
    for (size_t i = 0; i < objects.size(); ++i) {
        Memory out;
        coder->Write(out.stream, objects[i]);
        EXPECT_EQ(ToHex(out.Taken()), expected[i]) << "object " << i;
    }
}

std::vector<ZvObject$> Decode(ZvStream$ stream, const ZvBinaryCoder$& coder, size_t calls, Json& raised) {
    std::vector<ZvObject$> came;
    raised = RaisedBy([&] {
        while (came.size() < calls) came.emplace_back(coder->DecodeObject(stream));
    });
    return came;
}

}

TEST(CoderModel, StreamWithLittleRoomIsWrittenAsFarAsItGoes) {
    for (const Json& c : Group("coder_model", "narrow"))
        for (const bool known : {true, false}) {
            SCOPED_TRACE(c["name"].get<std::string>() + (known ? " memory stream" : " other stream"));
            LeaksAllowed leaks;                       // cycles keep themselves alive
            Graph graph;
            std::vector<ZvObject$> objects;
            for (const Json& j : c["write"]) objects.push_back(graph.Make(j));
            Bytes bytes = BytesOf(std::string(c["room"].get<size_t>(), '\0'));
            ZvStream$ out = StreamOn(bytes, known);
            ZvBinaryCoder$ coder = Coder(c["state"]);
            const Json raised = RaisedBy([&] {
                for (const ZvObject$& o : objects) coder->Write(out, o);
            });
            EXPECT_EQ(raised, c["raises"]);
            EXPECT_EQ(ToHex(std::string(static_cast<const char*>(bytes->GetBaseAddress()), bytes->Count())), c["buffer"]);
            EXPECT_EQ(out->Tellp(), c["tell"].get<long long>());
            EXPECT_EQ(out->Fail(), c["failed"].get<bool>());
        }
}

TEST(CoderModel, StreamThatEndsWithItsMemoryIsReadAsFarAsItGoes) {
    for (const Json& c : Group("coder_model", "narrow"))
        for (const bool known : {true, false}) {
            SCOPED_TRACE(c["name"].get<std::string>() + (known ? " memory stream" : " other stream"));
            LeaksAllowed leaks;
            const Json& read = c["read"];
            Bytes bytes = BytesOf(FromHex(read["bytes"]));
            ZvStream$ in = StreamOn(bytes, known);
            ZvBinaryCoder$ coder = Coder(c["state"]);
            Json raised;
            const std::vector<ZvObject$> came = Decode(in, coder, c["write"].size(), raised);
            EXPECT_EQ(raised, read["raises"]);
            EXPECT_EQ(in->Tellg(), read["tell"].get<long long>());
            EXPECT_EQ(in->Fail(), read["failed"].get<bool>());
            ExpectWritten(c["state"], came, read["rewritten"]);
        }
}

TEST(CoderModel, OneCoderWritesAndReadsInTurns) {
    for (const Json& c : Group("coder_model", "turns")) {
        SCOPED_TRACE(c["name"].get<std::string>());
        LeaksAllowed leaks;
        Graph graph;
        ZvBinaryCoder$ coder = Coder(c["state"]);
        for (const Json& step : c["steps"]) {
            if (step["dir"] == "out") {
                Memory out;
                coder->Write(out.stream, graph.Make(step["obj"]));
                EXPECT_EQ(ToHex(out.Taken()), step["bytes"]);
            } else {
                Memory in(FromHex(step["bytes"]));
                ZvObject$ object;
                coder->Read(in.stream, object);
                EXPECT_EQ(ToHex(in.Taken()), step["bytes"]);
                if (!step["label"].is_null()) graph.Name(step["label"], object);
            }
        }
    }
}

TEST(CoderModel, DamageIsFoundWhereItStands) {
    for (const Json& c : Group("coder_model", "damaged")) {
        SCOPED_TRACE(c["name"].get<std::string>());
        LeaksAllowed leaks;
        Memory in(FromHex(c["bytes"]));
        ZvBinaryCoder$ coder = Coder(c["state"]);
        Json raised;
        const std::vector<ZvObject$> came = Decode(in.stream, coder, c["calls"], raised);
        EXPECT_EQ(raised, c["error"]);
        EXPECT_EQ(in.stream->Tellg(), c["consumed"].get<long long>());
        ExpectWritten(c["state"], came, c["rewritten"]);
    }
}
