#include <zvc/zvc.h>

#include "support/Cases.h"
#include "support/Temporary.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

namespace {

long long Ulps(double a, double b) { return std::llabs(std::bit_cast<long long>(a) - std::bit_cast<long long>(b)); }

constexpr double Inf = std::numeric_limits<double>::infinity();
const double NaN = std::nan("");

/// The roots, or two marks where they were not touched.
struct Roots {
    int count;
    double first, second;
};
constexpr double Untouched = 12345.0;

Roots Solve(double a, double b, double c) {
    double roots[2] = {Untouched, Untouched};
    const int count = ZvMath::Quadratics(a, b, c, roots);
    return {count, roots[0], roots[1]};
}

void ExpectRoots(double a, double b, double c, double first, double second) {
    SCOPED_TRACE(std::to_string(a) + " " + std::to_string(b) + " " + std::to_string(c));
    const Roots r = Solve(a, b, c);
    EXPECT_EQ(r.count, 2);
    const auto same = [](double x, double y) { return (std::isnan(x) && std::isnan(y)) || std::bit_cast<uint64_t>(x) == std::bit_cast<uint64_t>(y); };
    EXPECT_TRUE(same(r.first, first)) << r.first << " and not " << first;
    EXPECT_TRUE(same(r.second, second)) << r.second << " and not " << second;
}

void ExpectNone(double a, double b, double c) {
    const Roots r = Solve(a, b, c);
    EXPECT_EQ(r.count, 0) << a << " " << b << " " << c;
    EXPECT_EQ(r.first, Untouched);
    EXPECT_EQ(r.second, Untouched);
}

}

TEST(ZvMath, Constants) {
    EXPECT_EQ(std::bit_cast<uint64_t>(ZvMath::PI), 0x400921fb54442d18u);
    EXPECT_EQ(std::bit_cast<uint64_t>(ZvMath::PI_2), 0x3ff921fb54442d18u);
    EXPECT_EQ(std::bit_cast<uint64_t>(ZvMath::PI_4), 0x3fe921fb54442d18u);
    EXPECT_EQ(std::bit_cast<uint64_t>(ZvMath::PI_3_4), 0x4002d97c7f3321d2u);
    EXPECT_EQ(std::bit_cast<uint64_t>(ZvMath::_2_PI), 0x3fe45f306dc9c883u);
    EXPECT_EQ(std::bit_cast<uint64_t>(ZvMath::_1_PI), 0x3fd45f306dc9c883u);
    EXPECT_EQ(std::bit_cast<uint64_t>(ZvMath::_1_2PI), 0x3fc45f306dc9c883u);
    EXPECT_EQ(std::bit_cast<uint64_t>(ZvMath::_1_4PI), 0x3fb45f306dc9c883u);
    EXPECT_EQ(std::bit_cast<uint64_t>(ZvMath::infinity), 0x7fefffffffffffffu);       // the largest finite number
    EXPECT_EQ(std::bit_cast<uint64_t>(ZvMath::epsiron), 0x3cb0000000000000u);        // 2 to the power -52
    static_assert(std::is_same_v<decltype(ZvMath::PI), const double>);
    for (const cases::Json& c : cases::Group("math", "constants")) {
        const std::map<std::string, double> named = {
            {"PI", ZvMath::PI}, {"PI_2", ZvMath::PI_2}, {"PI_4", ZvMath::PI_4}, {"PI_3_4", ZvMath::PI_3_4},
            {"_2_PI", ZvMath::_2_PI}, {"_1_PI", ZvMath::_1_PI}, {"_1_2PI", ZvMath::_1_2PI}, {"_1_4PI", ZvMath::_1_4PI},
            {"infinity", ZvMath::infinity}, {"epsiron", ZvMath::epsiron}};
        EXPECT_LE(Ulps(named.at(c["name"]), cases::Scalar<double>(c["value"])), c["ulp"].get<int>()) << c["name"];
    }
}

TEST(ZvMath, RandomIsTheSameSequenceInEveryProcess) {
    std::string calls = " 1 1000000", expected = "0x3fea12376b800000\n";       // the first is 0.8147236919030547
    for (const cases::Json& c : cases::Group("math", "random")) {
        calls += " " + std::to_string(c["call"].get<long>());
        if (c["call"] != 1) expected += c["out"].get<std::string>() + "\n";
    }
    const CommandOutcome outcome = RunCommand("'" + BesideTheTests("random_sequence") + "'" + calls);
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(outcome.output.substr(0, expected.size()), expected);
    EXPECT_EQ(outcome.output.size(), expected.size() + 19);                    // and the millionth
    EXPECT_EQ(std::bit_cast<double>(0x3fea12376b800000u), 0.8147236919030547);
}

TEST(ZvMath, RandomStaysBelowOne) {
    for (int i = 0; i < 10000; ++i) {
        const double value = ZvMath::Random();
        EXPECT_GE(value, 0);
        EXPECT_LT(value, 1);
        EXPECT_EQ(value * 4294967296.0, std::floor(value * 4294967296.0));
    }
}

TEST(ZvMath, QuadraticsOfTheCases) {
    for (const cases::Json& c : cases::Group("math", "quadratics")) {
        const double a = cases::Scalar<double>(c["a"]), b = cases::Scalar<double>(c["b"]), d = cases::Scalar<double>(c["c"]);
        if (c["count"] == 0) {
            ExpectNone(a, b, d);
            continue;
        }
        const auto root = [&](size_t i) { return c["out"][i].is_null() ? NaN : cases::Scalar<double>(c["out"][i]); };
        ExpectRoots(a, b, d, root(0), root(1));
    }
}

TEST(ZvMath, QuadraticsGivesTheLargerRootFirst) {
    ExpectRoots(1, -3, 2, 2, 1);
    ExpectRoots(1, 3, 2, -2, -1);
    ExpectRoots(-1, 3, -2, 2, 1);
    ExpectRoots(1, 0, -4, -2, 2);
    ExpectRoots(1, -0.0, -4, -2, 2);                             // a zero counts as not negative, whatever its sign
    ExpectRoots(2, -4, 2, 1, 1);                                 // a double root is two roots
    ExpectRoots(1, -1e8, 1, 1e8, 1e-8);                          // where the schoolbook form loses the small root
}

TEST(ZvMath, QuadraticsWithoutRealRootsLeavesRootsAlone) {
    ExpectNone(1, 0, 1);
    ExpectNone(1, 1, 1);
    ExpectNone(NaN, 1, 1);
    ExpectNone(1, NaN, 1);
    ExpectNone(1, 1, NaN);
    ExpectNone(Inf, 1, 1);
    ExpectNone(1, Inf, Inf);                                     // infinity less infinity
    ExpectNone(Inf, 1, 0);                                       // infinity times zero
    ExpectNone(1, 1, Inf);
    ExpectNone(0, 1, Inf);
}

TEST(ZvMath, QuadraticsDividesByZeroAsIeeeDoes) {
    ExpectRoots(0, 2, 1, -Inf, NaN);
    ExpectRoots(0, -2, 1, Inf, NaN);
    ExpectRoots(-0.0, 2, 1, Inf, NaN);
    ExpectRoots(0, 0, 1, NaN, NaN);
    ExpectRoots(0, 0, 0, NaN, NaN);
    ExpectRoots(1, 0, 0, -0.0, NaN);                             // the first root is zero
    ExpectRoots(1, 0, -0.0, -0.0, NaN);
    ExpectRoots(1, Inf, 1, -Inf, -0.0);
    ExpectRoots(1, -Inf, 1, Inf, 0);
    ExpectRoots(1, 0, -Inf, -Inf, NaN);
    ExpectRoots(-Inf, 0, 1, NaN, NaN);
    ExpectRoots(1, 1e200, 1, -Inf, -0.0);                        // the discriminant overflows
    ExpectRoots(1e-200, 1, 1e-200, -1e200, -1e-200);
    ExpectRoots(5e-324, 1, 0, -Inf, -0.0);                       // the quotient overflows
}
