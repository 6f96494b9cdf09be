// Saving and loading: a graph of objects, arrays and strings, beside cereal, Boost.Serialization, protobuf and memcpy.
// The graph is 100,000 objects of a class of their own: an int, a float, a vec3, a short string, and a reference that
// every ten objects share. Its time an object must not grow with the graph: see the rows by size.

#include "coder_peer.pb.h"

#include <zvc/zvc.h>

#include <benchmark/benchmark.h>
#include <boost/archive/binary_iarchive.hpp>
#include <boost/archive/binary_oarchive.hpp>
#include <boost/serialization/export.hpp>
#include <boost/serialization/shared_ptr.hpp>
#include <boost/serialization/vector.hpp>
#include <cereal/archives/binary.hpp>
#include <cereal/types/memory.hpp>
#include <cereal/types/polymorphic.hpp>
#include <cereal/types/string.hpp>
#include <cereal/types/vector.hpp>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace graph {

class Node : public ZvObject {
    ZV_DECLARE_CLASS(Node)
    ZV_DECLARE_CREATE(Node)
    ZV_DECLARE_TABLES()
public:
    int m_count = 0;
    float m_weight = 0;
    CG::vec3<float> m_place{};
    ZvString$ m_name;
    ZvObject$ m_shared;
};
ZV_DECLARE_HANDLE(Node, ZvObject$);

}

ZV_DEFINE_CLASS(graph::Node, (ZvObject), .create = &Create, ZV_TABLES)
ZV_FIELDS(graph::Node, ZV_FIELD(m_count), ZV_FIELD(m_weight), ZV_FIELD(m_place), ZV_FIELD(m_name), ZV_FIELD(m_shared))
ZV_METHODS(graph::Node)
ZV_CONSTRUCTORS(graph::Node)

namespace peer {

// The two libraries call operations of one name: each sees only its own.
template <class Archive>
concept OfCereal = std::is_base_of_v<cereal::detail::OutputArchiveBase, Archive> || std::is_base_of_v<cereal::detail::InputArchiveBase, Archive>;

struct Base {
    virtual ~Base() = default;
    template <OfCereal Archive> void serialize(Archive&) {}
    template <class Archive> requires(!OfCereal<Archive>) void serialize(Archive&, unsigned) {}
};

struct Node : Base {
    int count = 0;
    float weight = 0;
    float x = 0, y = 0, z = 0;
    std::string name;
    std::shared_ptr<Base> shared;

    template <OfCereal Archive> void serialize(Archive& archive) { archive(count, weight, x, y, z, name, shared); }
    template <class Archive> requires(!OfCereal<Archive>) void serialize(Archive& archive, unsigned) {
        boost::serialization::void_cast_register<Node, Base>(nullptr, nullptr);
        archive & count & weight & x & y & z & name & shared;
    }
};

using Graph = std::vector<std::shared_ptr<Base>>;

}

CEREAL_REGISTER_TYPE(peer::Node)
CEREAL_REGISTER_POLYMORPHIC_RELATION(peer::Base, peer::Node)
BOOST_CLASS_EXPORT(peer::Node)

namespace {

using benchmark::DoNotOptimize;
using Bytes = ZvPrimArray<unsigned char>;
using Bytes$ = ZvHandle<Bytes, ZvArrayValue$>;

constexpr size_t Nodes = 100000;
constexpr size_t Numbers = 10000000;
constexpr size_t Strings = 1000000;
constexpr size_t Sharers = 10;
constexpr size_t RoomForANode = 100;

std::string NameOf(size_t i) { return "node-" + std::to_string(i); }

// ---- the graphs ---------------------------------------------------------------------------------------------------------

ZvArrayList$ OurGraph(size_t count) {
    ZvArrayList$ list = new ZvArrayList;
    graph::Node$ shared;
    for (size_t i = 0; i < count; ++i) {
        graph::Node$ node = new graph::Node;
        node->m_count = static_cast<int>(i);
        node->m_weight = 0.5f * static_cast<float>(i);
        node->m_place = {1.0f, static_cast<float>(i), 2.0f};
        node->m_name = new ZvString(NameOf(i).c_str());
        node->m_shared = shared;
        if (i % Sharers == 0) shared = node;
        list->Add(node);
    }
    return list;
}

peer::Graph PeerGraph(size_t count) {
    peer::Graph list;
    std::shared_ptr<peer::Node> shared;
    for (size_t i = 0; i < count; ++i) {
        auto node = std::make_shared<peer::Node>();
        node->count = static_cast<int>(i);
        node->weight = 0.5f * static_cast<float>(i);
        node->x = 1, node->y = static_cast<float>(i), node->z = 2;
        node->name = NameOf(i);
        node->shared = shared;
        if (i % Sharers == 0) shared = node;
        list.push_back(node);
    }
    return list;
}

coder_peer::Graph ProtoGraph(size_t count) {
    coder_peer::Graph list;
    for (size_t i = 0; i < count; ++i) {
        coder_peer::Node* node = list.add_nodes();
        node->set_count(static_cast<int>(i));
        node->set_weight(0.5f * static_cast<float>(i));
        node->set_x(1), node->set_y(static_cast<float>(i)), node->set_z(2);
        node->set_name(NameOf(i));
        node->set_shared(static_cast<int>(i / Sharers * Sharers));
    }
    return list;
}

// A chain of shared references would be as deep as the graph: the peers recurse. So each reference leads to an object that
// was written already, and the list holds all.

// ---- our side -----------------------------------------------------------------------------------------------------------

ZvBinaryCoder$ Tracking() { return new ZvBinaryCoder(new ZvStreamingContext(ZvStreamingContext::TrackObjects)); }

Bytes$ Room(size_t bytes) { return new Bytes(bytes, nullptr); }

void Save(ZvStream$ stream, const ZvObject$& object) {
    ZvBinaryCoder$ coder = Tracking();
    coder->Write(stream, object);
}

ZvObject$ Load(ZvStream$ stream) {
    ZvObject$ object;
    Tracking()->Read(stream, object);
    return object;
}

void SaveToMemory(benchmark::State& state, const ZvObject$& object, size_t room) {
    Bytes$ bytes = Room(room);
    for (auto _ : state) Save(new ZvMemoryStream(bytes), object);
}

void LoadFromMemory(benchmark::State& state, const ZvObject$& object, size_t room) {
    Bytes$ bytes = Room(room);
    Save(new ZvMemoryStream(bytes), object);
    for (auto _ : state) {
        ZvObject$ loaded = Load(new ZvMemoryStream(bytes));
        DoNotOptimize(loaded);
        state.PauseTiming();
        loaded = nullptr;
        state.ResumeTiming();
    }
}

std::string File(const char* name) { return (std::filesystem::temp_directory_path() / name).string(); }

void GraphSaveOurs(benchmark::State& state) {
    const auto count = static_cast<size_t>(state.range(0));
    SaveToMemory(state, OurGraph(count), count * RoomForANode);
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void GraphLoadOurs(benchmark::State& state) {
    const auto count = static_cast<size_t>(state.range(0));
    LoadFromMemory(state, OurGraph(count), count * RoomForANode);
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void GraphSaveFileOurs(benchmark::State& state) {
    const std::string file = File("zvc_bench_ours.bin");
    const ZvObject$ object = OurGraph(Nodes);
    for (auto _ : state) Save(new ZvFileStream(file.c_str(), ZvFile::Write, ZvFile::Create), object);
    std::filesystem::remove(file);
}

void GraphLoadFileOurs(benchmark::State& state) {
    const std::string file = File("zvc_bench_ours.bin");
    Save(new ZvFileStream(file.c_str(), ZvFile::Write, ZvFile::Create), OurGraph(Nodes));
    for (auto _ : state) {
        ZvObject$ loaded = Load(new ZvFileStream(file.c_str(), ZvFile::Read, ZvFile::Open));
        DoNotOptimize(loaded);
        state.PauseTiming();
        loaded = nullptr;
        state.ResumeTiming();
    }
    std::filesystem::remove(file);
}

// ---- cereal, Boost, protobuf --------------------------------------------------------------------------------------------

struct Cereal {
    using Output = cereal::BinaryOutputArchive;
    using Input = cereal::BinaryInputArchive;
    template <class T> static void Save(std::ostream& stream, const T& value) { Output{stream}(value); }
    template <class T> static void Load(std::istream& stream, T& value) { Input{stream}(value); }
};

struct Boost {
    static constexpr unsigned Flags = boost::archive::no_header;
    template <class T> static void Save(std::ostream& stream, const T& value) { boost::archive::binary_oarchive(stream, Flags) << value; }
    template <class T> static void Load(std::istream& stream, T& value) { boost::archive::binary_iarchive(stream, Flags) >> value; }
};

struct Proto {
    template <class T> static void Save(std::ostream& stream, const T& value) { value.SerializeToOstream(&stream); }
    template <class T> static void Load(std::istream& stream, T& value) { value.ParseFromIstream(&stream); }
};

template <class Format, class T>
void SavePeer(benchmark::State& state, const T& value) {
    for (auto _ : state) {
        std::ostringstream stream;
        Format::Save(stream, value);
        DoNotOptimize(stream);
    }
}

template <class Format, class T>
void LoadPeer(benchmark::State& state, const T& value) {
    std::ostringstream saved;
    Format::Save(saved, value);
    const std::string bytes = saved.str();
    for (auto _ : state) {
        state.PauseTiming();
        std::istringstream stream(bytes);
        auto* loaded = new T;
        state.ResumeTiming();
        Format::Load(stream, *loaded);
        state.PauseTiming();
        delete loaded;
        state.ResumeTiming();
    }
}

void GraphSaveFileCereal(benchmark::State& state) {
    const std::string file = File("zvc_bench_cereal.bin");
    const auto value = PeerGraph(Nodes);
    for (auto _ : state) {
        std::ofstream stream(file, std::ios::binary);
        Cereal::Save(stream, value);
    }
    std::filesystem::remove(file);
}

void GraphLoadFileCereal(benchmark::State& state) {
    const std::string file = File("zvc_bench_cereal.bin");
    {
        std::ofstream stream(file, std::ios::binary);
        Cereal::Save(stream, PeerGraph(Nodes));
    }
    for (auto _ : state) {
        auto* loaded = new peer::Graph;
        std::ifstream stream(file, std::ios::binary);
        Cereal::Load(stream, *loaded);
        state.PauseTiming();
        delete loaded;
        state.ResumeTiming();
    }
    std::filesystem::remove(file);
}

// ---- arrays and strings -------------------------------------------------------------------------------------------------

// Numbers of one to five bytes, as many of each.
std::vector<int> MixedNumbers() {
    std::mt19937 random(7);
    std::vector<int> numbers(Numbers);
    for (int& number : numbers) {
        number = static_cast<int>(random() >> (random() % 31));
        if (random() % 4 == 0) number = -number;
    }
    return numbers;
}

std::vector<float> SomeFloats() {
    std::vector<float> floats(Numbers);
    for (size_t i = 0; i < Numbers; ++i) floats[i] = 0.25f * static_cast<float>(i);
    return floats;
}

template <class T>
ZvObject$ ArrayOf(const std::vector<T>& values) {
    return new ZvPrimArray<T>(values.size(), values.data());
}

ZvObject$ OurStrings() {
    ZvArrayList$ list = new ZvArrayList;
    for (size_t i = 0; i < Strings; ++i) list->Add(new ZvString(NameOf(i).c_str()));
    return list;
}

std::vector<std::shared_ptr<std::string>> PeerStrings() {
    std::vector<std::shared_ptr<std::string>> list;
    for (size_t i = 0; i < Strings; ++i) list.push_back(std::make_shared<std::string>(NameOf(i)));
    return list;
}

void FloatsSaveMemcpy(benchmark::State& state) {
    const auto floats = SomeFloats();
    std::vector<float> target(Numbers);
    for (auto _ : state) {
        std::memcpy(target.data(), floats.data(), Numbers * sizeof(float));
        DoNotOptimize(target.data());
    }
}

// A load makes the array: so does the peer, without clearing it.
void FloatsLoadMemcpy(benchmark::State& state) {
    const auto floats = SomeFloats();
    for (auto _ : state) {
        auto target = std::make_unique_for_overwrite<float[]>(Numbers);
        std::memcpy(target.get(), floats.data(), Numbers * sizeof(float));
        DoNotOptimize(target.get());
        state.PauseTiming();
        target.reset();
        state.ResumeTiming();
    }
}

coder_peer::Numbers ProtoNumbers() {
    coder_peer::Numbers message;
    for (const int number : MixedNumbers()) message.add_values(number);
    return message;
}

#define WORKLOAD(name, call)                                                                              \
    benchmark::RegisterBenchmark(name, [](benchmark::State& state) { call; })->Unit(benchmark::kMillisecond)

const bool s_registered = [] {
    WORKLOAD("graph_save/ours", SaveToMemory(state, OurGraph(Nodes), Nodes * RoomForANode));
    WORKLOAD("graph_load/ours", LoadFromMemory(state, OurGraph(Nodes), Nodes * RoomForANode));
    WORKLOAD("graph_save/cereal", SavePeer<Cereal>(state, PeerGraph(Nodes)));
    WORKLOAD("graph_load/cereal", LoadPeer<Cereal>(state, PeerGraph(Nodes)));
    WORKLOAD("graph_save/boost", SavePeer<Boost>(state, PeerGraph(Nodes)));
    WORKLOAD("graph_load/boost", LoadPeer<Boost>(state, PeerGraph(Nodes)));
    WORKLOAD("graph_save/protobuf", SavePeer<Proto>(state, ProtoGraph(Nodes)));
    WORKLOAD("graph_load/protobuf", LoadPeer<Proto>(state, ProtoGraph(Nodes)));
    WORKLOAD("graph_save_file/ours", GraphSaveFileOurs(state))->UseRealTime();
    WORKLOAD("graph_load_file/ours", GraphLoadFileOurs(state))->UseRealTime();
    WORKLOAD("graph_save_file/cereal", GraphSaveFileCereal(state))->UseRealTime();
    WORKLOAD("graph_load_file/cereal", GraphLoadFileCereal(state))->UseRealTime();
    WORKLOAD("floats_save/ours", SaveToMemory(state, ArrayOf(SomeFloats()), Numbers * 4 + 4096));
    WORKLOAD("floats_load/ours", LoadFromMemory(state, ArrayOf(SomeFloats()), Numbers * 4 + 4096));
    WORKLOAD("floats_save/memcpy", FloatsSaveMemcpy(state));
    WORKLOAD("floats_load/memcpy", FloatsLoadMemcpy(state));
    WORKLOAD("ints_save/ours", SaveToMemory(state, ArrayOf(MixedNumbers()), Numbers * 5 + 4096));
    WORKLOAD("ints_load/ours", LoadFromMemory(state, ArrayOf(MixedNumbers()), Numbers * 5 + 4096));
    WORKLOAD("ints_save/protobuf", SavePeer<Proto>(state, ProtoNumbers()));
    WORKLOAD("ints_load/protobuf", LoadPeer<Proto>(state, ProtoNumbers()));
    WORKLOAD("strings_save/ours", SaveToMemory(state, OurStrings(), Strings * 40));
    WORKLOAD("strings_load/ours", LoadFromMemory(state, OurStrings(), Strings * 40));
    WORKLOAD("strings_save/cereal", SavePeer<Cereal>(state, PeerStrings()));
    WORKLOAD("strings_load/cereal", LoadPeer<Cereal>(state, PeerStrings()));
    return true;
}();

// The time an object by the size of the graph, for ZVC_BENCH_FILTER=by_size.
BENCHMARK(GraphSaveOurs)->Name("graph_save_by_size")->Arg(10000)->Arg(1000000)->Arg(10000000)->Unit(benchmark::kMillisecond);
BENCHMARK(GraphLoadOurs)->Name("graph_load_by_size")->Arg(10000)->Arg(1000000)->Arg(10000000)->Unit(benchmark::kMillisecond);

}
