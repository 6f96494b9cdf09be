// The binary format against cases that an independent model computed.

#include "support/Graph.h"
#include "support/Leaks.h"

using namespace cases;

namespace {

template <class F>
void ExpectRaise(int cause, const std::string& function, F f, const Json& c) {
    try {
        f();
        ADD_FAILURE() << "nothing raised: " << c;
    } catch (const ZvCoderException& e) {
        EXPECT_EQ(static_cast<int>(e.cause), cause) << c;
        EXPECT_EQ(e.function, function) << c;
        EXPECT_STREQ(e.file, "ZvBinaryCoder") << c;
        ZvCoderException copy(e);
        EXPECT_EQ(*copy.What(), "") << c;
    }
}

// Cycles keep themselves alive: what was read is taken apart at the end.
void TakeApart(ZvObject* o, std::set<ZvObject*>& seen) {
    if (o == nullptr || !seen.insert(o).second || o->IsKindOf(&ZvType::s_type)) return;
    const ZvObject$ keep(o);
    std::vector<ZvObject$> inside;
    if (const ZvIEnumeratable$ e = keep) {
        for (ZvIEnumerator$ at = e->GetEnumerator(); at->HasNext();) inside.push_back(at->Next());
        if (const ZvICollection$ collection = keep) collection->Clear();
    }
    for (const ZvObject$& i : inside) TakeApart(i.Get(), seen);
}

}

TEST(CoderCases, ScalarsAndComposites) {
    for (const Json& c : Group("coder_scalars", "write"))
        WithKind(c["kind"], [&](auto* tag) {
            using T = std::remove_pointer_t<decltype(tag)>;
            Memory out;
            Coder(0)->Write(out.stream, Value<T>(c["v"]));
            EXPECT_EQ(ToHex(out.Taken()), c["bytes"]) << c;
            Memory in(FromHex(c["bytes"]));
            T back{};
            Coder(0)->Read(in.stream, back);
            EXPECT_TRUE(Same(back, Value<T>(c["v"]))) << c;
        });
}

TEST(CoderCases, RawArraysHaveNoCount) {
    for (const Json& c : Group("coder_scalars", "write-raw")) {
        Memory out;
        std::vector<float> f;
        std::vector<double> d;
        for (const Json& e : c["v"]) c["kind"] == "float" ? f.push_back(Scalar<float>(e)) : d.push_back(Scalar<double>(e));
        if (!f.empty()) Coder(0)->Write(out.stream, static_cast<unsigned int>(f.size()), f.data());
        if (!d.empty()) Coder(0)->Write(out.stream, static_cast<unsigned int>(d.size()), d.data());
        EXPECT_EQ(ToHex(out.Taken()), c["bytes"]) << c;
    }
}

TEST(CoderCases, Strings) {
    for (const Json& c : Group("coder_scalars", "strings")) {
        if (!c.contains("text")) continue;
        Memory out;
        Coder(0)->Write(out.stream, ZvString(c["text"].get<std::string>().c_str()));
        EXPECT_EQ(ToHex(out.Taken()), c["bytes"]) << c;
        Memory in(FromHex(c["bytes"]));
        ZvString back("old");
        Coder(0)->Read(in.stream, back);
        EXPECT_EQ(back, c["text"].get<std::string>().c_str()) << c;
    }
}

TEST(CoderCases, EachReadTakesItsTagsAlone) {
    for (const Json& c : Group("coder_scalars", "accepted-tags"))
        WithKind(c["kind"], [&](auto* type) {
            using T = std::remove_pointer_t<decltype(type)>;
            std::set<std::string> accepted(c["tags"].begin(), c["tags"].end());
            for (int tag = 0; tag < 256; ++tag) {
                const std::string byte(1, static_cast<char>(tag));
                Memory in(byte + std::string(16, '\0'));
                T value{};
                if (accepted.count(ToHex(byte)) == 1) {
                    EXPECT_NO_THROW(Coder(0)->Read(in.stream, value)) << c << tag;
                } else {
                    ExpectRaise(8, "ZvBinaryCoder::Read", [&] { Coder(0)->Read(in.stream, value); }, c);
                }
            }
        });
}

TEST(CoderCases, WidthsOfWriterAndReaderMayDiffer) {
    for (const Json& c : Group("coder_scalars", "cross-width"))
        WithKind(c["src"], [&](auto* from) {
            using From = std::remove_pointer_t<decltype(from)>;
            WithKind(c["dst"], [&](auto* to) {
                using To = std::remove_pointer_t<decltype(to)>;
                Memory out;
                Coder(0)->Write(out.stream, Value<From>(c["v"]));
                EXPECT_EQ(ToHex(out.Taken()), c["bytes"]) << c;
                Memory in(out.Taken());
                To back{};
                if (c["out"].is_null()) {
                    ExpectRaise(8, "ZvBinaryCoder::Read", [&] { Coder(0)->Read(in.stream, back); }, c);
                } else {
                    Coder(0)->Read(in.stream, back);
                    EXPECT_TRUE(Same(back, Value<To>(c["out"]))) << c;
                }
            });
        });
}

TEST(CoderCases, Arrays) {
    for (const Json& c : Group("coder_scalars", "array")) {
        Graph graph;
        const ZvObject$ array = graph.Make(Json{{"t", c["cls"]}, {"v", c["v"]}});
        Memory out;
        ZvBinaryCoder$ coder = Coder(0);
        array->Encode(out.stream, coder.Get());
        EXPECT_EQ(ToHex(out.Taken()), c["bytes"]) << c;
        Memory in(out.Taken());
        const ZvObject$ back = array->GetType()->CreateObject();
        back->Decode(in.stream, coder.Get());
        EXPECT_EQ(ZvValue$(back)->Count(), c["v"].size()) << c;
        Memory again;
        back->Encode(again.stream, coder.Get());
        EXPECT_EQ(again.Taken(), out.Taken()) << c;
    }
}

TEST(CoderCases, GraphsOfObjectsByteForByte) {
    int done = 0;
    for (const char* group : {"examples", "edges", "random-state-0", "random-state-1"})
        for (const Json& c : Group("coder_objects", group)) {
            if (!Graph::Knows(c["write"])) continue;
            ++done;
            LeaksAllowed leaks;                         // what a box of a bare pointer points to belongs to nobody
            std::set<ZvObject*> seen;
            Graph graph;
            std::string all;
            {
                ZvBinaryCoder$ writer = Coder(c["state"]);
                std::vector<ZvObject$> objects;
                for (const Json& j : c["write"]) objects.push_back(graph.Make(j));
                for (size_t i = 0; i < objects.size(); ++i) {
                    Memory out;
                    writer->Write(out.stream, objects[i]);
                    EXPECT_EQ(ToHex(out.Taken()), c["bytes"][i]) << group << " " << c["name"];
                    all += FromHex(c["bytes"][i]);
                }
                for (const ZvObject$& o : objects) TakeApart(o.Get(), seen);
            }
            Memory in(all);
            ZvBinaryCoder$ reader = Coder(c["state"]);
            ZvBinaryCoder$ rewriter = Coder(c["state"]);
            std::vector<ZvObject$> back(c["bytes"].size());
            for (ZvObject$& o : back) reader->Read(in.stream, o);
            EXPECT_EQ(in.Taken(), all) << c["name"];
            const Json& expected = c.contains("rewritten") ? c["rewritten"] : c["bytes"];
            for (size_t i = 0; i < back.size(); ++i) {
                Memory out;
                rewriter->Write(out.stream, back[i]);
                EXPECT_EQ(ToHex(out.Taken()), expected[i]) << group << " read again " << c["name"];
            }
            for (const ZvObject$& o : back) TakeApart(o.Get(), seen);
        }
    EXPECT_GT(done, 40);
}

TEST(CoderCases, DamagedBytesRaise) {
    for (const Json& c : Group("coder_errors", "decode")) {
        Memory in(FromHex(c["bytes"]));
        ZvBinaryCoder$ coder = Coder(c["state"]);
        std::vector<ZvObject$> kept;
        for (int i = 1; i < c["calls"].get<int>(); ++i) kept.emplace_back(coder->DecodeObject(in.stream));
        ExpectRaise(c["cause"], c["function"], [&] { kept.emplace_back(coder->DecodeObject(in.stream)); }, c);
    }
    for (const Json& c : Group("coder_errors", "both-directions")) {
        ZvBinaryCoder$ coder = Coder(c["state"]);
        Graph graph;
        Memory out;
        coder->Write(out.stream, graph.Make(c["write"]));
        Memory in(FromHex(c["bytes"]));
        ExpectRaise(c["cause"], c["function"], [&] { ZvObject$ o = coder->DecodeObject(in.stream); }, c);
    }
}

TEST(CoderCases, OldDataOfVersionedClasses) {
    int done = 0;
    for (const Json& c : Group("coder_evolution", "versions")) {
        if (!Graph::Knows(c["out"])) continue;
        ++done;
        Memory in(FromHex(c["bytes"]));
        ZvBinaryCoder$ coder = Coder(c["state"]);
        ZvObject$ last;
        const size_t good = c["out"].size();
        for (size_t i = 0; i < good; ++i) last = coder->DecodeObject(in.stream);
        if (!c["error"].is_null())
            ExpectRaise(c["error"]["cause"], c["error"]["function"], [&] { last = coder->DecodeObject(in.stream); }, c);
        if (const GOpen$ open = last) {
            EXPECT_EQ(open->v, c["out"][good - 1]["v"]) << c;
            const unsigned int version = c["fileVersions"].contains("GOpen") ? c["fileVersions"]["GOpen"].get<unsigned int>() : 2u;
            EXPECT_EQ(open->version, version) << c;
        }
        EXPECT_EQ(in.Taken().size(), c["consumed"].get<size_t>()) << c;
    }
    EXPECT_GT(done, 3);
}
