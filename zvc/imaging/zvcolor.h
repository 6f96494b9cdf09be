#pragma once

#include "zvc/platform/Api.h"
#include "zvc/values/CG.h"

#include <bit>
#include <cstdint>
#include <cstring>
#include <emmintrin.h>
#include <type_traits>

// The colours of the renderers: plain records without virtual functions or bases, copied and stored as bytes. Everything
// here is a pure function of its values: any thread.

struct zvpackedcolor;

namespace zvc::detail {
template <class P>
concept FloatPointer = std::is_same_v<P, float*> || std::is_same_v<P, const float*>;
}

/// Linear RGB in floats: three channels, no range of their own.
struct ZV_API zvcolor {
    float r, g, b;

    static const zvcolor black, white, red, green, blue, yellow, cyan, magenta;
    static float epsiron;                   ///< 1e-7, the threshold of isblack. A program may set it
    static float infinity;                  ///< 1e38, a value that stands for "very far". A program may set it

    /// The CIE 1931 2-degree standard observer (ISO/CIE 11664-1:2019) at 1 nm: entry i is the value at cie_start + i nm. A
    /// caller weights a spectrum with these; no operation of the library reads them.
    static constexpr int cie_start = 360;
    static constexpr int cie_end = 830;
    static constexpr int cie_num = 471;
    static const float cie_x[cie_num], cie_y[cie_num], cie_z[cie_num];

    /// The rows of the matrix from linear RGB (ITU-R BT.709 primaries, white D65) to CIE XYZ.
    static const float x_weight[3], y_weight[3], z_weight[3];

    /// All three channels v.
    constexpr zvcolor(float v = 0) : r(v), g(v), b(v) {}
    constexpr zvcolor(float red, float green, float blue) : r(red), g(green), b(blue) {}
    constexpr zvcolor(const CG::vec3<float>& v) : r(v.x), g(v.y), b(v.z) {}
    /// The first three of four; w is dropped.
    constexpr zvcolor(const CG::vec4<float>& v) : r(v.x), g(v.y), b(v.z) {}
    /// The first three floats at a float pointer. (A template, so that zvcolor(0) is no null pointer.)
    template <zvc::detail::FloatPointer P>
    constexpr zvcolor(P v) : r(v[0]), g(v[1]), b(v[2]) {}
    /// Unpacks.
    explicit zvcolor(const zvpackedcolor& packed);

    /// The address of the first channel; the others lie behind it.
    operator float*() { return &r; }
    operator const float*() const { return &r; }

    // Channel by channel. Division by a float multiplies by its reciprocal, which is taken once.
    constexpr zvcolor& operator+=(const zvcolor& c) { return *this = *this + c; }
    constexpr zvcolor& operator-=(const zvcolor& c) { return *this = *this - c; }
    constexpr zvcolor& operator*=(const zvcolor& c) { return *this = *this * c; }
    constexpr zvcolor& operator/=(const zvcolor& c) { return *this = *this / c; }
    constexpr zvcolor& operator*=(float s) { return *this = *this * s; }
    constexpr zvcolor& operator/=(float s) { return *this = *this / s; }
    constexpr zvcolor operator+(const zvcolor& c) const { return {r + c.r, g + c.g, b + c.b}; }
    constexpr zvcolor operator-(const zvcolor& c) const { return {r - c.r, g - c.g, b - c.b}; }
    constexpr zvcolor operator*(const zvcolor& c) const { return {r * c.r, g * c.g, b * c.b}; }
    constexpr zvcolor operator/(const zvcolor& c) const { return {r / c.r, g / c.g, b / c.b}; }
    constexpr zvcolor operator*(float s) const { return {r * s, g * s, b * s}; }
    constexpr zvcolor operator/(float s) const { return *this * (1.0f / s); }
    constexpr zvcolor operator-() const { return {-r, -g, -b}; }

    /// Two channels differ only where one is strictly less or strictly greater: meant so, a NaN equals everything. The order
    /// is lexicographic: the first of r, g, b that differs decides.
    bool operator==(const zvcolor& c) const { return Compare(c) == 0; }
    bool operator!=(const zvcolor& c) const { return Compare(c) != 0; }
    bool operator<(const zvcolor& c) const { return Compare(c) < 0; }
    bool operator>(const zvcolor& c) const { return Compare(c) > 0; }
    bool operator<=(const zvcolor& c) const { return Compare(c) <= 0; }
    bool operator>=(const zvcolor& c) const { return Compare(c) >= 0; }

    /// The greatest channel; of equal ones the last.
    float max_component() const {
        const float m = r > g ? r : g;
        return m > b ? m : b;
    }
    /// True when epsiron exceeds every channel: a negative colour is black, and a NaN is not.
    bool isblack() const { return epsiron > r && epsiron > g && epsiron > b; }
    /// The luminance Y, the mean, the sum of the channels.
    float y() const { return g * 0.71516f + r * 0.212671f + b * 0.072169f; }
    float intensity() const { return power() * 0.33333334f; }
    float power() const { return g + r + b; }
    /// CIE XYZ by x_weight, y_weight, z_weight.
    CG::vec3<float> xyz() const;
    bool isnan() const;

    /// New colours, channel by channel. clamp takes the lesser of channel and hi first, then the greater of that and lo, so
    /// that lo wins where they cross.
    zvcolor clamp(const zvcolor& lo, const zvcolor& hi) const;
    zvcolor sqrt() const;
    /// The power with e's channel, and 0 for a channel that is not above 0, whatever the exponent.
    zvcolor pow(const zvcolor& e) const;
    /// 1 - c, and not below 0.
    zvcolor white_complement() const;
    /// s of 1 keeps the colour, s of 0 gives grey at the level of its greatest channel; other values go on in that line.
    zvcolor satulate(float s) const;

    /// Lifts the colour until no channel is negative, then scales it until none exceeds 1. The hue stays.
    void scaleToUnitOrLess();

private:
    static int Compare(float a, float b) { return a < b ? -1 : a > b; }
    int Compare(const zvcolor& c) const {
        if (const int red = Compare(r, c.r)) return red;
        if (const int green = Compare(g, c.g)) return green;
        return Compare(b, c.b);
    }
};

/// RGB with alpha. Arithmetic covers all four channels, alpha included: the sum of two opaque colours has alpha 2.
struct ZV_API zvacolor {
    float r, g, b, a;

    /// The three colours v, alpha 1.
    constexpr zvacolor(float v = 0) : r(v), g(v), b(v), a(1) {}
    constexpr zvacolor(const zvcolor& c, float alpha) : r(c.r), g(c.g), b(c.b), a(alpha) {}
    constexpr zvacolor(float red, float green, float blue, float alpha) : r(red), g(green), b(blue), a(alpha) {}
    constexpr zvacolor(const CG::vec4<float>& v) : r(v.x), g(v.y), b(v.z), a(v.w) {}
    /// Alpha 1.
    constexpr zvacolor(const CG::vec3<float>& v) : r(v.x), g(v.y), b(v.z), a(1) {}
    /// The four floats at a float pointer; a zvcolor, which has only three, does not convert to one here.
    template <zvc::detail::FloatPointer P>
    constexpr zvacolor(P v) : r(v[0]), g(v[1]), b(v[2]), a(v[3]) {}

    /// Channel i of 0 to 3, which nobody checks.
    float& operator[](int i) { return (&r)[i]; }
    const float& operator[](int i) const { return (&r)[i]; }

    constexpr zvacolor& operator+=(const zvacolor& c) { return *this = *this + c; }
    constexpr zvacolor& operator-=(const zvacolor& c) { return *this = *this - c; }
    constexpr zvacolor& operator*=(const zvacolor& c) { return *this = *this * c; }
    constexpr zvacolor& operator/=(const zvacolor& c) { return *this = *this / c; }
    constexpr zvacolor& operator*=(float s) { return *this = *this * s; }
    constexpr zvacolor& operator/=(float s) { return *this = *this / s; }
    constexpr zvacolor operator+(const zvacolor& c) const { return {r + c.r, g + c.g, b + c.b, a + c.a}; }
    constexpr zvacolor operator-(const zvacolor& c) const { return {r - c.r, g - c.g, b - c.b, a - c.a}; }
    constexpr zvacolor operator*(const zvacolor& c) const { return {r * c.r, g * c.g, b * c.b, a * c.a}; }
    constexpr zvacolor operator/(const zvacolor& c) const { return {r / c.r, g / c.g, b / c.b, a / c.a}; }
    constexpr zvacolor operator*(float s) const { return {r * s, g * s, b * s, a * s}; }
    constexpr zvacolor operator/(float s) const { return *this * (1.0f / s); }
    constexpr zvacolor operator-() const { return {-r, -g, -b, -a}; }
};

/// RGB in four bytes with a shared exponent, as in the Radiance picture format (G. Ward, "Real Pixels", Graphics Gems II,
/// 1991). Channels keep 8 bits relative to the greatest one.
struct ZV_API zvpackedcolor {
    unsigned char r, g, b, e;

    /// Leaves the bytes as they are.
    zvpackedcolor() {}
    constexpr zvpackedcolor(unsigned char red, unsigned char green, unsigned char blue, unsigned char exponent)
        : r(red), g(green), b(blue), e(exponent) {}
    zvpackedcolor(const zvcolor& c) { init(c); }
    zvpackedcolor(const CG::vec3<float>& v) { init(v); }

    /// Packs, by truncation. A colour whose greatest channel is below 1e-32 becomes four zero bytes; negative channels
    /// beside a positive one are not guarded: their low byte is stored.
    void init(const zvcolor& c);
    void make_zero() { r = g = b = e = 0; }

    /// Unpacks: each byte stands for the middle of what is truncated to it, so that 1 comes back as 1.00390625.
    operator zvcolor() const;
    operator CG::vec3<float>() const {
        const zvcolor c = *this;
        return {c.r, c.g, c.b};
    }
};

inline zvcolor::zvcolor(const zvpackedcolor& packed) : zvcolor(packed.operator zvcolor()) {}

inline void zvpackedcolor::init(const zvcolor& c) {
    // All four bytes at once, and max_component without a jump that nobody can predict: this runs over whole pictures.
    const __m128 color = _mm_setr_ps(c.r, c.g, c.b, 0);
    const __m128 green = _mm_shuffle_ps(color, color, 1), blue = _mm_movehl_ps(color, color);
    const float m = _mm_cvtss_f32(_mm_max_ss(_mm_max_ss(color, green), blue));
    uint32_t bytes = 0;
    if (!(m < 1e-32f)) {
        // For a finite m = mantissa * 2^x, a normal float, the factor mantissa * 256 / m is exactly 2^(8 - x), and stands in
        // m's exponent bits; the products with it are exact as well. No finite mantissa makes the factor a NaN and x 0.
        const uint32_t biased = std::bit_cast<uint32_t>(m) >> 23 & 0xFF;
        const bool finite = biased != 0xFF;
        const auto factor = std::bit_cast<float>(finite ? (261 - biased) << 23 : 0x7FC00000u);
        // The machine truncates to 32 bits: what does not fit (and a NaN) gives the sign bit alone, whose low byte is 0.
        const __m128i channels = _mm_and_si128(_mm_cvttps_epi32(_mm_mul_ps(color, _mm_set1_ps(factor))), _mm_set1_epi32(0xFF));
        const __m128i words = _mm_packs_epi32(channels, channels);
        bytes = static_cast<uint32_t>(_mm_cvtsi128_si32(_mm_packus_epi16(words, words))) | (finite ? biased + 2 : 128) << 24;
    }
    std::memcpy(static_cast<void*>(this), &bytes, sizeof bytes);
}

inline zvpackedcolor::operator zvcolor() const {
    if (e == 0) return zvcolor(0.0f);
    // 2^(e - 136), which the least exponents take below the normal floats.
    const float f = e > 9 ? std::bit_cast<float>(static_cast<uint32_t>(e - 9) << 23)
                          : static_cast<float>(std::bit_cast<double>(static_cast<uint64_t>(e - 136 + 1023) << 52));
    const __m128i zero = _mm_setzero_si128(), bytes = _mm_cvtsi32_si128(std::bit_cast<int>(*this));
    const __m128 middles = _mm_add_ps(_mm_cvtepi32_ps(_mm_unpacklo_epi16(_mm_unpacklo_epi8(bytes, zero), zero)), _mm_set1_ps(0.5f));
    const __m128 channels = _mm_mul_ps(middles, _mm_set1_ps(f));
    return {_mm_cvtss_f32(channels), _mm_cvtss_f32(_mm_shuffle_ps(channels, channels, 1)), _mm_cvtss_f32(_mm_movehl_ps(channels, channels))};
}
