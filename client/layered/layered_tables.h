#pragma once

#include <array>
#include <cstdint>

// Steps of the 64 coefficients of a block in natural order, with 6 fractional bits.
using LayeredTable = std::array<std::int16_t, 64>;

struct CLayeredTables {
  LayeredTable luma, chroma;
};

// The tables that a decoder makes of these two fields. Family 0 scales the usual tables, family 1
// blends between fifteen scaled copies of them; no other family is decoded.
[[nodiscard]] CLayeredTables MakeLayeredTables(int family, int quality);
