#pragma once

#include "tests/kit/bytes.h"
#include "tests/kit/pixels.h"

#include <random>

using kit::Bytes;
using namespace kit;

// Random bytes with many values at the ends and around the middle, where rounding shows.
inline Bytes EdgyBytes(std::size_t size) {
  static std::mt19937 random(20);
  constexpr std::uint8_t edges[] = {0, 1, 126, 127, 128, 129, 254, 255};
  Bytes bytes(size);
  for (auto& byte : bytes) {
    const auto value = static_cast<std::uint32_t>(random());
    byte = value & 0x100 ? edges[value & 7] : static_cast<std::uint8_t>(value);
  }
  return bytes;
}
