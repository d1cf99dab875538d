#pragma once

#include <array>
#include <cstdint>
#include <random>
#include <vector>

// Pixels one by one, as the formats' definitions have them, for tests of the conversions.

using Bytes = std::vector<std::uint8_t>;
using Pixel = std::array<int, 3>;  // (value), (b, g, r) or (y, u, v)

inline Pixel RgbToYuv(const Pixel& p) {
  const auto [b, g, r] = p;
  return {(r * 77 + g * 150 + b * 29) >> 8, ((r * -43 + g * -85 + b * 128) >> 8) + 128,
          ((r * 128 + g * -107 + b * -21) >> 8) + 128};
}
inline int Saturate(int value) {
  return value < 0 ? 0 : value > 254 ? 255 : value;
}
inline Pixel YuvToRgb(const Pixel& p) {
  const int y = p[0] * 256;
  const int u = p[1] - 128;
  const int v = p[2] - 128;
  return {Saturate((y + u * 454) >> 8), Saturate((y + u * -88 + v * -183) >> 8),
          Saturate((y + v * 359) >> 8)};
}

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
