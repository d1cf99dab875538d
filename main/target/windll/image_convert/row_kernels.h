#pragma once

#include "main/lib/base/processor.h"

#include <cstddef>
#include <cstdint>

namespace ztlib {

// The pixel work of the conversions, one row a call. Rows may lie at any address and must not
// overlap. `count` is in samples of the format with the wider samples: pairs of pixels wherever
// YUYV or UYVY takes part, pixels elsewhere. Four-byte RGB and YUV targets keep their fourth byte.
struct RowKernels {
  using Row = void (*)(std::uint8_t* target, const std::uint8_t* source, std::size_t count);
  Row boolToGray;
  Row boolToRgb;
  Row grayToBool;
  Row grayToRgb;
  Row grayToYuv;
  Row grayToYuyv;
  Row grayToUyvy;
  Row rgbToGray;
  Row rgbToYuv;
  Row rgbToYuyv;
  Row rgbToUyvy;
  Row yuvToGray;
  Row yuvToRgb;
  Row yuvToYuyv;
  Row yuvToUyvy;
  Row yuyvToGray;
  Row yuyvToRgb;
  Row yuyvToYuv;
  Row yuyvToUyvy;
  Row uyvyToGray;
  Row uyvyToRgb;
  Row uyvyToYuv;
  Row uyvyToYuyv;

  ZT_KERNEL_TABLES(RowKernels);
};

}  // namespace ztlib
