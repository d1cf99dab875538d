#pragma once

#include <cstddef>
#include <cstdint>

// The pixel work of the conversions, one row a call. Rows may lie at any address and must not
// overlap. `count` is in samples of the target for the kernels that build pairs (YUYV and UYVY from
// YUV), of the source for all others. Four-byte RGB and YUV targets keep their fourth byte.
struct RowKernels {
  using Row = void (*)(std::uint8_t* target, const std::uint8_t* source, std::size_t count);
  Row boolToGray;
  Row grayToBool;
  Row grayToRgb;
  Row grayToYuv;
  Row rgbToGray;
  Row rgbToYuv;
  Row yuvToGray;
  Row yuvToRgb;
  Row yuvToYuyv;
  Row yuvToUyvy;
  Row yuyvToYuv;
  Row uyvyToYuv;
  Row yuyvToUyvy;
  Row yuyvToGray;
  Row uyvyToGray;
};

// The kernels for this processor, chosen once. ZTLIB_BASELINE=1 in the environment keeps to the
// instructions that every x86-64 processor has. Results are the same on every path.
[[nodiscard]] const RowKernels& Rows();
