#pragma once

// The kernels by instruction set, each in a file of its own. Internal; not for clients.

#include "zvc/imaging/ZvResample.h"

namespace zvc::detail {

extern const ResampleKernels Sse2Kernels, Avx2Kernels, Avx512Kernels;

}
