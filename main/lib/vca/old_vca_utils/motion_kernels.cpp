#include "main/lib/vca/old_vca_utils/motion_kernels.h"

#include "main/lib/base/processor.h"
#include "main/lib/vca/old_vca_utils/motion_kernels_variants.h"

const MotionKernels& Motions() {
#if defined(ZTLIB_AVX2)
  if (UseAvx2()) return avx2Motions;
#endif
  return baselineMotions;
}
