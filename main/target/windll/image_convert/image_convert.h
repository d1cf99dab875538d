#pragma once

#include "main/target/windll/image_convert/image_convert_bayer.h"
#include "main/target/windll/image_convert/image_convert_bayer_block.h"
#include "main/target/windll/image_convert/image_convert_tobool_impl.h"
#include "main/target/windll/image_convert/image_convert_togray_impl.h"
#include "main/target/windll/image_convert/image_convert_torgb_impl.h"
#include "main/target/windll/image_convert/image_convert_touyvy_impl.h"
#include "main/target/windll/image_convert/image_convert_toyuv420block_impl.h"
#include "main/target/windll/image_convert/image_convert_toyuv_impl.h"
#include "main/target/windll/image_convert/image_convert_toyuyv_impl.h"
#include "main/target/windll/image_convert/image_convert_yuv420.h"

#include <algorithm>
#include <cstring>

namespace ztlib {

// The conversion matrix is the set of Convert overloads: Convert(target, source) fills `target`,
// which has the source's size in pixels, truncated to whole samples. A pair without overload has no
// conversion. The headers above hold the overloads by target format, those from sensor pictures and
// tiles by source format, and each of them holds the arithmetic of its rows as well.

// Of equal formats it is a copy. Sensor formats are sources only, even for themselves.
template <class T>
requires(PixelTraits<T>::format != PixelFormat::RGBBAYER &&
         PixelTraits<T>::format !=
             PixelFormat::YUVBAYERBLOCK) void Convert(TCImageView<T>& target,
                                                      const TCImageView<T>& source) {
  const auto rowSize = static_cast<std::size_t>(std::min(target.dx, source.dx)) * sizeof(T);
  const std::int32_t rows = std::min(target.dy, source.dy);
  if (rowSize == 0) return;
  for (std::int32_t y = 0; y < rows; ++y)
    std::memcpy(target.RowBytes(y), source.RowBytes(y), rowSize);
}

// Whether pictures of pixel type Source convert to Target.
template <class Target, class Source>
concept IsConvertible = requires(TCImageView<Target>& target, const TCImageView<Source>& source) {
  Convert(target, source);
};

// Throws "Wrong format" in the name of the place that refuses the pair.
[[noreturn]] void RefuseConversion(PixelFormat source, PixelFormat target);

}  // namespace ztlib
