#pragma once

#include <cstdint>

namespace farm {

/// The random numbers of one sample of one pixel. They hang on these two alone, so that a pixel comes out the same whoever
/// computes it, and when. SplitMix64: Steele, Lea, Flood, "Fast Splittable Pseudorandom Number Generators", 2014.
class Random {
public:
    Random(uint32_t pixel, uint32_t sample) : m_state(Mix((uint64_t(pixel) << 32 | sample) + Step)) {}

    /// The next number, at least 0 and below 1; all 24 bits of it count.
    float Next() {
        m_state += Step;
        return static_cast<float>(Mix(m_state) >> 40) * 0x1p-24f;
    }

private:
    static constexpr uint64_t Step = 0x9E3779B97F4A7C15;

    static constexpr uint64_t Mix(uint64_t z) {
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EB;
        return z ^ (z >> 31);
    }

    uint64_t m_state;
};

}
