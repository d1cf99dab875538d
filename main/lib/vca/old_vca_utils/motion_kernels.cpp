#include "main/lib/vca/old_vca_utils/motion_kernels.h"

#include <cstring>

#include <immintrin.h>

namespace ztlib {

// Floats are evaluated as written, so that every set gives the same bits.
namespace {

using Byte = std::uint8_t;
#if defined(__AVX2__)
#define ZT_VECTOR(operation) _mm256_##operation
using Vector = __m256i;
using Floats = __m256;
#else
#define ZT_VECTOR(operation) _mm_##operation
using Vector = __m128i;
using Floats = __m128;
#endif
using V8 = Byte __attribute__((vector_size(sizeof(Vector))));
using Ints = std::int32_t __attribute__((vector_size(sizeof(Vector))));

inline V8 LoadBytes(const Byte* p) {
  V8 bytes;
  std::memcpy(&bytes, p, sizeof bytes);
  return bytes;
}

inline Floats Load(const float* p) {
  return ZT_VECTOR(loadu_ps)(p);
}
inline void Store(float* p, Floats values) {
  ZT_VECTOR(storeu_ps)(p, values);
}

// One bit for each byte, its sign.
inline std::uint32_t SignBits(V8 bytes) {
  return static_cast<std::uint32_t>(ZT_VECTOR(movemask_epi8)((Vector)bytes));
}

inline std::int64_t Sum(Ints values) {
  std::int64_t sum = 0;
  for (std::size_t i = 0; i < sizeof(Ints) / sizeof values[0]; ++i)
    sum += values[i];
  return sum;
}
inline std::int64_t Sum(V8 bytes) {
  return Sum((Ints)ZT_VECTOR(sad_epu8)((Vector)bytes, Vector{}));
}

void Learn(float* __restrict mean, float* __restrict variance, const Byte* __restrict gray,
           std::size_t count, float frame) {
  for (std::size_t i = 0; i < count; ++i) {
    const float p = gray[i];
    const float sum = mean[i] + p;
    mean[i] = sum;
    const float d = (p * frame - sum) / frame;
    variance[i] = d * d + variance[i];
  }
}

void Scale(float* __restrict values, std::size_t count, float factor) {
  for (std::size_t i = 0; i < count; ++i)
    values[i] *= factor;
}

// The pixels of four registers of floats and of one of bytes.
constexpr std::size_t groupLength = sizeof(V8);

inline Floats Broadcast(float value) {
  return Floats{} + value;
}
inline Floats Min(Floats a, Floats b) {
  return (Floats)ZT_VECTOR(min_ps)(a, b);
}
// `b` where one of the two is no number.
inline Floats Max(Floats a, Floats b) {
  return (Floats)ZT_VECTOR(max_ps)(a, b);
}
inline Floats Choose(Ints mask, Floats yes, Floats no) {
#if defined(__AVX2__)
  return (Floats)_mm256_blendv_ps(no, yes, (Floats)mask);
#else
  return (Floats)((mask & (Ints)yes) | (~mask & (Ints)no));
#endif
}

// The groupLength bytes at `p` as four registers of floats.
struct GroupOfFloats {
  Floats quarters[4];
  explicit GroupOfFloats(const Byte* p) {
#if defined(__AVX2__)
    for (std::size_t i = 0; i < 4; ++i)
      quarters[i] = _mm256_cvtepi32_ps(
          _mm256_cvtepu8_epi32(_mm_loadl_epi64((const __m128i*)(p + i * sizeof(Floats) / 4))));
#else
    const auto bytes = (Vector)LoadBytes(p);
    const Vector low = _mm_unpacklo_epi8(bytes, Vector{});
    const Vector high = _mm_unpackhi_epi8(bytes, Vector{});
    quarters[0] = _mm_cvtepi32_ps(_mm_unpacklo_epi16(low, Vector{}));
    quarters[1] = _mm_cvtepi32_ps(_mm_unpackhi_epi16(low, Vector{}));
    quarters[2] = _mm_cvtepi32_ps(_mm_unpacklo_epi16(high, Vector{}));
    quarters[3] = _mm_cvtepi32_ps(_mm_unpackhi_epi16(high, Vector{}));
#endif
  }
};

// The reverse for numbers 0 to 255, or for masks.
template <bool masks>
inline V8 PackToBytes(const Ints* quarters) {
  const Vector low = ZT_VECTOR(packs_epi32)((Vector)quarters[0], (Vector)quarters[1]);
  const Vector high = ZT_VECTOR(packs_epi32)((Vector)quarters[2], (Vector)quarters[3]);
  const Vector bytes =
      masks ? ZT_VECTOR(packs_epi16)(low, high) : ZT_VECTOR(packus_epi16)(low, high);
#if defined(__AVX2__)
  return (V8)_mm256_permutevar8x32_epi32(bytes, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
#else
  return (V8)bytes;
#endif
}

// Both outcomes of every decision are computed and one is chosen, without a branch. The counts stay
// in 32 bits, so that one object is good for 2^31 groups.
template <bool graded>
struct Classifier {
  explicit Classifier(const MotionStep& step)
      : threshold(Broadcast(step.threshold)),
        ceiling(Broadcast(step.ceiling)),
        minDeviation(Broadcast(step.minDeviation)),
        fast(Broadcast(step.fastRate)),
        slow(Broadcast(step.slowRate)),
        keepFast(Broadcast(1.0F - step.fastRate)),
        keepSlow(Broadcast(1.0F - step.slowRate)) {}

  // Returns a mask of the moving pixels, or their grades.
  Ints Quarter(float* meanAt, float* varianceAt, Floats gray) {
    const Floats mean = Load(meanAt);
    const Floats variance = Load(varianceAt);
    const Floats difference = gray - mean;
    const Floats deviation = difference * difference;
    // A bound that is no number leaves the decision to the fixed limit.
    const Floats limit = Max(threshold * variance, minDeviation);
    const auto isMotion = (Ints)(deviation > limit);
    Store(meanAt, keepSlow * mean + slow * gray);
    const Floats updated =
        Choose(isMotion, keepSlow, keepFast) * variance + Choose(isMotion, slow, fast) * deviation;
    motion -= isMotion;
    bigChange -= (Ints)(deviation > Max(updated, Broadcast(300.0F)));
    highVariance -= (Ints)(updated > minDeviation);
    Store(varianceAt, Min(ceiling, updated));
    if constexpr (!graded) return isMotion;
    const auto excess = (Floats)((Ints)(deviation - limit) & isMotion);
    return (Ints)ZT_VECTOR(cvttps_epi32)(ZT_VECTOR(sqrt_ps)(excess));
  }

  void Group(float* mean, float* variance, Byte* bytes, const Byte* gray) {
    const GroupOfFloats pixels(gray);
    Ints moving[4];
    for (std::size_t i = 0; i < 4; ++i)
      moving[i] =
          Quarter(mean + i * groupLength / 4, variance + i * groupLength / 4, pixels.quarters[i]);
    const V8 packed = PackToBytes<!graded>(moving);
    std::memcpy(bytes, &packed, sizeof packed);
  }

  Floats threshold, ceiling, minDeviation, fast, slow, keepFast, keepSlow;
  Ints motion{}, bigChange{}, highVariance{};
};

template <bool graded>
void ClassifyRow(float* __restrict mean, float* __restrict variance, Byte* __restrict motion,
                 const Byte* __restrict gray, std::size_t count, const MotionStep& step,
                 MotionCounts& counts) {
  Classifier<graded> classifier(step);
  std::size_t i = 0;
  for (; i + groupLength <= count; i += groupLength)
    classifier.Group(mean + i, variance + i, motion + i, gray + i);
  if (const std::size_t rest = count - i; rest > 0) {
    // Pixels of black on black, which count as nothing, fill the last group.
    float lastMean[groupLength] = {};
    float lastVariance[groupLength] = {};
    Byte lastMotion[groupLength];
    Byte lastGray[groupLength] = {};
    std::memcpy(lastMean, mean + i, rest * sizeof(float));
    std::memcpy(lastVariance, variance + i, rest * sizeof(float));
    std::memcpy(lastGray, gray + i, rest);
    classifier.Group(lastMean, lastVariance, lastMotion, lastGray);
    std::memcpy(mean + i, lastMean, rest * sizeof(float));
    std::memcpy(variance + i, lastVariance, rest * sizeof(float));
    std::memcpy(motion + i, lastMotion, rest);
  }
  counts.motion += Sum(classifier.motion);
  counts.bigChange += Sum(classifier.bigChange);
  counts.highVariance += Sum(classifier.highVariance);
}

std::int64_t Despeckle(Byte* row, std::ptrdiff_t stride, std::size_t width) {
  std::int64_t cleared = 0;
  std::size_t x = 1;
  for (; x + sizeof(V8) < width; x += sizeof(V8)) {
    Byte* const p = row + x;
    const V8 own = LoadBytes(p);
    const auto set = (V8)(own != 0);
    if (SignBits(set) == 0) continue;
    const Byte* const above = p - stride;
    const Byte* const below = p + stride;
    const V8 neighbours = LoadBytes(above - 1) | LoadBytes(above) | LoadBytes(above + 1) |
                          LoadBytes(p - 1) | LoadBytes(p + 1) | LoadBytes(below - 1) |
                          LoadBytes(below) | LoadBytes(below + 1);
    const auto lonely = (V8)(neighbours == 0) & set;
    const std::uint32_t bits = SignBits(lonely);
    if (bits == 0) continue;
    cleared += __builtin_popcount(bits);
    const V8 kept = own & ~lonely;
    std::memcpy(p, &kept, sizeof kept);
  }
  for (; x + 1 < width; ++x) {
    Byte* const p = row + x;
    if (*p == 0) continue;
    const Byte* const above = p - stride;
    const Byte* const below = p + stride;
    if ((above[-1] | above[0] | above[1] | p[-1] | p[1] | below[-1] | below[0] | below[1]) != 0)
      continue;
    *p = 0;
    ++cleared;
  }
  return cleared;
}

std::int64_t CountSet(const Byte* bytes, std::size_t count) {
  std::int64_t total = 0;
  std::size_t i = 0;
  while (count - i >= sizeof(V8)) {
    // As many as a byte can count.
    V8 sums{};
    for (int round = 0; round < 255 && count - i >= sizeof(V8); ++round, i += sizeof(V8))
      sums -= (V8)(LoadBytes(bytes + i) != 0);
    total += Sum(sums);
  }
  for (; i < count; ++i)
    total += bytes[i] != 0;
  return total;
}

void PackBits(Byte* bits, const Byte* bytes, std::size_t count) {
  std::size_t i = 0;
  for (; i + sizeof(V8) <= count; i += sizeof(V8)) {
    const std::uint32_t set = SignBits((V8)(LoadBytes(bytes + i) != 0));
    std::memcpy(bits + i / 8, &set, sizeof(V8) / 8);
  }
  for (; i < count; i += 8) {
    unsigned set = 0;
    for (std::size_t bit = 0; bit < 8 && i + bit < count; ++bit)
      set |= static_cast<unsigned>(bytes[i + bit] != 0) << bit;
    bits[i / 8] = static_cast<Byte>(set);
  }
}

}  // namespace

constinit const MotionKernels MotionKernels::ZTLIB_INSTRUCTION_SET = {
    .learn = Learn,
    .scale = Scale,
    .classifyBinary = ClassifyRow<false>,
    .classifyGraded = ClassifyRow<true>,
    .despeckle = Despeckle,
    .countSet = CountSet,
    .packBits = PackBits,
};

}  // namespace ztlib
