#include "main/target/windll/codec/block_kernels_impl.h"

const BlockKernels BlockKernels::avx2 = blockKernels;
