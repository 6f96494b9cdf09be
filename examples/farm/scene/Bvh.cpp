#include "Bvh.h"

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

namespace farm {

namespace {

constexpr float Infinity = std::numeric_limits<float>::infinity();
constexpr size_t FewTriangles = 4;                  // not worth a division
constexpr int MostLevels = 48;                      // a tree of bad triangles ends in large leaves, and not in a deep stack
constexpr int Bins = 12;
constexpr float Nearby = 1e-4f;                     // a ray does not meet the surface that it leaves

struct Box {
    Vec least{Infinity, Infinity, Infinity};
    Vec greatest{-Infinity, -Infinity, -Infinity};

    void Add(const Vec& point) {
        least = Least(least, point);
        greatest = Greatest(greatest, point);
    }
    void Add(const Box& other) {
        least = Least(least, other.least);
        greatest = Greatest(greatest, other.greatest);
    }
    /// Half of its surface; 0 of an empty one.
    float Area() const {
        const Vec size = greatest - least;
        return size.x < 0 ? 0 : size.x * size.y + size.y * size.z + size.z * size.x;
    }
};

Box BoxOf(const Triangle& t) {
    Box box;
    box.Add(t.corner);
    box.Add(t.corner + t.edge1);
    box.Add(t.corner + t.edge2);
    return box;
}

Vec Times(const Vec& a, const Vec& b) { return {a.x * b.x, a.y * b.y, a.z * b.z}; }

/// Never infinite, for infinity times nothing is no number.
float Inverse(float x) { return 1 / (std::abs(x) < 1e-20f ? 1e-20f : x); }

/// Möller, Trumbore, "Fast, Minimum Storage Ray/Triangle Intersection", 1997.
bool Meets(const Ray& ray, const Triangle& t, float limit, Hit& hit) {
    const Vec p = Cross(ray.direction, t.edge2);
    const float determinant = Dot(t.edge1, p);
    if (determinant == 0) return false;
    const float inverse = 1 / determinant;
    const Vec s = ray.origin - t.corner;
    const float u = Dot(s, p) * inverse;
    if (u < 0 || u > 1) return false;
    const Vec q = Cross(s, t.edge1);
    const float v = Dot(ray.direction, q) * inverse;
    if (v < 0 || u + v > 1) return false;
    const float distance = Dot(t.edge2, q) * inverse;
    if (!(distance > Nearby && distance < limit)) return false;
    hit.distance = distance;
    hit.u = u;
    hit.v = v;
    return true;
}

}

/// Divides where the surface area heuristic, over a few bins, expects the least work. Wald, "On fast Construction of SAH-based
/// Bounding Volume Hierarchies", 2007.
class Bvh::Builder {
public:
    explicit Builder(Bvh& bvh) : m_bvh(bvh) {
        const auto count = static_cast<uint32_t>(bvh.m_triangles.size());
        for (uint32_t i = 0; i < count; ++i) {
            const Box box = BoxOf(bvh.m_triangles[i]);
            m_boxes.push_back(box);
            m_centres.push_back((box.least + box.greatest) * 0.5f);
            bvh.m_order.push_back(i);
        }
        Build(0, count, 0);
    }

private:
    struct Division {
        int axis = -1;
        float least, scale;
        int bin;                    // the first bin of the second part

        int BinOf(const Vec& centre) const {
            return std::clamp(static_cast<int>((Axis(centre, axis) - least) * scale), 0, Bins - 1);
        }
    };

    void Build(uint32_t first, uint32_t count, int level) {
        Box box, centres;
        for (uint32_t i = first; i < first + count; ++i) {
            box.Add(m_boxes[m_bvh.m_order[i]]);
            centres.Add(m_centres[m_bvh.m_order[i]]);
        }
        const size_t node = m_bvh.m_nodes.size();
        m_bvh.m_nodes.push_back({box.least, first, box.greatest, count});
        if (count <= FewTriangles || level == MostLevels) return;
        const Division division = Best(first, count, box, centres);
        if (division.axis < 0) return;
        const auto begin = m_bvh.m_order.begin() + first;
        const auto inFirst = [&](uint32_t t) { return division.BinOf(m_centres[t]) < division.bin; };
        const auto middle = std::stable_partition(begin, begin + count, inFirst);
        const auto half = static_cast<uint32_t>(middle - begin);
        m_bvh.m_nodes[node].count = 0;
        Build(first, half, level + 1);
        m_bvh.m_nodes[node].first = static_cast<uint32_t>(m_bvh.m_nodes.size());
        Build(first + half, count - half, level + 1);
    }

    /// No axis when a leaf is as good.
    Division Best(uint32_t first, uint32_t count, const Box& box, const Box& centres) const {
        Division best;
        float least = static_cast<float>(count) * box.Area();
        for (int axis = 0; axis < 3; ++axis) {
            const float from = Axis(centres.least, axis), size = Axis(centres.greatest, axis) - from;
            if (!(size > 0)) continue;
            Division division{axis, from, Bins / size, 0};
            std::array<Box, Bins> boxes;
            std::array<uint32_t, Bins> counts{};
            for (uint32_t i = first; i < first + count; ++i) {
                const uint32_t t = m_bvh.m_order[i];
                const auto bin = static_cast<size_t>(division.BinOf(m_centres[t]));
                boxes[bin].Add(m_boxes[t]);
                ++counts[bin];
            }
            for (division.bin = 1; division.bin < Bins; ++division.bin) {
                const float work = Work(boxes, counts, 0, division.bin) + Work(boxes, counts, division.bin, Bins);
                if (work < least) {
                    least = work;
                    best = division;
                }
            }
        }
        return best;
    }

    static float Work(const std::array<Box, Bins>& boxes, const std::array<uint32_t, Bins>& counts, int from, int to) {
        Box box;
        uint32_t count = 0;
        for (auto bin = static_cast<size_t>(from); bin < static_cast<size_t>(to); ++bin) {
            box.Add(boxes[bin]);
            count += counts[bin];
        }
        return static_cast<float>(count) * box.Area();
    }

    Bvh& m_bvh;
    std::vector<Box> m_boxes;
    std::vector<Vec> m_centres;
};

Bvh::Bvh(std::vector<Triangle> triangles) : m_triangles(std::move(triangles)) { Builder builder(*this); }

/// Leads leaf to every leaf whose box the ray meets before limit, the nearer child first. leaf answers whether to go on.
template <class Leaf>
void Bvh::Walk(const Ray& ray, const float& limit, Leaf leaf) const {
    const Vec inverse{Inverse(ray.direction.x), Inverse(ray.direction.y), Inverse(ray.direction.z)};
    const auto entry = [&](const Node& node) {
        const Vec a = Times(node.least - ray.origin, inverse), b = Times(node.greatest - ray.origin, inverse);
        const float in = std::max({std::min(a.x, b.x), std::min(a.y, b.y), std::min(a.z, b.z), 0.0f});
        const float out = std::min({std::max(a.x, b.x), std::max(a.y, b.y), std::max(a.z, b.z)});
        return in <= out * 1.000001f && in < limit ? in : Infinity;
    };
    struct Waiting {
        uint32_t node;
        float entry;
    };
    std::array<Waiting, MostLevels + 2> stack;
    size_t depth = 0;
    stack[depth++] = {0, entry(m_nodes[0])};
    while (depth != 0) {
        const Waiting next = stack[--depth];
        if (!(next.entry < limit)) continue;
        const Node& node = m_nodes[next.node];
        if (node.count != 0) {
            if (!leaf(node)) return;
            continue;
        }
        Waiting near{next.node + 1, entry(m_nodes[next.node + 1])}, far{node.first, entry(m_nodes[node.first])};
        if (far.entry < near.entry) std::swap(near, far);
        if (far.entry < limit) stack[depth++] = far;
        if (near.entry < limit) stack[depth++] = near;
    }
}

bool Bvh::Nearest(const Ray& ray, float limit, Hit& hit) const {
    bool found = false;
    Walk(ray, limit, [&](const Node& node) {
        for (uint32_t i = node.first; i < node.first + node.count; ++i) {
            if (!Meets(ray, m_triangles[m_order[i]], limit, hit)) continue;
            limit = hit.distance;
            hit.triangle = m_order[i];
            found = true;
        }
        return true;
    });
    return found;
}

bool Bvh::Blocked(const Ray& ray, float limit) const {
    bool blocked = false;
    Walk(ray, limit, [&](const Node& node) {
        Hit hit;
        for (uint32_t i = node.first; !blocked && i < node.first + node.count; ++i)
            blocked = Meets(ray, m_triangles[m_order[i]], limit, hit);
        return !blocked;
    });
    return blocked;
}

}
