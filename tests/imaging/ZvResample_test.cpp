#include "zvc/imaging/ZvResample.h"

#include "../support/Cases.h"
#include "../support/Filters.h"
#include "../support/Guarded.h"
#include "../support/PlainResize.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>

namespace {

using cases::FromHex;
using cases::Group;
using cases::Json;
using cases::Scalar;
using zvc::detail::Contributions;
using zvc::detail::KernelsOf;
using zvc::detail::ResampleKernels;
using zvc::detail::ResampleLevel;
using zvc::detail::SampleRows;

struct Level {
    ResampleLevel level;
    const char* name;
};
constexpr Level Levels[] = {{ResampleLevel::Sse2, "SSE2"}, {ResampleLevel::Avx2, "AVX2"}, {ResampleLevel::Avx512, "AVX-512"}};

/// A picture in the middle of its rows' padding, which keeps its bytes.
template <class T>
struct Rows {
    Guarded block;
    SampleRows rows;
    size_t rowBytes;

    /// No byte more than the rows need: behind the last one there is no padding.
    Rows(int width, int height, int channels, size_t padding, Guarded::Where where)
        : block(Needed(width, height, channels, padding), where), rows{}, rowBytes(RowBytes(width, channels)) {
        rows = {block.Data(), static_cast<ptrdiff_t>(rowBytes + padding), width, height};
        std::memset(block.Data(), 0xA5, Needed(width, height, channels, padding));
    }
    static size_t RowBytes(int width, int channels) { return static_cast<size_t>(width) * static_cast<size_t>(channels) * sizeof(T); }
    static size_t Needed(int width, int height, int channels, size_t padding) {
        return height == 0 ? 0 : static_cast<size_t>(height) * (RowBytes(width, channels) + padding) - padding;
    }

    void Put(const plain::Samples<T>& samples) {
        for (int y = 0; y < rows.height; ++y)
            if (rowBytes > 0) std::memcpy(rows.data + y * rows.pitch, samples.At(0, y), rowBytes);
    }
    bool Holds(const plain::Samples<T>& samples) const {
        for (int y = 0; y < rows.height; ++y) {
            const unsigned char* row = rows.data + y * rows.pitch;
            if (rowBytes > 0 && std::memcmp(row, samples.At(0, y), rowBytes) != 0) return false;
            if (y + 1 < rows.height)
                for (ptrdiff_t i = static_cast<ptrdiff_t>(rowBytes); i < rows.pitch; ++i)
                    if (row[i] != 0xA5) return false;
        }
        return true;
    }
};

using Random = std::mt19937;
int Between(Random& random, int least, int most) { return std::uniform_int_distribution<int>(least, most)(random); }

/// Noise, or hard edges that make filters overshoot, or one value.
template <class T>
plain::Samples<T> Something(Random& random, int width, int height, int channels) {
    plain::Samples<T> samples(width, height, channels);
    const int kind = Between(random, 0, 3);
    const auto one = static_cast<T>(random());
    for (T& sample : samples.data)
        sample = kind == 0 ? one : kind == 1 ? static_cast<T>(random() % 2 == 0 ? 0 : ~0) : static_cast<T>(random());
    return samples;
}

struct Case {
    std::string filter;
    bool hasSupport;
    float support;
    int width, height, channels, newWidth, newHeight;
    size_t padding, newPadding;
};

Case MakeCase(Random& random) {
    Case c{};
    c.filter = plain::FilterNames()[random() % 8];
    c.hasSupport = random() % 4 == 0;
    c.support = static_cast<float>(Between(random, 0, 24)) * 0.25f;
    c.channels = Between(random, 1, 8);
    const int most = random() % 8 == 0 ? 150 : 40;
    c.width = Between(random, 1, most);
    c.height = Between(random, 1, most);
    c.newWidth = random() % 8 == 0 ? c.width : Between(random, 1, most);
    c.newHeight = random() % 8 == 0 ? c.height : Between(random, 1, most);
    // The ratios that stand out, and their neighbours.
    if (random() % 4 == 0) c.newWidth = std::max(1, (random() % 2 == 0 ? c.width * 2 : c.width / 2) + Between(random, -1, 1));
    if (random() % 4 == 0) c.newHeight = std::max(1, (random() % 2 == 0 ? c.height * 2 : c.height / 2) + Between(random, -1, 1));
    c.padding = static_cast<size_t>(Between(random, 0, 5));
    c.newPadding = static_cast<size_t>(Between(random, 0, 5));
    return c;
}

template <class T>
void Compare(Random& random, const Case& c, int number) {
    const auto from = Something<T>(random, c.width, c.height, c.channels);
    plain::Filter filter = plain::FilterNamed(c.filter);
    if (c.hasSupport) filter.support = c.support;
    const auto expected = plain::Resize(from, c.newWidth, c.newHeight, filter);
    for (const Guarded::Where where : {Guarded::AtTheEnd, Guarded::AtTheBegin}) {
        Rows<T> source(c.width, c.height, c.channels, c.padding, where);
        source.Put(from);
        for (const Level& level : Levels) {
            const ResampleKernels* kernels = KernelsOf(level.level);
            if (kernels == nullptr) continue;
            Rows<T> target(c.newWidth, c.newHeight, c.channels, c.newPadding, where);
            WithFilter(c.filter, c.hasSupport ? &c.support : nullptr, [&](const ZvFilter& ours) {
                zvc::detail::Resample(source.rows, target.rows, c.channels, sizeof(T), ours, *kernels);
            });
            ASSERT_TRUE(target.Holds(expected)) << "case " << number << ": " << level.name << " " << c.filter << " " << filter.support << " " << c.width
                                                << "x" << c.height << "x" << c.channels << " to " << c.newWidth << "x" << c.newHeight;
        }
        ASSERT_TRUE(source.Holds(from)) << "case " << number;
    }
}

template <class T>
void CompareMany(uint32_t seed, int count) {
    Random random(seed);
    for (int i = 0; i < count && !testing::Test::HasFatalFailure(); ++i) {
        const Case c = MakeCase(random);
        Compare<T>(random, c, i);
    }
}

/// The whole operation of the image on the samples of a computed case.
std::string Resized(const Json& c, int newWidth, int newHeight, ZvImage$* image = nullptr) {
    const int width = c["width"], height = c["height"], channels = c["channels"], depth = c["depth"];
    std::string data = FromHex(c["data"]);
    const int rowBytes = width * channels * depth / 8;
    ZvImage$ from = new ZvImage(width, height, static_cast<char>(channels), static_cast<short>(depth), 0,
                                reinterpret_cast<unsigned char*>(data.data()), rowBytes, false);
    const float support = c.contains("support") ? Scalar<float>(c["support"]) : 0;
    ZvImage$ to;
    WithFilter(c["filter"], c.contains("support") ? &support : nullptr, [&](const ZvFilter& filter) { to = from->Resize(newWidth, newHeight, filter); });
    std::string out;
    for (int y = 0; y < std::abs(to->GetHeight()); ++y)
        out.append(reinterpret_cast<const char*>(to->GetRow(y)), static_cast<size_t>(newWidth * channels * depth / 8));
    if (image != nullptr) *image = to;
    return out;
}

void CompareGroup(const char* group) {
    for (const Json& c : Group("resample", group)) {
        const int newWidth = c["newWidth"], newHeight = c["newHeight"];
        ZvImage$ image;
        const std::string out = Resized(c, newWidth, newHeight, &image), expected = FromHex(c["out"]);
        EXPECT_EQ(image->GetWidth(), newWidth) << c["name"];
        EXPECT_EQ(image->GetHeight(), c["outHeight"].get<int>()) << c["name"];
        ASSERT_EQ(out.size(), expected.size()) << c["name"];
        std::set<size_t> unsure;
        if (c.contains("unsure"))
            for (const Json& index : c["unsure"]) unsure.insert(index.get<size_t>());
        const size_t bytes = c["depth"].get<size_t>() / 8;
        for (size_t i = 0; i < out.size(); i += bytes) {
            if (unsure.count(i / bytes) != 0) continue;
            EXPECT_EQ(cases::ToHex(out.substr(i, bytes)), cases::ToHex(expected.substr(i, bytes))) << c["name"] << " sample " << i / bytes;
        }
    }
}

void ExpectTable(const Contributions& table, int position, const std::vector<plain::Entry>& expected) {
    const auto entries = table[position];
    ASSERT_EQ(entries.size(), expected.size()) << position;
    for (size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(entries[i].index, expected[i].index) << position;
        EXPECT_EQ(entries[i].weight, expected[i].weight) << position;
    }
}

}

TEST(Resample, ComputedCases) {
    CompareGroup("worked");
    CompareGroup("resize");
    CompareGroup("wrap");
    CompareGroup("channels");
}

TEST(Resample, ComputedTables) {
    // Those with a weight of 0 change no sum, and do not stand in the library's tables.
    for (const Json& c : Group("resample", "table")) {
        WithFilter(c["filter"], nullptr, [&](const ZvFilter& filter) {
            const Contributions table(filter, c["dst"], c["src"]);
            const plain::Table plainTable = plain::MakeTable(plain::FilterNamed(c["filter"]), c["dst"], c["src"]);
            ASSERT_EQ(table.Count(), static_cast<int>(c["entries"].size()));
            for (int i = 0; i < table.Count(); ++i) {
                std::vector<plain::Entry> all, counting;
                for (const Json& entry : c["entries"][static_cast<size_t>(i)]) all.push_back({entry[0].get<int>(), Scalar<float>(entry[1])});
                for (const plain::Entry& entry : all)
                    if (entry.weight != 0) counting.push_back(entry);
                ExpectTable(table, i, counting);
                ASSERT_EQ(plainTable[static_cast<size_t>(i)].size(), all.size());
                for (size_t k = 0; k < all.size(); ++k) {
                    EXPECT_EQ(plainTable[static_cast<size_t>(i)][k].index, all[k].index);
                    EXPECT_EQ(plainTable[static_cast<size_t>(i)][k].weight, all[k].weight);
                }
            }
        });
    }
}

TEST(Resample, EnlargingTwoToFourReflectsTheLastIndex) {
    const Contributions table(ZvTriangleFilter(), 4, 2);
    ExpectTable(table, 0, {{0, 1}});
    ExpectTable(table, 1, {{0, 0.5f}, {1, 0.5f}});
    ExpectTable(table, 2, {{1, 1}});
    ExpectTable(table, 3, {{1, 0.5f}, {1, 0.5f}});
}

TEST(Resample, PositionsHaveNoShiftByHalfAPixel) {
    // 3 from 6 with a box of half-width 1: the centres are 0, 2, 4, each with its neighbour below left out and above kept.
    const Contributions table(ZvBoxFilter(), 3, 6);
    ExpectTable(table, 0, {{1, 0.5f}, {0, 0.5f}});
    ExpectTable(table, 1, {{1, 0.5f}, {2, 0.5f}});
    ExpectTable(table, 2, {{3, 0.5f}, {4, 0.5f}});
}

TEST(Resample, SumThatIsNotPositiveLeavesTheWeights) {
    struct Negative : ZvFilter {
        Negative() : ZvFilter(1) {}
        float func(float x) const override { return x == 0 ? -2.0f : 0.5f; }
    };
    ExpectTable(Contributions(Negative(), 4, 4), 2, {{1, 0.5f}, {2, -2.0f}, {3, 0.5f}});
    struct Balanced : ZvFilter {
        Balanced() : ZvFilter(1) {}
        float func(float x) const override { return x == 0 ? -2.0f : 1.0f; }
    };
    ExpectTable(Contributions(Balanced(), 4, 4), 2, {{1, 1.0f}, {2, -2.0f}, {3, 1.0f}});
}

TEST(Resample, NarrowSupportLeavesPositionsWithoutEntries) {
    // Centres 0, 0.5, 1, 1.5: between two pixels nothing is within a quarter.
    const Contributions table(ZvTriangleFilter(0.25f), 4, 2);
    ExpectTable(table, 0, {{0, 1}});
    ExpectTable(table, 1, {});
    ExpectTable(table, 2, {{1, 1}});
    ExpectTable(table, 3, {});
}

TEST(Resample, IndicesStayInsideWhateverTheKernelsWidth) {
    for (const std::string& name : plain::FilterNames())
        for (int from = 1; from < 12; ++from)
            for (int to = 1; to < 40; ++to) {
                const float support = 9.5f;
                WithFilter(name, &support, [&](const ZvFilter& filter) {
                    const Contributions table(filter, to, from);
                    for (int i = 0; i < to; ++i)
                        for (const Contributions::Entry& entry : table[i]) ASSERT_TRUE(entry.index >= 0 && entry.index < from) << name << from << to;
                });
            }
}

TEST(Resample, BytesAreThoseOfThePlainLoops) { CompareMany<uint8_t>(1, 3000); }
TEST(Resample, WordsAreThoseOfThePlainLoops) { CompareMany<uint16_t>(2, 3000); }

TEST(Resample, WidePicturesAreThoseOfThePlainLoops) {
    // Wider than what is worked on at once, and higher than what is kept between the passes.
    Random random(3);
    for (int i = 0; i < 24; ++i) {
        Case c = MakeCase(random);
        c.hasSupport = false;
        c.channels = 1 + i % 4;
        c.width = Between(random, 400, 1500);
        c.height = Between(random, 30, 90);
        c.newWidth = i % 3 == 0 ? c.width / 2 : i % 3 == 1 ? c.width * 2 : Between(random, 200, 1500);
        c.newHeight = i % 3 == 0 ? c.height / 2 : i % 3 == 1 ? c.height * 2 : Between(random, 10, 150);
        c.width -= c.width % 2 * (i % 2);
        if (i % 2 == 0) Compare<uint8_t>(random, c, i);
        else Compare<uint16_t>(random, c, i);
        if (HasFatalFailure()) return;
    }
}

TEST(Resample, EveryPairOfSmallSizes) {
    Random random(4);
    for (const char* name : {"ZvTriangleFilter", "ZvLanczos3Filter", "ZvBoxFilter"})
        for (int from = 1; from <= 20; ++from)
            for (int to = 1; to <= 20; ++to) {
                Compare<uint8_t>(random, {name, false, 0, from, 3, 3, to, 5, 0, 1}, from * 100 + to);
                Compare<uint8_t>(random, {name, false, 0, 5, from, 1, 3, to, 1, 0}, from * 100 + to);
                if (HasFatalFailure()) return;
            }
}

TEST(Resample, TwoToOneAndOneToTwoOfEverySample) {
    // All 256 values beside each other in all combinations of three: the triangle's whole sums at the exact ratios.
    for (int base = 0; base < 256; base += 51) {
        plain::Samples<uint8_t> from(512, 256, 1);
        for (int y = 0; y < 256; ++y)
            for (int x = 0; x < 512; ++x) *from.At(x, y) = static_cast<uint8_t>(x % 2 == 0 ? x / 2 : (y + base * (x % 3)) & 255);
        for (const auto& [width, height] : {std::pair{256, 128}, {1024, 512}, {256, 512}, {1024, 128}, {512, 128}, {512, 512}, {256, 256}, {1024, 256}}) {
            const auto expected = plain::Resize(from, width, height, plain::FilterNamed("ZvTriangleFilter"));
            Rows<uint8_t> source(512, 256, 1, 0, Guarded::AtTheEnd);
            source.Put(from);
            for (const Level& level : Levels) {
                const ResampleKernels* kernels = KernelsOf(level.level);
                if (kernels == nullptr) continue;
                Rows<uint8_t> target(width, height, 1, 3, Guarded::AtTheEnd);
                zvc::detail::Resample(source.rows, target.rows, 1, 1, ZvTriangleFilter(), *kernels);
                ASSERT_TRUE(target.Holds(expected)) << level.name << " " << width << "x" << height << " " << base;
            }
        }
    }
}

TEST(Resample, TriangleAtExactRatiosInEveryLayout) {
    Random random(5);
    for (int channels = 1; channels <= 8; ++channels)
        for (const int width : {2, 4, 6, 16, 34, 66, 130})
            for (const auto& [newWidth, newHeight] : {std::pair{width / 2, 3}, {width * 2, 12}, {width, 3}, {width / 2, 12}, {width * 2, 6}}) {
                const Case c{"ZvTriangleFilter", false, 0, width, 6, channels, newWidth, newHeight, 1, 2};
                Compare<uint8_t>(random, c, width);
                Compare<uint16_t>(random, c, width);
                if (HasFatalFailure()) return;
            }
}

TEST(Resample, HugeSumsAreCutThroughSixtyFourBits) {
    struct Huge : ZvFilter {
        explicit Huge(float value) : ZvFilter(0.5f), m_value(value) {}
        float func(float) const override { return m_value; }
        float m_value;
    };
    // Not normalised since the sum is negative: a sample of 1 gives the weight itself.
    const uint16_t one[16 * 2] = {1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1};
    const struct { float weight; uint16_t stored; } rows[] = {
        {-1.5f, 0xFFFF},                   // -1
        {-65536.0f, 0},
        {-8589934592.0f, 0},               // -2^33
        {-4294968320.0f, 0xFC00},          // -(2^32 + 1024)
        {-1e30f, 0},
        {-std::numeric_limits<float>::infinity(), 0},
    };
    for (const auto& row : rows)
        for (const Level& level : Levels) {
            const ResampleKernels* kernels = KernelsOf(level.level);
            if (kernels == nullptr) continue;
            for (const bool horizontal : {true, false}) {
                uint16_t out[16 * 2] = {};
                const SampleRows from{reinterpret_cast<unsigned char*>(const_cast<uint16_t*>(one)), horizontal ? 2 : 32, horizontal ? 1 : 16, horizontal ? 16 : 1};
                const SampleRows to{reinterpret_cast<unsigned char*>(out), horizontal ? 4 : 32, horizontal ? 2 : 16, horizontal ? 16 : 2};
                zvc::detail::Resample(from, to, 1, 2, Huge(row.weight), *kernels);
                EXPECT_EQ(out[0], row.stored) << row.weight << " " << level.name << horizontal;
                EXPECT_EQ(out[horizontal ? 30 : 15], row.stored) << row.weight << " " << level.name << horizontal;
            }
        }
}

TEST(Resample, SizesOfNothing) {
    unsigned char byte = 7;
    for (const Level& level : Levels) {
        const ResampleKernels* kernels = KernelsOf(level.level);
        if (kernels == nullptr) continue;
        zvc::detail::Resample({&byte, 1, 1, 1}, {&byte, 1, 0, 1}, 1, 1, ZvBoxFilter(), *kernels);
        zvc::detail::Resample({&byte, 1, 1, 1}, {&byte, 1, 1, 0}, 1, 1, ZvBoxFilter(), *kernels);
        EXPECT_EQ(byte, 7);
    }
    // Out of nothing come zeros.
    unsigned char out[6] = {1, 1, 1, 1, 1, 1};
    zvc::detail::Resample({nullptr, 0, 0, 0}, {out, 3, 3, 2}, 1, 1, ZvBoxFilter(), zvc::detail::BestKernels());
    for (const unsigned char b : out) EXPECT_EQ(b, 0);
}

TEST(Resample, BestKernelsAreThoseOfTheProcessor) {
    ASSERT_NE(KernelsOf(ResampleLevel::Sse2), nullptr);
    const ResampleKernels* best = KernelsOf(ResampleLevel::Sse2);
    for (const Level& level : Levels)
        if (const ResampleKernels* kernels = KernelsOf(level.level)) best = kernels;
    EXPECT_EQ(&zvc::detail::BestKernels(), best);
}
