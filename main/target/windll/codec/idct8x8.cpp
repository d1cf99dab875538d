#include "main/target/windll/codec/idct8x8.h"

#include "main/target/windll/codec/idct8x8_transform.h"

#include <cstring>

namespace ztlib {

void InverseTransform8x8(std::int16_t* block) noexcept {
  constexpr int side = transformSide;
  using Number = Wrapped<std::uint32_t, std::int32_t>;
  std::int16_t values[side * side];
  std::memcpy(values, static_cast<const void*>(block), sizeof values);
  Number work[side * side];
  for (int i = 0; i < side * side; ++i) {
    const std::int32_t weight = transformWeights[transformWeightRow[i / side]][i % side];
    work[i] = {static_cast<std::uint32_t>(values[i] * weight)};
  }
  for (int row = 0; row < side; ++row)
    TransformEight(work + row * side, 1);
  for (int column = 0; column < side; ++column)
    TransformEight(work + column, side);
  for (int i = 0; i < side * side; ++i)
    values[i] = static_cast<std::int16_t>((work[i] >> transformShift).bits);
  std::memcpy(static_cast<void*>(block), values, sizeof values);
}

}  // namespace ztlib
