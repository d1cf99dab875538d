#include "main/target/windll/codec/idct_kernels.h"

#include "main/target/windll/image_convert/pixel_vectors.h"

namespace ztlib {

namespace {

using Coefficient = std::int16_t;

// One dimension of a transform to 2 * half samples: sample n and its mirror image are the sum and
// the difference of an even and an odd part, and each part is a sum of products with 13 fractional
// bits. The weights are those that the steps of the reference amount to.
struct Weights {
  std::int32_t even[4][4];  // of frequencies 0, 2, 4, 6 for each n
  std::int32_t odd[4][4];   // of frequencies 1, 3, 5, 7
};

constexpr Weights eightWeights = [] {
  constexpr std::int32_t c0298 = 2446, c0390 = 3196, c0541 = 4433, c0765 = 6270, c0899 = 7373,
                         c1175 = 9633, c1501 = 12299, c1847 = 15137, c1961 = 16069, c2053 = 16819,
                         c2562 = 20995, c3072 = 25172, one = 8192;
  constexpr std::int32_t a = c0541 + c0765;
  constexpr std::int32_t b = c0541 - c1847;
  return Weights{.even = {{one, a, one, c0541},
                          {one, c0541, -one, b},
                          {one, -c0541, -one, -b},
                          {one, -a, one, -c0541}},
                 .odd = {{c1501 - c0899 - c0390 + c1175, c1175, c1175 - c0390, c1175 - c0899},
                         {c1175, c3072 - c2562 - c1961 + c1175, c1175 - c2562, c1175 - c1961},
                         {c1175 - c0390, c1175 - c2562, c2053 - c2562 - c0390 + c1175, c1175},
                         {c1175 - c0899, c1175 - c1961, c1175, c0298 - c0899 - c1961 + c1175}}};
}();
constexpr int eightShift = 11;

// The even part has one more bit.
constexpr Weights fourWeights = {
    .even = {{16384, 15137, 0, -6270}, {16384, -15137, 0, 6270}, {}, {}},
    .odd = {{20995, 7373, -4926, -4176}, {8697, -17799, 11893, -1730}, {}, {}}};
constexpr int fourShift = 12;

// Two more bits; the first weight, which does not fit into 16 bits, is negative.
constexpr Weights twoWeights = {.even = {{-32768, 0, 0, 0}, {}, {}, {}},
                                .odd = {{29692, -10426, 6967, -5906}, {}, {}, {}}};
constexpr int twoShift = 13;

// Behind the first dimension values keep two more bits, and sums of both are 8 times the samples.
constexpr int secondShift = 7;
constexpr std::int32_t middle = 128;

constexpr int lanes = sizeof(Vector) / 4;
constexpr int parts = 8 / lanes;          // of a row of sums
constexpr int rowsPerVector = lanes / 4;  // of samples

inline S16 PairOf(std::int32_t low, std::int32_t high) {
  return Pairs(low, high);
}
inline S16 LoadCoefficients(const Coefficient* p) {
  return (S16)LoadVector(reinterpret_cast<const Byte*>(p));
}
inline S16 Weighed(const Coefficient* coefficients, const Coefficient* quantisers, int index) {
  return LoadCoefficients(coefficients + index) * LoadCoefficients(quantisers + index);
}
inline S32 Rounding(int shift, std::int32_t added = 0) {
  return S32{} + ((1 << (shift - 1)) + (added << shift));
}

// One pair of every 128 bits in all its places.
template <int pair>
inline S16 Repeat(S16 words) {
  return (S16)ZT_VECTOR(shuffle_epi32)((Vector)words, pair * 0x55);
}
// The upper four words of every 128 bits in reverse order.
inline S16 ReverseUpper(S16 words) {
  return (S16)ZT_VECTOR(shufflehi_epi16)((Vector)words, 0x1B);
}

// The least and the greatest of many numbers.
struct Range {
  S16 least{};
  S16 greatest{};

  inline void Add(S16 words) {
    least = (S16)ZT_VECTOR(min_epi16)((Vector)least, (Vector)words);
    greatest = (S16)ZT_VECTOR(max_epi16)((Vector)greatest, (Vector)words);
  }
  [[nodiscard]] inline bool Within(int low, int high) const {
    const S16 outside = (least < (S16{} + static_cast<Coefficient>(low))) |
                        (greatest > (S16{} + static_cast<Coefficient>(high)));
    return ZT_VECTOR(movemask_epi8)((Vector)outside) == 0;
  }
};
// Samples for which the reference's clamping is the same in its C code and in its vectors.
inline bool AreUsable(const Range& samples) {
  return samples.Within(middle - 512, middle + 511);
}
// Sums of the first dimension that are far from overflows in the second one.
inline bool AreBounded(const Range& sums) {
  return sums.Within(-ScanTable::maxDequantised, ScanTable::maxDequantised);
}

inline void StoreHalf(Byte* p, V8 bytes, int half) {
  const V64 words = (V64)bytes;
  const std::uint64_t word = words[half];
  std::memcpy(p, &word, sizeof word);
}
inline void Clear(Coefficient* p, int count) {
  for (int i = 0; i < count; i += static_cast<int>(sizeof(Vector) / 2))
    StoreVector(reinterpret_cast<Byte*>(p + i), V32{});
}

// The first dimension of any block: rows of sums, in `parts` each.
template <int half, int shift>
inline void TransformColumns(S32 (&rows)[2 * half][parts], const Coefficient* coefficients,
                             const Coefficient* quantisers, const Weights& weights) {
  constexpr bool isNegative = half == 1;
  for (int part = 0; part < parts; ++part) {
    const int at = part * 2 * lanes;
    const S16 p02 = Weighed(coefficients, quantisers, at);
    const S16 p46 = Weighed(coefficients, quantisers, 16 + at);
    const S16 p13 = Weighed(coefficients, quantisers, 32 + at);
    const S16 p57 = Weighed(coefficients, quantisers, 48 + at);
    for (int n = 0; n < half; ++n) {
      const auto& e = weights.even[n];
      const auto& o = weights.odd[n];
      S32 even = MultiplyAdd(p02, PairOf(e[0], e[1]));
      if constexpr (half > 1) even += MultiplyAdd(p46, PairOf(e[2], e[3]));
      if constexpr (isNegative) even = -even;
      even += Rounding(shift);
      const S32 odd = MultiplyAdd(p13, PairOf(o[0], o[1])) + MultiplyAdd(p57, PairOf(o[2], o[3]));
      rows[n][part] = (even + odd) >> shift;
      rows[2 * half - 1 - n][part] = (even - odd) >> shift;
    }
  }
}

// Words of the sums of rows, one row in every 128 bits.
inline S16 PackRows(const S32 (*rows)[parts]) {
#if defined(__AVX2__)
  return (S16)InOrder((V32)Pack(rows[0][0], rows[1][0]));
#else
  return Pack(rows[0][0], rows[0][1]);
#endif
}

// The weights of four samples for a pair of frequencies, for each 128 bits.
struct PairWeights {
  alignas(32) Coefficient words[16];
};
consteval PairWeights PairWeightsOf(const std::int32_t (&part)[4][4], int first) {
  PairWeights made{};
  for (int i = 0; i < 8; ++i)
    for (int j = 0; j < 2; ++j)
      made.words[2 * i + j] = static_cast<Coefficient>(part[i % 4][first + j]);
  return made;
}
inline S16 Load(const PairWeights& weights) {
  return LoadCoefficients(weights.words);
}

constexpr PairWeights eight02 = PairWeightsOf(eightWeights.even, 0);
constexpr PairWeights eight46 = PairWeightsOf(eightWeights.even, 2);
constexpr PairWeights eight13 = PairWeightsOf(eightWeights.odd, 0);
constexpr PairWeights eight57 = PairWeightsOf(eightWeights.odd, 2);

// Samples 0 to 3 and 7 to 4 of a row.
inline S16 JoinHalves(S32 even, S32 odd) {
  constexpr int shift = eightShift + secondShift;
  even += Rounding(shift, middle);
  return ReverseUpper(Pack((even + odd) >> shift, (even - odd) >> shift));
}

bool Full(const IdctKernels::Block* blocks, std::size_t count, std::size_t distance,
          const Coefficient* quantisers) {
  Range samples;
  for (std::size_t i = 0; i < count; ++i) {
    S32 rows[8][parts];
    TransformColumns<4, eightShift>(rows, blocks[i].coefficients, quantisers, eightWeights);
    Clear(blocks[i].coefficients, blockCoefficients);
    Byte* target = blocks[i].target;
    for (int row = 0; row < 8; row += 2 * rowsPerVector) {
      S16 pixels[2];
      for (int j = 0; j < 2; ++j) {
        const S16 words = PackRows(rows + row + j * rowsPerVector);
        const S32 even = MultiplyAdd(Repeat<0>(words), Load(eight02)) +
                         MultiplyAdd(Repeat<2>(words), Load(eight46));
        const S32 odd = MultiplyAdd(Repeat<1>(words), Load(eight13)) +
                        MultiplyAdd(Repeat<3>(words), Load(eight57));
        pixels[j] = JoinHalves(even, odd);
        samples.Add(pixels[j]);
      }
      const V8 bytes = PackToBytes(pixels[0], pixels[1]);
      for (int j = 0; j < 2; ++j)
        for (int lane = 0; lane < rowsPerVector; ++lane) {
          StoreHalf(target, bytes, 2 * lane + j);
          target += distance;
        }
    }
  }
  return AreUsable(samples);
}

// The same half run of as many blocks as a vector has room for.
inline S16 LoadHalfRuns(const IdctKernels::Block* const* blocks, int index) {
#if defined(__AVX2__)
  return (S16)_mm256_inserti128_si256(
      _mm256_castsi128_si256(
          _mm_loadu_si128(reinterpret_cast<const __m128i*>(blocks[0]->coefficients + index))),
      _mm_loadu_si128(reinterpret_cast<const __m128i*>(blocks[1]->coefficients + index)), 1);
#else
  return LoadCoefficients(blocks[0]->coefficients + index);
#endif
}
inline S16 LoadHalfRun(const Coefficient* quantisers, int index) {
  const __m128i half = _mm_loadu_si128(reinterpret_cast<const __m128i*>(quantisers + index));
#if defined(__AVX2__)
  return (S16)_mm256_broadcastsi128_si256(half);
#else
  return (S16)half;
#endif
}
inline void ClearHalfRun(Coefficient* p) {
  _mm_storeu_si128(reinterpret_cast<__m128i*>(p), _mm_setzero_si128());
}

bool Quarter(const IdctKernels::Block* blocks, std::size_t count, std::size_t distance,
             const Coefficient* quantisers) {
  constexpr int odds = 32;
  Range samples;
  for (std::size_t i = 0; i < count; i += rowsPerVector) {
    // The last block may be alone, and is then transformed twice.
    const IdctKernels::Block* const group[2] = {blocks + i, blocks + (i + 1 < count ? i + 1 : i)};
    const S16 p02 = LoadHalfRuns(group, 0) * LoadHalfRun(quantisers, 0);
    const S16 p13 = LoadHalfRuns(group, odds) * LoadHalfRun(quantisers, odds);
    S32 rows[8];
    for (int n = 0; n < 4; ++n) {
      const auto& e = eightWeights.even[n];
      const auto& o = eightWeights.odd[n];
      const S32 even = MultiplyAdd(p02, PairOf(e[0], e[1])) + Rounding(eightShift);
      const S32 odd = MultiplyAdd(p13, PairOf(o[0], o[1]));
      rows[n] = (even + odd) >> eightShift;
      rows[7 - n] = (even - odd) >> eightShift;
    }
    for (int lane = 0; lane < rowsPerVector; ++lane) {
      ClearHalfRun(group[lane]->coefficients);
      ClearHalfRun(group[lane]->coefficients + odds);
    }
    for (int row = 0; row < 8; row += 2) {
      const S16 words = Pack(rows[row], rows[row + 1]);
      const S16 upper = JoinHalves(MultiplyAdd(Repeat<0>(words), Load(eight02)),
                                   MultiplyAdd(Repeat<1>(words), Load(eight13)));
      const S16 lower = JoinHalves(MultiplyAdd(Repeat<2>(words), Load(eight02)),
                                   MultiplyAdd(Repeat<3>(words), Load(eight13)));
      samples.Add(upper);
      samples.Add(lower);
      const V8 bytes = PackToBytes(upper, lower);
      for (int lane = 0; lane < rowsPerVector; ++lane) {
        Byte* const target = group[lane]->target + static_cast<std::size_t>(row) * distance;
        StoreHalf(target, bytes, 2 * lane);
        StoreHalf(target + distance, bytes, 2 * lane + 1);
      }
    }
  }
  return AreUsable(samples);
}

// The second dimension of the smaller transforms has room for all samples of a row, in which those
// of the second half take the odd part with the other sign.
constexpr Weights fourRows = [] {
  Weights made = fourWeights;
  for (int n = 2; n < 4; ++n)
    for (int i = 0; i < 4; ++i) {
      made.even[n][i] = made.even[3 - n][i];
      made.odd[n][i] = -made.odd[3 - n][i];
    }
  return made;
}();
constexpr Weights twoRows = [] {
  Weights made = twoWeights;
  for (int i = 0; i < 4; ++i) {
    made.even[1][i] = made.even[0][i];
    made.odd[1][i] = -made.odd[0][i];
  }
  return made;
}();
constexpr PairWeights four02 = PairWeightsOf(fourRows.even, 0);
constexpr PairWeights four46 = PairWeightsOf(fourRows.even, 2);
constexpr PairWeights four13 = PairWeightsOf(fourRows.odd, 0);
constexpr PairWeights four57 = PairWeightsOf(fourRows.odd, 2);
constexpr PairWeights two02 = PairWeightsOf(twoRows.even, 0);
constexpr PairWeights two13 = PairWeightsOf(twoRows.odd, 0);
constexpr PairWeights two57 = PairWeightsOf(twoRows.odd, 2);

inline Word WordOf(V8 bytes, int index) {
  return ((V32)bytes)[index];
}

bool ToFours(const IdctKernels::Block* blocks, std::size_t count, std::size_t distance,
             const Coefficient* quantisers) {
  constexpr int shift = fourShift + secondShift;
  Range sums;
  Range samples;
  for (std::size_t i = 0; i < count; ++i) {
    S32 rows[4][parts];
    TransformColumns<2, fourShift>(rows, blocks[i].coefficients, quantisers, fourWeights);
    Clear(blocks[i].coefficients, blockCoefficients);
    S32 pixels[4 / rowsPerVector];
    for (int row = 0; row < 4; row += rowsPerVector) {
      const S16 words = PackRows(rows + row);
      sums.Add(words);
      pixels[row / rowsPerVector] =
          (MultiplyAdd(Repeat<0>(words), Load(four02)) +
           MultiplyAdd(Repeat<2>(words), Load(four46)) +
           MultiplyAdd(Repeat<1>(words), Load(four13)) +
           MultiplyAdd(Repeat<3>(words), Load(four57)) + Rounding(shift, middle)) >>
          shift;
    }
    Byte* const target = blocks[i].target;
    const auto store = [target, distance](int row, Word word) {
      Store(target + static_cast<std::size_t>(row) * distance, word);
    };
#if defined(__AVX2__)
    const S16 words = Pack(pixels[0], pixels[1]);
    samples.Add(words);
    const V8 bytes = PackToBytes(words, words);
    store(0, WordOf(bytes, 0));
    store(1, WordOf(bytes, 4));
    store(2, WordOf(bytes, 1));
    store(3, WordOf(bytes, 5));
#else
    const S16 upper = Pack(pixels[0], pixels[1]);
    const S16 lower = Pack(pixels[2], pixels[3]);
    samples.Add(upper);
    samples.Add(lower);
    const V8 bytes = PackToBytes(upper, lower);
    for (int row = 0; row < 4; ++row)
      store(row, WordOf(bytes, row));
#endif
  }
  return AreBounded(sums) && AreUsable(samples);
}

bool ToTwos(const IdctKernels::Block* blocks, std::size_t count, std::size_t distance,
            const Coefficient* quantisers) {
  constexpr int shift = twoShift + secondShift;
  Range sums;
  Range samples;
  for (std::size_t i = 0; i < count; ++i) {
    S32 rows[2][parts];
    TransformColumns<1, twoShift>(rows, blocks[i].coefficients, quantisers, twoWeights);
    Clear(blocks[i].coefficients, blockCoefficients);
    S32 pixels[2 / rowsPerVector];
    for (int row = 0; row < 2; row += rowsPerVector) {
      const S16 words = PackRows(rows + row);
      sums.Add(words);
      pixels[row / rowsPerVector] =
          (MultiplyAdd(Repeat<1>(words), Load(two13)) + MultiplyAdd(Repeat<3>(words), Load(two57)) -
           MultiplyAdd(Repeat<0>(words), Load(two02)) + Rounding(shift, middle)) >>
          shift;
    }
    const S16 words = Pack(pixels[0], pixels[2 / rowsPerVector - 1]);
    samples.Add(words);
    const V8 bytes = PackToBytes(words, words);
    const Word upper = WordOf(bytes, 0);
    const Word lower = rowsPerVector == 1 ? WordOf(bytes, 1) : WordOf(bytes, 4 % lanes);
    const auto first = static_cast<std::uint16_t>(upper);
    const auto second = static_cast<std::uint16_t>(lower);
    std::memcpy(blocks[i].target, &first, sizeof first);
    std::memcpy(blocks[i].target + distance, &second, sizeof second);
  }
  return AreBounded(sums) && AreUsable(samples);
}

}  // namespace

constinit const IdctKernels IdctKernels::ZTLIB_INSTRUCTION_SET = {
    .full = Full,
    .quarter = Quarter,
    .toFours = ToFours,
    .toTwos = ToTwos,
};

}  // namespace ztlib
