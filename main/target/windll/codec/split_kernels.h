#pragma once

#include "main/lib/base/processor.h"

#include <cstddef>
#include <cstdint>

namespace ztlib {

// The pixel work from pixels to JPEG components. Rows may lie at any address and must not overlap
// with targets.
struct SplitKernels {
  using Pairs = void (*)(std::uint8_t* const y[2], std::uint8_t* u, std::uint8_t* v,
                         const std::uint8_t* const rows[2], std::size_t count, std::size_t room);

  // Four-byte YUV pixels to three rows of `count` bytes.
  void (*yuv)(std::uint8_t* y, std::uint8_t* u, std::uint8_t* v, const std::uint8_t* yuv,
              std::size_t count);
  // Each of `count` results is the mean of 2 by 2 samples of two rows; a half is rounded down in
  // even columns and up in odd ones, as libjpeg does.
  void (*halve)(std::uint8_t* target, const std::uint8_t* upper, const std::uint8_t* lower,
                std::size_t count);
  // Two rows of `count` pairs of pixels, at least one, to two rows of luma and to chroma that is
  // halved both ways: what conversion to YUV, splitting and halving would give. The last pixel of a
  // row goes on up to `room` pairs.
  Pairs yuyv;
  Pairs uyvy;

  ZT_KERNEL_TABLES(SplitKernels);
};

}  // namespace ztlib
