#pragma once

#include "main/target/windll/codec/block_kernels.h"

// One table for each instruction set that block_kernels_impl.h is compiled for.
extern const BlockKernels baselineBlocks;
#if defined(ZTLIB_AVX2)
extern const BlockKernels avx2Blocks;
#endif
