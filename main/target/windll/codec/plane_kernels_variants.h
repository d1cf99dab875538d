#pragma once

#include "main/target/windll/codec/plane_kernels.h"

// One table for each instruction set that plane_kernels_impl.h is compiled for.
extern const PlaneKernels baselinePlanes;
#if defined(ZTLIB_AVX2)
extern const PlaneKernels avx2Planes;
#endif
