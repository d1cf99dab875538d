#include "main/target/windll/codec/block_kernels.cpp"

const BlockKernels BlockKernels::baseline = blockKernels;
