#include "MakeWorld.h"

#include <map>
#include <utility>

namespace farm {

namespace {

constexpr int MostPixels = 16384;                   // along each edge

[[noreturn]] void Fail(const char* reason) { throw ZvException(reason); }

/// Gathers the triangles of all bodies.
class Collector {
public:
    explicit Collector(World& world) : m_world(world) {}

    void Add(const Body$& body) {
        const Mesh$ mesh = body ? body->m_mesh : ZvObject$();
        const Material$ material = body ? body->m_material : ZvObject$();
        if (!mesh || !mesh->m_points || !mesh->m_corners || !material) Fail("a body of the scene has no mesh or no material");
        const uint32_t look = LookOf(material);
        const std::vector<Vec> points = Points(*mesh, *body);
        const std::vector<uint32_t> corners = Corners(*mesh, points.size());
        const std::vector<Vec> normals = Normals(points, corners);
        for (size_t i = 0; i + 2 < corners.size(); i += 3) {
            const uint32_t a = corners[i], b = corners[i + 1], c = corners[i + 2];
            if (Length(Cross(points[b] - points[a], points[c] - points[a])) <= 0) continue;      // no surface
            if (m_world.looks[look].glow != zvcolor()) m_world.lamps.push_back(static_cast<uint32_t>(triangles.size()));
            triangles.push_back({points[a], points[b] - points[a], points[c] - points[a]});
            m_world.faces.push_back({{normals[a], normals[b], normals[c]}, look});
        }
    }

    std::vector<Triangle> triangles;

private:
    uint32_t LookOf(const Material$& material) {
        const auto [entry, isNew] = m_looks.emplace(material.Get(), static_cast<uint32_t>(m_world.looks.size()));
        if (isNew) m_world.looks.push_back({material->m_colour, material->m_glow, material->m_mirror});
        return entry->second;
    }

    static std::vector<Vec> Points(const Mesh& mesh, const Body& body) {
        std::vector<Vec> points(mesh.m_points->Count());
        const auto axis = [&](int row) { return Vec{body.m_axes.m[row][0], body.m_axes.m[row][1], body.m_axes.m[row][2]}; };
        const Vec x = axis(0), y = axis(1), z = axis(2);
        for (size_t i = 0; i < points.size(); ++i) {
            const Vec p = (*mesh.m_points)[i];
            points[i] = body.m_position + x * p.x + y * p.y + z * p.z;
        }
        return points;
    }

    static std::vector<uint32_t> Corners(const Mesh& mesh, size_t points) {
        std::vector<uint32_t> corners(mesh.m_corners->Count());
        for (size_t i = 0; i < corners.size(); ++i) {
            corners[i] = static_cast<uint32_t>((*mesh.m_corners)[i]);
            if (corners[i] >= points) Fail("a mesh of the scene names a point that is not there");
        }
        return corners;
    }

    /// Of the triangles around each point, the larger ones counting more.
    static std::vector<Vec> Normals(const std::vector<Vec>& points, const std::vector<uint32_t>& corners) {
        std::vector<Vec> normals(points.size());
        for (size_t i = 0; i + 2 < corners.size(); i += 3) {
            const Vec& a = points[corners[i]];
            const Vec normal = Cross(points[corners[i + 1]] - a, points[corners[i + 2]] - a);
            for (size_t corner = i; corner < i + 3; ++corner) normals[corners[corner]] = normals[corners[corner]] + normal;
        }
        for (Vec& normal : normals) normal = Unit(normal);
        return normals;
    }

    World& m_world;
    std::map<const Material*, uint32_t> m_looks;
};

View ViewOf(const Scene& scene) {
    if (scene.m_width < 1 || scene.m_height < 1 || scene.m_width > MostPixels || scene.m_height > MostPixels)
        Fail("the picture of the scene has an impossible size");
    const Vec forward = Unit(scene.m_target - scene.m_eye);
    Vec right = Cross(forward, {0, 1, 0});
    if (Length(right) < 1e-6f) right = {1, 0, 0};   // straight up or down
    right = Unit(right);
    const float aspect = static_cast<float>(scene.m_width) / static_cast<float>(scene.m_height);
    const Vec up = Cross(right, forward);
    return {scene.m_eye, forward, right * (scene.m_slope * aspect), up * scene.m_slope, scene.m_width, scene.m_height};
}

}

World MakeWorld(const Scene& scene) {
    World world;
    world.view = ViewOf(scene);
    world.sky = {scene.m_horizon, scene.m_zenith, scene.m_sun, scene.m_sunDirection, scene.m_sunRadius};
    const ZvArrayList$ bodies = scene.m_bodies;
    if (!bodies) Fail("the scene has no list of bodies");
    Collector collector(world);
    for (size_t i = 0; i < bodies->Count(); ++i) collector.Add(bodies->ItemAt(i));
    if (collector.triangles.empty()) Fail("the scene holds nothing to be seen");
    world.bvh = Bvh(std::move(collector.triangles));
    return world;
}

}
