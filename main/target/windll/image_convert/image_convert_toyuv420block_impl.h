#pragma once

// What becomes YUV420BLOCK: the overloads, and the arithmetic of a row of samples, which
// cell_kernels.cpp compiles for every instruction set.
#if !defined(ZTLIB_INSTRUCTION_SET)

#include "main/target/windll/image_convert/image_convert_rows.h"

namespace ztlib {

void Convert(Yuv420ImageView& target, const YuvImageView& source);
void Convert(Yuv420ImageView& target, const YuyvImageView& source);
// From these formats clients get a block image with the content that the frame manager delivered.
inline void Convert(Yuv420ImageView&, const GrayImageView&) {}
inline void Convert(Yuv420ImageView&, const RgbImageView&) {}
inline void Convert(Yuv420ImageView&, const UyvyImageView&) {}
inline void Convert(Yuv420ImageView&, const BayerBlockImageView&) {}

}  // namespace ztlib

#else

#include "main/target/windll/image_convert/image_convert_yuv420.h"

namespace ztlib {

namespace {

// Two rows of luma, which lie behind each other in the tiles, left and right halves apart.
inline void StoreLuma(Byte* target, V32 upper, V32 lower) {
  const V64 halves[2] = {InterleaveLow((V64)upper, (V64)lower),
                         InterleaveHigh((V64)upper, (V64)lower)};
  for (std::size_t i = 0; i < tilesPerVector; ++i)
    for (std::size_t half = 0; half < 2; ++half)
      std::memcpy(target + tileBytes * i + planeBytes * half,
                  reinterpret_cast<const Byte*>(&halves[half]) + 16 * i, 16);
}

// Stores the lower 8 bytes of each 128 bits of a register at one place of a tile and the upper 8
// bytes at another, tile after tile.
inline void StoreHalves(Byte* target, V32 tiles) {
  for (std::size_t i = 0; i < tilesPerVector; ++i)
    for (std::size_t half = 0; half < 2; ++half)
      std::memcpy(target + tileBytes * i + planeBytes * half,
                  reinterpret_cast<const Byte*>(&tiles) + 16 * i + 8 * half, 8);
}

// Two pixels of two rows: luma of the upper and the lower row, and the chroma of all four.
struct TileSample {
  int upper[2], lower[2];
  int u, v;
};

struct FromYuv {
  static constexpr std::size_t rowBytes = 64;

  static V32 Luma(const Byte* row) {
    const auto luma = [=](std::size_t part) {
      return LoadVector(row + part * bytesPerVector) & 0xff;
    };
    return PackWordsToBytes(luma(0), luma(1), luma(2), luma(3));
  }
  // U and V of the samples in turn, 16 bits each.
  static V16 Chroma(const Byte* upper, const Byte* lower) {
    const auto sums = [=](std::size_t part) {
      return (V32)(MiddleBytes(LoadVector(upper + part * bytesPerVector)) +
                   MiddleBytes(LoadVector(lower + part * bytesPerVector)));
    };
    const auto means = [=](std::size_t part) {
      const V32 first = sums(part);
      const V32 second = sums(part + 1);
      return ((V16)EvenWords(first, second) + (V16)OddWords(first, second) + 2) >> 2;
    };
    return (V16)InOrderTwice((V32)PackToBytes((S16)means(0), (S16)means(2)));
  }
  static TileSample Sample(const Byte* upper, const Byte* lower, std::size_t i) {
    const Word a[2] = {Load(upper + 8 * i), Load(upper + 8 * i + 4)};
    const Word b[2] = {Load(lower + 8 * i), Load(lower + 8 * i + 4)};
    const auto mean = [&](int index) {
      return (ByteOf(a[0], index) + ByteOf(a[1], index) + ByteOf(b[0], index) +
              ByteOf(b[1], index) + 2) >>
             2;
    };
    return {
        {ByteOf(a[0], 0), ByteOf(a[1], 0)}, {ByteOf(b[0], 0), ByteOf(b[1], 0)}, mean(1), mean(2)};
  }
};

struct FromYuyv {
  static constexpr std::size_t rowBytes = 32;

  static V32 Luma(const Byte* row) {
    return InOrder((V32)PackToBytes((S16)((V16)LoadVector(row) & 0xff),
                                    (S16)((V16)LoadVector(row + bytesPerVector) & 0xff)));
  }
  static V16 Chroma(const Byte* upper, const Byte* lower) {
    const auto means = [=](std::size_t part) {
      return (S16)((V16)Average((V8)LoadVector(upper + part * bytesPerVector),
                                (V8)LoadVector(lower + part * bytesPerVector)) >>
                   8);
    };
    return (V16)InOrder((V32)PackToBytes(means(0), means(1)));
  }
  static TileSample Sample(const Byte* upper, const Byte* lower, std::size_t i) {
    const Byte* const a = upper + 4 * i;
    const Byte* const b = lower + 4 * i;
    return {{a[0], a[2]}, {b[0], b[2]}, (a[1] + b[1] + 1) >> 1, (a[3] + b[3] + 1) >> 1};
  }
};

template <class Pixels>
void PixelsToTiles(Byte* __restrict luma, Byte* __restrict chroma, const Byte* __restrict upper,
                   const Byte* __restrict lower, std::size_t tiles) {
  ForRange<tilesPerVector>(
      0, tiles,
      [=](std::size_t tile) {
        const Byte* const a = upper + Pixels::rowBytes * tile;
        const Byte* const b = lower + Pixels::rowBytes * tile;
        StoreLuma(luma + tileBytes * tile, Pixels::Luma(a), Pixels::Luma(b));
        const V16 uv = Pixels::Chroma(a, b);
        StoreHalves(chroma + tileBytes * tile, (V32)PackToBytes((S16)(uv & 0xff), (S16)(uv >> 8)));
      },
      // A single tile is left over where a register takes two.
      [=](std::size_t) {
        for (std::size_t i = 0; i < halfRow; ++i) {
          const TileSample sample = Pixels::Sample(upper, lower, i);
          Byte* const y = luma + planeBytes * (i / 4) + 2 * (i % 4);
          for (std::size_t x = 0; x < 2; ++x) {
            y[x] = static_cast<Byte>(sample.upper[x]);
            y[halfRow + x] = static_cast<Byte>(sample.lower[x]);
          }
          chroma[i] = static_cast<Byte>(sample.u);
          chroma[planeBytes + i] = static_cast<Byte>(sample.v);
        }
      });
}

}  // namespace

}  // namespace ztlib

#endif
