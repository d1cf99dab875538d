#include "client/layered/layered_transform.h"

#include <algorithm>

namespace {

constexpr int cosineBits = 13;

// The orthonormal cosine transform: row k holds cos((2n + 1) k pi / 16) / 2, row 0 sqrt(1 / 8).
constexpr std::array<std::array<std::int32_t, 8>, 8> MakeCosines() {
  constexpr std::int32_t quarter[9] = {4096, 4017, 3784, 3406, 2896, 2276, 1567, 799, 0};
  std::array<std::array<std::int32_t, 8>, 8> rows{};
  for (int k = 0; k < 8; ++k)
    for (int n = 0; n < 8; ++n) {
      int angle = (2 * n + 1) * k % 32;
      if (angle > 16) angle = 32 - angle;
      const std::int32_t value = angle > 8 ? -quarter[16 - angle] : quarter[angle];
      rows[static_cast<std::size_t>(k)][static_cast<std::size_t>(n)] = k == 0 ? 2896 : value;
    }
  return rows;
}
constexpr auto cosines = MakeCosines();

constexpr int middleBits = 5;  // fractional bits between the passes

}  // namespace

LayeredBlock TransformLayeredBlock(const std::uint8_t* samples, std::ptrdiff_t stride,
                                   const LayeredTable& table) {
  // Decoders cut the fraction off, so half a step is added here: samples count halves.
  std::int32_t middle[8][8];  // columns of the picture are rows here
  for (std::size_t y = 0; y < 8; ++y, samples += stride) {
    std::int32_t row[8];
    for (int x = 0; x < 8; ++x)
      row[x] = 2 * (samples[x] - 128) + 1;
    for (std::size_t k = 0; k < 8; ++k) {
      std::int32_t sum = 1 << (cosineBits - middleBits);
      for (std::size_t x = 0; x < 8; ++x)
        sum += cosines[k][x] * row[x];
      middle[k][y] = sum >> (cosineBits + 1 - middleBits);
    }
  }
  LayeredBlock block;
  for (std::size_t r = 0; r < 8; ++r)
    for (std::size_t c = 0; c < 8; ++c) {
      std::int32_t sum = 0;
      for (std::size_t y = 0; y < 8; ++y)
        sum += cosines[r][y] * middle[c][y];
      constexpr int stepBits = cosineBits + middleBits - 6;
      const std::int32_t step = table[8 * r + c] << stepBits;
      const std::int32_t size = ((sum < 0 ? -sum : sum) + step / 2) / step;
      block[8 * r + c] = static_cast<std::int16_t>(sum < 0 ? -size : size);
    }
  return block;
}
