#include "main/target/windll/image_convert/row_kernels.h"

#include "main/lib/base/processor.h"
#include "main/target/windll/image_convert/row_kernels_variants.h"

const RowKernels& Rows() {
#if defined(ZTLIB_AVX2)
  if (UseAvx2()) return avx2Rows;
#endif
  return baselineRows;
}
