#pragma once

#include "main/target/windll/image_convert/cell_kernels.h"

// One table for each instruction set that cell_kernels_impl.h is compiled for.
extern const CellKernels baselineCells;
#if defined(ZTLIB_AVX2)
extern const CellKernels avx2Cells;
#endif
