#include "main/target/windll/codec/plane_kernels.cpp"

const PlaneKernels PlaneKernels::avx2 = planeKernels;
