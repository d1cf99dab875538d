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
inline __m128i LoadUpperHalf(const Byte* p) {
  const auto* const half = reinterpret_cast<const double*>(p);
#if defined(__AVX2__)
  return _mm_castpd_si128(_mm_loaddup_pd(half));  // no work for the units that shuffle
#else
  return _mm_castpd_si128(_mm_loadh_pd(__m128d{}, half));
#endif
}
using Eight = std::uint16_t __attribute__((vector_size(16)));

// The sums of eight products each of bytes at `a` and of bytes at `b`.
template <int weightA, int weightB>
inline Eight Weigh(const Byte* a, const Byte* b) {
#if defined(__AVX2__)
  return (Eight)_mm_maddubs_epi16(
      _mm_unpacklo_epi8(LoadHalf(a), LoadHalf(b)),
      _mm_set1_epi16(static_cast<std::int16_t>((weightA & 0xff) | weightB * 256)));
#else
  const auto widened = [](const Byte* p) {
    return (Eight)_mm_unpacklo_epi8(LoadHalf(p), __m128i{});
  };
  return widened(a) * static_cast<std::uint16_t>(weightA) +
         widened(b) * static_cast<std::uint16_t>(weightB);
#endif
}

// Chroma of a row, blended with the row beside: three parts to one. A pixel's chroma is three parts
// of that and one part of its neighbour's, in sixteenths: what a pixel at an end keeps of its own
// is the same with a neighbour that makes up for the difference.
inline int Blended(const Byte* chroma, const Byte* beside, std::size_t i) {
  return 3 * chroma[i] + beside[i];
}
inline std::uint16_t MakeUp(const Byte* chroma, const Byte* beside, std::size_t i) {
  return static_cast<std::uint16_t>(7 * chroma[i] - 3 * beside[i]);
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
      const Byte* const own = row.chroma + offset + planeBytes * c;
      const Byte* const beside = row.beside + offset + planeBytes * c;
      const Eight blended = Weigh<3, 1>(own, beside);
      std::uint16_t* const target = chroma[c] + pitch * slot;
      if constexpr (!acrossTiles) {
        // The first and the last of these stay on either side of what is stored over them.
        const Eight makeUp = Weigh<7, -3>(own, beside);
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

// U or V less `bias` of the pixels of tiles, in order.
template <std::size_t pitch>
inline V8 SmoothedChroma(const std::uint16_t* blended, std::size_t toNeighbour, int bias) {
  const V16 most = LoadTiles<pitch>(blended) * 3 + static_cast<std::uint16_t>(8 - 16 * bias);
  const V16 even = most + LoadTiles<pitch>(blended - toNeighbour);
  const V16 odd = most + LoadTiles<pitch>(blended + toNeighbour);
  return JoinBytes(even >> 4, odd << 4);
}

struct ThreeBytes {
  V8 first, second, third;
};

struct TileYuv {
  static constexpr bool acrossTiles = true;
  static constexpr int bias = 0;
  static ThreeBytes Pixels(V8 luma, V8 u, V8 v) { return {luma, u, v}; }
};

struct TileRgb {
  static constexpr bool acrossTiles = false;
  static constexpr int bias = 128;
  static ThreeBytes Pixels(V8 luma, V8 u, V8 v) {
    const Colours low(InterleaveLow(luma, V8{}), InterleaveLow(u, v));
    const Colours high(InterleaveHigh(luma, V8{}), InterleaveHigh(u, v));
    return {PackToBytes(low.blue, high.blue), PackToBytes(low.green, high.green),
            PackToBytes(low.red, high.red)};
  }

 private:
  // The equations to RGB in 16 bits, for pairs of signed bytes (u, v). Green's sum would overflow:
  // (-88 u - 183 v) >> 8 is (-22 u - 46 v + (v >> 2)) >> 6.
  struct Colours {
    Colours(V16 y, V16 uv)
        : blue((S16)y + MultiplyHigh((S16)(uv << 8), S16{} + 454)),
          green((S16)y + ((((S16)uv >> 10) - WeighSignedBytes<22, 46>(uv)) >> 6)),
          red((S16)y + MultiplyHigh((S16)(uv & 0xff00), S16{} + 359)) {}
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
      return SmoothedChroma<Buffer::pitch>(buffer.chroma[c] + Buffer::pitch * slot + 1, toNeighbour,
                                           Pixels::bias);
    };
    const auto [first, second, third] =
        Pixels::Pixels((V8)LoadVector(buffer.luma + 16 * slot), chroma(0), chroma(1));
    const auto eight = [](V16 lower, V16 upper) {
      return InOrder(InterleaveLow(lower, upper), InterleaveHigh(lower, upper));
    };
    StoreSixteens(to, eight(InterleaveLow(first, second), InterleaveLow(third, V8{})),
                  eight(InterleaveHigh(first, second), InterleaveHigh(third, V8{})));
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

// Calls `chroma` with the offset of each tile for its samples' U and V in turn.
template <class Format, class Chroma>
inline void StorePairs(Byte* __restrict target, const Byte* __restrict luma, std::size_t tiles,
                       Chroma chroma) {
  for (std::size_t tile = 0; tile < tiles; ++tile) {
    const std::size_t offset = tileBytes * tile;
    const __m128i uv = chroma(offset);
    const __m128i left = LoadHalf(luma + offset);
    const __m128i right = LoadUpperHalf(luma + offset + planeBytes);
    auto* const to = reinterpret_cast<__m128i*>(target + 32 * tile);
    _mm_storeu_si128(to,
                     Format::lumaFirst ? _mm_unpacklo_epi8(left, uv) : _mm_unpacklo_epi8(uv, left));
    _mm_storeu_si128(
        to + 1, Format::lumaFirst ? _mm_unpackhi_epi8(right, uv) : _mm_unpackhi_epi8(uv, right));
  }
}

template <class Format>
void TilesToPairs(Byte* __restrict target, const TileRow& row, bool isLower, std::size_t tiles) {
  const auto blended = [&](auto weigh) {
    StorePairs<Format>(target, row.luma, tiles, [&](std::size_t offset) {
      const Byte* const own = row.chroma + offset;
      const Byte* const beside = row.beside + offset;
      const Eight u = weigh(own, beside) >> 4;
      const Eight v = weigh(own + planeBytes, beside + planeBytes) << 4 & 0xff00;
      return (__m128i)(u | v);
    });
  };
  if (row.beside == row.chroma)
    StorePairs<Format>(target, row.luma, tiles, [&](std::size_t offset) {
      return _mm_unpacklo_epi8(LoadHalf(row.chroma + offset),
                               LoadHalf(row.chroma + offset + planeBytes));
    });
  else if (isLower)
    // (3 * own + ((3 * beside + own + 2) >> 2) + 2) >> 2 in one step.
    blended([](const Byte* own, const Byte* beside) { return Weigh<13, 3>(own, beside) + 10; });
  else
    blended([](const Byte* own, const Byte* beside) { return Weigh<12, 4>(own, beside) + 8; });
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
