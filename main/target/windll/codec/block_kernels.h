#pragma once

#include "main/lib/base/processor.h"

#include <cstddef>
#include <cstdint>

namespace ztlib {

// The pixel work of differential video. Rows may lie at any address; sources and targets must not
// overlap.
struct BlockKernels {
  // Each of `columns` results is the mean luma of `factor` by `factor` pixels of UYVY rows that lie
  // `distance` bytes apart, truncated. The factor is a power of two, 64 at most.
  void (*meanLuma)(std::uint8_t* target, const std::uint8_t* uyvy, std::size_t distance,
                   std::size_t columns, unsigned factor);
  // Marks by 255 each of `count` groups of 2 by 2 samples whose absolute differences add up to more
  // than the threshold, and by 0 the others. Two rows of each picture. True if any is marked.
  bool (*compareGroups)(std::uint8_t* marks, const std::uint8_t* const reference[2],
                        const std::uint8_t* const present[2], std::size_t count,
                        unsigned threshold);
  // Marks what is marked in the row or beside, above or below. The row has a byte on either side.
  void (*spreadMarks)(std::uint8_t* target, const std::uint8_t* above, const std::uint8_t* row,
                      const std::uint8_t* below, std::size_t count);
  // Half of reference minus present, truncated, around 128; and its inverse, clamped, for `rows`
  // rows. Those of target and base lie equally far apart.
  void (*halfDifference)(std::uint8_t* target, const std::uint8_t* reference,
                         const std::uint8_t* present, std::size_t count);
  void (*addDifference)(std::uint8_t* target, const std::uint8_t* base, std::size_t distance,
                        const std::uint8_t* difference, std::size_t differenceDistance,
                        std::size_t rowSize, std::size_t rows);
  // Copies `rows` rows of `rowSize` bytes.
  void (*copyRows)(std::uint8_t* target, std::size_t targetDistance, const std::uint8_t* source,
                   std::size_t sourceDistance, std::size_t rowSize, std::size_t rows);

  ZT_KERNEL_TABLES(BlockKernels);
};

}  // namespace ztlib
