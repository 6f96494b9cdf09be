#pragma once

#include "zvc/platform/Api.h"

/// Plain geometry records, carried and stored as they are: no virtual functions, no base classes, copied as bytes. The
/// library does no geometry with them; it compares, hashes, prints and codes their scalars in storage order.
namespace CG {

/// Two scalars.
template <class T>
struct ZV_API vec2 {
    T x, y;
};

/// Three scalars.
template <class T>
struct ZV_API vec3 {
    T x, y, z;
};

/// Four scalars.
template <class T>
struct ZV_API vec4 {
    T x, y, z, w;
};

/// Three groups of three scalars.
template <class T>
struct ZV_API mat3 {
    T m[3][3];
};

/// Four groups of four scalars.
template <class T>
struct ZV_API mat4 {
    T m[4][4];
};

/// An angle and an axis.
template <class T>
struct ZV_API rotation {
    T angle;
    vec3<T> axis;
};

}
