#pragma once

#include "client/layered/layered_tables.h"

#include <array>
#include <cstddef>
#include <cstdint>

// The quantised coefficients of a block in natural order.
using LayeredBlock = std::array<std::int16_t, 64>;

// Transforms 8 by 8 samples and divides by the steps of `table`.
[[nodiscard]] LayeredBlock TransformLayeredBlock(const std::uint8_t* samples, std::ptrdiff_t stride,
                                                 const LayeredTable& table);
