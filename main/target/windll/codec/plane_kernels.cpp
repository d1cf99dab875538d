#include "main/target/windll/codec/plane_kernels.h"

#include "main/target/windll/image_convert/pixel_vectors.h"

namespace ztlib {

namespace {

// Three parts of a and one of b.
inline int Blend(int a, int b) {
  return 3 * a + b;
}
inline V16 Blend(V16 a, V16 b) {
  return a + a + a + b;
}
template <int half>
inline V16 Widened(V8 bytes) {
  return half == 0 ? (V16)InterleaveLow(bytes, V8{}) : (V16)InterleaveHigh(bytes, V8{});
}
template <int half>
inline V16 Blend(V8 a, V8 b) {
#if defined(__AVX2__)
  const V16 pairs = half == 0 ? InterleaveLow(a, b) : InterleaveHigh(a, b);
  return (V16)_mm256_maddubs_epi16((Vector)pairs, _mm256_set1_epi16(0x0103));
#else
  return Blend(Widened<half>(a), Widened<half>(b));
#endif
}
inline V8 LoadBytes(const Byte* p) {
  return (V8)LoadVector(p);
}

// The two results of a sample, or of a half of a vector of them.
template <class Number>
struct Wide {
  Number left;
  Number right;
};
struct Row {
  static Wide<int> At(const Byte* row, const Byte*, std::size_t i) {
    const Byte* const p = row + i;
    return {(Blend(p[0], p[-1]) + 1) >> 2, (Blend(p[0], p[1]) + 2) >> 2};
  }
  template <int half>
  static Wide<V16> HalfAt(const Byte* row, const Byte*, std::size_t i) {
    const Byte* const p = row + i;
    const V8 here = LoadBytes(p);
    return {(Blend<half>(here, LoadBytes(p - 1)) + 1) >> 2,
            (Blend<half>(here, LoadBytes(p + 1)) + 2) >> 2};
  }
};
struct TwoRows {
  static Wide<int> At(const Byte* near, const Byte* far, std::size_t i) {
    const Byte* const n = near + i;
    const Byte* const f = far + i;
    const int here = Blend(n[0], f[0]);
    return {(Blend(here, Blend(n[-1], f[-1])) + 8) >> 4, (Blend(here, Blend(n[1], f[1])) + 7) >> 4};
  }
  template <int half>
  static Wide<V16> HalfAt(const Byte* near, const Byte* far, std::size_t i) {
    const Byte* const n = near + i;
    const Byte* const f = far + i;
    const V16 here = Blend<half>(LoadBytes(n), LoadBytes(f));
    const V16 before = Blend<half>(LoadBytes(n - 1), LoadBytes(f - 1));
    const V16 behind = Blend<half>(LoadBytes(n + 1), LoadBytes(f + 1));
    return {(Blend(here, before) + 8) >> 4, (Blend(here, behind) + 7) >> 4};
  }
};

template <class From>
void Both(Byte* __restrict target, const Byte* __restrict near, const Byte* __restrict far,
          std::size_t count) {
  ForRange<bytesPerVector>(
      0, count,
      [&](std::size_t i) {
        const Wide<V16> low = From::template HalfAt<0>(near, far, i);
        const Wide<V16> high = From::template HalfAt<1>(near, far, i);
        const TwoVectors pairs = InOrder(low.left | low.right << 8, high.left | high.right << 8);
        StoreVector(target + 2 * i, pairs.first);
        StoreVector(target + 2 * i + bytesPerVector, pairs.second);
      },
      [&](std::size_t i) {
        const Wide<int> wide = From::At(near, far, i);
        target[2 * i] = static_cast<Byte>(wide.left);
        target[2 * i + 1] = static_cast<Byte>(wide.right);
      });
}
template <class From>
void Mean(Byte* __restrict target, const Byte* __restrict near, const Byte* __restrict far,
          std::size_t count) {
  ForRange<bytesPerVector>(
      0, count,
      [&](std::size_t i) {
        const auto mean = [](const Wide<V16>& wide) {
          return (S16)((wide.left + wide.right + 1) >> 1);
        };
        StoreVector(target + i, (V32)PackToBytes(mean(From::template HalfAt<0>(near, far, i)),
                                                 mean(From::template HalfAt<1>(near, far, i))));
      },
      [&](std::size_t i) {
        const Wide<int> wide = From::At(near, far, i);
        target[i] = static_cast<Byte>((wide.left + wide.right + 1) >> 1);
      });
}
void MeanOfPairs(Byte* __restrict target, const Byte* __restrict row, const Byte*,
                 std::size_t count) {
  for (std::size_t i = 0; i < count; ++i)
    target[i] = static_cast<Byte>((row[2 * i] + row[2 * i + 1] + 1) >> 1);
}

// Memory is slower than this work. Lines of the target are asked for while there is other work; those
// behind its end are none of ours, which is no fault.
constexpr std::size_t cacheLine = 64;
constexpr std::size_t ahead = 2048;

// Pixels of four bytes, one from each row.
inline void StorePixels(Byte* p, V8 first, V8 second, V8 third, V8 fourth) {
  const auto eights = [](V16 lower, V16 upper) {
    return InOrder(InterleaveLow(lower, upper), InterleaveHigh(lower, upper));
  };
  const TwoVectors left = eights(InterleaveLow(first, second), InterleaveLow(third, fourth));
  const TwoVectors right = eights(InterleaveHigh(first, second), InterleaveHigh(third, fourth));
#if defined(__AVX2__)
  const V32 inOrder[] = {left.first, right.first, left.second, right.second};
#else
  const V32 inOrder[] = {left.first, left.second, right.first, right.second};
#endif
  // An address beyond the rows is no pointer of theirs, so that it is counted as a number.
  const std::uintptr_t soon = reinterpret_cast<std::uintptr_t>(p) + ahead;
  for (std::size_t i = 0; i < 4 * bytesPerVector; i += cacheLine)
    // NOLINTNEXTLINE(performance-no-int-to-ptr)
    _mm_prefetch(reinterpret_cast<const char*>(soon + i), _MM_HINT_T0);
  for (std::size_t i = 0; i < 4; ++i)
    StoreVector(p + i * bytesPerVector, inOrder[i]);
}

void Repeat(Byte* __restrict target, const Byte* __restrict row, const Byte*, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i)
    target[2 * i] = target[2 * i + 1] = row[i];
}
void RepeatGray(Byte* __restrict target, const Byte* __restrict gray, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i)
    Store(target + 4 * i, gray[i] * Word{0x010101} | 0xff000000U);
}

void JoinYuv(Byte* __restrict target, const Byte* __restrict y, const Byte* __restrict u,
             const Byte* __restrict v, std::size_t count) {
  ForRange<bytesPerVector>(
      0, count,
      [&](std::size_t i) {
        StorePixels(target + 4 * i, LoadBytes(y + i), LoadBytes(u + i), LoadBytes(v + i),
                    V8{} + 255);
      },
      [&](std::size_t i) { Store(target + 4 * i, Pack(y[i], u[i], v[i], 255)); });
}

inline int Clamped(int value) {
  return value < 0 ? 0 : value > 255 ? 255 : value;
}

// The weights of libjpeg, with 16 fractional bits.
constexpr int redOfV = 91881;
constexpr int greenOfU = -22554;
constexpr int greenOfV = -46802;
constexpr int blueOfU = 116130;
constexpr int one = 1 << 16;
constexpr int rounding = one / 2;

// The same products, rounded, for chroma from -128 to 127: multiplications of 16 bits that are exact
// for all of these.
inline S16 RedOf(S16 v) {
#if defined(__AVX2__)
  return (S16)_mm256_mulhrs_epi16((Vector)(v << 1), _mm256_set1_epi16(22970));
#else
  return ((MultiplyHigh(v << 1, S16{} + 26345) + 1) >> 1) + v;
#endif
}
inline S16 BlueOf(S16 u) {
#if defined(__AVX2__)
  return (S16)_mm256_mulhrs_epi16((Vector)(u << 1), _mm256_set1_epi16(29033));
#else
  return ((MultiplyHigh(u, S16{} - 29880) + 1) >> 1) + (u << 1);
#endif
}
inline S16 GreenOf(S16 u, S16 v) {
  // The weight of V does not fit into 16 bits.
  const S16 weights = Pairs(greenOfU, greenOfV + one);
  const auto product = [weights](V32 pairs) {
    return (MultiplyAdd((S16)pairs, weights) + rounding) >> 16;
  };
  return Pack(product(InterleaveLow((V16)u, (V16)v)), product(InterleaveHigh((V16)u, (V16)v))) - v;
}

struct Rgb {
  S16 red;
  S16 green;
  S16 blue;
};
template <int half>
inline Rgb HalfOfRgb(V8 y, V8 u, V8 v) {
  const auto luma = (S16)Widened<half>(y);
  const S16 cb = (S16)Widened<half>(u) - 128;
  const S16 cr = (S16)Widened<half>(v) - 128;
  return {luma + RedOf(cr), luma + GreenOf(cb, cr), luma + BlueOf(cb)};
}

template <bool isSwapped>
void JoinRgb(Byte* __restrict target, const Byte* __restrict y, const Byte* __restrict u,
             const Byte* __restrict v, std::size_t count) {
  ForRange<bytesPerVector>(
      0, count,
      [&](std::size_t i) {
        const V8 luma = LoadBytes(y + i);
        const V8 cb = LoadBytes(u + i);
        const V8 cr = LoadBytes(v + i);
        const Rgb low = HalfOfRgb<0>(luma, cb, cr);
        const Rgb high = HalfOfRgb<1>(luma, cb, cr);
        const V8 red = PackToBytes(low.red, high.red);
        const V8 green = PackToBytes(low.green, high.green);
        const V8 blue = PackToBytes(low.blue, high.blue);
        StorePixels(target + 4 * i, isSwapped ? red : blue, green, isSwapped ? blue : red,
                    V8{} + 255);
      },
      [&](std::size_t i) {
        const int cb = u[i] - 128;
        const int cr = v[i] - 128;
        const int red = Clamped(y[i] + ((redOfV * cr + rounding) >> 16));
        const int green = Clamped(y[i] + ((greenOfU * cb + greenOfV * cr + rounding) >> 16));
        const int blue = Clamped(y[i] + ((blueOfU * cb + rounding) >> 16));
        Store(target + 4 * i, Pack(isSwapped ? red : blue, green, isSwapped ? blue : red, 255));
      });
}

void JoinYuyv(Byte* __restrict target, const Byte* __restrict y, const Byte* __restrict u,
              const Byte* __restrict v, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i)
    Store(target + 4 * i, y[2 * i] | Word{u[i]} << 8 | Word{y[2 * i + 1]} << 16 | Word{v[i]} << 24);
}
void JoinUyvy(Byte* __restrict target, const Byte* __restrict y, const Byte* __restrict u,
              const Byte* __restrict v, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i)
    Store(target + 4 * i, u[i] | Word{y[2 * i]} << 8 | Word{v[i]} << 16 | Word{y[2 * i + 1]} << 24);
}

}  // namespace

constinit const PlaneKernels PlaneKernels::ZTLIB_INSTRUCTION_SET = {
    .widen = Both<Row>,
    .widenBetween = Both<TwoRows>,
    .widenToPairs = Mean<Row>,
    .widenBetweenToPairs = Mean<TwoRows>,
    .meanOfPairs = MeanOfPairs,
    .repeat = Repeat,
    .joinYuv = JoinYuv,
    .joinRgb = JoinRgb<false>,
    .joinSwappedRgb = JoinRgb<true>,
    .repeatGray = RepeatGray,
    .joinYuyv = JoinYuyv,
    .joinUyvy = JoinUyvy,
};

}  // namespace ztlib
