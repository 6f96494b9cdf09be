#include "zvc/imaging/ZvFilter.h"

#include "../support/Cases.h"
#include "../support/Filters.h"
#include "../support/PlainResize.h"

#include <gtest/gtest.h>

#include <cmath>
#include <type_traits>

namespace {

using cases::Group;
using cases::Json;
using cases::Scalar;

uint32_t Bits(float f) { return std::bit_cast<uint32_t>(f); }

float FuncOf(const std::string& name, float x) {
    float value = 0;
    WithFilter(name, nullptr, [&](const ZvFilter& filter) { value = filter.func(x); });
    return value;
}

float Next(float x) { return std::nextafter(x, 100.0f); }
float Before(float x) { return std::nextafter(x, -100.0f); }

/// A filter of a program's own.
class Hat : public ZvFilter {
public:
    Hat() : ZvFilter(0.75f) {}
    float func(float x) const override { return x < 0.5f ? 2.0f : 0.5f; }
};

}

static_assert(std::is_abstract_v<ZvFilter> && !std::is_base_of_v<ZvObject, ZvFilter> && !std::has_virtual_destructor_v<ZvFilter>);
static_assert(std::is_destructible_v<ZvFilter>);         // as any plain value
static_assert(std::is_copy_constructible_v<ZvSincFilter> && std::is_move_constructible_v<ZvSincFilter>);
static_assert(std::is_copy_assignable_v<ZvSincFilter> && std::is_move_assignable_v<ZvSincFilter>);

TEST(ZvFilter, DefaultSupports) {
    const struct { const char* name; float support; } rows[] = {
        {"ZvBoxFilter", 0.5f},      {"ZvTriangleFilter", 1.0f}, {"ZvBellFilter", 1.5f},       {"ZvBSplineFilter", 2.0f},
        {"ZvLanczos3Filter", 3.0f}, {"ZvMitchellFilter", 2.0f}, {"ZvCatmullRomFilter", 1.0f}, {"ZvSincFilter", 1.0f},
    };
    for (const auto& row : rows) {
        WithFilter(row.name, nullptr, [&](const ZvFilter& filter) { EXPECT_EQ(filter.support(), row.support) << row.name; });
        EXPECT_EQ(plain::FilterNamed(row.name).support, row.support);
    }
}

TEST(ZvFilter, IsMadeFromBracesAndFromItsSupport) {
    const struct { const char* name; ZvBoxFilter filter; } row = {"box", {}};
    const ZvTriangleFilter wide = 2.0f;
    EXPECT_EQ(row.filter.support(), 0.5f);
    EXPECT_EQ(wide.support(), 2.0f);
}

TEST(ZvFilter, SupportsAreTheComputedOnes) {
    for (const Json& c : Group("resample", "support"))
        WithFilter(c["filter"], nullptr, [&](const ZvFilter& filter) { EXPECT_EQ(filter.support(), Scalar<float>(c["support"])) << c["name"]; });
}

TEST(ZvFilter, KernelsAreTheComputedOnes) {
    for (const Json& c : Group("resample", "func")) {
        const float out = Scalar<float>(c["out"]), got = FuncOf(c["filter"], Scalar<float>(c["x"]));
        if (c.contains("tolerance"))
            EXPECT_NEAR(got, out, c["tolerance"].get<double>()) << c["name"];
        else
            EXPECT_EQ(Bits(got), Bits(out)) << c["name"];
    }
}

TEST(ZvFilter, KernelsByHand) {
    const struct { const char* name; float x, value; } rows[] = {
        {"ZvBoxFilter", 0, 1},               {"ZvBoxFilter", 0.25f, 1},           {"ZvBoxFilter", -0.25f, 1},
        {"ZvTriangleFilter", 0, 1},          {"ZvTriangleFilter", 0.25f, 0.75f},  {"ZvTriangleFilter", -0.25f, 0.75f},
        {"ZvBellFilter", 0, 0.75f},          {"ZvBellFilter", 0.25f, 0.6875f},    {"ZvBellFilter", -1, 0.125f},
        {"ZvBellFilter", 0.5f, 0.5f},        {"ZvBSplineFilter", 0, 0.6666667f},  {"ZvBSplineFilter", 0.5f, 0.0625f - 0.25f + 0.6666667f},
        {"ZvBSplineFilter", 1, 0.16666667f}, {"ZvBSplineFilter", -1.5f, 0.125f * 0.16666667f},
        {"ZvMitchellFilter", 0, 5.3333335f * 0.16666667f},
        {"ZvMitchellFilter", 0.5f, (0.875f - 3 + 5.3333335f) * 0.16666667f},
        {"ZvMitchellFilter", -1, (12.0f - 2.3333333f + 10.666667f) * 0.16666667f},
        {"ZvCatmullRomFilter", 0, 1},        {"ZvCatmullRomFilter", 0.5f, 0.5f},  {"ZvCatmullRomFilter", -0.25f, 0.84375f},
        {"ZvLanczos3Filter", 0, 1},          {"ZvSincFilter", 0, 1},
    };
    for (const auto& row : rows) EXPECT_EQ(FuncOf(row.name, row.x), row.value) << row.name << " " << row.x;
}

TEST(ZvFilter, KernelsEndWhereTheyShould) {
    const struct { const char* name; float end; bool isContinuous; } rows[] = {
        {"ZvTriangleFilter", 1, true}, {"ZvBellFilter", 1.5f, true},      {"ZvBSplineFilter", 2, true},
        {"ZvLanczos3Filter", 3, true}, {"ZvMitchellFilter", 2, false}, {"ZvCatmullRomFilter", 1, true},
    };
    for (const auto& row : rows) {
        for (const float x : {row.end, -row.end, Next(row.end), 1e30f}) EXPECT_EQ(Bits(FuncOf(row.name, x)), 0u) << row.name << " " << x;
        const float last = FuncOf(row.name, Before(row.end));
        EXPECT_EQ(last, FuncOf(row.name, -Before(row.end))) << row.name;
        if (row.isContinuous)
            EXPECT_NEAR(last, 0, 1e-6) << row.name;
        else
            EXPECT_GT(last, 1) << row.name;
    }
}

TEST(ZvFilter, BoxIsOpenBelowAndClosedAbove) {
    EXPECT_EQ(ZvBoxFilter().func(0.5f), 1.0f);
    EXPECT_EQ(ZvBoxFilter().func(-0.5f), 0.0f);
    EXPECT_EQ(ZvBoxFilter().func(Next(0.5f)), 0.0f);
    EXPECT_EQ(ZvBoxFilter().func(Next(-0.5f)), 1.0f);
}

TEST(ZvFilter, MitchellHasNoLinearTermInItsOuterLobe) {
    EXPECT_EQ(ZvMitchellFilter().func(1.5f), (27.0f - 2.3333333f * 3.375f + 10.666667f) * 0.16666667f);
    EXPECT_NEAR(ZvMitchellFilter().func(1.5f), (27 - 7.875 + 10.666667) * 0.16666667, 1e-6);
    EXPECT_NEAR(ZvMitchellFilter().func(1.5f), 4.9653, 1e-4);
}

TEST(ZvFilter, CatmullRomHasNoNegativeLobe) {
    for (int i = 0; i <= 300; ++i) EXPECT_GE(ZvCatmullRomFilter().func(static_cast<float>(i) / 100.0f), 0.0f);
}

TEST(ZvFilter, SineOfLanczosIsWindowed) {
    EXPECT_NEAR(ZvLanczos3Filter().func(0.5f), 0.6079271, 1e-6);       // (2 / pi) * (6 / pi) * sin(pi / 6)
    EXPECT_NEAR(ZvLanczos3Filter().func(1.5f), -0.1350949, 1e-6);      // -(2 / (3 pi)) * (2 / pi)
    EXPECT_NEAR(ZvLanczos3Filter().func(1), 0, 1e-6);
    EXPECT_NEAR(ZvLanczos3Filter().func(-2.5f), 0.0243171, 1e-6);
}

TEST(ZvFilter, SincHasNoCutOfItsOwn) {
    EXPECT_NEAR(ZvSincFilter().func(0.5f), 0.6366198, 1e-6);
    EXPECT_NEAR(ZvSincFilter().func(10.5f), 0.0303152, 1e-6);
    EXPECT_NEAR(ZvSincFilter().func(-10.5f), 0.0303152, 1e-6);
}

TEST(ZvFilter, SupportIsIndependentOfTheKernel) {
    for (const std::string& name : plain::FilterNames()) {
        const float support = 5.25f;
        WithFilter(name, &support, [&](const ZvFilter& wide) {
            EXPECT_EQ(wide.support(), 5.25f);
            for (const float x : {-4.0f, -1.25f, -0.5f, 0.0f, 0.3f, 0.5f, 0.75f, 1.0f, 1.5f, 2.5f, 5.0f}) EXPECT_EQ(wide.func(x), FuncOf(name, x)) << name << x;
        });
    }
}

TEST(ZvFilter, KernelsAreThePlainOnes) {
    for (const std::string& name : plain::FilterNames()) {
        const plain::Filter expected = plain::FilterNamed(name);
        for (int i = -4000; i <= 4000; ++i) {
            const float x = static_cast<float>(i) / 971.0f;
            ASSERT_EQ(Bits(FuncOf(name, x)), Bits(expected.func(x))) << name << " " << x;
        }
    }
}

TEST(ZvFilter, IsCopiedAndMovedWithItsSupport) {
    ZvBellFilter filter(7), copy(filter), other;
    EXPECT_EQ(copy.support(), 7);
    other = copy;
    EXPECT_EQ(other.support(), 7);
    ZvBellFilter moved(std::move(other)), target;
    EXPECT_EQ(moved.support(), 7);
    target = std::move(moved);
    EXPECT_EQ(target.support(), 7);
}

TEST(ZvFilter, SupportIsTheFirstVirtualAndFuncTheSecond) {
    // Filters of plug-ins are called through this table.
    Hat hat;
    const ZvFilter* filter = &hat;
    using Support = float (*)(const ZvFilter*);
    using Func = float (*)(const ZvFilter*, float);
    void* const* table = nullptr;
    std::memcpy(&table, static_cast<const void*>(filter), sizeof table);
    EXPECT_EQ(reinterpret_cast<Support>(table[0])(filter), 0.75f);
    EXPECT_EQ(reinterpret_cast<Func>(table[1])(filter, 0.0f), 2.0f);
    EXPECT_EQ(reinterpret_cast<Func>(table[1])(filter, 0.5f), 0.5f);
}
