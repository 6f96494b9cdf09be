#pragma once

#include "zvc/platform/Api.h"

/// A colour value: three 32-bit floats.
struct ZV_API zvcolor {
    float r = 0, g = 0, b = 0;

    constexpr zvcolor() = default;
    constexpr zvcolor(float red, float green, float blue) : r(red), g(green), b(blue) {}
};
