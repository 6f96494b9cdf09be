#pragma once

#include <zvc/zvc.h>

#include <gtest/gtest.h>

#include <string>

/// Calls use with a filter of the named class: with the class's own support, or with the one given.
template <class Use>
void WithFilter(const std::string& name, const float* support, Use use) {
#define USE_FILTER(X)                              \
    if (name == #X) {                              \
        support == nullptr ? use(X()) : use(X(*support)); \
        return;                                    \
    }
    USE_FILTER(ZvBoxFilter)
    USE_FILTER(ZvTriangleFilter)
    USE_FILTER(ZvBellFilter)
    USE_FILTER(ZvBSplineFilter)
    USE_FILTER(ZvLanczos3Filter)
    USE_FILTER(ZvMitchellFilter)
    USE_FILTER(ZvCatmullRomFilter)
    USE_FILTER(ZvSincFilter)
#undef USE_FILTER
    ADD_FAILURE() << name;
}
