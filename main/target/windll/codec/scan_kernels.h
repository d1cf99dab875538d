#pragma once

#include "main/lib/base/processor.h"
#include "main/target/windll/codec/scan_source.h"
#include "main/target/windll/codec/scan_table.h"

#include <cstddef>
#include <cstdint>

namespace ztlib {

// The entropy decoding of blocks.
struct ScanKernels {
  // The tables of one block.
  struct Step {
    const ScanTable* first;
    const ScanTable* others;
  };

  // Reads `count` blocks, whose coefficients are 0 before. `steps` has one more than that, whose
  // table of first coefficients has left out everything. The first coefficient of a block is a
  // difference. `lasts` takes the place of each block's last coefficient, in the order of the scan,
  // or one place more, where the coefficient is then 0. Takes less than 210 bytes a block. False if
  // a block is not sound.
  using ReadBlocks = bool (*)(ScanBits& place, const Step* steps, std::size_t count,
                              std::int16_t* coefficients, std::uint8_t* lasts);
  // For tables whose indices have 10 bits or 12.
  ReadBlocks readBlocks10;
  ReadBlocks readBlocks12;

  ZT_KERNEL_TABLES(ScanKernels);
};

}  // namespace ztlib
