#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

using LayeredBytes = std::vector<std::uint8_t>;

// Numbers are little-endian; signed ones go in as their bits.
inline void AppendNumber(LayeredBytes& bytes, std::uint32_t value, int size) {
  for (int i = 0; i < size; ++i)
    bytes.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
}

inline void StoreNumber(LayeredBytes& bytes, std::size_t at, std::uint32_t value, int size) {
  for (int i = 0; i < size; ++i)
    bytes[at + static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(value >> (8 * i));
}
