#include "main/target/windll/codec/plane_kernels.h"

#include "main/lib/base/processor.h"
#include "main/target/windll/codec/plane_kernels_variants.h"

const PlaneKernels& Planes() {
#if defined(ZTLIB_AVX2)
  if (UseAvx2()) return avx2Planes;
#endif
  return baselinePlanes;
}
