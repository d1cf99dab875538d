#pragma once

#include <cstddef>
#include <cstdint>

namespace ztlib {

// One bit per pixel in raster order: pixel n is bit n % 16 of the little-endian 16-bit word n / 16.

// Bytes of slack that a packed body has behind its bits / 8: the packer writes the word behind the
// last full one.
inline constexpr int packedBitsSlack = 16;

// Packs pixel bytes into `out`. Bytes are ORed as they stand: one with more bits than the lowest
// also sets the bits of the pixels behind it, as far as they are written.
class BitPacker {
 public:
  explicit BitPacker(std::uint8_t* out) : out(out) {}
  void Append(const std::uint8_t* pixels, std::size_t count);
  void Finish();

 private:
  void Push(std::uint8_t pixel);

  std::uint8_t* out;
  std::uint32_t accumulator = 0;
  unsigned filled = 0;  // bits of the present word, below 16
};

// Writes `count` pixels, 0 or 1, starting at pixel number `first` of `bits`.
void UnpackBits(std::uint8_t* pixels, const std::uint8_t* bits, std::size_t first,
                std::size_t count);

}  // namespace ztlib
