#pragma once

#include <cstddef>
#include <cstdint>

// The pixel work between JPEG components and pixels, one row a call. Rows may lie at any address
// and must not overlap.
struct PlaneKernels {
  // Four-byte YUV pixels to three rows of `count` bytes.
  void (*splitYuv)(std::uint8_t* y, std::uint8_t* u, std::uint8_t* v, const std::uint8_t* yuv,
                   std::size_t count);
  // Each of `count` results is the mean of 2 by 2 samples of two rows; a half is rounded down in
  // even columns and up in odd ones, as libjpeg does.
  void (*halve)(std::uint8_t* target, const std::uint8_t* upper, const std::uint8_t* lower,
                std::size_t count);
};

// The kernels for this processor.
[[nodiscard]] const PlaneKernels& Planes();
