#include "main/target/windll/codec/idct8x8.h"

#include <cstdint>
#include <cstring>

namespace {

constexpr int blockSide = 8;

// Dequantising weights with 10 fractional bits, products truncated. Rows 4 to 7 repeat 0, 3, 2, 1.
constexpr std::int32_t weightRows[4][blockSide] = {
    {1024, 1138, 1730, 1609, 1024, 1609, 1730, 1138},
    {1138, 1264, 1922, 1788, 1138, 1788, 1922, 1264},
    {1730, 1922, 2923, 2718, 1730, 2718, 2923, 1922},
    {1609, 1788, 2718, 2528, 1609, 2528, 2718, 1788},
};
constexpr int weightRowOf[blockSide] = {0, 1, 2, 3, 0, 3, 2, 1};

// A signed 32-bit number whose sums wrap.
struct Wrapped {
  std::uint32_t bits;

  friend Wrapped operator+(Wrapped a, Wrapped b) { return {a.bits + b.bits}; }
  friend Wrapped operator-(Wrapped a, Wrapped b) { return {a.bits - b.bits}; }
  friend Wrapped operator>>(Wrapped a, int count) {
    return {static_cast<std::uint32_t>(static_cast<std::int32_t>(a.bits) >> count)};
  }
};

// Transforms eight values that lie `step` apart.
void Transform(Wrapped* x, int step) {
  const auto at = [x, step](int i) -> Wrapped& { return x[i * step]; };

  const Wrapped a = at(1) + at(7);
  const Wrapped b = at(1) - at(7);
  const Wrapped s = a + at(3);
  const Wrapped d = a - at(3);
  const Wrapped t = b + at(5);
  const Wrapped u = b - at(5);
  const Wrapped p = (d >> 3) - (d >> 7);
  const Wrapped q = (u >> 3) - (u >> 7);
  const Wrapped m1 = ((p - (d >> 11)) >> 1) + p + (u - q);
  const Wrapped m2 = d - p - (((q - (u >> 11)) >> 1) + q);
  const Wrapped e1 = (((s >> 9) - s) >> 2) + (s - (s >> 9)) + (t >> 1);
  const Wrapped e2 = (((t >> 9) - t) >> 2) + (t - (t >> 9)) - (s >> 1);

  const Wrapped f = at(2) + (at(2) >> 5);
  const Wrapped g = f >> 2;
  const Wrapped h = at(6) + (at(6) >> 5);
  const Wrapped i = h >> 2;
  const Wrapped j = f - g + (at(6) >> 4) + i;
  const Wrapped k = (at(2) >> 4) + g + i - h;
  const Wrapped sum = at(0) + at(4);
  const Wrapped difference = at(0) - at(4);
  const Wrapped evenA = sum + j;
  const Wrapped evenB = sum - j;
  const Wrapped evenC = difference + k;
  const Wrapped evenD = difference - k;

  at(0) = evenA + e1;
  at(1) = evenC + m1;
  at(2) = evenD + m2;
  at(3) = evenB + e2;
  at(4) = evenB - e2;
  at(5) = evenD - m2;
  at(6) = evenC - m1;
  at(7) = evenA - e1;
}

}  // namespace

void InverseTransform8x8(std::int16_t* block) noexcept {
  std::int16_t values[blockSide * blockSide];
  std::memcpy(values, static_cast<const void*>(block), sizeof values);
  Wrapped work[blockSide * blockSide];
  for (int i = 0; i < blockSide * blockSide; ++i) {
    const std::int32_t weight = weightRows[weightRowOf[i / blockSide]][i % blockSide];
    work[i] = {static_cast<std::uint32_t>(values[i] * weight)};
  }
  for (int row = 0; row < blockSide; ++row)
    Transform(work + row * blockSide, 1);
  for (int column = 0; column < blockSide; ++column)
    Transform(work + column, blockSide);
  for (int i = 0; i < blockSide * blockSide; ++i)
    values[i] = static_cast<std::int16_t>((work[i] >> 13).bits);
  std::memcpy(static_cast<void*>(block), values, sizeof values);
}
