#pragma once

#include "zvc/platform/Api.h"

/// A reconstruction filter for ZvImage::Resize: an even kernel func, and the half-width at which it is cut. Plain
/// values: made on the stack, passed by const reference; any number of threads may use one.
///
/// The support belongs to the value and not to the kernel: with another support a kernel keeps its shape and is only cut at
/// another width. There is no virtual destructor, and meant to be none: nothing owns a filter by its base. A program may derive
/// filters of its own; func is asked once for each entry of a table, never for a pixel.
class ZV_API ZvFilter {
public:
    /// Half-width in pixels: of the source when enlarging, of the result when shrinking.
    ZvFilter(float support) : m_support(support) {}
    ZvFilter(const ZvFilter&) = default;
    ZvFilter(ZvFilter&&) = default;
    ZvFilter& operator=(const ZvFilter&) = default;
    ZvFilter& operator=(ZvFilter&&) = default;

    virtual float support() const;

    /// The kernel at distance x. Need not integrate to 1: the weights of a position are divided by their sum.
    virtual float func(float x) const = 0;

private:
    float m_support;
};

#define ZV_DETAIL_FILTER(X, Support)                      \
    class ZV_API X : public ZvFilter {                    \
    public:                                               \
        X(float support = Support) : ZvFilter(support) {} \
        float func(float x) const override;               \
    };

ZV_DETAIL_FILTER(ZvBoxFilter, 0.5f)             ///< 1 from above -0.5 to 0.5, 0.5 included
ZV_DETAIL_FILTER(ZvTriangleFilter, 1.0f)        ///< linear interpolation
ZV_DETAIL_FILTER(ZvBellFilter, 1.5f)            ///< the quadratic B-spline
ZV_DETAIL_FILTER(ZvBSplineFilter, 2.0f)         ///< the cubic B-spline
ZV_DETAIL_FILTER(ZvLanczos3Filter, 3.0f)        ///< sinc windowed by a sinc of three times its width
ZV_DETAIL_FILTER(ZvMitchellFilter, 2.0f)        ///< the family's own: without a linear term in the outer lobe
ZV_DETAIL_FILTER(ZvCatmullRomFilter, 1.0f)      ///< the family's own: 2t^3 - 3t^2 + 1, and 0 from 1 on
ZV_DETAIL_FILTER(ZvSincFilter, 1.0f)            ///< sin(pi x) / (pi x), neither tapered nor cut but by the support

#undef ZV_DETAIL_FILTER
