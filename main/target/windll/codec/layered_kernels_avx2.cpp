#include "main/target/windll/codec/layered_kernels_impl.h"

const LayeredKernels LayeredKernels::avx2 = layeredKernels;
