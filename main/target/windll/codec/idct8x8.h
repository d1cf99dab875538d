#pragma once

#include <cstdint>

namespace ztlib {

// The inverse transform of the legacy layered format, in place: shifts and additions on 32 bits,
// rows first. Coefficients are whatever the stream says, so sums wrap around. `block` may lie at
// any address.
void InverseTransform8x8(std::int16_t* block) noexcept;

}  // namespace ztlib
