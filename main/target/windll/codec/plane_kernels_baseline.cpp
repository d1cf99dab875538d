#include "main/target/windll/codec/plane_kernels_impl.h"

const PlaneKernels PlaneKernels::baseline = planeKernels;
