#pragma once

#include "main/target/windll/codec/jpeg_io.h"
#include "main/target/windll/codec/scan_table.h"

#include <array>
#include <cstdint>

namespace ztlib {

// The tables for the first coefficients of blocks and for the others, kept as long as pictures have
// the same ones.
class ScanTables {
 public:
  // Of components that share the tables the larger ones, in the order of the scan.
  using Quantisers = std::array<std::uint16_t, blockCoefficients>;
  enum class Wanted : std::uint8_t { all, firstOnly };
  // What a pair of tables is made from.
  struct Key {
    JHUFF_TBL first;
    JHUFF_TBL others;
    Wanted wanted;
    unsigned indexBits;

    [[nodiscard]] bool operator==(const Key& other) const;
  };

  // False if these are no tables for a baseline scan; then there are none.
  [[nodiscard]] bool Make(const Key& wanted, const Quantisers& quantisers);

  [[nodiscard]] const ScanTable& First() const { return first; }
  [[nodiscard]] const ScanTable& Others() const { return others; }

 private:
  Key key{};
  unsigned maxSize = 0;
  bool made = false;
  ScanTable first{};
  ScanTable others{};
};

}  // namespace ztlib
