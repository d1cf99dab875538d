#pragma once

#include <array>
#include <cstdint>

namespace ztlib {

// The factors that the coefficients of a layered picture are multiplied by: one for each place of
// an 8 by 8 block in natural order, with 6 fractional bits.
struct LayeredTables {
  using Table = std::array<std::int16_t, 64>;
  Table luminance;
  Table chrominance;
};

[[nodiscard]] constexpr bool IsTableFamily(std::int16_t family) {
  return family == 0 || family == 1;
}

// The tables of a family and a quality, which is any number.
[[nodiscard]] LayeredTables MakeLayeredTables(std::int16_t family, std::int16_t quality);

}  // namespace ztlib
