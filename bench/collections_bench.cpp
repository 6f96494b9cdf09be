// A dictionary of a million string keys, beside std::unordered_map of counted strings.

#include <zvc/zvc.h>

#include <benchmark/benchmark.h>
#include <boost/smart_ptr/intrusive_ptr.hpp>
#include <boost/smart_ptr/intrusive_ref_counter.hpp>

#include <algorithm>
#include <cstdio>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

namespace {

using benchmark::DoNotOptimize;

constexpr size_t Keys = 1000000;

// A counted string, by Boost's own atomic counter.
struct Text : boost::intrusive_ref_counter<Text, boost::thread_safe_counter> {
    explicit Text(const char* from) : text(from) {}
    std::string text;
};
using TextPointer = boost::intrusive_ptr<Text>;

struct Fnv1a {
    size_t operator()(const TextPointer& key) const {
        uint64_t hash = 14695981039346656037u;
        for (const char c : key->text) hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211u;
        return hash;
    }
};
struct SameText {
    bool operator()(const TextPointer& a, const TextPointer& b) const { return a->text == b->text; }
};
using PeerMap = std::unordered_map<TextPointer, TextPointer, Fnv1a, SameText>;

// Distinct names of 13 characters, in a shuffled order that is the same in every run.
std::vector<std::string> Names(const char* prefix, unsigned seed) {
    std::vector<std::string> names;
    for (size_t i = 0; i < Keys; ++i) {
        char name[32];
        std::snprintf(name, sizeof name, "%s%08zu", prefix, i);
        names.push_back(name);
    }
    std::shuffle(names.begin(), names.end(), std::mt19937(seed));
    return names;
}

template <class Handle, class Object>
std::vector<Handle> Made(const std::vector<std::string>& names) {
    std::vector<Handle> made;
    for (const std::string& name : names) made.emplace_back(new Object(name.c_str()));
    return made;
}

// Keys to insert, equal ones to find, and others that are in no table.
struct Material {
    std::vector<ZvObject$> keys, probes, strangers;
    std::vector<TextPointer> peerKeys, peerProbes, peerStrangers;
};

const Material& Given() {
    static const Material* const given = [] {
        auto* m = new Material;
        const auto names = Names("node-", 1), others = Names("node-", 2), strangers = Names("edge-", 3);
        m->keys = Made<ZvObject$, ZvString>(names);
        m->peerKeys = Made<TextPointer, Text>(names);
        m->probes = Made<ZvObject$, ZvString>(others);
        m->peerProbes = Made<TextPointer, Text>(others);
        m->strangers = Made<ZvObject$, ZvString>(strangers);
        m->peerStrangers = Made<TextPointer, Text>(strangers);
        return m;
    }();
    return *given;
}

void Fill(ZvDictionary& table) {
    for (const ZvObject$& key : Given().keys) table.Add(key, key);
}

void Fill(PeerMap& table) {
    for (const TextPointer& key : Given().peerKeys) table.emplace(key, key);
}

void InsertPeer(benchmark::State& state) {
    Given();
    for (auto _ : state) {
        auto* table = new PeerMap;
        Fill(*table);
        state.PauseTiming();
        delete table;
        state.ResumeTiming();
    }
}

void InsertOurs(benchmark::State& state) {
    Given();
    for (auto _ : state) {
        ZvDictionary$ table = new ZvDictionary;
        Fill(*table.Get());
        state.PauseTiming();
        table = nullptr;
        state.ResumeTiming();
    }
}

void FindOurs(benchmark::State& state, const std::vector<ZvObject$>& probes) {
    ZvDictionary$ table = new ZvDictionary;
    Fill(*table.Get());
    for (auto _ : state)
        for (const ZvObject$& probe : probes) {
            ZvObject$ found = table->Find(probe);
            DoNotOptimize(found);
        }
}

void FindPeer(benchmark::State& state, const std::vector<TextPointer>& probes) {
    PeerMap table;
    Fill(table);
    for (auto _ : state)
        for (const TextPointer& probe : probes) {
            const auto at = table.find(probe);
            TextPointer found = at == table.end() ? TextPointer() : at->second;
            DoNotOptimize(found);
        }
}

void EnumerateOurs(benchmark::State& state) {
    ZvDictionary$ table = new ZvDictionary;
    Fill(*table.Get());
    for (auto _ : state) {
        ZvIDictionaryEnumerator$ at = table->GetEnumerator();
        while (at->HasNext()) {
            ZvDictionaryEntry$ entry = at->Next();
            ZvObject$ key = entry->Key(), value = entry->Value();
            DoNotOptimize(key);
            DoNotOptimize(value);
        }
    }
}

void EnumeratePeer(benchmark::State& state) {
    PeerMap table;
    Fill(table);
    for (auto _ : state)
        for (const auto& entry : table) {
            TextPointer key = entry.first, value = entry.second;
            DoNotOptimize(key);
            DoNotOptimize(value);
        }
}

void FindOneOurs(benchmark::State& state) { FindOurs(state, Given().probes); }
void FindOnePeer(benchmark::State& state) { FindPeer(state, Given().peerProbes); }
void FindNoneOurs(benchmark::State& state) { FindOurs(state, Given().strangers); }
void FindNonePeer(benchmark::State& state) { FindPeer(state, Given().peerStrangers); }

#define OURS_AND_PEER(workload, ours, peer) \
    BENCHMARK(ours)->Name(workload "/ours")->Unit(benchmark::kMillisecond); \
    BENCHMARK(peer)->Name(workload "/unordered_map")->Unit(benchmark::kMillisecond);

OURS_AND_PEER("dictionary_insert", InsertOurs, InsertPeer)
OURS_AND_PEER("dictionary_find", FindOneOurs, FindOnePeer)
OURS_AND_PEER("dictionary_find_none", FindNoneOurs, FindNonePeer)
OURS_AND_PEER("dictionary_enumerate", EnumerateOurs, EnumeratePeer)

}
