#include "main/target/windll/codec/plane_kernels.h"

#include <cstring>

namespace {

using Byte = std::uint8_t;

std::uint32_t Load(const Byte* p) {
  std::uint32_t word;
  std::memcpy(&word, p, sizeof word);
  return word;
}

void SplitYuv(Byte* __restrict y, Byte* __restrict u, Byte* __restrict v,
              const Byte* __restrict yuv, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    const std::uint32_t pixel = Load(yuv + 4 * i);
    y[i] = static_cast<Byte>(pixel);
    u[i] = static_cast<Byte>(pixel >> 8);
    v[i] = static_cast<Byte>(pixel >> 16);
  }
}

std::uint32_t SumOfPair(const Byte* row, std::size_t i) {
  return std::uint32_t{row[2 * i]} + row[2 * i + 1];
}

void Halve(Byte* __restrict target, const Byte* __restrict upper, const Byte* __restrict lower,
           std::size_t count) {
  for (std::size_t i = 0; i < count; ++i)
    target[i] = static_cast<Byte>((SumOfPair(upper, i) + SumOfPair(lower, i) + 1 + (i & 1)) >> 2);
}

constexpr PlaneKernels kernels = {.splitYuv = SplitYuv, .halve = Halve};

}  // namespace

const PlaneKernels& Planes() {
  return kernels;
}
