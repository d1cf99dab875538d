#pragma once

#include "main/target/windll/image_convert/cell_kernels.h"
#include "main/target/windll/image_convert/pixel_vectors.h"

// Tiles of 16 by 16 pixels. Their rows are gathered from the tiles into rows of this many and then
// worked on in registers that hold one tile in each 128 bits.
namespace {

constexpr std::size_t tileBytes = 384;
constexpr std::size_t halfRow = 8;      // bytes of a row of luma in one half, and of chroma
constexpr std::size_t planeBytes = 64;  // from one half of luma to the other, and from U to V
constexpr std::size_t tilePixelBytes = 64;
constexpr std::size_t tilesPerVector = bytesPerVector / 16;

inline __m128i LoadHalf(const Byte* p) {
  return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
}
inline __m128i Widened(__m128i bytes) {
  return _mm_unpacklo_epi8(bytes, __m128i{});
}
using Eight = std::uint16_t __attribute__((vector_size(16)));

// Chroma of a row, blended with the row beside: three parts to one. A pixel's chroma is three parts
// of that and one part of its neighbour's, in sixteenths: what a pixel at an end keeps of its own
// is the same with a neighbour that makes up for the difference.
inline int Blended(const Byte* chroma, const Byte* beside, std::size_t i) {
  return 3 * chroma[i] + beside[i];
}
inline std::uint16_t MakeUp(const Byte* chroma, const Byte* beside, std::size_t i) {
  return static_cast<std::uint16_t>(16 * chroma[i] - 3 * Blended(chroma, beside, i));
}

template <bool acrossTiles>
struct TileBuffer {
  static constexpr std::size_t capacity = 65;
  // Blended chroma of one tile after the other, with a neighbour on either side of the row or of
  // each tile.
  static constexpr std::size_t pitch = acrossTiles ? 8 : 10;

  void Gather(std::size_t slot, const TileRow& row, std::size_t tile) {
    const std::size_t offset = tileBytes * tile;
    std::memcpy(luma + 16 * slot, row.luma + offset, halfRow);
    std::memcpy(luma + 16 * slot + halfRow, row.luma + offset + planeBytes, halfRow);
    for (std::size_t c = 0; c < 2; ++c) {
      const auto own = (Eight)Widened(LoadHalf(row.chroma + offset + planeBytes * c));
      const auto beside = (Eight)Widened(LoadHalf(row.beside + offset + planeBytes * c));
      const Eight blended = own * 3 + beside;
      std::uint16_t* const target = chroma[c] + pitch * slot;
      if constexpr (!acrossTiles) {
        // The first and the last of these stay on either side of what is stored over them.
        const Eight makeUp = own * 16 - blended * 3;
        std::memcpy(target, &makeUp, sizeof makeUp);
        std::memcpy(target + 2, &makeUp, sizeof makeUp);
      }
      std::memcpy(target + 1, &blended, sizeof blended);
    }
  }

  // The neighbours of `count` tiles from `tile` on in a row of `tiles`.
  void GatherEnds(const TileRow& row, std::size_t tile, std::size_t count, std::size_t tiles) {
    for (std::size_t c = 0; c < 2; ++c) {
      const auto at = [&](auto value, std::size_t ofTile, std::size_t i) {
        const std::size_t offset = tileBytes * ofTile + planeBytes * c;
        return static_cast<std::uint16_t>(value(row.chroma + offset, row.beside + offset, i));
      };
      chroma[c][0] = tile > 0 ? at(Blended, tile - 1, halfRow - 1) : at(MakeUp, tile, 0);
      const std::size_t behind = tile + count;
      chroma[c][pitch * count + 1] =
          behind < tiles ? at(Blended, behind, 0) : at(MakeUp, behind - 1, halfRow - 1);
    }
  }

  Byte luma[16 * capacity];
  std::uint16_t chroma[2][pitch * capacity + 2];
};

// Lanes of tiles that lie `pitch` apart.
template <std::size_t pitch>
inline V16 LoadTiles(const std::uint16_t* p) {
#if defined(__AVX2__)
  if constexpr (pitch != 8)
    return (V16)_mm256_loadu2_m128i(reinterpret_cast<const __m128i*>(p + pitch),
                                    reinterpret_cast<const __m128i*>(p));
#endif
  return (V16)LoadVector(reinterpret_cast<const Byte*>(p));
}

// One of U and V, of even and of odd pixels, in sixteenths and less `bias`.
struct TileChroma {
  template <std::size_t pitch>
  static TileChroma Load(const std::uint16_t* blended, std::size_t toNeighbour, int bias) {
    const V16 most = LoadTiles<pitch>(blended) * 3 + static_cast<std::uint16_t>(8 - 16 * bias);
    return {most + LoadTiles<pitch>(blended - toNeighbour),
            most + LoadTiles<pitch>(blended + toNeighbour)};
  }
  V16 even, odd;
};

struct TileYuv {
  static constexpr bool acrossTiles = true;
  static constexpr int bias = 0;

  static void Store(Byte* target, V32 luma, const TileChroma& u, const TileChroma& v) {
    const auto bytes = [](const TileChroma& c) {
      return (V8)(c.even >> 4 | (c.odd << 4 & 0xff00));
    };
    const auto half = [=](V16 yu, V16 v0) {
      return InOrder(InterleaveLow(yu, v0), InterleaveHigh(yu, v0));
    };
    const V8 uBytes = bytes(u);
    const V8 vBytes = bytes(v);
    StoreSixteens(target, half(InterleaveLow((V8)luma, uBytes), InterleaveLow(vBytes, V8{})),
                  half(InterleaveHigh((V8)luma, uBytes), InterleaveHigh(vBytes, V8{})));
  }
};

struct TileRgb {
  static constexpr bool acrossTiles = false;
  static constexpr int bias = 128;

  static void Store(Byte* target, V32 luma, const TileChroma& u, const TileChroma& v) {
    const Colours even((V16)luma & 0xff, u.even, v.even);
    const Colours odd((V16)luma >> 8, u.odd, v.odd);
    const V8 blue = PackToBytes(even.blue, odd.blue);
    const V8 green = PackToBytes(even.green, odd.green);
    const V8 red = PackToBytes(even.red, odd.red);
    const V16 evenBlueGreen = InterleaveLow(blue, green);
    const V16 oddBlueGreen = InterleaveHigh(blue, green);
    const V16 evenRed = InterleaveLow(red, V8{});
    const V16 oddRed = InterleaveHigh(red, V8{});
    StoreInterleaved(
        target, {InterleaveLow(evenBlueGreen, evenRed), InterleaveHigh(evenBlueGreen, evenRed)},
        {InterleaveLow(oddBlueGreen, oddRed), InterleaveHigh(oddBlueGreen, oddRed)});
  }

 private:
  // The equations to RGB in 16 bits. Green's sum would overflow: (-88 u - 183 v) >> 8 is
  // (-44 u - 92 v + (v >> 1)) >> 7.
  struct Colours {
    Colours(V16 y, V16 u, V16 v) {
      const V16 wholeU = u & 0xfff0;
      const V16 wholeV = v & 0xfff0;
      blue = (S16)y + MultiplyHigh((S16)wholeU, S16{} + 454 * 16);
      red = (S16)y + MultiplyHigh((S16)wholeV, S16{} + 359 * 16);
      const S16 onceU = (S16)u >> 4;
      const S16 onceV = (S16)v >> 4;
      green = (S16)y + ((onceU * -44 + onceV * -92 + (onceV >> 1)) >> 7);
    }
    S16 blue, green, red;
  };
};

template <class Pixels>
void TilesToPixels(Byte* __restrict target, const TileRow& row, std::size_t tiles) {
  using Buffer = TileBuffer<Pixels::acrossTiles>;
  Buffer buffer;
  const std::size_t toNeighbour = row.beside != row.chroma;
  const auto store = [&](Byte* to, std::size_t slot) {
    const auto chroma = [&](std::size_t c) {
      return TileChroma::Load<Buffer::pitch>(buffer.chroma[c] + Buffer::pitch * slot + 1,
                                             toNeighbour, Pixels::bias);
    };
    Pixels::Store(to, LoadVector(buffer.luma + 16 * slot), chroma(0), chroma(1));
  };
  if (tiles < tilesPerVector) {
    // One tile: the other half of the register repeats it and goes nowhere.
    for (std::size_t slot = 0; slot < tilesPerVector; ++slot)
      buffer.Gather(slot, row, 0);
    if constexpr (Pixels::acrossTiles) buffer.GatherEnds(row, 0, 1, 1);
    Byte pixels[tilesPerVector * tilePixelBytes];
    std::memcpy(pixels, target, tilePixelBytes);
    store(pixels, 0);
    std::memcpy(target, pixels, tilePixelBytes);
    return;
  }
  for (std::size_t tile = 0, count = 0; tile < tiles; tile += count) {
    count = tiles - tile <= Buffer::capacity ? tiles - tile : Buffer::capacity - 1;
    for (std::size_t slot = 0; slot < count; ++slot)
      buffer.Gather(slot, row, tile + slot);
    if constexpr (Pixels::acrossTiles) buffer.GatherEnds(row, tile, count, tiles);
    ForRange<tilesPerVector>(
        0, count, [&](std::size_t slot) { store(target + tilePixelBytes * (tile + slot), slot); },
        [](std::size_t) {});
  }
}

template <class Format>
void TilesToPairs(Byte* __restrict target, const TileRow& row, bool isLower, std::size_t tiles) {
  const bool isBlended = row.beside != row.chroma;
  // The lower row's (3 * own + ((3 * beside + own + 2) >> 2) + 2) >> 2 in one step.
  const std::uint16_t ownWeight = isLower ? 13 : 12;
  const std::uint16_t besideWeight = isLower ? 3 : 4;
  const std::uint16_t rounding = isLower ? 10 : 8;
  for (std::size_t tile = 0; tile < tiles; ++tile) {
    const std::size_t offset = tileBytes * tile;
    const auto blended = [&](std::size_t plane) {
      return ((Eight)Widened(LoadHalf(row.chroma + offset + plane)) * ownWeight +
              (Eight)Widened(LoadHalf(row.beside + offset + plane)) * besideWeight + rounding) >>
             4;
    };
    const __m128i chroma = isBlended
                               ? (__m128i)(blended(0) | blended(planeBytes) << 8)
                               : _mm_unpacklo_epi8(LoadHalf(row.chroma + offset),
                                                   LoadHalf(row.chroma + offset + planeBytes));
    const __m128i luma =
        _mm_unpacklo_epi64(LoadHalf(row.luma + offset), LoadHalf(row.luma + offset + planeBytes));
    const __m128i first = Format::lumaFirst ? luma : chroma;
    const __m128i second = Format::lumaFirst ? chroma : luma;
    auto* const to = reinterpret_cast<__m128i*>(target + 32 * tile);
    _mm_storeu_si128(to, _mm_unpacklo_epi8(first, second));
    _mm_storeu_si128(to + 1, _mm_unpackhi_epi8(first, second));
  }
}

// The two halves of each 128 bits to two places of one tile after the other.
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
      const V32 a = LoadVector(upper + part * bytesPerVector);
      const V32 b = LoadVector(lower + part * bytesPerVector);
      const V16 u = ((V16)a >> 8) + ((V16)b >> 8);
      const V16 v = ((V16)a & 0xff) + ((V16)b & 0xff);
      return ((V32)u & 0xffff) | ((V32)v & 0xffff0000U);
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
void ToTiles(Byte* __restrict luma, Byte* __restrict chroma, const Byte* __restrict upper,
             const Byte* __restrict lower, std::size_t tiles) {
  ForRange<tilesPerVector>(
      0, tiles,
      [=](std::size_t tile) {
        const Byte* const a = upper + Pixels::rowBytes * tile;
        const Byte* const b = lower + Pixels::rowBytes * tile;
        StoreHalves(luma + tileBytes * tile, Pixels::Luma(a));
        StoreHalves(luma + tileBytes * tile + halfRow, Pixels::Luma(b));
        const V16 uv = Pixels::Chroma(a, b);
        StoreHalves(chroma + tileBytes * tile, (V32)PackToBytes((S16)(uv & 0xff), (S16)(uv >> 8)));
      },
      // One tile is not worth a register of two.
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
