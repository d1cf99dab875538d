#include "main/target/windll/codec/layered_kernels.cpp"

const LayeredKernels LayeredKernels::baseline = layeredKernels;
