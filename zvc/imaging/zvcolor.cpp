#include "zvc/imaging/zvcolor.h"

#include <cmath>

const zvcolor zvcolor::black(0, 0, 0);
const zvcolor zvcolor::white(1, 1, 1);
const zvcolor zvcolor::red(1, 0, 0);
const zvcolor zvcolor::green(0, 1, 0);
const zvcolor zvcolor::blue(0, 0, 1);
const zvcolor zvcolor::yellow(1, 1, 0);
const zvcolor zvcolor::cyan(0, 1, 1);
const zvcolor zvcolor::magenta(1, 0, 1);
float zvcolor::epsiron = 1e-7f;
float zvcolor::infinity = 1e38f;

const float zvcolor::x_weight[3] = {0.412453f, 0.35758f, 0.180423f};
const float zvcolor::y_weight[3] = {0.212671f, 0.71516f, 0.072169f};
const float zvcolor::z_weight[3] = {0.019334f, 0.119193f, 0.950227f};

namespace {

zvcolor Least(const zvcolor& a, const zvcolor& b) {
    return {a.r < b.r ? a.r : b.r, a.g < b.g ? a.g : b.g, a.b < b.b ? a.b : b.b};
}

zvcolor Greatest(const zvcolor& a, const zvcolor& b) {
    return {a.r > b.r ? a.r : b.r, a.g > b.g ? a.g : b.g, a.b > b.b ? a.b : b.b};
}

float Weighted(const zvcolor& c, const float (&weight)[3]) { return c.r * weight[0] + c.g * weight[1] + c.b * weight[2]; }

float Power(float base, float exponent) { return base > 0 ? std::pow(base, exponent) : 0.0f; }

}

CG::vec3<float> zvcolor::xyz() const {
    return {Weighted(*this, x_weight), Weighted(*this, y_weight), Weighted(*this, z_weight)};
}

bool zvcolor::isnan() const { return std::isnan(r) || std::isnan(g) || std::isnan(b); }

zvcolor zvcolor::clamp(const zvcolor& lo, const zvcolor& hi) const { return Greatest(Least(*this, hi), lo); }

zvcolor zvcolor::sqrt() const { return {std::sqrt(r), std::sqrt(g), std::sqrt(b)}; }

zvcolor zvcolor::pow(const zvcolor& e) const { return {Power(r, e.r), Power(g, e.g), Power(b, e.b)}; }

zvcolor zvcolor::white_complement() const { return Greatest(black, white - *this); }

zvcolor zvcolor::satulate(float s) const { return *this * s + zvcolor((1.0f - s) * max_component()); }

void zvcolor::scaleToUnitOrLess() {
    const float least = -(-*this).max_component();
    if (least < 0) *this += zvcolor(-least);
    const float greatest = max_component();
    if (greatest > 1) *this *= 1.0f / greatest;
}
