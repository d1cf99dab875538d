#include "main/target/windll/codec/block_kernels.cpp"

const BlockKernels BlockKernels::avx2 = blockKernels;
