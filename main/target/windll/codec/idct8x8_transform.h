#pragma once

#include <cstdint>

namespace ztlib {

// The equations of the transform, for one number and for vectors of them. For sources that are
// compiled for several instruction sets: nothing here may have external linkage.
namespace {

constexpr int transformSide = 8;
constexpr int transformShift = 13;

// Dequantising weights with 10 fractional bits, products truncated. Rows 4 to 7 repeat 0, 3, 2, 1.
constexpr std::int16_t transformWeights[4][transformSide] = {
    {1024, 1138, 1730, 1609, 1024, 1609, 1730, 1138},
    {1138, 1264, 1922, 1788, 1138, 1788, 1922, 1264},
    {1730, 1922, 2923, 2718, 1730, 2718, 2923, 1922},
    {1609, 1788, 2718, 2528, 1609, 2528, 2718, 1788},
};
constexpr int transformWeightRow[transformSide] = {0, 1, 2, 3, 0, 3, 2, 1};

// Signed 32-bit numbers whose sums wrap: Bits are the same ones without sign.
template <class Bits, class Signed>
struct Wrapped {
  Bits bits;

  friend inline Wrapped operator+(Wrapped a, Wrapped b) { return {a.bits + b.bits}; }
  friend inline Wrapped operator-(Wrapped a, Wrapped b) { return {a.bits - b.bits}; }
  friend inline Wrapped operator>>(Wrapped a, int count) {
    return {(Bits)((Signed)a.bits >> count)};
  }
};

// Transforms eight values that lie `step` apart.
template <class Number>
inline void TransformEight(Number* x, int step) {
  const auto at = [x, step](int i) -> Number& { return x[i * step]; };

  const Number a = at(1) + at(7);
  const Number b = at(1) - at(7);
  const Number s = a + at(3);
  const Number d = a - at(3);
  const Number t = b + at(5);
  const Number u = b - at(5);
  const Number p = (d >> 3) - (d >> 7);
  const Number q = (u >> 3) - (u >> 7);
  const Number m1 = ((p - (d >> 11)) >> 1) + p + (u - q);
  const Number m2 = d - p - (((q - (u >> 11)) >> 1) + q);
  const Number e1 = (((s >> 9) - s) >> 2) + (s - (s >> 9)) + (t >> 1);
  const Number e2 = (((t >> 9) - t) >> 2) + (t - (t >> 9)) - (s >> 1);

  const Number f = at(2) + (at(2) >> 5);
  const Number g = f >> 2;
  const Number h = at(6) + (at(6) >> 5);
  const Number i = h >> 2;
  const Number j = f - g + (at(6) >> 4) + i;
  const Number k = (at(2) >> 4) + g + i - h;
  const Number sum = at(0) + at(4);
  const Number difference = at(0) - at(4);
  const Number evenA = sum + j;
  const Number evenB = sum - j;
  const Number evenC = difference + k;
  const Number evenD = difference - k;

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

}  // namespace ztlib
