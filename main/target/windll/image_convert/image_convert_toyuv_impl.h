#pragma once

// What becomes YUV: the overloads, and the arithmetic of a row, which row_kernels.cpp compiles for
// every instruction set.
#if !defined(ZTLIB_INSTRUCTION_SET)

#include "main/target/windll/image_convert/image_convert_rows.h"

namespace ztlib {

inline void Convert(YuvImageView& target, const GrayImageView& source) {
  ConvertRows(target, source, KernelsFor<RowKernels>().grayToYuv);
}
inline void Convert(YuvImageView& target, const RgbImageView& source) {
  ConvertRows(target, source, KernelsFor<RowKernels>().rgbToYuv);
}
inline void Convert(YuvImageView& target, const YuyvImageView& source) {
  ConvertRows(target, source, KernelsFor<RowKernels>().yuyvToYuv);
}
inline void Convert(YuvImageView& target, const UyvyImageView& source) {
  ConvertRows(target, source, KernelsFor<RowKernels>().uyvyToYuv);
}

}  // namespace ztlib

#else

#include "main/target/windll/image_convert/pixel_vectors.h"

namespace ztlib {

namespace {

inline int LumaOfRgb(Word rgb) {
  return (ByteOf(rgb, 2) * 77 + ByteOf(rgb, 1) * 150 + ByteOf(rgb, 0) * 29) >> 8;
}
inline Word YuvOfRgb(Word rgb) {
  const int b = ByteOf(rgb, 0);
  const int g = ByteOf(rgb, 1);
  const int r = ByteOf(rgb, 2);
  return Pack(LumaOfRgb(rgb), ((r * -43 + g * -85 + b * 128) >> 8) + 128,
              ((r * 128 + g * -107 + b * -21) >> 8) + 128);
}

// The sums behind the equations from RGB: blue and red in the halves of a word, green in another.
struct RgbTerms {
  explicit RgbTerms(V32 rgb) : blueRed((S16)(rgb & 0x00ff00ffU)), green((S16)((V16)rgb >> 8)) {}
  [[nodiscard]] V32 Sum(int blueWeight, int greenWeight, int redWeight) const {
    return (V32)(MultiplyAdd(blueRed, Pairs(blueWeight, redWeight)) +
                 MultiplyAdd(green, Pairs(greenWeight, 0)));
  }
  [[nodiscard]] V32 Luma() const { return Sum(29, 150, 77) >> 8; }
  // 256 times the chroma: adding 128 behind the shift is adding 0x8000 before it.
  [[nodiscard]] V32 U() const { return Sum(128, -85, -43) + 0x8000; }
  [[nodiscard]] V32 V() const { return Sum(-21, -107, 128) + 0x8000; }

  S16 blueRed;
  S16 green;
};

// Chroma of the pixel that is three quarters in one sample and one quarter in the next.
inline int Blend(int own, int side) {
  return (3 * own + side + 2) >> 2;
}

// The two pixels of sample i of a row. The chroma of each leans to the sample at its side; the
// outer pixels of a row have none and keep the chroma of their sample.
template <class Format>
inline Word LeftPixel(const Byte* row, std::size_t i) {
  const Word sample = Format::ToSample(Load(row + 4 * i));
  int u = ByteOf(sample, 1);
  int v = ByteOf(sample, 3);
  if (i > 0) {
    const Word side = Format::ToSample(Load(row + 4 * i - 4));
    const int sideU = ByteOf(side, 1);
    const int sideV = ByteOf(side, 3);
    // UYVY takes the chroma that its left neighbour has just got, YUYV what it had.
    u = Blend(u, Format::inPlace ? Blend(sideU, u) : sideU);
    v = Blend(v, Format::inPlace ? Blend(sideV, v) : sideV);
  }
  return Pack(ByteOf(sample, 0), u, v);
}
template <class Format>
inline Word RightPixel(const Byte* row, std::size_t i, std::size_t count) {
  const Word sample = Format::ToSample(Load(row + 4 * i));
  int u = ByteOf(sample, 1);
  int v = ByteOf(sample, 3);
  if (i + 1 < count) {
    const Word side = Format::ToSample(Load(row + 4 * i + 4));
    u = Blend(u, ByteOf(side, 1));
    v = Blend(v, ByteOf(side, 3));
  }
  return Pack(ByteOf(sample, 2), u, v);
}

// The chroma of the left and right pixels of samples inside a row, less `bias`, times 1 << shift
// and with the remainder of its division still in. UYVY's left pixel,
// (3 * own + ((3 * before + own + 2) >> 2) + 2) >> 2, is (13 * own + 3 * before + 10) >> 4.
template <class Format>
struct BlendedChroma {
  static constexpr int leftShift = Format::inPlace ? 4 : 2;
  static constexpr int rightShift = 2;

  explicit BlendedChroma(const Byte* samples, int bias = 0) {
    constexpr int index = Format::lumaFirst ? 1 : 0;
    const V32 own = LoadVector(samples);
    // The chroma of the sample before, as lower bytes.
    const V32 before = LoadVector(samples - 4 + index);
    const auto rounding = [bias](int value, int shift) {
      return static_cast<std::uint16_t>(value - (bias << shift));
    };
    const V16 most = WeighByte<index, 3>(own) + rounding(2, rightShift);
    if constexpr (Format::inPlace)
      left = WeighByte<index, 13>(own) + WeighByte<0, 3>(before) + rounding(10, leftShift);
    else
      left = most + WeighByte<0, 1>(before);
    right = most + WeighByte<index, 1>(LoadVector(samples + 4));
  }

  V16 left;
  V16 right;
};

inline void GrayToYuv(Byte* __restrict target, const Byte* __restrict source, std::size_t count) {
  ForRange<bytesPerVector>(
      0, count,
      [=](std::size_t i) {
        const auto gray = (V8)InOrder(LoadVector(source + i));
        StorePixels(target + 4 * i, InterleaveLow(gray, V8{} + 128), V16{} + 128);
        StorePixels(target + 4 * i + 2 * bytesPerVector, InterleaveHigh(gray, V8{} + 128),
                    V16{} + 128);
      },
      [=](std::size_t i) { StorePixel(target + 4 * i, source[i] | 0x808000U); });
}

inline void RgbToYuv(Byte* __restrict target, const Byte* __restrict source, std::size_t count) {
  ForRange<wordsPerVector>(
      0, count,
      [=](std::size_t i) {
        const RgbTerms rgb(LoadVector(source + 4 * i));
        StorePixels(target + 4 * i, rgb.Luma() | (rgb.U() & 0xff00U) | (rgb.V() << 8 & 0xff0000U));
      },
      [=](std::size_t i) { StorePixel(target + 4 * i, YuvOfRgb(Load(source + 4 * i))); });
}

template <class Format>
void PairsToYuv(Byte* __restrict target, const Byte* __restrict source, std::size_t count) {
  ForInnerRange(
      count,
      [=](std::size_t i) {
        const V16 luma = LumaOf<Format>(LoadVector(source + 4 * i));
        const BlendedChroma<Format> chroma(source + 4 * i);
        const auto spread = (V16)Pairs(256, 1);
        const V32 left = ((V32)luma & 0xffff) | (V32)((chroma.left >> chroma.leftShift) * spread);
        const V32 right = (V32)luma >> 16 | (V32)((chroma.right >> chroma.rightShift) * spread);
        StorePixels(target + 8 * i,
                    InOrder(InterleaveLow(left, right), InterleaveHigh(left, right)));
      },
      [=](std::size_t i) {
        StorePixel(target + 8 * i, LeftPixel<Format>(source, i));
        StorePixel(target + 8 * i + 4, RightPixel<Format>(source, i, count));
      });
}

}  // namespace

}  // namespace ztlib

#endif
