#include "main/target/windll/codec/layered_kernels.h"

#include "main/lib/base/processor.h"
#include "main/target/windll/codec/layered_kernels_variants.h"

const LayeredKernels& Layered() {
#if defined(ZTLIB_AVX2)
  if (UseAvx2()) return avx2Layered;
#endif
  return baselineLayered;
}
