#pragma once

#include "main/lib/vca/old_vca_utils/motion_kernels.h"

// One table for each instruction set that motion_kernels_impl.h is compiled for.
extern const MotionKernels baselineMotions;
#if defined(ZTLIB_AVX2)
extern const MotionKernels avx2Motions;
#endif
