#pragma once

#include "Random.h"
#include "World.h"

namespace farm {

/// Path tracing (Kajiya, "The Rendering Equation", 1986) with a look at sun and lamps from every diffuse surface. Only sums,
/// products, quotients and square roots, which are the same bits on every machine: so is the picture.
///
/// Light that a mirror throws on a diffuse surface is left out: it would be a few very bright dots.
class Tracer {
public:
    explicit Tracer(const World& world) : m_world(world) {}

    /// The mean light of so many samples through a pixel; row 0 is the uppermost. rays counts on. Any thread.
    zvcolor Pixel(int x, int y, int samples, unsigned long long& rays) const;

private:
    struct Surface;

    zvcolor Light(Ray ray, Random& random, unsigned long long& rays) const;
    zvcolor Sky(const Vec& direction, bool withSun) const;
    Surface SurfaceAt(const Ray& ray, const Hit& hit) const;
    zvcolor LightOfSun(const Surface& surface, Random& random, unsigned long long& rays) const;
    zvcolor LightOfLamps(const Surface& surface, Random& random, unsigned long long& rays) const;

    const World& m_world;
};

}
