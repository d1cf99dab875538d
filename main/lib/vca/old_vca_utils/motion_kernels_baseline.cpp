#include "main/lib/vca/old_vca_utils/motion_kernels_impl.h"

const MotionKernels MotionKernels::baseline = motionKernels;
