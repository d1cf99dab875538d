#pragma once

#include "main/lib/base/pixel_format.h"

#include <cstddef>
#include <cstdint>

namespace ztlib {

// A picture to decode into: rows without padding, sizes in pixels. The format is GRAY, RGB, YUV,
// YUYV or UYVY; the width of the last two is even.
struct JpegTarget {
  PixelFormat format;
  std::uint8_t* pixels;
  std::uint32_t width;
  std::uint32_t height;
};

// Formats whose pixels come in pairs with one chroma.
[[nodiscard]] inline bool IsPairFormat(PixelFormat format) {
  return format == PixelFormat::YUYV || format == PixelFormat::UYVY;
}

[[nodiscard]] inline std::size_t JpegRowBytes(PixelFormat format, std::uint32_t width) {
  if (format == PixelFormat::GRAY) return width;
  return std::size_t{width} * (IsPairFormat(format) ? 2 : 4);
}

// Which part of the decoded picture goes where in the target.
struct JpegRowPlan {
  JpegRowPlan(const JpegTarget& target, std::uint32_t decodedWidth, std::uint32_t decodedHeight)
      : format(target.format), pixels(target.pixels) {
    // Rows of pairs can follow each other only if none of them ends within a pair.
    const bool packed = std::uint64_t{decodedWidth} * decodedHeight <=
                            std::uint64_t{target.width} * target.height &&
                        !(IsPairFormat(format) && decodedWidth % 2 != 0);
    columns = packed || decodedWidth < target.width ? decodedWidth : target.width;
    rows = packed || decodedHeight < target.height ? decodedHeight : target.height;
    if (columns == 0) rows = 0;
    distance = JpegRowBytes(format, packed ? decodedWidth : target.width);
    // Where sizes are rounded, one row is decoded that nobody wants. More than that is not worth it.
    finish = decodedHeight - rows <= 1;
  }

  [[nodiscard]] std::uint8_t* Row(std::uint32_t y) const { return pixels + y * distance; }

  PixelFormat format;
  std::uint8_t* pixels;
  std::uint32_t columns;
  std::uint32_t rows;
  std::size_t distance;
  bool finish;
};

}  // namespace ztlib
