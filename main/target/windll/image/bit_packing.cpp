#include "main/target/windll/image/bit_packing.h"

#include "main/lib/base/byte_io.h"

namespace ztlib {

namespace {

constexpr std::uint64_t lowBits = 0x0101010101010101;

// Gathers the lowest bits of 8 bytes that are 0 or 1; the multiplication brings byte i to bit i of
// the top byte.
std::uint32_t GatherBits(std::uint64_t bytes) {
  return static_cast<std::uint32_t>((bytes * 0x0102040810204080) >> 56);
}

}  // namespace

void BitPacker::Push(std::uint8_t pixel) {
  accumulator |= static_cast<std::uint32_t>(pixel) << filled;
  if (++filled < 16) return;
  StoreLE(out, static_cast<std::uint16_t>(accumulator));
  out += 2;
  accumulator >>= 16;
  filled = 0;
}

void BitPacker::Append(const std::uint8_t* pixels, std::size_t count) {
  std::size_t i = 0;
  while (i < count) {
    if (filled == 0) {
      for (; count - i >= 16; i += 16) {
        const auto low = LoadLE<std::uint64_t>(pixels + i);
        const auto high = LoadLE<std::uint64_t>(pixels + i + 8);
        if (((low | high) & ~lowBits) != 0) break;
        accumulator |= GatherBits(low) | GatherBits(high) << 8;
        StoreLE(out, static_cast<std::uint16_t>(accumulator));
        out += 2;
        accumulator = 0;
      }
      if (i == count) return;
    }
    Push(pixels[i++]);
  }
}

void BitPacker::Finish() {
  StoreLE(out, static_cast<std::uint16_t>(accumulator));
}

void UnpackBits(std::uint8_t* pixels, const std::uint8_t* bits, std::size_t first,
                std::size_t count) {
  std::size_t i = 0;
  const auto single = [&] {
    const std::size_t n = first + i;
    pixels[i++] = static_cast<std::uint8_t>((bits[n / 8] >> (n % 8)) & 1);
  };
  while (i < count && (first + i) % 8 != 0)
    single();
  for (; count - i >= 8; i += 8) {
    // Copies of the byte, of which byte k keeps bit k; adding 0x7f brings any kept bit to bit 7.
    const std::uint64_t spread = (bits[(first + i) / 8] * lowBits) & 0x8040201008040201;
    StoreLE(pixels + i, ((spread + 0x7f7f7f7f7f7f7f7f) >> 7) & lowBits);
  }
  while (i < count)
    single();
}

}  // namespace ztlib
