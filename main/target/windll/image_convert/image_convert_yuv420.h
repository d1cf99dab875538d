#pragma once

// From tiles of 16 by 16 pixels to other formats: the overloads, and the arithmetic of a row, which
// cell_kernels.cpp compiles for every instruction set.
#if !defined(ZTLIB_INSTRUCTION_SET)

#include "main/target/windll/image_convert/image_convert_rows.h"

namespace ztlib {

void Convert(GrayImageView& target, const Yuv420ImageView& source);
void Convert(RgbImageView& target, const Yuv420ImageView& source);
// Smooths chroma across the tiles.
void Convert(YuvImageView& target, const Yuv420ImageView& source);
// The same with every tile alone, as it becomes RGB.
void ConvertTilesAlone(YuvImageView& target, const Yuv420ImageView& source);
void Convert(YuyvImageView& target, const Yuv420ImageView& source);
void Convert(UyvyImageView& target, const Yuv420ImageView& source);

}  // namespace ztlib

#else

#include "main/target/windll/image_convert/cell_kernels.h"
#include "main/target/windll/image_convert/pixel_vectors.h"

namespace ztlib {

// Tiles of 16 by 16 pixels. Their rows are gathered from the tiles into rows of this many and then
// worked on in registers that hold one tile in each 128 bits.
namespace {

constexpr std::size_t tileBytes = 384;
constexpr std::size_t halfRow = 8;      // bytes of a row of luma in one half, and of chroma
constexpr std::size_t planeBytes = 64;  // from one half of luma to the other, and from U to V
constexpr std::size_t tilePixelBytes = 64;
constexpr std::size_t tilesPerVector = bytesPerVector / 16;

// Fetches so many cache lines of the target that will be written soon. The processor does not
// foresee them, because reading jumps from tile to tile. The address may lie behind the picture: a
// prefetch cannot fail.
inline void PrefetchAhead(const Byte* target, std::size_t lines) {
  for (std::size_t i = 0; i < lines; ++i)
    _mm_prefetch(reinterpret_cast<const char*>(target + 2048 + 64 * i), _MM_HINT_T0);
}

inline __m128i LoadHalf(const Byte* p) {
  return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
}
using Eight = std::uint16_t __attribute__((vector_size(16)));

// Eight sums of two products: the byte at `a` times its weight and the byte at `b` times its own.
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

// Blends chroma in parts of 256. The first step is three parts of a chroma row and one of the row
// beside it; then a pixel gets three parts of that (added elsewhere) and one part of its
// neighbour's. The pixel at an end has no neighbour and keeps its own chroma: MakeUp is the value
// of a neighbour that would give just that.
inline int Blended(const Byte* chroma, const Byte* beside, std::size_t i) {
  return 48 * chroma[i] + 16 * beside[i];
}
inline int MakeUp(const Byte* chroma, const Byte* beside, std::size_t i) {
  return 112 * chroma[i] - 48 * beside[i];
}

template <bool acrossTiles>
struct TileBuffer {
  static constexpr std::size_t capacity = 65;
  // The buffer holds the blended chroma of one tile after the other. If tiles are smoothed alone
  // each has a neighbour on both its sides (8 + 2 values), otherwise the whole row has.
  static constexpr std::size_t pitch = acrossTiles ? 8 : 10;

  void Gather(std::size_t slot, const TileRow& row, std::size_t tile) {
    const std::size_t offset = tileBytes * tile;
    for (std::size_t c = 0; c < 2; ++c) {
      const Byte* const own = row.chroma + offset + planeBytes * c;
      const Byte* const beside = row.beside + offset + planeBytes * c;
      const Eight blended = Weigh<48, 16>(own, beside);
      std::uint16_t* const target = chroma[c] + pitch * slot;
      if constexpr (!acrossTiles) {
        // Only the first and the last of these remain beside the blended values stored over them.
        const Eight makeUp = Weigh<112, -48>(own, beside);
        std::memcpy(target, &makeUp, sizeof makeUp);
        std::memcpy(target + 2, &makeUp, sizeof makeUp);
      }
      std::memcpy(target + 1, &blended, sizeof blended);
    }
  }

  // Sets the values on both sides of `count` tiles, of which the first is number `tile` in a row of
  // `tiles`.
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

  std::uint16_t chroma[2][pitch * capacity + 2];
};

// A register of chroma, 128 bits from each tile; the tiles lie `pitch` values apart.
template <std::size_t pitch>
inline V16 LoadTiles(const std::uint16_t* p) {
#if defined(__AVX2__)
  if constexpr (pitch != 8)
    return (V16)_mm256_loadu2_m128i(reinterpret_cast<const __m128i*>(p + pitch),
                                    reinterpret_cast<const __m128i*>(p));
#endif
  return (V16)LoadVector(reinterpret_cast<const Byte*>(p));
}

// A row of luma from each tile of a register, or twice from the only tile left.
inline V8 LoadLuma(const Byte* row, [[maybe_unused]] bool isAlone) {
  const auto tile = [=](std::size_t i) {
    const Byte* const p = row + tileBytes * i;
    return _mm_unpacklo_epi64(LoadHalf(p), LoadHalf(p + planeBytes));
  };
#if defined(__AVX2__)
  return (V8)_mm256_inserti128_si256(_mm256_castsi128_si256(tile(0)), tile(isAlone ? 0 : 1), 1);
#else
  return (V8)tile(0);
#endif
}

// U or V of the even and of the odd pixels, less a bias, in parts of 256.
struct TileChroma {
  template <std::size_t pitch>
  static TileChroma Load(const std::uint16_t* blended, std::size_t toNeighbour, int bias) {
    const V16 most = LoadTiles<pitch>(blended) * 3 + static_cast<std::uint16_t>(128 - 256 * bias);
    return {most + LoadTiles<pitch>(blended - toNeighbour),
            most + LoadTiles<pitch>(blended + toNeighbour)};
  }
  V16 even, odd;
};

struct TileYuv {
  static constexpr int bias = 0;

  static void Store(Byte* target, V8 luma, const TileChroma& u, const TileChroma& v) {
    const V8 uBytes = JoinBytes(u.even >> 8, u.odd);
    const V8 vBytes = JoinBytes(v.even >> 8, v.odd);
    const auto eight = [](V16 yu, V16 v0) {
      return InOrder(InterleaveLow(yu, v0), InterleaveHigh(yu, v0));
    };
    StoreSixteens(target, eight(InterleaveLow(luma, uBytes), InterleaveLow(vBytes, V8{})),
                  eight(InterleaveHigh(luma, uBytes), InterleaveHigh(vBytes, V8{})));
  }
};

struct TileRgb {
  static constexpr int bias = 128;

  static void Store(Byte* target, V8 luma, const TileChroma& u, const TileChroma& v) {
    const Colours even((V16)luma & 0xff, u.even & 0xff00, v.even & 0xff00);
    const Colours odd((V16)luma >> 8, u.odd & 0xff00, v.odd & 0xff00);
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
  // The equations to RGB from 256 times the chroma. Green's sum does not fit into 16 bits, but half
  // of it does, and (sum >> 1) >> 7 is sum >> 8; only the part of V can be odd.
  struct Colours {
    Colours(V16 y, V16 u, V16 v)
        : blue((S16)y + MultiplyHigh((S16)u, S16{} + 454)),
          green((S16)y + ((MultiplyHigh((S16)u, S16{} - 44 * 256) +
                           MultiplyHigh((S16)v, S16{} - 183 * 128)) >>
                          7)),
          red((S16)y + MultiplyHigh((S16)v, S16{} + 359)) {}
    S16 blue, green, red;
  };
};

template <class Pixels, bool acrossTiles>
void TilesToPixels(Byte* __restrict target, const TileRow& row, std::size_t tiles) {
  using Buffer = TileBuffer<acrossTiles>;
  Buffer buffer;
  const std::size_t toNeighbour = row.beside != row.chroma;
  const auto store = [&](Byte* to, std::size_t slot, V8 luma) {
    const auto chroma = [&](std::size_t c) {
      return TileChroma::Load<Buffer::pitch>(buffer.chroma[c] + Buffer::pitch * slot + 1,
                                             toNeighbour, Pixels::bias);
    };
    Pixels::Store(to, luma, chroma(0), chroma(1));
  };
  if (tiles < tilesPerVector) {
    if (tiles == 0) return;
    // With a single tile the other half of the register repeats it, and what comes of that is
    // dropped.
    for (std::size_t slot = 0; slot < tilesPerVector; ++slot)
      buffer.Gather(slot, row, 0);
    if constexpr (acrossTiles) buffer.GatherEnds(row, 0, 1, 1);
    Byte pixels[tilesPerVector * tilePixelBytes];
    std::memcpy(pixels, target, tilePixelBytes);
    store(pixels, 0, LoadLuma(row.luma, true));
    std::memcpy(target, pixels, tilePixelBytes);
    return;
  }
  for (std::size_t tile = 0, count = 0; tile < tiles; tile += count) {
    count = tiles - tile <= Buffer::capacity ? tiles - tile : Buffer::capacity - 1;
    for (std::size_t slot = 0; slot < count; ++slot)
      buffer.Gather(slot, row, tile + slot);
    if constexpr (acrossTiles) buffer.GatherEnds(row, tile, count, tiles);
    ForRange<tilesPerVector>(
        0, count,
        [&](std::size_t slot) {
          PrefetchAhead(target + tilePixelBytes * (tile + slot), tilesPerVector);
          store(target + tilePixelBytes * (tile + slot), slot,
                LoadLuma(row.luma + tileBytes * (tile + slot), false));
        },
        [](std::size_t) {});
  }
}

// Eight values of U and of V, in turn: as they stand in the tile, or blended with another row.
template <bool isBlended, int ownWeight, int besideWeight, int rounding>
inline __m128i SampleChroma(const Byte* own, const Byte* beside, std::size_t offset) {
  if constexpr (isBlended) {
    const auto blended = [=](std::size_t at) {
      return Weigh<ownWeight, besideWeight>(own + at, beside + at) + rounding;
    };
    return (__m128i)(blended(offset) >> 4 | (blended(offset + planeBytes) << 4 & 0xff00));
  }
  return _mm_unpacklo_epi8(LoadHalf(own + offset), LoadHalf(own + offset + planeBytes));
}

template <class Format, bool hasAbove, bool hasBelow>
void StoreRowPairs(Byte* __restrict upper, Byte* __restrict lower, const TileRowPair& rows,
                   std::size_t tiles) {
  const Byte* const luma = rows.luma;
  const Byte* const chroma = rows.chroma;
  const Byte* const above = rows.above;
  const Byte* const below = rows.below;
  for (std::size_t tile = 0; tile < tiles; ++tile) {
    const std::size_t offset = tileBytes * tile;
    // The upper row blends with what the pixels above it got: (3 * own + ((3 * above + own + 2) >>
    // 2) + 2) >> 2, which is (13 * own + 3 * above + 10) >> 4.
    const __m128i first = SampleChroma<hasAbove, 13, 3, 10>(chroma, above, offset);
    const __m128i second = SampleChroma<hasBelow, 12, 4, 8>(chroma, below, offset);
    // Two rows of luma, 8 bytes each, lie behind each other in each half of a tile.
    const auto load = [&](std::size_t plane) {
      return _mm_loadu_si128(reinterpret_cast<const __m128i*>(luma + offset + plane));
    };
    const __m128i left = load(0);
    const __m128i right = load(planeBytes);
    const auto low = [](__m128i y, __m128i uv) {
      return Format::lumaFirst ? _mm_unpacklo_epi8(y, uv) : _mm_unpacklo_epi8(uv, y);
    };
    const auto high = [](__m128i y, __m128i uv) {
      return Format::lumaFirst ? _mm_unpackhi_epi8(y, uv) : _mm_unpackhi_epi8(uv, y);
    };
    const auto store = [offset = 32 * tile](Byte* target, __m128i eight, __m128i nextEight) {
      auto* const to = reinterpret_cast<__m128i*>(target + offset);
      _mm_storeu_si128(to, eight);
      _mm_storeu_si128(to + 1, nextEight);
    };
    store(upper, low(left, first), low(right, _mm_unpackhi_epi64(first, first)));
    store(lower, high(left, _mm_unpacklo_epi64(second, second)), high(right, second));
  }
}

template <class Format>
void TilesToPairs(Byte* __restrict upper, Byte* __restrict lower, const TileRowPair& rows,
                  std::size_t tiles) {
  if (rows.above && rows.below)
    StoreRowPairs<Format, true, true>(upper, lower, rows, tiles);
  else if (rows.above)
    StoreRowPairs<Format, true, false>(upper, lower, rows, tiles);
  else if (rows.below)
    StoreRowPairs<Format, false, true>(upper, lower, rows, tiles);
  else
    StoreRowPairs<Format, false, false>(upper, lower, rows, tiles);
}

}  // namespace

}  // namespace ztlib

#endif
