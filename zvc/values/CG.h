#pragma once

/// Plain geometry records, carried and stored as they are: no virtual functions, no base classes, copied as bytes. The
/// library does no geometry with them; it compares, hashes, prints and codes their scalars in storage order.
namespace CG {

template <class T>
struct vec2 {
    T x, y;
};

template <class T>
struct vec3 {
    T x, y, z;
};

template <class T>
struct vec4 {
    T x, y, z, w;
};

/// Three groups of three scalars.
template <class T>
struct mat3 {
    T m[3][3];
};

/// Four groups of four scalars.
template <class T>
struct mat4 {
    T m[4][4];
};

/// An angle and an axis.
template <class T>
struct rotation {
    T angle;
    vec3<T> axis;
};

}
