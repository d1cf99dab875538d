#pragma once

// What becomes RGB: the overloads, and the arithmetic of a row, which row_kernels.cpp compiles for
// every instruction set.
#if !defined(ZTLIB_INSTRUCTION_SET)

#include "main/target/windll/image_convert/image_convert_rows.h"

namespace ztlib {

inline void Convert(RgbImageView& target, const BoolImageView& source) {
  ConvertRows(target, source, KernelsFor<RowKernels>().boolToRgb);
}
inline void Convert(RgbImageView& target, const GrayImageView& source) {
  ConvertRows(target, source, KernelsFor<RowKernels>().grayToRgb);
}
inline void Convert(RgbImageView& target, const YuvImageView& source) {
  ConvertRows(target, source, KernelsFor<RowKernels>().yuvToRgb);
}
inline void Convert(RgbImageView& target, const YuyvImageView& source) {
  ConvertRows(target, source, KernelsFor<RowKernels>().yuyvToRgb);
}
inline void Convert(RgbImageView& target, const UyvyImageView& source) {
  ConvertRows(target, source, KernelsFor<RowKernels>().uyvyToRgb);
}

}  // namespace ztlib

#else

#include "main/target/windll/image_convert/image_convert_toyuv_impl.h"

namespace ztlib {

namespace {

inline int Clamp(int value) {
  return value < 0 ? 0 : value > 255 ? 255 : value;
}

inline Word RgbOfYuv(Word yuv) {
  const int y = ByteOf(yuv, 0) * 256;
  const int u = ByteOf(yuv, 1) - 128;
  const int v = ByteOf(yuv, 2) - 128;
  return Pack(Clamp((y + u * 454) >> 8), Clamp((y + u * -88 + v * -183) >> 8),
              Clamp((y + v * 359) >> 8));
}

// The chroma's part in the equations to RGB, for words of U and V less 128, where chroma * scale is
// 256 times the true value. (256 * Y + weight * chroma) >> 8 is Y + (weight * chroma >> 8), so that
// the upper halves of products are what is needed.
struct ChromaTerms {
  ChromaTerms(V16 chroma, int scale)
      : blueRed((V32)MultiplyHigh((S16)chroma, Pairs(454 * scale, 359 * scale))),
        green(MultiplyAdd((S16)chroma, Pairs(-88 * scale, -183 * scale))) {}

  V32 blueRed;
  S32 green;  // in the upper half
};

// The same of chroma times 1 << shift with a remainder, which is dropped.
template <int shift>
inline ChromaTerms TermsOfBlended(V16 blended) {
  constexpr std::uint16_t withoutRemainder = 0xffff << shift & 0xffff;
  return {blended & withoutRemainder, 256 >> shift};
}

// RGB from 16-bit luma, with the terms of the same pixels: blue and red of the first and of the
// second half of each 128 bits.
inline TwoVectors RgbOf(V16 luma, V16 blueRedLow, V16 blueRedHigh, V16 green) {
  const V8 blueRed = PackToBytes((S16)(blueRedLow + (V16)InterleaveLow(luma, luma)),
                                 (S16)(blueRedHigh + (V16)InterleaveHigh(luma, luma)));
  const auto clamped = (V8)ClampToByte((S16)(green + luma));
  return {(V32)InterleaveLow(blueRed, clamped), (V32)InterleaveHigh(blueRed, clamped)};
}

inline TwoVectors RgbOfYuv(TwoVectors yuv) {
  const auto terms = [](V32 pixels) {
    return ChromaTerms(((V16)pixels * (V16)Pairs(1, 256) & 0xff00) ^ 0x8000, 1);
  };
  const ChromaTerms a = terms(yuv.first);
  const ChromaTerms b = terms(yuv.second);
  const S16 luma = Pack((S32)(yuv.first & 0xff), (S32)(yuv.second & 0xff));
  return RgbOf((V16)luma, (V16)a.blueRed, (V16)b.blueRed, (V16)Pack(a.green >> 16, b.green >> 16));
}

template <bool isBool>
void GrayToRgb(Byte* __restrict target, const Byte* __restrict source, std::size_t count) {
  ForRange<bytesPerVector>(
      0, count,
      [=](std::size_t i) {
        const auto value = (V8)InOrder(LoadVector(source + i));
        const V8 gray = isBool ? -value : value;
        StorePixels(target + 4 * i, InterleaveLow(gray, gray), InterleaveLow(gray, V8{}));
        StorePixels(target + 4 * i + 2 * bytesPerVector, InterleaveHigh(gray, gray),
                    InterleaveHigh(gray, V8{}));
      },
      [=](std::size_t i) {
        const auto gray = static_cast<Byte>(isBool ? -source[i] : source[i]);
        StorePixel(target + 4 * i, gray * 0x010101U);
      });
}

inline void YuvToRgb(Byte* __restrict target, const Byte* __restrict source, std::size_t count) {
  ForRange<2 * wordsPerVector>(
      0, count,
      [=](std::size_t i) {
        StorePixels(target + 4 * i, RgbOfYuv({LoadVector(source + 4 * i),
                                              LoadVector(source + 4 * i + bytesPerVector)}));
      },
      [=](std::size_t i) { StorePixel(target + 4 * i, RgbOfYuv(Load(source + 4 * i))); });
}

#if defined(__AVX2__)

// The terms of four pixels in each 128 bits, which hold two samples between their neighbours. The
// chroma is that of BlendedChroma, but in the order of the pixels and with one shift for all.
template <class Format>
struct PairTerms {
  explicit PairTerms(V8 samples) {
    constexpr char y = Format::lumaFirst ? 4 : 5;
    constexpr char u = Format::lumaFirst ? 5 : 4;
    constexpr char v = u + 2;
    const V8 ownAndSide = Shuffle(samples, Order{u, u - 4, v, v - 4, u, u + 4, v, v + 4,  //
                                                 u + 4, u, v + 4, v, u + 4, u + 8, v + 4, v + 8});
    const auto luma = (S16)Shuffle(samples, Order{y, -1, y, -1, y + 2, -1, y + 2, -1,  //
                                                  y + 4, -1, y + 4, -1, y + 6, -1, y + 6, -1});
    constexpr int shift = Format::inPlace ? 4 : 2;
    const V16 weights =
        Format::inPlace ? LeftAndRight(0x030d, 0x040c) : LeftAndRight(0x0103, 0x0103);
    const V16 rounding = Format::inPlace ? LeftAndRight(10, 8) : LeftAndRight(2, 2);
    constexpr std::uint16_t bias = 128 << shift;
    const V16 blended =
        (V16)_mm256_maddubs_epi16((Vector)ownAndSide, (Vector)weights) + (rounding - bias);
    const ChromaTerms terms = TermsOfBlended<shift>(blended);
    blueRed = (S16)terms.blueRed + luma;
    green = (S32)((S16)terms.green + luma) >> 16;
  }

  S16 blueRed;
  S32 green;

 private:
  // 16 bits for both chroma values of every left pixel, and for those of every right pixel.
  static V16 LeftAndRight(std::uint64_t left, std::uint64_t right) {
    return (V16)(V64{} + (left * 0x10001 | right * 0x10001 << 32));
  }
};

// RGB of eight samples.
template <class Format>
inline TwoVectors RgbOfPairs(const Byte* samples) {
  const auto four = [](const Byte* p) {
    return PairTerms<Format>((V8)_mm256_loadu2_m128i(reinterpret_cast<const __m128i*>(p + 4),
                                                     reinterpret_cast<const __m128i*>(p - 4)));
  };
  const PairTerms<Format> first = four(samples);
  const PairTerms<Format> second = four(samples + 16);
  const V8 blueRed = PackToBytes(first.blueRed, second.blueRed);
  const Vector notNegative = _mm256_packus_epi32((Vector)first.green, (Vector)second.green);
  const auto green = (V8)_mm256_min_epi16(notNegative, (Vector)(S16{} + 255));
  return {(V32)InterleaveLow(blueRed, green), (V32)InterleaveHigh(blueRed, green)};
}

#else

template <class Format>
inline TwoVectors RgbOfPairs(const Byte* samples) {
  using Chroma = BlendedChroma<Format>;
  const Chroma chroma(samples, 128);
  const ChromaTerms left = TermsOfBlended<Chroma::leftShift>(chroma.left);
  const ChromaTerms right = TermsOfBlended<Chroma::rightShift>(chroma.right);
  return RgbOf(LumaOf<Format>(LoadVector(samples)), (V16)InterleaveLow(left.blueRed, right.blueRed),
               (V16)InterleaveHigh(left.blueRed, right.blueRed),
               (V16)JoinUpperHalves(left.green, right.green));
}

#endif

template <class Format>
void PairsToRgb(Byte* __restrict target, const Byte* __restrict source, std::size_t count) {
  ForInnerRange(
      count,
      [=](std::size_t i) { StorePixels(target + 8 * i, RgbOfPairs<Format>(source + 4 * i)); },
      [=](std::size_t i) {
        StorePixel(target + 8 * i, RgbOfYuv(LeftPixel<Format>(source, i)));
        StorePixel(target + 8 * i + 4, RgbOfYuv(RightPixel<Format>(source, i, count)));
      });
}

}  // namespace

}  // namespace ztlib

#endif
