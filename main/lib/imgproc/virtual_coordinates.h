#pragma once

#include <cstdint>

namespace ztlib {

// Places in a picture independent of its resolution: 16384 units across each axis. Rounded to
// nearest with halves upwards (sums below zero round towards zero), never clamped.

inline constexpr std::int64_t virtualUnits = 16384;

[[nodiscard]] constexpr std::int32_t PixelByVirtual(std::int64_t position, std::int64_t size) {
  return static_cast<std::int32_t>((position * size + virtualUnits / 2) / virtualUnits);
}

[[nodiscard]] constexpr std::int32_t VirtualByPixel(std::int64_t position, std::int64_t size) {
  if (size == 0) return 0;
  return static_cast<std::int32_t>((position * virtualUnits + size / 2) / size);
}

}  // namespace ztlib
