#pragma once

#include "main/lib/base/processor.h"

#include <cstddef>
#include <cstdint>

namespace ztlib {

// The pixel work from JPEG components to pixels, one row a call. Rows may lie at any address
// and must not overlap. The widening kernels read one byte in front of a row and one behind it.
struct PlaneKernels {
  using Widen = void (*)(std::uint8_t* target, const std::uint8_t* near, const std::uint8_t* far,
                         std::size_t count);
  using Join = void (*)(std::uint8_t* target, const std::uint8_t* y, const std::uint8_t* u,
                        const std::uint8_t* v, std::size_t count);

  // Two results for each of `count` samples, three quarters of it and one quarter of its neighbour,
  // rounded as libjpeg does: in a row alone, or between two rows of which `near` counts threefold.
  Widen widen;
  Widen widenBetween;
  // The mean of each pair of results of the two above, or of each pair of samples of a row. The
  // kernels for one row do not read `far`.
  Widen widenToPairs;
  Widen widenBetweenToPairs;
  Widen meanOfPairs;
  // Each of `count` samples twice.
  Widen repeat;

  // `count` pixels of four bytes, the last of them 255. RGB begins with blue, swapped RGB with red;
  // the conversion is libjpeg's.
  Join joinYuv;
  Join joinRgb;
  Join joinSwappedRgb;
  void (*repeatGray)(std::uint8_t* target, const std::uint8_t* gray, std::size_t count);
  // `count` pairs, chroma one sample a pair.
  Join joinYuyv;
  Join joinUyvy;

  ZT_KERNEL_TABLES(PlaneKernels);
};

}  // namespace ztlib
