#include "main/target/windll/codec/utils/scale_down.h"

#include "main/lib/base/debug.h"
#include "main/target/windll/codec/block_kernels.h"

#include <bit>

namespace ztlib {

void ScaleDownUYVY_To_Gray(TCImageView<TTGray<unsigned char>>& target,
                           const TCImageView<TTUYVY<unsigned char>>& source, int factor) {
  if (factor < 2 || factor > 64 || !std::has_single_bit(static_cast<unsigned>(factor)))
    ZT_THROW(CException, "scaledown parameter is not 2,4,8,16,32,64", "ScaleDownUYVY_To_Gray",
             "main/target/windll/codec/utils/scale_down", 12);
  const std::int32_t columns = source.dx / (factor / 2);
  const std::int32_t rows = source.dy / factor;
  const std::size_t distance = static_cast<std::size_t>(source.scanline) * sizeof(*source.data);
  for (std::int32_t y = 0; y < rows; ++y)
    KernelsFor<BlockKernels>().meanLuma(target.RowBytes(y), source.RowBytes(y * factor), distance,
                                        static_cast<std::size_t>(columns),
                                        static_cast<unsigned>(factor));
}

}  // namespace ztlib
