#include "zvc/imaging/zvcolor.h"

#include "../support/Cases.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <limits>

namespace {

using cases::Group;
using cases::Json;

constexpr float NaN = std::numeric_limits<float>::quiet_NaN();

zvcolor Color(const Json& j) { return cases::Value<zvcolor>(j); }
float Float(const Json& j) { return cases::Scalar<float>(j); }

uint32_t Bits(float f) { return std::bit_cast<uint32_t>(f); }

/// Distance in units of the last place, for numbers of one sign.
long long Ulps(float a, float b) {
    if (a == b) return 0;
    const auto place = [](float f) { return static_cast<long long>(std::bit_cast<int32_t>(f)); };
    return std::abs(place(a) - place(b));
}

void ExpectBits(const zvcolor& got, const zvcolor& expected, const std::string& what) {
    EXPECT_TRUE(cases::Same(got, expected)) << what << ": " << got.r << " " << got.g << " " << got.b << " for " << expected.r << " "
                                            << expected.g << " " << expected.b;
}

void ExpectChannels(const zvcolor& c, float r, float g, float b) {
    EXPECT_EQ(c.r, r);
    EXPECT_EQ(c.g, g);
    EXPECT_EQ(c.b, b);
}

void ExpectBytes(const zvpackedcolor& p, int r, int g, int b, int e) {
    EXPECT_EQ(p.r, r);
    EXPECT_EQ(p.g, g);
    EXPECT_EQ(p.b, b);
    EXPECT_EQ(p.e, e);
}

}

static_assert(sizeof(zvcolor) == 12 && std::is_trivially_copyable_v<zvcolor> && !std::is_polymorphic_v<zvcolor>);
static_assert(sizeof(zvacolor) == 16 && std::is_trivially_copyable_v<zvacolor> && !std::is_polymorphic_v<zvacolor>);
static_assert(sizeof(zvpackedcolor) == 4 && std::is_trivially_copyable_v<zvpackedcolor> && !std::is_polymorphic_v<zvpackedcolor>);
static_assert(std::is_same_v<decltype(zvcolor::epsiron), float> && std::is_same_v<decltype(zvcolor::infinity), float>);
static_assert(std::is_same_v<decltype(zvcolor::x_weight), const float[3]> && std::is_same_v<decltype(zvcolor::cie_x), const float[471]>);
static_assert(std::is_same_v<decltype(zvcolor::cie_start), const int>);
static_assert(!std::is_convertible_v<zvcolor, zvacolor>, "a colour has no fourth float to read");

TEST(zvcolor, Constants) {
    const struct { const zvcolor& c; float r, g, b; } rows[] = {
        {zvcolor::black, 0, 0, 0}, {zvcolor::white, 1, 1, 1},  {zvcolor::red, 1, 0, 0},  {zvcolor::green, 0, 1, 0},
        {zvcolor::blue, 0, 0, 1},  {zvcolor::yellow, 1, 1, 0}, {zvcolor::cyan, 0, 1, 1}, {zvcolor::magenta, 1, 0, 1},
    };
    for (const auto& row : rows) ExpectChannels(row.c, row.r, row.g, row.b);
    EXPECT_EQ(zvcolor::epsiron, 1e-7f);
    EXPECT_EQ(zvcolor::infinity, 1e38f);
    EXPECT_EQ(zvcolor::cie_start, 360);
    EXPECT_EQ(zvcolor::cie_end, 830);
    EXPECT_EQ(zvcolor::cie_num, 471);
    const float weights[3][3] = {{0.412453f, 0.35758f, 0.180423f}, {0.212671f, 0.71516f, 0.072169f}, {0.019334f, 0.119193f, 0.950227f}};
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(zvcolor::x_weight[i], weights[0][i]);
        EXPECT_EQ(zvcolor::y_weight[i], weights[1][i]);
        EXPECT_EQ(zvcolor::z_weight[i], weights[2][i]);
    }
}

TEST(zvcolor, ConstantsAreTheComputedOnes) {
    for (const Json& c : Group("colors", "constants")) {
        const zvcolor expected = Color(c["color"]);
        const std::string name = c["name"];
        if (name == "black") ExpectBits(zvcolor::black, expected, name);
        else if (name == "yellow") ExpectBits(zvcolor::yellow, expected, name);
        else if (name == "x_weight") ExpectBits(zvcolor(zvcolor::x_weight), expected, name);
        else ADD_FAILURE() << name;
    }
}

TEST(zvcolor, ColourMatchingTables) {
    EXPECT_EQ(zvcolor::cie_x[0], 0.0001299f);
    EXPECT_EQ(zvcolor::cie_y[0], 3.917e-06f);
    EXPECT_EQ(zvcolor::cie_z[0], 0.0006061f);
    EXPECT_EQ(zvcolor::cie_x[239], 1.0629096f);
    EXPECT_EQ(zvcolor::cie_y[195], 1.0f);
    EXPECT_EQ(zvcolor::cie_z[86], 1.7829682f);
    EXPECT_EQ(zvcolor::cie_x[470], 1.2511410e-06f);
    EXPECT_EQ(zvcolor::cie_y[470], 4.5181e-07f);
    EXPECT_EQ(zvcolor::cie_z[470], 0.0f);
    // The peaks are the only ones, and the columns sum up to the published table's sums.
    double sums[3] = {};
    for (int i = 0; i < zvcolor::cie_num; ++i) {
        EXPECT_TRUE(i == 239 || zvcolor::cie_x[i] < 1.0629096f) << i;
        EXPECT_TRUE(i == 195 || zvcolor::cie_y[i] < 1.0f) << i;
        EXPECT_TRUE(i == 86 || zvcolor::cie_z[i] < 1.7829682f) << i;
        sums[0] += zvcolor::cie_x[i];
        sums[1] += zvcolor::cie_y[i];
        sums[2] += zvcolor::cie_z[i];
    }
    EXPECT_NEAR(sums[0], 106.865469489595, 2e-6);
    EXPECT_NEAR(sums[1], 106.8569171011719, 2e-6);
    EXPECT_NEAR(sums[2], 106.892251278636, 2e-6);
}

TEST(zvcolor, ColourMatchingTablesAreThePublishedOnes) {
    std::ifstream table(std::string(ZVC_TEST_DATA) + "/../../tools/cie/cie1931_1nm.csv");
    std::string line;
    ASSERT_TRUE(std::getline(table, line));                 // the names of the columns
    for (int i = 0; i < zvcolor::cie_num; ++i) {
        ASSERT_TRUE(std::getline(table, line)) << i;
        int wavelength = 0;
        float x = -1, y = -1, z = -1;
        ASSERT_EQ(std::sscanf(line.c_str(), "%d,%f,%f,%f", &wavelength, &x, &y, &z), 4) << line;
        EXPECT_EQ(wavelength, zvcolor::cie_start + i);
        EXPECT_EQ(Bits(zvcolor::cie_x[i]), Bits(x)) << line;
        EXPECT_EQ(Bits(zvcolor::cie_y[i]), Bits(y)) << line;
        EXPECT_EQ(Bits(zvcolor::cie_z[i]), Bits(z)) << line;
    }
    EXPECT_FALSE(std::getline(table, line));
}

TEST(zvcolor, Constructors) {
    ExpectChannels(zvcolor(), 0, 0, 0);
    ExpectChannels(zvcolor(2.5f), 2.5f, 2.5f, 2.5f);
    ExpectChannels(zvcolor(0), 0, 0, 0);
    ExpectChannels(zvcolor(1, 2, 3), 1, 2, 3);
    ExpectChannels(zvcolor(CG::vec3<float>{1, 2, 3}), 1, 2, 3);
    ExpectChannels(zvcolor(CG::vec4<float>{1, 2, 3, 4}), 1, 2, 3);
    float floats[] = {4, 5, 6, 7};
    const float* pointer = floats;
    ExpectChannels(zvcolor(floats), 4, 5, 6);
    ExpectChannels(zvcolor(pointer), 4, 5, 6);
    ExpectChannels(zvcolor(zvpackedcolor(128, 128, 128, 129)), 1.00390625f, 1.00390625f, 1.00390625f);
    const zvcolor implicit = 3.0f;
    ExpectChannels(implicit, 3, 3, 3);
    static_assert(!std::is_convertible_v<const zvpackedcolor&, CG::vec4<float>>);
}

TEST(zvcolor, IsTheAddressOfItsFirstChannel) {
    zvcolor c(1, 2, 3);
    float* channels = c;
    EXPECT_EQ(channels, &c.r);
    channels[1] = 9;
    EXPECT_EQ(c.g, 9);
    const zvcolor& constant = c;
    const float* read = constant;
    EXPECT_EQ(read, &c.r);
    EXPECT_EQ(c[2], 3);
    EXPECT_EQ(constant[2], 3);
}

TEST(zvcolor, CopiesAndMoves) {
    zvcolor a(1, 2, 3), b;
    b = a;
    ExpectChannels(b, 1, 2, 3);
    zvcolor c;
    c = std::move(a);
    ExpectChannels(c, 1, 2, 3);
}

TEST(zvcolor, Arithmetic) {
    for (const Json& c : Group("colors", "arithmetic")) {
        const std::string name = c["name"];
        const zvcolor a = Color(c["a"]), b = Color(c["b"]);
        const float s = Float(c["s"]);
        const auto both = [&](const char* key, const zvcolor& plain, auto compound) {
            ExpectBits(plain, Color(c[key]), name + " " + key);
            zvcolor changed = a;
            zvcolor& result = compound(changed);
            EXPECT_EQ(&result, &changed);
            ExpectBits(changed, Color(c[key]), name + " compound " + key);
        };
        both("plus", a + b, [&](zvcolor& x) -> zvcolor& { return x += b; });
        both("minus", a - b, [&](zvcolor& x) -> zvcolor& { return x -= b; });
        both("times", a * b, [&](zvcolor& x) -> zvcolor& { return x *= b; });
        both("over", a / b, [&](zvcolor& x) -> zvcolor& { return x /= b; });
        both("timesFloat", a * s, [&](zvcolor& x) -> zvcolor& { return x *= s; });
        both("overFloat", a / s, [&](zvcolor& x) -> zvcolor& { return x /= s; });
        ExpectBits(-a, Color(c["negative"]), name + " negative");
    }
}

TEST(zvcolor, DivisionByAFloatMultipliesByItsReciprocal) {
    const zvcolor a(5, 10, 20);
    const zvcolor byFloat = a / 49.0f;
    EXPECT_EQ(Bits(byFloat.r), Bits(5.0f * (1.0f / 49.0f)));
    EXPECT_NE(5.0f * (1.0f / 49.0f), 5.0f / 49.0f);
    EXPECT_EQ(Bits((a / zvcolor(49)).r), Bits(5.0f / 49.0f));
    zvcolor self(4, 2, 8);
    const zvcolor& same = self;
    self /= same;
    ExpectChannels(self, 1, 1, 1);
}

TEST(zvcolor, Comparison) {
    for (const Json& c : Group("colors", "comparison")) {
        const std::string name = c["name"];
        const zvcolor a = Color(c["a"]), b = Color(c["b"]);
        EXPECT_EQ(a == b, c["eq"].get<bool>()) << name;
        EXPECT_EQ(a != b, c["ne"].get<bool>()) << name;
        EXPECT_EQ(a < b, c["lt"].get<bool>()) << name;
        EXPECT_EQ(a > b, c["gt"].get<bool>()) << name;
        EXPECT_EQ(a <= b, c["le"].get<bool>()) << name;
        EXPECT_EQ(a >= b, c["ge"].get<bool>()) << name;
    }
}

TEST(zvcolor, TheFirstChannelThatDiffersDecides) {
    const zvcolor base(1, 1, 1);
    const zvcolor greater[] = {{2, 0, 0}, {1, 2, 0}, {1, 1, 2}, {NaN, 2, 0}, {NaN, NaN, 2}, {1, NaN, 1.5f}};
    for (const zvcolor& c : greater) {
        EXPECT_TRUE(base < c && c > base && base <= c && c >= base && base != c);
        EXPECT_FALSE(base > c || c < base || base >= c || c <= base || base == c);
    }
    EXPECT_TRUE(base <= base && base >= base && base == base);
    EXPECT_FALSE(base < base || base > base || base != base);
    EXPECT_TRUE(zvcolor(-0.0f) == zvcolor(0.0f));
}

TEST(zvcolor, ANaNEqualsAnyNumberAndIsReported) {
    const zvcolor c(NaN, 1, 2);
    EXPECT_TRUE(c == zvcolor(7, 1, 2));
    EXPECT_TRUE(c.isnan());
    EXPECT_TRUE(zvcolor(0, NaN, 0).isnan());
    EXPECT_TRUE(zvcolor(0, 0, NaN).isnan());
    EXPECT_FALSE(zvcolor(std::numeric_limits<float>::infinity(), 0, 0).isnan());
}

TEST(zvcolor, Queries) {
    for (const Json& c : Group("colors", "queries")) {
        const std::string name = c["name"];
        const zvcolor a = Color(c["a"]);
        EXPECT_EQ(a.isnan(), c["isnan"].get<bool>()) << name;
        if (!c.contains("max")) continue;
        EXPECT_EQ(Bits(a.max_component()), Bits(Float(c["max"]))) << name;
        EXPECT_EQ(a.isblack(), c["isblack"].get<bool>()) << name;
        EXPECT_EQ(Bits(a.y()), Bits(Float(c["y"]))) << name;
        EXPECT_EQ(Bits(a.intensity()), Bits(Float(c["intensity"]))) << name;
        EXPECT_EQ(Bits(a.power()), Bits(Float(c["power"]))) << name;
        const CG::vec3<float> xyz = a.xyz();
        const long long allowed = c["xyzUlp"].get<int>();
        EXPECT_LE(Ulps(xyz.x, Float(c["xyz"][0])), allowed) << name;
        EXPECT_LE(Ulps(xyz.y, Float(c["xyz"][1])), allowed) << name;
        EXPECT_LE(Ulps(xyz.z, Float(c["xyz"][2])), allowed) << name;
    }
}

TEST(zvcolor, GreatestOfEqualChannelsIsTheLast) {
    EXPECT_EQ(Bits(zvcolor(0.0f, -0.0f, -1).max_component()), Bits(-0.0f));
    EXPECT_EQ(Bits(zvcolor(-0.0f, 0.0f, -1).max_component()), Bits(0.0f));
    EXPECT_EQ(Bits(zvcolor(-1, 0.0f, -0.0f).max_component()), Bits(-0.0f));
    EXPECT_EQ(zvcolor(3, 2, 1).max_component(), 3);
    EXPECT_EQ(zvcolor(1, 3, 2).max_component(), 3);
    EXPECT_EQ(zvcolor(1, 2, 3).max_component(), 3);
}

TEST(zvcolor, IsBlackBelowEpsiron) {
    EXPECT_TRUE(zvcolor(-5, -5, -5).isblack());
    EXPECT_TRUE(zvcolor(0.9e-7f).isblack());
    EXPECT_FALSE(zvcolor(1e-7f, 0, 0).isblack());
    EXPECT_FALSE(zvcolor(0, 1e-7f, 0).isblack());
    EXPECT_FALSE(zvcolor(0, 0, 1e-7f).isblack());
    EXPECT_FALSE(zvcolor(NaN, 0, 0).isblack());
    const float before = zvcolor::epsiron;
    zvcolor::epsiron = 1;
    EXPECT_TRUE(zvcolor(0.5f).isblack());
    zvcolor::epsiron = before;
    EXPECT_FALSE(zvcolor(0.5f).isblack());
}

TEST(zvcolor, NewColours) {
    for (const Json& c : Group("colors", "new-colours")) {
        const std::string name = c["name"];
        const zvcolor a = Color(c["a"]);
        ExpectBits(a.clamp(Float(c["lo"]), Float(c["hi"])), Color(c["clamp"]), name + " clamp");
        if (!c.contains("absolute")) continue;
        const zvcolor absolute = Color(c["absolute"]);
        ExpectBits(absolute.sqrt(), Color(c["sqrtOfAbsolute"]), name + " sqrt");
        const zvcolor power = a.pow(Color(c["exponent"])), expected = Color(c["pow"]);
        for (int i = 0; i < 3; ++i) EXPECT_LE(Ulps(power[i], expected[i]), c["powUlp"].get<int>()) << name;
        ExpectBits(a.white_complement(), Color(c["whiteComplement"]), name + " white_complement");
        ExpectBits(a.satulate(Float(c["s"])), Color(c["satulate"]), name + " satulate");
        zvcolor scaled = a;
        scaled.scaleToUnitOrLess();
        ExpectBits(scaled, Color(c["scaleToUnitOrLess"]), name + " scaleToUnitOrLess");
    }
}

TEST(zvcolor, ClampTakesTheUpperBoundFirst) {
    ExpectChannels(zvcolor(0.5f, 2, -1).clamp(1, 0), 1, 1, 1);
    ExpectChannels(zvcolor(-1, 0.5f, 3).clamp(zvcolor(0, 0.6f, 1), zvcolor(1, 1, 2)), 0, 0.6f, 2);
}

TEST(zvcolor, PowOfWhatIsNotAboveZeroIsZero) {
    ExpectChannels(zvcolor(0, -2, -0.0f).pow(zvcolor(0, 2, -1)), 0, 0, 0);
    ExpectChannels(zvcolor(1, 1, 2).pow(zvcolor(0, 5, 3)), 1, 1, 8);
    ExpectChannels(zvcolor(NaN, 4, 9).pow(zvcolor(1, 0.5f, 0.5f)), 0, 2, 3);
}

TEST(zvcolor, WhiteComplementIsNotNegative) { ExpectChannels(zvcolor(0.25f, 1, 7).white_complement(), 0.75f, 0, 0); }

TEST(zvcolor, SatulateGoesTowardsTheGreatestChannel) {
    ExpectChannels(zvcolor(1, 2, 4).satulate(1), 1, 2, 4);
    ExpectChannels(zvcolor(1, 2, 4).satulate(0), 4, 4, 4);
    ExpectChannels(zvcolor(1, 2, 4).satulate(0.5f), 2.5f, 3, 4);
}

TEST(zvcolor, ScaleToUnitOrLess) {
    zvcolor c(-1, 0, 0.5f);
    c.scaleToUnitOrLess();
    ExpectChannels(c, 0, 1.0f * (1.0f / 1.5f), 1);
    EXPECT_EQ(c.g, 0.6666667f);
    zvcolor fits(0.25f, 1, 0);
    fits.scaleToUnitOrLess();
    ExpectChannels(fits, 0.25f, 1, 0);
    zvcolor lifted(-0.5f, 0.25f, -0.25f);
    lifted.scaleToUnitOrLess();
    ExpectChannels(lifted, 0, 0.75f, 0.25f);
}

TEST(zvacolor, Constructors) {
    const auto expect = [](const zvacolor& c, float r, float g, float b, float a) {
        ExpectChannels(zvcolor(c.r, c.g, c.b), r, g, b);
        EXPECT_EQ(c.a, a);
    };
    expect(zvacolor(), 0, 0, 0, 1);
    expect(zvacolor(0.5f), 0.5f, 0.5f, 0.5f, 1);
    expect(zvacolor(zvcolor(1, 2, 3), 4), 1, 2, 3, 4);
    expect(zvacolor(1, 2, 3, 4), 1, 2, 3, 4);
    expect(zvacolor(CG::vec4<float>{1, 2, 3, 4}), 1, 2, 3, 4);
    expect(zvacolor(CG::vec3<float>{1, 2, 3}), 1, 2, 3, 1);
    const float floats[] = {5, 6, 7, 8};
    expect(zvacolor(floats), 5, 6, 7, 8);
}

TEST(zvacolor, IndexesItsFourFloats) {
    zvacolor c(1, 2, 3, 4);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(c[i], static_cast<float>(i + 1));
    c[3] = 9;
    EXPECT_EQ(c.a, 9);
    const zvacolor& constant = c;
    EXPECT_EQ(&constant[1], &c.g);
}

TEST(zvacolor, ArithmeticCoversAlpha) {
    const zvacolor a(1, 2, 3, 1), b(4, 8, 2, 1);
    const auto expect = [](const zvacolor& c, float r, float g, float blue, float alpha) {
        EXPECT_EQ(c.r, r);
        EXPECT_EQ(c.g, g);
        EXPECT_EQ(c.b, blue);
        EXPECT_EQ(c.a, alpha);
    };
    expect(a + b, 5, 10, 5, 2);
    expect(a - b, -3, -6, 1, 0);
    expect(a * b, 4, 16, 6, 1);
    expect(a / b, 0.25f, 0.25f, 1.5f, 1);
    expect(a * 2.0f, 2, 4, 6, 2);
    expect(a / 4.0f, 0.25f, 0.5f, 0.75f, 0.25f);
    expect(-a, -1, -2, -3, -1);
    zvacolor c = a;
    expect(c += b, 5, 10, 5, 2);
    expect(c -= b, 1, 2, 3, 1);
    expect(c *= b, 4, 16, 6, 1);
    expect(c /= b, 1, 2, 3, 1);
    expect(c *= 2.0f, 2, 4, 6, 2);
    expect(c /= 2.0f, 1, 2, 3, 1);
    EXPECT_EQ(Bits((zvacolor(5, 5, 5, 5) / 49.0f).a), Bits(5.0f * (1.0f / 49.0f)));
}

TEST(zvpackedcolor, PacksAndUnpacks) {
    for (const Json& c : Group("colors", "packed")) {
        const std::string name = c["name"];
        const zvpackedcolor p(Color(c["a"]));
        for (size_t i = 0; i < 4; ++i) EXPECT_EQ((&p.r)[i], c["packed"][i].get<int>()) << name;
        ExpectBits(zvcolor(p), Color(c["back"]), name);
    }
    for (const Json& c : Group("colors", "unpack")) {
        const auto byte = [&](size_t i) { return static_cast<unsigned char>(c["packed"][i].get<int>()); };
        ExpectBits(zvcolor(zvpackedcolor(byte(0), byte(1), byte(2), byte(3))), Color(c["color"]), c["name"]);
    }
}

TEST(zvpackedcolor, WhiteComesBackBrighter) {
    const zvpackedcolor p(zvcolor(1, 1, 1));
    ExpectBytes(p, 128, 128, 128, 129);
    ExpectChannels(zvcolor(p), 1.00390625f, 1.00390625f, 1.00390625f);
}

TEST(zvpackedcolor, BlackStaysBlack) {
    const zvcolor back = zvpackedcolor(zvcolor(0, 0, 0));
    ExpectBits(back, zvcolor::black, "black");
}

TEST(zvpackedcolor, BelowTheLeastIsZero) {
    ExpectBytes(zvpackedcolor(zvcolor(0.99e-32f)), 0, 0, 0, 0);
    ExpectBytes(zvpackedcolor(zvcolor(-3, -2, -1)), 0, 0, 0, 0);
    ExpectBytes(zvpackedcolor(zvcolor(1e-40f)), 0, 0, 0, 0);
    EXPECT_NE(zvpackedcolor(zvcolor(1e-32f)).e, 0);
}

TEST(zvpackedcolor, NegativeChannelsAreNotGuarded) {
    // Beside 1 the factor is 128: -0.5 gives -64, whose low byte is 192.
    ExpectBytes(zvpackedcolor(zvcolor(1, -0.5f, 0)), 128, 192, 0, 129);
    // What does not fit into 32 bits has a low byte of 0.
    ExpectBytes(zvpackedcolor(zvcolor(1, -1e30f, 0)), 128, 0, 0, 129);
}

TEST(zvpackedcolor, WithoutAFiniteGreatestChannel) {
    ExpectBytes(zvpackedcolor(zvcolor(std::numeric_limits<float>::infinity(), 1, 2)), 0, 0, 0, 128);
    ExpectBytes(zvpackedcolor(zvcolor(0, 0, NaN)), 0, 0, 0, 128);      // nothing exceeds a NaN in blue, and it is not small
    ExpectBytes(zvpackedcolor(zvcolor(NaN)), 0, 0, 0, 128);
}

TEST(zvpackedcolor, ConversionsAndBytes) {
    const zvpackedcolor p(CG::vec3<float>{0.5f, 0.25f, 0.125f});
    ExpectBytes(p, 128, 64, 32, 128);
    const CG::vec3<float> v = p;
    EXPECT_EQ(v.x, 0.501953125f);
    EXPECT_EQ(v.y, 0.251953125f);
    EXPECT_EQ(v.z, 0.126953125f);
    const zvcolor c = p;
    EXPECT_EQ(c.r, v.x);
    zvpackedcolor copy;
    copy = p;
    ExpectBytes(copy, 128, 64, 32, 128);
    copy.make_zero();
    ExpectBytes(copy, 0, 0, 0, 0);
    copy.init(zvcolor(2, 1, 0.5f));
    ExpectBytes(copy, 128, 64, 32, 130);
    ExpectBytes(zvpackedcolor(1, 2, 3, 4), 1, 2, 3, 4);
}

TEST(zvpackedcolor, LeavesItsBytesAsTheyAre) {
    // Through a pointer that the compiler cannot see through: to it, what lay there before is no value of the new object.
    void (*volatile construct)(void*) = [](void* place) { new (place) zvpackedcolor; };
    alignas(zvpackedcolor) unsigned char place[4] = {1, 2, 3, 4};
    construct(place);
    EXPECT_EQ(place[0], 1);
    EXPECT_EQ(place[1], 2);
    EXPECT_EQ(place[2], 3);
    EXPECT_EQ(place[3], 4);
}

TEST(zvpackedcolor, EveryExponentUnpacksToItsPowerOfTwo) {
    for (int e = 1; e < 256; ++e) {
        const zvcolor c = zvpackedcolor(0, 127, 255, static_cast<unsigned char>(e));
        const auto f = static_cast<float>(std::ldexp(1.0, e - 136));
        EXPECT_EQ(Bits(c.r), Bits(0.5f * f)) << e;
        EXPECT_EQ(Bits(c.g), Bits(127.5f * f)) << e;
        EXPECT_EQ(Bits(c.b), Bits(255.5f * f)) << e;
    }
}

TEST(zvpackedcolor, PacksAsTheFormulaWithFrexp) {
    uint32_t state = 1;
    const auto next = [&state] { return state = state * 1664525 + 1013904223; };
    for (int i = 0; i < 20000; ++i) {
        float channel[3];
        for (float& f : channel) f = std::ldexp(static_cast<float>(next() >> 8), static_cast<int>(next() >> 26) - 56);
        const zvcolor c(channel);
        int exponent = 0;
        const float m = std::fmax(std::fmax(c.r, c.g), c.b);
        const double factor = m == 0 ? 0 : std::frexp(m, &exponent) * 256.0 / m;
        const zvpackedcolor p(c);
        if (m < 1e-32) {
            ExpectBytes(p, 0, 0, 0, 0);
        } else {
            ExpectBytes(p, static_cast<int>(factor * c.r), static_cast<int>(factor * c.g), static_cast<int>(factor * c.b), exponent + 128);
        }
    }
}
