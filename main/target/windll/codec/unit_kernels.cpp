#include "main/target/windll/codec/unit_kernels.h"

#include "main/target/windll/image_convert/pixel_vectors.h"

namespace ztlib {

namespace {

constexpr std::size_t side = 8;
constexpr std::size_t area = side * side;
// Each 128 bits of a register belong to one block.
constexpr std::size_t lanes = sizeof(Vector) / 16;
constexpr std::size_t unitBlocks = 6;
constexpr std::size_t lumaBlocks = 4;

// Where the coefficients of the scan's order lie in a block.
struct Zigzag {
  Byte of[area];
};
constexpr Zigzag zigzag = [] {
  Zigzag places{};
  std::size_t row = 0;
  std::size_t column = 0;
  for (Byte& place : places.of) {
    place = static_cast<Byte>(row * side + column);
    const bool isUpwards = (row + column) % 2 == 0;
    std::size_t& to = isUpwards ? column : row;
    std::size_t& from = isUpwards ? row : column;
    if (to == side - 1)
      ++from;
    else if (++to; from > 0)
      --from;
  }
  return places;
}();

// The quantised coefficients of one unit.
struct Unit {
  // Row by row, in which the blocks of a register lie side by side.
  alignas(32) std::int16_t rows[unitBlocks / lanes][side][lanes][side];
  // In the order of the scan, cut to signed bytes.
  alignas(32) std::int8_t scan[unitBlocks][area];
  // A bit for each that is not 0.
  std::uint64_t marks[unitBlocks];
};

// Eight samples of each block.
inline S16 LoadSamples(const Byte* const (&blocks)[lanes], std::size_t offset) {
  const auto load = [offset](const Byte* block) {
    return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(block + offset));
  };
#if defined(__AVX2__)
  return (S16)_mm256_cvtepu8_epi16(_mm_unpacklo_epi64(load(blocks[0]), load(blocks[1])));
#else
  return (S16)_mm_unpacklo_epi8(load(blocks[0]), __m128i{});
#endif
}

inline void Transpose(S16 (&x)[side]) {
  V32 pairs[side];
  for (std::size_t i = 0; i < 4; ++i) {
    pairs[2 * i] = InterleaveLow((V16)x[i], (V16)x[i + 4]);
    pairs[2 * i + 1] = InterleaveHigh((V16)x[i], (V16)x[i + 4]);
  }
  V32 fours[side];
  for (std::size_t i = 0; i < 4; ++i) {
    fours[2 * i] = (V32)InterleaveLow((V16)pairs[i], (V16)pairs[i + 4]);
    fours[2 * i + 1] = (V32)InterleaveHigh((V16)pairs[i], (V16)pairs[i + 4]);
  }
  for (std::size_t i = 0; i < 4; ++i) {
    x[2 * i] = (S16)InterleaveLow((V16)fours[i], (V16)fours[i + 4]);
    x[2 * i + 1] = (S16)InterleaveHigh((V16)fours[i], (V16)fours[i + 4]);
  }
}

// Sums of the products of two pairs, or of one, with 13 fractional bits in the weights, cut to words.
struct WordPairs {
  WordPairs(S16 a, S16 b)
      : low((S16)InterleaveLow((V16)a, (V16)b)), high((S16)InterleaveHigh((V16)a, (V16)b)) {}
  S16 low;
  S16 high;
};
template <int shift>
inline S16 Weigh(const WordPairs& pairs, S16 weights) {
  const S32 rounding = S32{} + (1 << (shift - 1));
  return Pack((MultiplyAdd(pairs.low, weights) + rounding) >> shift,
              (MultiplyAdd(pairs.high, weights) + rounding) >> shift);
}
template <int shift>
inline S16 Weigh(const WordPairs& a, S16 weightsA, const WordPairs& b, S16 weightsB) {
  const S32 rounding = S32{} + (1 << (shift - 1));
  return Pack((MultiplyAdd(a.low, weightsA) + MultiplyAdd(b.low, weightsB) + rounding) >> shift,
              (MultiplyAdd(a.high, weightsA) + MultiplyAdd(b.high, weightsB) + rounding) >> shift);
}

// One dimension of the transform. The first one leaves two more bits, which the second one takes
// away; samples are only there without the 128 that lie in their middle.
template <bool isFirst>
inline void Transform(S16 (&x)[side]) {
  constexpr int c0298 = 2446, c0390 = 3196, c0541 = 4433, c0765 = 6270, c0899 = 7373, c1175 = 9633,
                c1501 = 12299, c1847 = 15137, c1961 = 16069, c2053 = 16819, c2562 = 20995,
                c3072 = 25172;
  constexpr int shift = isFirst ? 11 : 15;
  constexpr std::int16_t middle = 128 * side;
  const S16 s0 = x[0] + x[7], s1 = x[1] + x[6], s2 = x[2] + x[5], s3 = x[3] + x[4];
  const WordPairs d01(x[0] - x[7], x[1] - x[6]);
  const WordPairs d23(x[2] - x[5], x[3] - x[4]);
  const S16 outer = s0 + s3;
  const S16 inner = s1 + s2;
  const WordPairs differences(s0 - s3, s1 - s2);
  if constexpr (isFirst) {
    x[0] = (outer + inner - middle) << 2;
    x[4] = (outer - inner) << 2;
  } else {
    x[0] = (outer + inner + 2) >> 2;
    x[4] = (outer - inner + 2) >> 2;
  }
  x[2] = Weigh<shift>(differences, Pairs(c0541 + c0765, c0541));
  x[6] = Weigh<shift>(differences, Pairs(c0541, c0541 - c1847));
  x[1] = Weigh<shift>(d01, Pairs(c1501 - c0899 - c0390 + c1175, c1175), d23,
                      Pairs(c1175 - c0390, c1175 - c0899));
  x[3] = Weigh<shift>(d01, Pairs(c1175, c3072 - c2562 - c1961 + c1175), d23,
                      Pairs(c1175 - c2562, c1175 - c1961));
  x[5] = Weigh<shift>(d01, Pairs(c1175 - c0390, c1175 - c2562), d23,
                      Pairs(c2053 - c2562 - c0390 + c1175, c1175));
  x[7] = Weigh<shift>(d01, Pairs(c1175 - c0899, c1175 - c1961), d23,
                      Pairs(c1175, c0298 - c0899 - c1961 + c1175));
}

// The same row of a table for each block.
inline S16 LoadRow(const std::uint16_t* row) {
  const __m128i words = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row));
#if defined(__AVX2__)
  return (S16)_mm256_broadcastsi128_si256(words);
#else
  return (S16)words;
#endif
}

inline S16 Quantise(S16 x, const UnitQuantisers& tables, std::size_t row) {
  const S16 sign = x >> 15;
  const auto high = [](S16 a, const std::uint16_t* b) {
    return (S16)ZT_VECTOR(mulhi_epu16)((Vector)a, (Vector)LoadRow(b));
  };
  const S16 absolute = (S16)ZT_VECTOR(max_epi16)((Vector)x, (Vector)-x);
  const S16 scaled = high(high(absolute + LoadRow(tables.halves + row), tables.reciprocals + row),
                          tables.scales + row);
  return (scaled ^ sign) - sign;
}

#if defined(__AVX2__)
// From which byte of two rows a place of a quarter of the scan comes; 128 for other rows.
struct Shuffles {
  alignas(32) Byte of[4][4][32];
};
constexpr Shuffles shuffles = [] {
  Shuffles made{};
  for (std::size_t quarter = 0; quarter < 4; ++quarter)
    for (std::size_t rows = 0; rows < 4; ++rows)
      for (std::size_t i = 0; i < 32; ++i) {
        const Byte place = zigzag.of[quarter * 16 + i % 16];
        made.of[quarter][rows][i] = place / 16 == rows ? place % 16 : 128;
      }
  return made;
}();
#endif

// The quantised rows of a register's blocks to the order of the scan.
inline void Scan(Unit& unit, std::size_t block, const S16 (&x)[side]) {
  Vector bytes[4];
  for (std::size_t i = 0; i < 4; ++i)
    bytes[i] = ZT_VECTOR(packs_epi16)((Vector)x[2 * i], (Vector)x[2 * i + 1]);
#if defined(__AVX2__)
  std::uint64_t marks[lanes] = {};
  for (std::size_t quarter = 0; quarter < 4; ++quarter) {
    Vector joined{};
    for (std::size_t rows = 0; rows < 4; ++rows) {
      // The first quarter has nothing of the last rows, and the last one nothing of the first.
      if (quarter + rows == 3 && quarter % 3 == 0) continue;
      const auto* const from = reinterpret_cast<const Vector*>(shuffles.of[quarter][rows]);
      joined |= _mm256_shuffle_epi8(bytes[rows], *from);
    }
    const auto zeros =
        static_cast<std::uint32_t>(_mm256_movemask_epi8(_mm256_cmpeq_epi8(joined, Vector{})));
    for (std::size_t lane = 0; lane < lanes; ++lane) {
      const __m128i part =
          lane ? _mm256_extracti128_si256(joined, 1) : _mm256_castsi256_si128(joined);
      std::memcpy(&unit.scan[block + lane][quarter * 16], &part, sizeof part);
      marks[lane] |= std::uint64_t{~zeros >> (16 * lane) & 0xffff} << (16 * quarter);
    }
  }
  for (std::size_t lane = 0; lane < lanes; ++lane)
    unit.marks[block + lane] = marks[lane];
#else
  std::int8_t natural[area];
  std::memcpy(natural, bytes, sizeof natural);
  std::int8_t* const scan = unit.scan[block];
  for (std::size_t i = 0; i < area; ++i)
    scan[i] = natural[zigzag.of[i]];
  std::uint64_t marks = 0;
  for (std::size_t quarter = 0; quarter < 4; ++quarter) {
    Vector part;
    std::memcpy(&part, scan + 16 * quarter, sizeof part);
    const auto zeros =
        static_cast<std::uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(part, Vector{})));
    marks |= std::uint64_t{~zeros & 0xffff} << (16 * quarter);
  }
  unit.marks[block] = marks;
#endif
}

inline void MakeBlocks(Unit& unit, std::size_t block, const Byte* const (&blocks)[lanes],
                       std::size_t distance, const UnitQuantisers& quantisers) {
  S16 x[side];
#pragma GCC unroll 8
  for (std::size_t row = 0; row < side; ++row)
    x[row] = LoadSamples(blocks, row * distance);
  Transpose(x);
  Transform<true>(x);
  Transpose(x);
  Transform<false>(x);
#pragma GCC unroll 8
  for (std::size_t row = 0; row < side; ++row) {
    x[row] = Quantise(x[row], quantisers, row * side);
    StoreVector(reinterpret_cast<Byte*>(unit.rows[block / lanes][row]), (V32)x[row]);
  }
  Scan(unit, block, x);
}

inline void MakeUnit(Unit& unit, const UnitKernels::Planes& planes, std::size_t index,
                     const UnitTables& luma, const UnitTables& chroma) {
  for (std::size_t block = 0; block < unitBlocks; block += lanes) {
    const Byte* from[lanes];
    for (std::size_t lane = 0; lane < lanes; ++lane) {
      const std::size_t b = block + lane;
      from[lane] = b < lumaBlocks
                       ? planes.luma + b / 2 * side * planes.distance + (2 * index + b % 2) * side
                       : planes.chroma[b - lumaBlocks] + index * side;
    }
    const bool isLuma = block < lumaBlocks;
    MakeBlocks(unit, block, from, isLuma ? planes.distance : planes.distance / 2,
               (isLuma ? luma : chroma).quantisers);
  }
}

// Writes a stream with its place in registers.
struct Writer {
  Byte* next;
  std::uint64_t bits;
  unsigned count;

  inline void Append(std::uint32_t entry) {
    bits = bits << (entry & 63) | entry >> 8;
    count += entry & 0xff;
  }
  inline void Flush() {
    const std::uint64_t word = __builtin_bswap64(bits << (-count & 63));
    std::memcpy(next, &word, sizeof word);
    next += count >> 3;
    count &= 7;
  }
};

// A coefficient that has no entry, or is behind a long run of zeros.
[[gnu::noinline]] Writer AppendRare(Writer writer, int value, std::size_t run,
                                    const UnitCodes& codes) {
  for (; run >= UnitCodes::runs; run -= UnitCodes::runs) {
    writer.Append(codes.symbols[0xf0]);
    writer.Flush();
  }
  const auto absolute = static_cast<unsigned>(value < 0 ? -value : value);
  const auto size = static_cast<unsigned>(32 - __builtin_clz(absolute));
  writer.Append(codes.symbols[run << 4 | size]);
  const unsigned bits = static_cast<unsigned>(value < 0 ? value - 1 : value) & ((1U << size) - 1);
  writer.Append(bits << 8 | size);
  return writer;
}

inline void AppendBlock(Writer& writer, const Unit& unit, std::size_t block, std::int32_t& last,
                        const UnitCodes& codes) {
  const auto coefficient = [&unit, block](std::size_t place) {
    return unit.rows[block / lanes][place / side][block % lanes][place % side];
  };
  const std::int32_t first = coefficient(0);
  writer.Append(codes.first[static_cast<std::size_t>(first - last) % UnitCodes::differences]);
  writer.Flush();
  last = first;
  const std::int8_t* const scan = unit.scan[block];
  std::uint64_t marks = unit.marks[block] & ~std::uint64_t{1};
  std::size_t before = 0;
  while (marks != 0) {
    const auto place = static_cast<std::size_t>(__builtin_ctzll(marks));
    marks &= marks - 1;
    const std::size_t run = place - before - 1;
    before = place;
    std::uint32_t entry = 0;
    if (__builtin_expect(run < UnitCodes::runs, 1))
      entry = codes.others[run][static_cast<Byte>(scan[place])];
    if (__builtin_expect(entry != 0, 1))
      writer.Append(entry);
    else
      writer = AppendRare(writer, coefficient(zigzag.of[place]), run, codes);
    writer.Flush();
  }
  if (before != area - 1) writer.Append(codes.symbols[0]);
}

void EncodeUnits(UnitKernels::Stream& stream, const UnitKernels::Planes& planes, std::size_t count,
                 const UnitTables& luma, const UnitTables& chroma, bool hasRight, bool hasLower) {
  Unit unit;
  Writer writer = {stream.next, stream.bits, stream.count};
  for (std::size_t i = 0; i < count; ++i) {
    MakeUnit(unit, planes, i, luma, chroma);
    for (std::size_t block = 0; block < lumaBlocks; ++block) {
      if ((block % 2 == 0 || hasRight) && (block / 2 == 0 || hasLower)) {
        AppendBlock(writer, unit, block, stream.lastFirst[0], *luma.codes);
      } else {
        writer.Append(luma.codes->first[0]);
        writer.Append(luma.codes->symbols[0]);
      }
    }
    AppendBlock(writer, unit, lumaBlocks, stream.lastFirst[1], *chroma.codes);
    AppendBlock(writer, unit, lumaBlocks + 1, stream.lastFirst[2], *chroma.codes);
  }
  writer.Flush();
  stream.next = writer.next;
  stream.bits = writer.bits;
  stream.count = writer.count;
}

Byte* StuffBytes(Byte* target, const Byte* from, std::size_t count) {
  const Byte* const end = from + count;
  while (end - from >= static_cast<std::ptrdiff_t>(bytesPerVector)) {
    const V32 bytes = LoadVector(from);
    StoreVector(target, bytes);
    const auto full =
        static_cast<std::uint32_t>(ZT_VECTOR(movemask_epi8)((Vector)((V8)bytes == (V8{} + 255))));
    if (full == 0) {
      from += bytesPerVector;
      target += bytesPerVector;
      continue;
    }
    const int taken = __builtin_ctz(full) + 1;
    from += taken;
    target += taken;
    *target++ = 0;
  }
  while (from != end) {
    const Byte byte = *from++;
    *target++ = byte;
    if (byte == 255) *target++ = 0;
  }
  return target;
}

}  // namespace

constinit const UnitKernels UnitKernels::ZTLIB_INSTRUCTION_SET = {.encode = EncodeUnits,
                                                                  .stuff = StuffBytes};

}  // namespace ztlib
