#pragma once

// What is rendered, as the tracer wants it: plain records without handles, made once out of a Scene.

#include "Bvh.h"

#include <zvc/imaging/zvcolor.h>

#include <vector>

namespace farm {

struct Look {
    zvcolor colour;                 // the part of the light that comes back
    zvcolor glow;                   // light of its own
    bool mirror;                    // else diffuse
};

/// What stands beside a triangle.
struct Face {
    Vec normals[3];                 // at its corners
    uint32_t look;
};

/// Brighter towards the zenith or the horizon, and a sun, which has a width and so soft shadows.
struct SkyLight {
    zvcolor horizon, zenith;
    zvcolor sun;                    // what a white surface that faces it shows
    Vec sunDirection;
    float sunRadius;                // of the disc, seen from a distance of 1
};

/// A pinhole camera: the ray through a point of the picture goes along forward + x * right + y * up, both from -1 to 1.
struct View {
    Vec eye, forward, right, up;
    int width, height;
};

struct World {
    View view;
    SkyLight sky;
    std::vector<Look> looks;
    std::vector<Face> faces;        // by triangle
    std::vector<uint32_t> lamps;    // the triangles that glow
    Bvh bvh;
};

}
