#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include <immintrin.h>

namespace ztlib {

// What kernels of pixels are written in, for their sources only: single pixels as words, registers
// of them, and the loops and stores around both. A register has 256 bits where the source is
// compiled for AVX2, 128 bits otherwise. The types of registers differ in what an operator works
// on; a cast between them changes no bit.
namespace {

using Byte = std::uint8_t;
using Word = std::uint32_t;

inline Word Load(const Byte* p) {
  Word word;
  std::memcpy(&word, p, sizeof word);
  return word;
}
inline void Store(Byte* p, Word word) {
  std::memcpy(p, &word, sizeof word);
}

// Writes a four-byte pixel without its fourth byte; `pixel` has 0 there.
inline void StorePixel(Byte* p, Word pixel) {
  Store(p, (Load(p) & 0xff000000U) | pixel);
}

inline int ByteOf(Word word, int index) {
  return static_cast<int>(word >> (8 * index) & 0xff);
}
inline Word Pack(int b0, int b1, int b2, int b3 = 0) {
  return static_cast<Word>(b0) | static_cast<Word>(b1) << 8 | static_cast<Word>(b2) << 16 |
         static_cast<Word>(b3) << 24;
}

// A packed sample as Y0, U, Y1, V, whatever the byte order of its format.
struct Yuyv {
  static constexpr bool inPlace = false;
  static constexpr bool lumaFirst = true;
  static Word ToSample(Word sample) { return sample; }
};
struct Uyvy {
  static constexpr bool inPlace = true;
  static constexpr bool lumaFirst = false;
  static Word ToSample(Word sample) {
    return (sample << 8 & 0xff00ff00U) | (sample >> 8 & 0x00ff00ffU);
  }
};

#if defined(__AVX2__)
#define ZT_VECTOR(operation) _mm256_##operation
using Vector = __m256i;
#else
#define ZT_VECTOR(operation) _mm_##operation
using Vector = __m128i;
#endif
using V8 = std::uint8_t __attribute__((vector_size(sizeof(Vector))));
using V16 = std::uint16_t __attribute__((vector_size(sizeof(Vector))));
using S16 = std::int16_t __attribute__((vector_size(sizeof(Vector))));
using V32 = std::uint32_t __attribute__((vector_size(sizeof(Vector))));
using S32 = std::int32_t __attribute__((vector_size(sizeof(Vector))));
using V64 = std::uint64_t __attribute__((vector_size(sizeof(Vector))));

inline V32 LoadVector(const std::uint8_t* p) {
  V32 vector;
  std::memcpy(&vector, p, sizeof vector);
  return vector;
}
inline void StoreVector(std::uint8_t* p, V32 vector) {
  std::memcpy(p, &vector, sizeof vector);
}

inline void StoreHalves(std::uint8_t* low, std::uint8_t* high, V32 vector) {
#if defined(__AVX2__)
  const __m128i halves[] = {_mm256_castsi256_si128((Vector)vector),
                            _mm256_extracti128_si256((Vector)vector, 1)};
#else
  const std::uint64_t halves[] = {((V64)vector)[0], ((V64)vector)[1]};
#endif
  std::memcpy(low, &halves[0], sizeof halves[0]);
  std::memcpy(high, &halves[1], sizeof halves[1]);
}

// The same pair of 16-bit numbers in every 32 bits.
inline S16 Pairs(int low, int high) {
  return (S16)(V32{} +
               (static_cast<std::uint32_t>(low & 0xffff) | static_cast<std::uint32_t>(high) << 16));
}

// Of each pair the sum of both products.
inline S32 MultiplyAdd(S16 a, S16 b) {
  return (S32)ZT_VECTOR(madd_epi16)((Vector)a, (Vector)b);
}
// The upper halves of the products.
inline S16 MultiplyHigh(S16 a, S16 b) {
  return (S16)ZT_VECTOR(mulhi_epi16)((Vector)a, (Vector)b);
}
inline V8 Average(V8 a, V8 b) {
  return (V8)ZT_VECTOR(avg_epu8)((Vector)a, (Vector)b);
}
inline V16 ClampToByte(S16 a) {
  const Vector notNegative = ZT_VECTOR(max_epi16)((Vector)a, Vector{});
  return (V16)ZT_VECTOR(min_epi16)(notNegative, (Vector)(S16{} + 255));
}

// Packing and interleaving work within each 128 bits. What is packed and interleaved again comes
// out in order; InOrder repairs what is only packed, and an Interleave function does it itself.
inline S16 Pack(S32 a, S32 b) {
  return (S16)ZT_VECTOR(packs_epi32)((Vector)a, (Vector)b);
}
inline V8 PackToBytes(S16 a, S16 b) {
  return (V8)ZT_VECTOR(packus_epi16)((Vector)a, (Vector)b);
}
inline V32 InOrder(V32 a) {
#if defined(__AVX2__)
  return (V32)_mm256_permute4x64_epi64((Vector)a, 0xD8);
#else
  return a;
#endif
}
inline V16 InterleaveLow(V8 a, V8 b) {
  return (V16)ZT_VECTOR(unpacklo_epi8)((Vector)a, (Vector)b);
}
inline V16 InterleaveHigh(V8 a, V8 b) {
  return (V16)ZT_VECTOR(unpackhi_epi8)((Vector)a, (Vector)b);
}
inline V32 InterleaveLow(V16 a, V16 b) {
  return (V32)ZT_VECTOR(unpacklo_epi16)((Vector)a, (Vector)b);
}
inline V32 InterleaveHigh(V16 a, V16 b) {
  return (V32)ZT_VECTOR(unpackhi_epi16)((Vector)a, (Vector)b);
}
inline V64 InterleaveLow(V32 a, V32 b) {
  return (V64)ZT_VECTOR(unpacklo_epi32)((Vector)a, (Vector)b);
}
inline V64 InterleaveHigh(V32 a, V32 b) {
  return (V64)ZT_VECTOR(unpackhi_epi32)((Vector)a, (Vector)b);
}
inline V64 InterleaveLow(V64 a, V64 b) {
  return (V64)ZT_VECTOR(unpacklo_epi64)((Vector)a, (Vector)b);
}
inline V64 InterleaveHigh(V64 a, V64 b) {
  return (V64)ZT_VECTOR(unpackhi_epi64)((Vector)a, (Vector)b);
}

// A byte of every two, times a weight that leaves the product in 16 bits.
template <int index, int weight>
inline V16 WeighByte(V32 bytes) {
  if constexpr (weight == 1) return index == 0 ? (V16)bytes & 0xff : (V16)bytes >> 8;
#if defined(__AVX2__)
  const V16 weights = V16{} + static_cast<std::uint16_t>(weight << (8 * index));
  return (V16)_mm256_maddubs_epi16((Vector)bytes, (Vector)weights);
#else
  return WeighByte<index, 1>(bytes) * static_cast<std::uint16_t>(weight);
#endif
}

// The second and the third byte of words as numbers of 16 bits.
inline V16 MiddleBytes(V32 words) {
#if defined(__AVX2__)
  return (V16)_mm256_maddubs_epi16((Vector)words, _mm256_set1_epi32(0x00010100));
#else
  return (V16)((words >> 8 & 0xff) | (words & 0xff0000U));
#endif
}

// `b` where the bits of `mask` are set in whole bytes, elsewhere `a`.
inline V16 Select(V16 a, V16 b, V16 mask) {
#if defined(__AVX2__)
  return (V16)_mm256_blendv_epi8((Vector)a, (Vector)b, (Vector)mask);
#else
  return (a & ~mask) | (b & mask);
#endif
}
// The lower byte of each number of `low` and the upper one of each number of `high`.
inline V8 JoinBytes(V16 low, V16 high) {
  return (V8)Select(low, high, V16{} + 0xff00);
}

// The words of `low`, which have 0 in their fourth bytes, with the fourth bytes of `fourth`.
inline V32 JoinFourthBytes(V32 low, V32 fourth) {
  return low | (fourth & 0xff000000U);
}

// Words of the upper halves of two registers' words.
inline V32 JoinUpperHalves(S32 low, S32 high) {
  return (V32)low >> 16 | ((V32)high & 0xffff0000U);
}

#if defined(__AVX2__)
using Order = char __attribute__((vector_size(16)));
// The bytes of each 128 bits in another order; those that come from number -1 are 0.
inline V8 Shuffle(V8 a, Order order) {
  return (V8)_mm256_shuffle_epi8((Vector)a, _mm256_broadcastsi128_si256((__m128i)order));
}
#endif

// Every second word of two registers. The words come out in the order that InOrder(V32) repairs.
template <int order>
inline V32 ShuffleWords(V32 a, V32 b) {
#if defined(__AVX2__)
  return (V32)_mm256_shuffle_ps((__m256)a, (__m256)b, order);
#else
  return (V32)_mm_shuffle_ps((__m128)a, (__m128)b, order);
#endif
}
inline V32 EvenWords(V32 a, V32 b) {
  return ShuffleWords<0x88>(a, b);
}
inline V32 OddWords(V32 a, V32 b) {
  return ShuffleWords<0xDD>(a, b);
}

// Repairs the order of what was packed twice, or was packed from every second word.
inline V32 InOrderTwice(V32 a) {
#if defined(__AVX2__)
  return __builtin_shufflevector(a, a, 0, 4, 1, 5, 2, 6, 3, 7);
#else
  return a;
#endif
}
// The values of four registers of words, each of which fits into a byte, as bytes in order.
inline V32 PackWordsToBytes(V32 a, V32 b, V32 c, V32 d) {
  return InOrderTwice((V32)PackToBytes(Pack((S32)a, (S32)b), Pack((S32)c, (S32)d)));
}

struct TwoVectors {
  V32 first;
  V32 second;
};
// The low and high results of an interleaving as two registers in order.
template <class V>
inline TwoVectors InOrder(V low, V high) {
#if defined(__AVX2__)
  return {(V32)_mm256_permute2x128_si256((Vector)low, (Vector)high, 0x20),
          (V32)_mm256_permute2x128_si256((Vector)low, (Vector)high, 0x31)};
#else
  return {(V32)low, (V32)high};
#endif
}

constexpr std::size_t bytesPerVector = sizeof(Vector);
constexpr std::size_t wordsPerVector = sizeof(Vector) / 4;

inline void StorePixels(Byte* p, V32 pixels) {
  StoreVector(p, JoinFourthBytes(pixels, LoadVector(p)));
}
inline void StorePixels(Byte* p, TwoVectors pixels) {
  StorePixels(p, pixels.first);
  StorePixels(p + bytesPerVector, pixels.second);
}
// Stores pixels that were interleaved within each 128 bits: the lower 128 bits come from one run of
// 16 pixels, the upper ones from the next run. `first` has the left eight pixels of each run,
// `second` the right eight.
inline void StoreSixteens(Byte* p, TwoVectors first, TwoVectors second) {
  constexpr std::size_t stepBytes = sizeof(Vector) == 16 ? 16 : 64;
  StorePixels(p, first.first);
  StorePixels(p + stepBytes, first.second);
  StorePixels(p + 32, second.first);
  StorePixels(p + 32 + stepBytes, second.second);
}
// The same from even and odd pixels.
inline void StoreInterleaved(Byte* p, const V32 (&even)[2], const V32 (&odd)[2]) {
  const auto eight = [&](int half) {
    return InOrder(InterleaveLow(even[half], odd[half]), InterleaveHigh(even[half], odd[half]));
  };
  StoreSixteens(p, eight(0), eight(1));
}
// Stores pixels of which `low` has the lower and `high` the upper 16 bits.
inline void StorePixels(Byte* p, V16 low, V16 high) {
  StorePixels(p, InOrder(InterleaveLow(low, high), InterleaveHigh(low, high)));
}

// Luma (Y0, Y1) of packed samples, 16 bits each.
template <class Format>
inline V16 LumaOf(V32 samples) {
  return Format::lumaFirst ? (V16)samples & 0xff : (V16)samples >> 8;
}

// Calls `vector` for groups of `size` from `begin` to `end`. The last group overlaps the one before
// it if the range is no multiple; a range shorter than one group goes to `scalar`.
template <std::size_t size, class VectorStep, class ScalarStep>
inline void ForRange(std::size_t begin, std::size_t end, VectorStep vector, ScalarStep scalar) {
  if (end < begin + size) {
    for (; begin < end; ++begin)
      scalar(begin);
    return;
  }
  const std::size_t last = end - size;
  for (; begin < last; begin += size)
    vector(begin);
  vector(last);
}

// Calls `vector` for groups of the samples that have neighbours on both sides, `scalar` for others.
template <std::size_t size = wordsPerVector, class VectorStep, class ScalarStep>
inline void ForInnerRange(std::size_t count, VectorStep vector, ScalarStep scalar) {
  if (count < size + 2) {
    for (std::size_t i = 0; i < count; ++i)
      scalar(i);
    return;
  }
  scalar(0);
  const std::size_t last = count - 1 - size;
  // Behind the first group `i` is a multiple of the size, so that rows which begin at aligned
  // addresses are read and written at aligned addresses.
  vector(1);
#pragma GCC unroll 2
  for (std::size_t i = size; i < last; i += size)
    vector(i);
  vector(last);
  scalar(count - 1);
}

}  // namespace

}  // namespace ztlib
