#pragma once

// The kernels by instruction set, each in a file of its own. Internal; not for clients.

#include "zvc/imaging/ZvResample.h"

// Ahead of a loop over a block of registers: left as a loop, it takes them through memory.
#if defined(__clang__)
#define ZV_UNROLL _Pragma("unroll")
#else
#define ZV_UNROLL _Pragma("GCC unroll 16")
#endif

namespace zvc::detail {

extern const ResampleKernels Sse2Kernels, Avx2Kernels, Avx512Kernels;

}
