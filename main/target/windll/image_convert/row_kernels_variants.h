#pragma once

#include "main/target/windll/image_convert/row_kernels.h"

// One table for each instruction set that row_kernels_impl.h is compiled for.
extern const RowKernels baselineRows;
#if defined(ZTLIB_AVX2)
extern const RowKernels avx2Rows;
#endif
