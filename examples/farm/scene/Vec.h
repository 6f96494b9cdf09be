#pragma once

// The little geometry that a path tracer needs, on the library's records.

#include <zvc/values/CG.h>

#include <cmath>

namespace farm {

using Vec = CG::vec3<float>;

constexpr Vec operator+(const Vec& a, const Vec& b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
constexpr Vec operator-(const Vec& a, const Vec& b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
constexpr Vec operator-(const Vec& a) { return {-a.x, -a.y, -a.z}; }
constexpr Vec operator*(const Vec& a, float s) { return {a.x * s, a.y * s, a.z * s}; }
constexpr float Dot(const Vec& a, const Vec& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
constexpr Vec Cross(const Vec& a, const Vec& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
constexpr float Axis(const Vec& a, int axis) { return axis == 0 ? a.x : axis == 1 ? a.y : a.z; }
inline float Length(const Vec& a) { return std::sqrt(Dot(a, a)); }

/// The direction of a, of length 1; a itself where that has no direction.
inline Vec Unit(const Vec& a) {
    const float length = Length(a);
    return length > 0 ? a * (1 / length) : a;
}

inline Vec Least(const Vec& a, const Vec& b) { return {std::fmin(a.x, b.x), std::fmin(a.y, b.y), std::fmin(a.z, b.z)}; }
inline Vec Greatest(const Vec& a, const Vec& b) { return {std::fmax(a.x, b.x), std::fmax(a.y, b.y), std::fmax(a.z, b.z)}; }

struct Ray {
    Vec origin;
    Vec direction;                  // of length 1
};

}
