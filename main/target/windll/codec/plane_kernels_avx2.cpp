#include "main/target/windll/codec/plane_kernels_impl.h"

const PlaneKernels PlaneKernels::avx2 = planeKernels;
