#pragma once

#include "main/target/windll/codec/layered_kernels.h"

// One table for each instruction set that layered_kernels_impl.h is compiled for.
extern const LayeredKernels baselineLayered;
#if defined(ZTLIB_AVX2)
extern const LayeredKernels avx2Layered;
#endif
