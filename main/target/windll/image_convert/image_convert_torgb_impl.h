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

template <class Format>
void PairsToRgb(Byte* __restrict target, const Byte* __restrict source, std::size_t count) {
  ForInnerRange(
      count,
      [=](std::size_t i) {
        using Chroma = BlendedChroma<Format>;
        const Chroma chroma(source + 4 * i, 128);
        constexpr std::uint16_t withoutRemainder = 0xffff << Chroma::shift & 0xffff;
        const ChromaTerms left(chroma.left & withoutRemainder, 256 >> Chroma::shift);
        const ChromaTerms right(chroma.right & withoutRemainder, 256 >> Chroma::shift);
        const TwoVectors rgb = RgbOf(LumaOf<Format>(LoadVector(source + 4 * i)),
                                     (V16)InterleaveLow(left.blueRed, right.blueRed),
                                     (V16)InterleaveHigh(left.blueRed, right.blueRed),
                                     (V16)JoinUpperHalves(left.green, right.green));
        StorePixels(target + 8 * i, InOrder(rgb.first, rgb.second));
      },
      [=](std::size_t i) {
        StorePixel(target + 8 * i, RgbOfYuv(LeftPixel<Format>(source, i)));
        StorePixel(target + 8 * i + 4, RgbOfYuv(RightPixel<Format>(source, i, count)));
      });
}

}  // namespace

}  // namespace ztlib

#endif
