#pragma once

// Resampling in the plainest words: the two passes sample by sample, as a reader would write them down. The library is
// held against these loops byte by byte, and its speed is told in proportion to theirs.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

namespace plain {

/// A kernel and the width at which it is cut.
struct Filter {
    float support;
    std::function<float(float)> func;
};

inline float Sine(float x) {
    const float angle = x * 3.1415927f;
    return angle == 0.0f ? 1.0f : std::sin(angle) / angle;
}

/// The eight of the library, by the names of their classes, with their default supports.
inline Filter FilterNamed(const std::string& name) {
    if (name == "ZvBoxFilter") return {0.5f, [](float x) { return x > -0.5f && !(x > 0.5f) ? 1.0f : 0.0f; }};
    if (name == "ZvTriangleFilter") return {1.0f, [](float x) { return std::abs(x) < 1.0f ? 1.0f - std::abs(x) : 0.0f; }};
    if (name == "ZvBellFilter")
        return {1.5f, [](float x) {
                    const float t = std::abs(x);
                    if (t >= 1.5f) return 0.0f;
                    return t < 0.5f ? 0.75f - t * t : (t - 1.5f) * 0.5f * (t - 1.5f);
                }};
    if (name == "ZvBSplineFilter")
        return {2.0f, [](float x) {
                    const float t = std::abs(x);
                    if (t >= 2.0f) return 0.0f;
                    const float s = 2.0f - t;
                    return t < 1.0f ? t * t * 0.5f * t - t * t + 0.6666667f : s * s * s * 0.16666667f;
                }};
    if (name == "ZvLanczos3Filter")
        return {3.0f, [](float x) {
                    const float t = std::abs(x);
                    return t >= 3.0f ? 0.0f : Sine(t) * Sine(t * 0.33333334f);
                }};
    if (name == "ZvMitchellFilter")
        return {2.0f, [](float x) {
                    const float t = std::abs(x), square = t * t, cube = square * t;
                    if (t >= 2.0f) return 0.0f;
                    if (t < 1.0f) return (7.0f * cube - 12.0f * square + 5.3333335f) * 0.16666667f;
                    return (12.0f * square - 2.3333333f * cube + 10.666667f) * 0.16666667f;
                }};
    if (name == "ZvCatmullRomFilter")
        return {1.0f, [](float x) {
                    const float t = std::abs(x);
                    return t < 1.0f ? (2.0f * t - 3.0f) * t * t + 1.0f : 0.0f;
                }};
    if (name == "ZvSincFilter") return {1.0f, [](float x) { return Sine(x); }};
    return {0.0f, nullptr};
}

inline const std::vector<std::string>& FilterNames() {
    static const std::vector<std::string> names = {"ZvBoxFilter",      "ZvTriangleFilter", "ZvBellFilter",       "ZvBSplineFilter",
                                                   "ZvLanczos3Filter", "ZvMitchellFilter", "ZvCatmullRomFilter", "ZvSincFilter"};
    return names;
}

struct Entry {
    int index;
    float weight;
};
using Table = std::vector<std::vector<Entry>>;

/// outside, where given, tells whether an index was outside the source even after its reflection; it is held to the edge then.
inline Table MakeTable(const Filter& filter, int to, int from, bool* outside = nullptr) {
    Table table(static_cast<size_t>(to));
    const float scale = static_cast<float>(to) / static_cast<float>(from);
    for (int i = 0; i < to; ++i) {
        std::vector<Entry>& entries = table[static_cast<size_t>(i)];
        float sum = 0.0f;
        const auto add = [&](int j, float weight) {
            int index = j;
            if (j < 0) index = -j;
            if (j >= from) index = 2 * from - j - 1;
            if (outside != nullptr && (index < 0 || index >= from)) *outside = true;
            entries.push_back({std::clamp(index, 0, from - 1), weight});
            sum += weight;
        };
        if (scale >= 1.0f) {
            const float center = static_cast<float>(i) * (1.0f / scale);
            const int left = static_cast<int>(std::ceil(center - filter.support));
            const int right = static_cast<int>(std::floor(center + filter.support));
            for (int j = left; j <= right; ++j) add(j, filter.func(center - static_cast<float>(j)));
        } else {
            const float fscale = 1.0f / scale;
            const float width = filter.support * fscale;
            const float center = static_cast<float>(i) * fscale;
            const int left = static_cast<int>(std::ceil(center - width));
            const int right = static_cast<int>(std::floor(center + width));
            for (int j = left; j <= right; ++j)
                add(j, filter.func((center - static_cast<float>(j)) * (1.0f / fscale)) * (1.0f / fscale));
        }
        if (sum > 0.0f)
            for (Entry& entry : entries) entry.weight *= 1.0f / sum;
    }
    return table;
}

/// Rows of interleaved samples without padding, the first row first in memory.
template <class T>
struct Samples {
    int width, height, channels;
    std::vector<T> data;

    Samples(int w, int h, int c) : width(w), height(h), channels(c), data(static_cast<size_t>(w) * static_cast<size_t>(h) * static_cast<size_t>(c)) {}

    T* At(int x, int y) { return data.data() + (static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)) * static_cast<size_t>(channels); }
    const T* At(int x, int y) const { return const_cast<Samples*>(this)->At(x, y); }
};

/// Toward zero, and the low bits of what does not fit.
template <class T>
T Cut(float sum) {
    // What 64 bits cannot hold either is the sign bit alone to the machine, and so 0 in the low bits.
    if (!(sum > -9223372036854775808.0f && sum < 9223372036854775808.0f)) return 0;
    return static_cast<T>(static_cast<int64_t>(sum));
}

template <class T>
Samples<T> Horizontally(const Samples<T>& from, int width, const Table& table) {
    Samples<T> to(width, from.height, from.channels);
    for (int y = 0; y < from.height; ++y)
        for (int x = 0; x < width; ++x) {
            float sums[8] = {};
            for (const Entry& entry : table[static_cast<size_t>(x)]) {
                const T* source = from.At(entry.index, y);
                for (int c = 0; c < from.channels; ++c) sums[c] += static_cast<float>(source[c]) * entry.weight;
            }
            T* target = to.At(x, y);
            for (int c = 0; c < from.channels; ++c) target[c] = Cut<T>(sums[c]);
        }
    return to;
}

template <class T>
Samples<T> Vertically(const Samples<T>& from, int height, const Table& table) {
    Samples<T> to(from.width, height, from.channels);
    for (int x = 0; x < from.width; ++x)
        for (int y = 0; y < height; ++y) {
            float sums[8] = {};
            T* target = to.At(x, y);
            for (const Entry& entry : table[static_cast<size_t>(y)]) {
                const T* source = from.At(x, entry.index);
                for (int c = 0; c < from.channels; ++c) {
                    sums[c] += static_cast<float>(source[c]) * entry.weight;
                    target[c] = Cut<T>(sums[c]);
                }
            }
        }
    return to;
}

/// At most eight channels. An axis whose size stays is copied.
template <class T>
Samples<T> Resize(const Samples<T>& from, int width, int height, const Filter& filter) {
    const Samples<T> between = width == from.width ? from : Horizontally(from, width, MakeTable(filter, width, from.width));
    return height == from.height ? between : Vertically(between, height, MakeTable(filter, height, from.height));
}

}
