// What the render farm computes with: the tree of boxes, the random numbers, the light, and the division of the work.

#include "../../examples/farm/host/Tiles.h"
#include "../../examples/farm/scene/Random.h"
#include "../../examples/farm/scene/Tracer.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <set>
#include <thread>

using namespace farm;

namespace {

constexpr float Far = std::numeric_limits<float>::max();

Vec RandomVec(Random& random) {
    const float x = 2 * random.Next() - 1, y = 2 * random.Next() - 1, z = 2 * random.Next() - 1;
    return {x, y, z};
}

std::vector<Triangle> RandomTriangles(size_t count, float size) {
    Random random(1, 2);
    std::vector<Triangle> triangles;
    for (size_t i = 0; i < count; ++i) {
        const Vec corner = RandomVec(random) * 10, edge1 = RandomVec(random) * size, edge2 = RandomVec(random) * size;
        triangles.push_back({corner, edge1, edge2});
    }
    return triangles;
}

/// A world without sun and with an even sky.
World EvenWorld(std::vector<Triangle> triangles, const Look& look, float sky) {
    World world;
    world.view = {{0, 0, 5}, {0, 0, -1}, {0.1f, 0, 0}, {0, 0.1f, 0}, 1, 1};
    world.sky = {zvcolor(sky), zvcolor(sky), zvcolor(), {0, 1, 0}, 0.02f};
    world.looks = {look};
    for (const Triangle& t : triangles) {
        const Vec normal = Unit(Cross(t.edge1, t.edge2));
        world.faces.push_back({{normal, normal, normal}, 0});
    }
    world.bvh = Bvh(std::move(triangles));
    return world;
}

/// The light through the one pixel, which looks from (0, 0, 5) towards the origin.
zvcolor LightOf(const World& world, int samples) {
    unsigned long long rays = 0;
    return Tracer(world).Pixel(0, 0, samples, rays);
}

/// Two triangles.
std::vector<Triangle> Sheet(const Vec& corner, const Vec& edge1, const Vec& edge2) {
    return {{corner, edge1, edge1 + edge2}, {corner, edge1 + edge2, edge2}};
}

}

TEST(FarmBvh, FindsWhatALookAtEveryTriangleFinds) {
    for (const float size : {1.0f, 3.0f, 30.0f}) {
        const std::vector<Triangle> triangles = RandomTriangles(400, size);
        const Bvh bvh(triangles);
        std::vector<Bvh> single;
        for (const Triangle& t : triangles) single.emplace_back(std::vector<Triangle>{t});
        Random random(3, 4);
        size_t found = 0;
        for (int i = 0; i < 100; ++i) {
            const Vec origin = RandomVec(random) * 12, direction = Unit(RandomVec(random));
            const Ray ray{origin, direction};
            Hit nearest{Far, 0, 0, 0}, hit{}, tree{};
            for (uint32_t t = 0; t < single.size(); ++t)
                if (single[t].Nearest(ray, nearest.distance, hit)) nearest = {hit.distance, hit.u, hit.v, t};
            const bool any = nearest.distance < Far;
            ASSERT_EQ(bvh.Nearest(ray, Far, tree), any);
            EXPECT_EQ(bvh.Blocked(ray, Far), any);
            if (!any) continue;
            ++found;
            EXPECT_EQ(tree.distance, nearest.distance);
            EXPECT_FALSE(bvh.Blocked(ray, nearest.distance));
            EXPECT_FALSE(bvh.Nearest(ray, nearest.distance, tree));
        }
        EXPECT_GT(found, 5u);
    }
}

TEST(FarmBvh, MeetsATriangleWhereItIs) {
    const Bvh bvh(std::vector<Triangle>{{{0, 0, 0}, {4, 0, 0}, {0, 4, 0}}});
    Hit hit{};
    ASSERT_TRUE(bvh.Nearest({{1, 2, 5}, {0, 0, -1}}, Far, hit));
    EXPECT_EQ(hit.distance, 5.0f);
    EXPECT_EQ(hit.u, 0.25f);
    EXPECT_EQ(hit.v, 0.5f);
    EXPECT_EQ(hit.triangle, 0u);
    EXPECT_TRUE(bvh.Nearest({{1, 2, -5}, {0, 0, 1}}, Far, hit));           // from behind
    EXPECT_FALSE(bvh.Nearest({{1, 2, 5}, {0, 0, 1}}, Far, hit));           // it lies behind the ray
    EXPECT_FALSE(bvh.Nearest({{3, 3, 5}, {0, 0, -1}}, Far, hit));          // past its slanted edge
    EXPECT_FALSE(bvh.Nearest({{1, 2, 0}, {0, 0, -1}}, Far, hit));          // the surface that the ray leaves
    EXPECT_FALSE(bvh.Nearest({{1, 2, 5}, {0, 0, -1}}, 5.0f, hit));         // the limit is not within
}

TEST(FarmBvh, TrianglesThatCannotBeDividedStandInOneLeaf) {
    const std::vector<Triangle> equal(5000, Triangle{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}});
    Hit hit{};
    EXPECT_TRUE(Bvh(equal).Nearest({{0.2f, 0.2f, 1}, {0, 0, -1}}, Far, hit));
    EXPECT_FALSE(Bvh(equal).Nearest({{2, 2, 1}, {0, 0, -1}}, Far, hit));
}

TEST(FarmRandom, HangsOnPixelAndSampleAlone) {
    Random a(7, 9), b(7, 9), otherPixel(8, 9), otherSample(7, 10), exchanged(9, 7);
    const float first = a.Next();
    EXPECT_EQ(b.Next(), first);
    EXPECT_NE(otherPixel.Next(), first);
    EXPECT_NE(otherSample.Next(), first);
    EXPECT_NE(exchanged.Next(), first);
    EXPECT_EQ(a.Next(), b.Next());
}

TEST(FarmRandom, IsSpreadEvenly) {
    std::array<int, 16> bins{};
    for (uint32_t pixel = 0; pixel < 1000; ++pixel)
        for (uint32_t sample = 0; sample < 16; ++sample) {
            const float x = Random(pixel, sample).Next();
            ASSERT_TRUE(x >= 0 && x < 1);
            ++bins[static_cast<size_t>(x * 16)];
        }
    for (const int count : bins) EXPECT_NEAR(count, 1000, 150);           // five standard deviations
}

// All that falls on a white surface comes back: it cannot be told from the sky.
TEST(FarmTracer, WhiteSurfaceUnderAnEvenSkyIsTheSky) {
    const World world = EvenWorld(Sheet({-50, -50, 0}, {100, 0, 0}, {0, 100, 0}), {zvcolor(1.0f), zvcolor(), false}, 0.5f);
    const zvcolor light = LightOf(world, 100);
    EXPECT_NEAR(light.r, 0.5f, 1e-4f);
    EXPECT_NEAR(light.b, 0.5f, 1e-4f);
}

TEST(FarmTracer, ColouredSurfaceGivesItsPartOfTheLight) {
    const World world = EvenWorld(Sheet({-50, -50, 0}, {100, 0, 0}, {0, 100, 0}), {zvcolor(0.5f, 0.25f, 0.0f), zvcolor(), false}, 1.0f);
    const zvcolor light = LightOf(world, 100);
    EXPECT_NEAR(light.r, 0.5f, 1e-4f);
    EXPECT_NEAR(light.g, 0.25f, 1e-4f);
    EXPECT_EQ(light.b, 0.0f);
}

TEST(FarmTracer, SkyIsBetweenHorizonAndZenith) {
    World world = EvenWorld(Sheet({-50, -50, 90}, {100, 0, 0}, {0, 100, 0}), {zvcolor(1.0f), zvcolor(), false}, 0);
    world.sky.horizon = zvcolor(1.0f, 0.0f, 0.0f);
    world.sky.zenith = zvcolor(0.0f, 0.0f, 1.0f);
    world.view.right = world.view.up = {};
    for (const Vec& up : {Vec{0, 0, -1}, Vec{0, 1, 0}, Vec{0, 0.6f, -0.8f}, Vec{0, -1, 0}}) {
        world.view.forward = up;
        const zvcolor light = LightOf(world, 1);
        EXPECT_NEAR(light.b, std::fmax(up.y, 0.0f), 1e-5f);
        EXPECT_NEAR(light.r, 1 - std::fmax(up.y, 0.0f), 1e-5f);
    }
}

// A mirror at 45 degrees over the origin shows what is above.
TEST(FarmTracer, MirrorShowsWhatLiesAlongTheReflectedRay) {
    World world = EvenWorld(Sheet({-9, -9, -9}, {18, 0, 0}, {0, 18, 18}), {zvcolor(0.8f), zvcolor(), true}, 0);
    world.view.forward = {0, 0, -1};
    world.view.right = world.view.up = {};
    world.sky.horizon = zvcolor(0.0f);
    world.sky.zenith = zvcolor(0.5f);
    world.view.eye = {0, 0, 20};
    // The mirror rises towards the eye, so that it throws the ray down, where the sky is the horizon's.
    EXPECT_NEAR(LightOf(world, 4).r, 0.0f, 1e-5f);
    world.bvh = Bvh(Sheet({-9, -9, 9}, {18, 0, 0}, {0, 18, -18}));
    for (Face& face : world.faces)
        for (Vec& normal : face.normals) normal = Unit(Vec{0, 1, 1});
    EXPECT_NEAR(LightOf(world, 4).r, 0.8f * 0.5f, 1e-5f);
}

TEST(FarmTracer, SunLightsByItsSlant) {
    World world = EvenWorld(Sheet({-50, -50, 0}, {100, 0, 0}, {0, 100, 0}), {zvcolor(0.5f), zvcolor(), false}, 0);
    world.sky.sun = zvcolor(2.0f);
    world.sky.sunDirection = {0.6f, 0, 0.8f};
    world.sky.sunRadius = 0;
    EXPECT_NEAR(LightOf(world, 16).r, 0.5f * 2.0f * 0.8f, 1e-4f);
    world.sky.sunDirection = {0.6f, 0, -0.8f};                            // from behind
    EXPECT_EQ(LightOf(world, 16).r, 0.0f);
}

// A small lamp straight above the seen point, at height 4: irradiance is light times area over the square of the distance,
// and what comes back the colour's part of it over pi.
TEST(FarmTracer, LampLightsByItsSolidAngle) {
    std::vector<Triangle> triangles = Sheet({-50, -50, 0}, {100, 0, 0}, {0, 100, 0});
    for (const Triangle& t : Sheet({-0.05f, -0.05f, 9}, {0.1f, 0, 0}, {0, 0.1f, 0})) triangles.push_back(t);
    World world = EvenWorld(triangles, {zvcolor(0.5f), zvcolor(), false}, 0);
    world.looks.push_back({zvcolor(), zvcolor(3000.0f), false});
    for (const uint32_t lamp : {2u, 3u}) {
        world.faces[lamp].look = 1;
        world.lamps.push_back(lamp);
    }
    world.view.right = world.view.up = {};
    const float expected = 0.5f / 3.14159265f * 3000.0f * 0.01f / 81.0f;
    EXPECT_NEAR(LightOf(world, 200).r, expected, expected * 0.01f);
    world.view.forward = {0, 0, 1};                                       // the eye sees the lamp itself
    EXPECT_EQ(LightOf(world, 4).r, 3000.0f);
}

TEST(FarmTracer, PixelIsTheSameEachTime) {
    const World world = EvenWorld(RandomTriangles(200, 3), {zvcolor(0.7f), zvcolor(), false}, 1);
    unsigned long long rays = 0, again = 0;
    const zvcolor first = Tracer(world).Pixel(0, 0, 50, rays), second = Tracer(world).Pixel(0, 0, 50, again);
    EXPECT_EQ(first, second);
    EXPECT_EQ(rays, again);
    EXPECT_GE(rays, 50u);
}

TEST(FarmTiles, CoverThePictureOnce) {
    Tiles tiles(100, 37, 16);
    EXPECT_EQ(tiles.Count(), 21u);
    std::set<std::pair<int, int>> pixels;
    size_t count = 0;
    for (Tile tile; tiles.DoneCount() != tiles.Count() && tiles.Take(tile); tiles.Done())
        for (int y = tile.y; y < tile.y + tile.height; ++y)
            for (int x = tile.x; x < tile.x + tile.width; ++x, ++count) {
                EXPECT_TRUE(x >= 0 && x < 100 && y >= 0 && y < 37);
                pixels.emplace(x, y);
            }
    EXPECT_EQ(count, 3700u);
    EXPECT_EQ(pixels.size(), 3700u);
    Tile tile;
    EXPECT_FALSE(tiles.Take(tile));
}

TEST(FarmTiles, OneThatIsGivenBackIsTheNext) {
    Tiles tiles(32, 16, 16);
    Tile first{}, second{};
    ASSERT_TRUE(tiles.Take(first));
    tiles.GiveBack(first);
    ASSERT_TRUE(tiles.Take(second));
    EXPECT_EQ(second.x, first.x);
    EXPECT_EQ(tiles.DoneCount(), 0u);
}

TEST(FarmTiles, TakeWaitsForWhatMayComeBack) {
    Tiles tiles(16, 16, 16);
    Tile tile{}, again{};
    ASSERT_TRUE(tiles.Take(tile));
    bool taken = false;
    std::thread other([&] { taken = tiles.Take(again); });
    tiles.GiveBack(tile);
    other.join();
    EXPECT_TRUE(taken);
    std::thread third([&] { taken = tiles.Take(tile); });
    tiles.Done();
    third.join();
    EXPECT_FALSE(taken);
}

TEST(FarmTiles, StopEndsTheTaking) {
    Tiles tiles(64, 64, 16);
    Tile tile{};
    ASSERT_TRUE(tiles.Take(tile));
    tiles.Stop();
    EXPECT_FALSE(tiles.Take(tile));
    EXPECT_EQ(tiles.DoneCount(), 0u);
}
