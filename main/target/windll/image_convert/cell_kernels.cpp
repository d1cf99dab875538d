#include "main/target/windll/image_convert/cell_kernels.h"

#include "main/lib/base/processor.h"
#include "main/target/windll/image_convert/cell_kernels_variants.h"

const CellKernels& Cells() {
#if defined(ZTLIB_AVX2)
  if (UseAvx2()) return avx2Cells;
#endif
  return baselineCells;
}
