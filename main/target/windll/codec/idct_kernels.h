#pragma once

#include "main/lib/base/processor.h"
#include "main/target/windll/codec/scan_table.h"

#include <cstddef>
#include <cstdint>

namespace ztlib {

// The inverse transforms of baseline blocks, bit for bit what libjpeg-turbo gives with its accurate
// integer method. Where its vectors and its C code would differ, results are not usable.
struct IdctKernels {
  struct Block {
    std::int16_t* coefficients;
    std::uint8_t* target;
  };
  // Transforms `count` blocks of one component, clears their coefficients, and writes rows that lie
  // `distance` bytes apart. Quantisers lie as the coefficients do; no product of both is larger than
  // ScanTable::maxDequantised. False if results are not usable.
  using Transform = bool (*)(const Block* blocks, std::size_t count, std::size_t distance,
                             const std::int16_t* quantisers);
  // To 8 by 8 samples: any block, or one whose coefficients all lie in the quarter of low
  // frequencies.
  Transform full;
  Transform quarter;
  // To 4 by 4 and 2 by 2 samples.
  Transform toFours;
  Transform toTwos;

  ZT_KERNEL_TABLES(IdctKernels);
};

}  // namespace ztlib
