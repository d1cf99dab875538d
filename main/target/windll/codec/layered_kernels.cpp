#include "main/target/windll/codec/layered_kernels.h"

#include "main/target/windll/codec/idct8x8_transform.h"
#include "main/target/windll/image_convert/pixel_vectors.h"

namespace ztlib {

namespace {

using Numbers = Wrapped<V32, S32>;
using Samples = std::int16_t[transformSide * transformSide];

constexpr int lanes = sizeof(Vector) / 4;
constexpr int parts = transformSide / lanes;

// Coefficients times weights, `lanes` of a column.
inline Numbers Weighed(const std::int16_t* coefficients, int column, int part) {
#if defined(__AVX2__)
  const auto values = (S16)_mm256_cvtepu16_epi32(
      _mm_loadu_si128(reinterpret_cast<const __m128i*>(coefficients + 8 * column)));
#else
  const __m128i half =
      _mm_loadl_epi64(reinterpret_cast<const __m128i*>(coefficients + 8 * column + lanes * part));
  const auto values = (S16)_mm_unpacklo_epi16(half, _mm_setzero_si128());
#endif
  V32 weights;
  const std::int16_t* const row = transformWeights[transformWeightRow[column]];
  for (int i = 0; i < lanes; ++i)
    weights[i] = static_cast<std::uint32_t>(row[lanes * part + i]);
  return {(V32)MultiplyAdd(values, (S16)weights)};
}

// Transposes 4 by 4 numbers within each 128 bits.
inline void TransposeFours(V32 (&target)[4], const Numbers* rows) {
  const V64 low01 = InterleaveLow(rows[0].bits, rows[1].bits);
  const V64 high01 = InterleaveHigh(rows[0].bits, rows[1].bits);
  const V64 low23 = InterleaveLow(rows[2].bits, rows[3].bits);
  const V64 high23 = InterleaveHigh(rows[2].bits, rows[3].bits);
  target[0] = (V32)InterleaveLow(low01, low23);
  target[1] = (V32)InterleaveHigh(low01, low23);
  target[2] = (V32)InterleaveLow(high01, high23);
  target[3] = (V32)InterleaveHigh(high01, high23);
}

inline void Transpose(Numbers (&target)[parts][transformSide],
                      const Numbers (&source)[parts][transformSide]) {
#if defined(__AVX2__)
  V32 left[4];
  V32 right[4];
  TransposeFours(left, source[0]);
  TransposeFours(right, source[0] + 4);
  for (int i = 0; i < 4; ++i) {
    const TwoVectors rows = InOrder(left[i], right[i]);
    target[0][i].bits = rows.first;
    target[0][4 + i].bits = rows.second;
  }
#else
  for (int half = 0; half < parts; ++half)
    for (int part = 0; part < parts; ++part) {
      V32 square[4];
      TransposeFours(square, source[part] + 4 * half);
      for (int i = 0; i < 4; ++i)
        target[half][4 * part + i].bits = square[i];
    }
#endif
}

// What the scalar transform gives, bit for bit.
inline void Transform(Samples& samples, std::int16_t* coefficients) {
  Numbers rows[parts][transformSide];
  for (int part = 0; part < parts; ++part) {
    for (int column = 0; column < transformSide; ++column)
      rows[part][column] = Weighed(coefficients, column, part);
    TransformEight(rows[part], 1);
  }
  auto* const bytes = reinterpret_cast<Byte*>(coefficients);
  for (std::size_t i = 0; i < sizeof samples; i += sizeof(Vector))
    StoreVector(bytes + i, V32{});
  Numbers columns[parts][transformSide];
  Transpose(columns, rows);
  for (int part = 0; part < parts; ++part)
    TransformEight(columns[part], 1);
  // The lower 16 of the bits behind the shift, with sign.
  const auto cut = [&columns](int part, int row) {
    return (S32)(columns[part][row].bits << (16 - transformShift)) >> 16;
  };
  auto* const target = reinterpret_cast<Byte*>(&samples);
#if defined(__AVX2__)
  for (int row = 0; row < transformSide; row += 2)
    StoreVector(target + 16 * row, InOrder((V32)Pack(cut(0, row), cut(0, row + 1))));
#else
  for (int row = 0; row < transformSide; ++row)
    StoreVector(target + 16 * row, (V32)Pack(cut(0, row), cut(1, row)));
#endif
}

inline __m128i LoadRow(const Samples& samples, int row) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(samples + transformSide * row));
}

void DrawSquares1(Byte* __restrict target, std::size_t distance, std::int16_t* coefficients) {
  Samples samples;
  Transform(samples, coefficients);
  const __m128i middle = _mm_set1_epi16(128);
  for (int row = 0; row < transformSide; row += 2) {
    const __m128i two = _mm_packus_epi16(_mm_adds_epi16(LoadRow(samples, row), middle),
                                         _mm_adds_epi16(LoadRow(samples, row + 1), middle));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(target), two);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(target + distance), _mm_srli_si128(two, 8));
    target += 2 * distance;
  }
}

// Sums of two samples side by side, over `Side` rows.
template <int Side>
inline __m128i SumsOfPairs(const Samples& samples, int row) {
  __m128i sums = _mm_setzero_si128();
  for (int i = 0; i < Side; ++i)
    sums = _mm_add_epi32(sums, _mm_madd_epi16(LoadRow(samples, row + i), _mm_set1_epi16(1)));
  return sums;
}

// Bytes of 1 << shift times their values: rounded, then truncated toward zero.
template <int shift>
inline __m128i MeansOf(__m128i sums) {
  constexpr int half = 1 << (shift - 1);
  const __m128i rounded = _mm_add_epi32(sums, _mm_set1_epi32(half));
  const __m128i toZero =
      _mm_and_si128(_mm_srai_epi32(rounded, 31), _mm_set1_epi32((1 << shift) - 1));
  const __m128i means = _mm_srai_epi32(_mm_add_epi32(rounded, toZero), shift);
  const __m128i words = _mm_packs_epi32(_mm_add_epi32(means, _mm_set1_epi32(128)), means);
  return _mm_packus_epi16(words, words);
}

void DrawSquares2(Byte* __restrict target, std::size_t distance, std::int16_t* coefficients) {
  Samples samples;
  Transform(samples, coefficients);
  for (int row = 0; row < transformSide; row += 2, target += distance) {
    const int four = _mm_cvtsi128_si32(MeansOf<2>(SumsOfPairs<2>(samples, row)));
    std::memcpy(target, &four, sizeof four);
  }
}

void DrawSquares4(Byte* __restrict target, std::size_t distance, std::int16_t* coefficients) {
  Samples samples;
  Transform(samples, coefficients);
  for (int row = 0; row < transformSide; row += 4, target += distance) {
    const __m128i pairs = SumsOfPairs<4>(samples, row);
    const __m128i squares = _mm_add_epi32(pairs, _mm_shuffle_epi32(pairs, 0xB1));
    const int bytes = _mm_cvtsi128_si32(MeansOf<4>(squares));
    target[0] = static_cast<Byte>(bytes);
    target[1] = static_cast<Byte>(bytes >> 16);
  }
}

void JoinYuv(Byte* __restrict target, const Byte* __restrict y, const Byte* __restrict u,
             const Byte* __restrict v, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i)
    StorePixel(target + 4 * i, y[i] | Word{u[i]} << 8 | Word{v[i]} << 16);
}

}  // namespace

constinit const LayeredKernels LayeredKernels::ZTLIB_INSTRUCTION_SET = {
    .drawSquares1 = DrawSquares1,
    .drawSquares2 = DrawSquares2,
    .drawSquares4 = DrawSquares4,
    .joinYuv = JoinYuv,
};

}  // namespace ztlib
