#pragma once

// Conversions between the kinds of values, for boxes, arrays and vectors. Internal; not for clients.

#include "zvc/imaging/zvcolor.h"
#include "zvc/values/CG.h"
#include "zvc/values/ZvValue.h"

namespace zvc::detail {

/// The kind of an element type. The interface references have none of their own that a box would accept.
template <class T> inline constexpr ZvValueType KindNumber = ZvVtInterface;
template <> inline constexpr ZvValueType KindNumber<bool> = ZvVtBoolean;
template <> inline constexpr ZvValueType KindNumber<char> = ZvVtSByte;
template <> inline constexpr ZvValueType KindNumber<unsigned char> = ZvVtByte;
template <> inline constexpr ZvValueType KindNumber<short> = ZvVtInt16;
template <> inline constexpr ZvValueType KindNumber<unsigned short> = ZvVtUInt16;
template <> inline constexpr ZvValueType KindNumber<int> = ZvVtInt32;
template <> inline constexpr ZvValueType KindNumber<unsigned int> = ZvVtUInt32;
template <> inline constexpr ZvValueType KindNumber<long long> = ZvVtInt64;
template <> inline constexpr ZvValueType KindNumber<unsigned long long> = ZvVtUInt64;
template <> inline constexpr ZvValueType KindNumber<float> = ZvVtFloat;
template <> inline constexpr ZvValueType KindNumber<double> = ZvVtDouble;
template <> inline constexpr ZvValueType KindNumber<CG::vec2<int>> = ZvVtVec2i;
template <> inline constexpr ZvValueType KindNumber<CG::vec2<float>> = ZvVtVec2f;
template <> inline constexpr ZvValueType KindNumber<CG::vec2<double>> = ZvVtVec2d;
template <> inline constexpr ZvValueType KindNumber<CG::vec3<int>> = ZvVtVec3i;
template <> inline constexpr ZvValueType KindNumber<CG::vec3<float>> = ZvVtVec3f;
template <> inline constexpr ZvValueType KindNumber<CG::vec3<double>> = ZvVtVec3d;
template <> inline constexpr ZvValueType KindNumber<CG::vec4<int>> = ZvVtVec4i;
template <> inline constexpr ZvValueType KindNumber<CG::vec4<float>> = ZvVtVec4f;
template <> inline constexpr ZvValueType KindNumber<CG::vec4<double>> = ZvVtVec4d;
template <> inline constexpr ZvValueType KindNumber<CG::mat3<float>> = ZvVtMat3f;
template <> inline constexpr ZvValueType KindNumber<CG::mat3<double>> = ZvVtMat3d;
template <> inline constexpr ZvValueType KindNumber<CG::mat4<float>> = ZvVtMat4f;
template <> inline constexpr ZvValueType KindNumber<CG::mat4<double>> = ZvVtMat4d;
template <> inline constexpr ZvValueType KindNumber<CG::rotation<float>> = ZvVtRotf;
template <> inline constexpr ZvValueType KindNumber<CG::rotation<double>> = ZvVtRotd;
template <> inline constexpr ZvValueType KindNumber<zvcolor> = ZvVtColor;
template <> inline constexpr ZvValueType KindNumber<ZvObject$> = ZvVtObjectRef;
template <> inline constexpr ZvValueType KindNumber<ZvObject*> = ZvVtObjectPtr;

/// Scalars of a value, in storage order: how many, and of what type. A scalar is one of its own.
template <class T> struct Shape { using Scalar = T; static constexpr int count = 1; };
template <class E> struct Shape<CG::vec2<E>> { using Scalar = E; static constexpr int count = 2; };
template <class E> struct Shape<CG::vec3<E>> { using Scalar = E; static constexpr int count = 3; };
template <class E> struct Shape<CG::vec4<E>> { using Scalar = E; static constexpr int count = 4; };
template <class E> struct Shape<CG::mat3<E>> { using Scalar = E; static constexpr int count = 9; };
template <class E> struct Shape<CG::mat4<E>> { using Scalar = E; static constexpr int count = 16; };
template <class E> struct Shape<CG::rotation<E>> { using Scalar = E; static constexpr int count = 4; };
template <> struct Shape<zvcolor> { using Scalar = float; static constexpr int count = 3; };

/// Floating point to integer as the machine truncates: out of range, and NaN, give the sign bit alone.
int TruncateTo32(double value);
long long TruncateTo64(double value);
/// The same to an unsigned number: 2^63 is subtracted first, and added back, for 2^63 and more.
unsigned long long TruncateToU64(double value);

/// Converts the value of kind type at source into target. False, without a change, for a kind that T does not accept.
template <class T> ZV_API bool SetFrom(T& target, const void* source, ZvValueType type);

/// Converts value into kind type at target. False, without a change, for a kind that T does not accept.
template <class T> ZV_API bool GetTo(const T& value, void* target, ZvValueType type);

}
