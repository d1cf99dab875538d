#pragma once

#include "main/lib/base/debug.h"
#include "main/lib/imgproc/histogram.h"

#include <algorithm>
#include <cstdint>

namespace ztlib {

namespace histogram_impl {

inline constexpr char source[] = "main/lib/imgproc/histogram";

// Calls `apply` with the first byte and the number of pixels of each row.
template <class Apply>
void ForEachRow(ByteImage& image, Apply&& apply) {
  std::uint8_t* const data = image.GetWritePtr();
  for (long long y = 0; data && y < image.GetDy(); ++y)
    apply(data + y * image.GetScanline(), image.GetDx());
}

template <class Pixel, class Apply>
void ForEachRow(TCImageView<Pixel>& image, Apply&& apply) {
  static_assert(sizeof(Pixel) == 1);
  for (std::int32_t y = 0; image.data && y < image.dy; ++y)
    apply(image.RowBytes(y), std::int64_t{image.dx});
}

template <class Image>
void ApplyTable(Image& image, const std::uint8_t* table) {
  ForEachRow(image, [table](std::uint8_t* row, std::int64_t width) {
    for (std::int64_t x = 0; x < width; ++x)
      row[x] = table[row[x]];
  });
}

}  // namespace histogram_impl

template <class Image>
void TApply(Image& r_img, const std::uint8_t lut[256]) {
  ZT_MUST_BE_FALSE(!r_img.Assigned(), "TApply", histogram_impl::source, 40);
  histogram_impl::ApplyTable(r_img, lut);
}

template <class Image>
void TApplyAndSaturation(Image& r_img, const int lut[256]) {
  ZT_MUST_BE_FALSE(!r_img.Assigned(), "TApplyAndSaturation", histogram_impl::source, 46);
  std::uint8_t table[256];
  for (int i = 0; i < 256; ++i)
    table[i] = static_cast<std::uint8_t>(std::clamp(lut[i], 0, 255));
  histogram_impl::ApplyTable(r_img, table);
}

}  // namespace ztlib
