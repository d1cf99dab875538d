#pragma once

#include "main/lib/base/image_rw.h"
#include "main/target/windll/image_convert/row_kernels.h"

#include <algorithm>

namespace ztlib {

using GrayImageView = TCImageView<TTGray<unsigned char>>;
using RgbImageView = TCImageView<TTRGB<unsigned char>>;
using YuvImageView = TCImageView<TTYUV<unsigned char>>;
using YuyvImageView = TCImageView<TTYUYV<unsigned char>>;
using UyvyImageView = TCImageView<TTUYVY<unsigned char>>;
using BoolImageView = TCImageView<TBool8>;
using BayerImageView = TCImageView<TTRGBBayer<unsigned char>>;
using BayerBlockImageView = TCImageView<TTYUVBayerBlock<unsigned char>>;
using Yuv420ImageView = TCImageView<TTYUV420Block<unsigned char>>;

// Runs a row kernel over the rows that both pictures have. A pixel without partner is dropped where
// the kernel works in pairs.
template <class Target, class Source>
void ConvertRows(TCImageView<Target>& target, const TCImageView<Source>& source,
                 RowKernels::Row row) {
  constexpr int targetDx = PixelTraits<Target>::sampleDx;
  constexpr int sourceDx = PixelTraits<Source>::sampleDx;
  const std::int32_t samples =
      std::min(target.dx * targetDx, source.dx * sourceDx) / std::max(targetDx, sourceDx);
  if (samples <= 0) return;
  const std::int32_t rows = std::min(target.dy, source.dy);
  for (std::int32_t y = 0; y < rows; ++y)
    row(target.RowBytes(y), source.RowBytes(y), static_cast<std::size_t>(samples));
}

}  // namespace ztlib
