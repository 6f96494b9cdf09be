#pragma once

// The computed cases under tests/data/cases, and values, boxes and objects made of them.

#include "Bytes.h"

#include <zvc/zvc.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <bit>
#include <fstream>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace cases {

using Json = nlohmann::ordered_json;      // references stand behind what they name, in the order of the text

inline Json Load(const std::string& file) {
    std::ifstream in(std::string(ZVC_TEST_DATA) + "/cases/" + file + ".json");
    return Json::parse(in);
}

/// The cases of a group; the test fails where there are none.
inline const std::vector<Json>& Group(const std::string& file, const std::string& group) {
    static std::map<std::string, std::vector<Json>> s_groups;
    const std::string key = file + "/" + group;
    auto found = s_groups.find(key);
    if (found == s_groups.end()) {
        std::vector<Json> list;
        const Json document = Load(file);
        for (const Json& g : document["groups"])
            if (g["group"] == group)
                for (const Json& c : g["cases"]) list.push_back(c);
        EXPECT_FALSE(list.empty()) << key;
        found = s_groups.emplace(key, list).first;
    }
    return found->second;
}

using ::FromHex;
using ::ToHex;

inline uint64_t Hex64(const Json& j) { return std::stoull(j.get<std::string>(), nullptr, 16); }

/// {"text"} or {"hex"}, or a plain text.
inline std::string Text(const Json& j) {
    if (j.is_string()) return j.get<std::string>();
    if (j.contains("text")) return j["text"].get<std::string>();
    return FromHex(j["hex"].get<std::string>());
}

template <class S>
S Scalar(const Json& j) {
    if constexpr (std::is_same_v<S, float>)
        return std::bit_cast<float>(static_cast<uint32_t>(Hex64(j)));
    else if constexpr (std::is_same_v<S, double>)
        return std::bit_cast<double>(Hex64(j));
    else if constexpr (std::is_same_v<S, bool>)
        return j.get<bool>();
    else if constexpr (std::is_same_v<S, unsigned long long>)
        return j.is_string() ? std::stoull(j.get<std::string>()) : j.get<unsigned long long>();
    else if constexpr (std::is_same_v<S, long long>)
        return j.is_string() ? std::stoll(j.get<std::string>()) : j.get<long long>();
    else
        return static_cast<S>(j.get<long long>());
}

template <class T>
T Value(const Json& j) {
    using S = typename zvc::detail::Shape<T>::Scalar;
    if constexpr (std::is_arithmetic_v<T>) {
        return Scalar<T>(j);
    } else {
        T value{};
        for (int i = 0; i < zvc::detail::Shape<T>::count; ++i)
            reinterpret_cast<S*>(&value)[i] = Scalar<S>(j[static_cast<size_t>(i)]);
        return value;
    }
}

/// The same bits; all NaNs of a result count as one.
template <class T>
bool Same(const T& a, const T& b) {
    using S = typename zvc::detail::Shape<T>::Scalar;
    const auto* x = reinterpret_cast<const S*>(&a);
    const auto* y = reinterpret_cast<const S*>(&b);
    for (int i = 0; i < zvc::detail::Shape<T>::count; ++i) {
        if constexpr (std::is_floating_point_v<S>)
            if (x[i] != x[i] && y[i] != y[i]) continue;
        if (std::memcmp(x + i, y + i, sizeof(S)) != 0) return false;
    }
    return true;
}

#define CASES_KINDS(X)                                                                                                    \
    X("bool", bool) X("sbyte", char) X("byte", unsigned char) X("int16", short) X("uint16", unsigned short) X("int32", int) \
    X("uint32", unsigned int) X("int64", long long) X("uint64", unsigned long long) X("float", float) X("double", double)   \
    X("vec2i", CG::vec2<int>) X("vec2f", CG::vec2<float>) X("vec2d", CG::vec2<double>) X("vec3i", CG::vec3<int>)            \
    X("vec3f", CG::vec3<float>) X("vec3d", CG::vec3<double>) X("vec4i", CG::vec4<int>) X("vec4f", CG::vec4<float>)          \
    X("vec4d", CG::vec4<double>) X("mat3f", CG::mat3<float>) X("mat3d", CG::mat3<double>) X("mat4f", CG::mat4<float>)       \
    X("mat4d", CG::mat4<double>) X("rotf", CG::rotation<float>) X("rotd", CG::rotation<double>) X("color", zvcolor)

/// Calls f with a null pointer of the kind's type; false for a kind that is not a plain value.
template <class F>
bool WithKind(const std::string& kind, F f) {
#define CASES_CALL(key, ...) \
    if (kind == key) return f(static_cast<__VA_ARGS__*>(nullptr)), true;
    CASES_KINDS(CASES_CALL)
#undef CASES_CALL
    return false;
}

using Bytes = ZvHandle<ZvPrimArray<unsigned char>, ZvArrayValue$>;

/// A stream that a test writes to and looks into.
class Memory {
public:
    explicit Memory(size_t size = 1 << 20) : m_bytes(new ZvPrimArray<unsigned char>(size, nullptr)), stream(new ZvMemoryStream(m_bytes)) {}
    explicit Memory(const std::string& content)
        : m_bytes(new ZvPrimArray<unsigned char>(content.size() + 1, nullptr)), stream(nullptr) {
        std::memcpy(m_bytes->GetBaseAddress(), content.data(), content.size());
        (*m_bytes)[content.size()] = 0;
        stream = new ZvMemoryStream(m_bytes);
    }
    /// What was written, or read, so far.
    std::string Taken() const {
        return std::string(static_cast<const char*>(m_bytes->GetBaseAddress()), static_cast<size_t>(stream->Tellp()));
    }

private:
    Bytes m_bytes;

public:
    ZvStream$ stream;
};

inline ZvBinaryCoder$ Coder(int state) {
    return new ZvBinaryCoder(new ZvStreamingContext(static_cast<ZvStreamingContext::States>(state)));
}

}
