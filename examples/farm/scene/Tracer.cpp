#include "Tracer.h"

#include <algorithm>
#include <limits>

namespace farm {

namespace {

constexpr float Far = std::numeric_limits<float>::max();
constexpr float Pi = 3.14159265f;
constexpr int MostSurfaces = 12;                    // that a path meets
constexpr int SureSurfaces = 3;                     // before it may be ended by lot

/// A point of the ball of radius 1, each as likely: thrown into the cube until it falls into the ball.
Vec InBall(Random& random) {
    for (;;) {
        const float x = 2 * random.Next() - 1, y = 2 * random.Next() - 1, z = 2 * random.Next() - 1;
        const Vec point{x, y, z};
        const float square = Dot(point, point);
        if (square <= 1 && square > 1e-12f) return point;
    }
}

/// The sphere of directions around the normal's end: as likely as they are slanted.
Vec Scattered(const Vec& normal, Random& random) {
    const Vec direction = normal + Unit(InBall(random));
    return Dot(direction, direction) > 1e-12f ? Unit(direction) : normal;
}

Vec Mirrored(const Vec& direction, const Vec& normal) { return Unit(direction - normal * (2 * Dot(direction, normal))); }

float Largest(const zvcolor& c) { return std::max({c.r, c.g, c.b}); }

}

struct Tracer::Surface {
    Vec point;
    Vec normal;                     // smoothed, of length 1, on the side that the ray came from
    Vec face;                       // of the triangle itself, on the same side
    const Look* look;
};

zvcolor Tracer::Pixel(int x, int y, int samples, unsigned long long& rays) const {
    const View& view = m_world.view;
    const auto pixel = static_cast<uint32_t>(y) * static_cast<uint32_t>(view.width) + static_cast<uint32_t>(x);
    zvcolor sum;
    for (int sample = 0; sample < samples; ++sample) {
        Random random(pixel, static_cast<uint32_t>(sample));
        const float right = 2 * (static_cast<float>(x) + random.Next()) / static_cast<float>(view.width) - 1;
        const float up = 1 - 2 * (static_cast<float>(y) + random.Next()) / static_cast<float>(view.height);
        sum += Light({view.eye, Unit(view.forward + view.right * right + view.up * up)}, random, rays);
    }
    return sum / static_cast<float>(samples);
}

zvcolor Tracer::Light(Ray ray, Random& random, unsigned long long& rays) const {
    zvcolor light, weight(1.0f);
    bool seesLights = true;                         // they were looked at already, from a diffuse surface
    for (int surfaces = 0; surfaces < MostSurfaces; ++surfaces) {
        Hit hit;
        ++rays;
        if (!m_world.bvh.Nearest(ray, Far, hit)) return light + weight * Sky(ray.direction, seesLights);
        const Surface surface = SurfaceAt(ray, hit);
        if (seesLights) light += weight * surface.look->glow;
        weight *= surface.look->colour;
        if (surface.look->mirror) {
            ray = {surface.point, Mirrored(ray.direction, surface.normal)};
        } else {
            light += weight * LightOfSun(surface, random, rays);        // one by one: both draw numbers
            light += weight * LightOfLamps(surface, random, rays);
            ray = {surface.point, Scattered(surface.normal, random)};
            seesLights = false;
        }
        if (Dot(ray.direction, surface.face) <= 0) break;      // the smoothed normal led into the surface
        if (surfaces >= SureSurfaces) {
            const float goesOn = std::min(Largest(weight), 0.95f);
            if (random.Next() >= goesOn) break;
            weight /= goesOn;
        }
    }
    return light;
}

zvcolor Tracer::Sky(const Vec& direction, bool withSun) const {
    const SkyLight& sky = m_world.sky;
    const float height = std::clamp(direction.y, 0.0f, 1.0f);
    const zvcolor light = sky.horizon + (sky.zenith - sky.horizon) * height;
    if (!withSun || sky.sunRadius <= 0) return light;
    const Vec aside = direction - sky.sunDirection * Dot(direction, sky.sunDirection);
    const bool inDisc = Dot(direction, sky.sunDirection) > 0 && Dot(aside, aside) < sky.sunRadius * sky.sunRadius;
    return inDisc ? light + sky.sun / (sky.sunRadius * sky.sunRadius) : light;
}

Tracer::Surface Tracer::SurfaceAt(const Ray& ray, const Hit& hit) const {
    const Triangle& triangle = m_world.bvh[hit.triangle];
    const Face& face = m_world.faces[hit.triangle];
    Vec flat = Unit(Cross(triangle.edge1, triangle.edge2));
    Vec smooth = Unit(face.normals[0] * (1 - hit.u - hit.v) + face.normals[1] * hit.u + face.normals[2] * hit.v);
    if (Dot(flat, ray.direction) > 0) flat = -flat;
    if (Dot(smooth, flat) < 0) smooth = -smooth;
    const Vec point = triangle.corner + triangle.edge1 * hit.u + triangle.edge2 * hit.v;
    return {point, smooth, flat, &m_world.looks[face.look]};
}

zvcolor Tracer::LightOfSun(const Surface& surface, Random& random, unsigned long long& rays) const {
    const SkyLight& sky = m_world.sky;
    if (Largest(sky.sun) <= 0) return zvcolor();
    const Vec direction = Unit(sky.sunDirection + InBall(random) * sky.sunRadius);
    const float slant = Dot(direction, surface.normal);
    if (slant <= 0 || Dot(direction, surface.face) <= 0) return zvcolor();
    ++rays;
    return m_world.bvh.Blocked({surface.point, direction}, Far) ? zvcolor() : sky.sun * slant;
}

zvcolor Tracer::LightOfLamps(const Surface& surface, Random& random, unsigned long long& rays) const {
    if (m_world.lamps.empty()) return zvcolor();
    const auto count = static_cast<float>(m_world.lamps.size());
    const uint32_t lamp = m_world.lamps[std::min(static_cast<size_t>(random.Next() * count), m_world.lamps.size() - 1)];
    const Triangle& triangle = m_world.bvh[lamp];
    float u = random.Next(), v = random.Next();
    if (u + v > 1) {
        u = 1 - u;
        v = 1 - v;
    }
    const Vec way = triangle.corner + triangle.edge1 * u + triangle.edge2 * v - surface.point;
    const float distance = Length(way);
    if (!(distance > 0)) return zvcolor();
    const Vec direction = way * (1 / distance), normal = Cross(triangle.edge1, triangle.edge2);
    const float slant = Dot(direction, surface.normal);
    if (slant <= 0 || Dot(direction, surface.face) <= 0) return zvcolor();
    ++rays;
    if (m_world.bvh.Blocked({surface.point, direction}, distance * 0.999f)) return zvcolor();
    const float seen = std::abs(Dot(direction, normal)) / 2;      // of the lamp's surface, from here
    return m_world.looks[m_world.faces[lamp].look].glow * (slant * seen * count / (Pi * distance * distance));
}

}
