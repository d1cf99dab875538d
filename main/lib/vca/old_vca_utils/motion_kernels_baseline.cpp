#include "main/lib/vca/old_vca_utils/motion_kernels.cpp"

const MotionKernels MotionKernels::baseline = motionKernels;
