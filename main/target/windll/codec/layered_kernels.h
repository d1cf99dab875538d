#pragma once

#include "main/lib/base/processor.h"

#include <cstddef>
#include <cstdint>

namespace ztlib {

// The pixel work of layered pictures. Planes and rows may lie at any address and must not overlap.
struct LayeredKernels {
  // Transforms a block of 64 coefficients, stored column by column, sets them to 0, and writes the
  // means of squares of 1, 2 or 4 samples: 8, 4 or 2 rows of as many bytes, `distance` apart.
  using DrawBlock = void (*)(std::uint8_t* target, std::size_t distance,
                             std::int16_t* coefficients);
  DrawBlock drawSquares1;
  DrawBlock drawSquares2;
  DrawBlock drawSquares4;

  // Four-byte pixels of `count` bytes of each plane; the fourth byte of the target stays.
  void (*joinYuv)(std::uint8_t* target, const std::uint8_t* y, const std::uint8_t* u,
                  const std::uint8_t* v, std::size_t count);

  ZT_KERNEL_TABLES(LayeredKernels);
};

}  // namespace ztlib
