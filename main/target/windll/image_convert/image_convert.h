#pragma once

#include "main/lib/base/image_rw.h"

#include <algorithm>
#include <cstring>
#include <type_traits>

// Whether pictures of pixel type Source convert to Target.
template <class Target, class Source>
inline constexpr bool IsConvertible = std::is_same_v<Target, Source>;

// Throws "Wrong format" in the name of the place that refuses the pair.
[[noreturn]] void RefuseConversion(PixelFormat source, PixelFormat target);

// Fills `target`, which has the source's size in pixels, truncated to whole samples.
template <class T>
void Convert(TCImageView<T>& target, const TCImageView<T>& source) {
  const auto rowSize = static_cast<std::size_t>(std::min(target.dx, source.dx)) * sizeof(T);
  const std::int32_t rows = std::min(target.dy, source.dy);
  if (rowSize == 0) return;
  for (std::int32_t y = 0; y < rows; ++y)
    std::memcpy(target.RowBytes(y), source.RowBytes(y), rowSize);
}
