#pragma once

#include <cstdint>

// The power of two that brings `lead`, the larger side of a picture, closest to `target`, limited
// by how often both sides halve evenly. An exact middle stays on the smaller picture. 0 if a size
// is not positive.
[[nodiscard]] constexpr std::int32_t ChooseScaleDown(std::int64_t target, std::int64_t lead,
                                                     std::int64_t other) {
  if (target <= 0 || lead <= 0 || other <= 0) return 0;
  if (lead < target) return 1;
  std::int32_t factor = 1;
  while (lead > target && lead % 2 == 0 && other % 2 == 0) {
    lead /= 2;
    other /= 2;
    factor *= 2;
  }
  return target - lead <= 2 * lead - target ? factor : factor / 2;
}
