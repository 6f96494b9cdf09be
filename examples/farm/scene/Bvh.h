#pragma once

#include "Vec.h"

#include <cstdint>
#include <vector>

namespace farm {

/// A corner and the two edges from there.
struct Triangle {
    Vec corner, edge1, edge2;
};

struct Hit {
    float distance;                 // along the ray
    float u, v;                     // the place on the triangle: corner + u * edge1 + v * edge2
    uint32_t triangle;
};

/// A bounding volume hierarchy: which triangle a ray meets first, found without a look at most of them. Made once, then
/// only read, by any number of threads. The same triangles always make the same tree.
class Bvh {
public:
    Bvh() = default;                ///< to be assigned to before it is used
    explicit Bvh(std::vector<Triangle> triangles);

    /// The nearest triangle in front of the ray's origin and nearer than limit. False when there is none.
    bool Nearest(const Ray& ray, float limit, Hit& hit) const;

    /// Does anything stand between the ray's origin and limit?
    bool Blocked(const Ray& ray, float limit) const;

    const Triangle& operator[](uint32_t triangle) const { return m_triangles[triangle]; }

private:
    class Builder;
    struct Node {
        Vec least;
        uint32_t first;             // a leaf's first triangle in the order; else the second child, the first stands next
        Vec greatest;
        uint32_t count;             // of a leaf's triangles; 0 for an inner node
    };

    template <class Leaf> void Walk(const Ray& ray, const float& limit, Leaf leaf) const;

    std::vector<Triangle> m_triangles;
    std::vector<Node> m_nodes;
    std::vector<uint32_t> m_order;
};

}
