#include "main/target/windll/codec/block_kernels.h"

#include "main/lib/base/processor.h"
#include "main/target/windll/codec/block_kernels_variants.h"

const BlockKernels& Blocks() {
#if defined(ZTLIB_AVX2)
  if (UseAvx2()) return avx2Blocks;
#endif
  return baselineBlocks;
}
