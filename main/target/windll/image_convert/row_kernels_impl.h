#pragma once

#include "main/target/windll/image_convert/row_kernels_variants.h"

#include <cstring>

// Included once by the source of each instruction set. Nothing here may have external linkage and
// no header with inline functions may be included: the linker would merge code of both sets.
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

inline int Clamp(int value) {
  return value < 0 ? 0 : value > 255 ? 255 : value;
}

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
inline Word RgbOfYuv(Word yuv) {
  const int y = ByteOf(yuv, 0) * 256;
  const int u = ByteOf(yuv, 1) - 128;
  const int v = ByteOf(yuv, 2) - 128;
  return Pack(Clamp((y + u * 454) >> 8), Clamp((y + u * -88 + v * -183) >> 8),
              Clamp((y + v * 359) >> 8));
}

// A packed sample as Y0, U, Y1, V, whatever the byte order of its format.
struct Yuyv {
  static constexpr bool inPlace = false;
  static Word ToSample(Word sample) { return sample; }
};
struct Uyvy {
  static constexpr bool inPlace = true;
  static Word ToSample(Word sample) {
    return (sample << 8 & 0xff00ff00U) | (sample >> 8 & 0x00ff00ffU);
  }
};

inline Word YuyvOfYuv(Word left, Word right) {
  return Pack(ByteOf(left, 0), (ByteOf(left, 1) + ByteOf(right, 1) + 1) >> 1, ByteOf(right, 0),
              (ByteOf(left, 2) + ByteOf(right, 2) + 1) >> 1);
}

// Chroma of the pixel that is three quarters in one sample and one quarter in the next.
inline int Blend(int near, int far) {
  return (3 * near + far + 2) >> 2;
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

void BoolToGray(Byte* __restrict target, const Byte* __restrict source, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i)
    target[i] = static_cast<Byte>(-source[i]);
}
void BoolToRgb(Byte* __restrict target, const Byte* __restrict source, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i)
    StorePixel(target + 4 * i, static_cast<Byte>(-source[i]) * 0x010101U);
}
void GrayToBool(Byte* __restrict target, const Byte* __restrict source, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i)
    target[i] = source[i] != 0;
}
void GrayToRgb(Byte* __restrict target, const Byte* __restrict source, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i)
    StorePixel(target + 4 * i, source[i] * 0x010101U);
}
void GrayToYuv(Byte* __restrict target, const Byte* __restrict source, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i)
    StorePixel(target + 4 * i, source[i] | 0x808000U);
}
void RgbToGray(Byte* __restrict target, const Byte* __restrict source, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i)
    target[i] = static_cast<Byte>(LumaOfRgb(Load(source + 4 * i)));
}
void RgbToYuv(Byte* __restrict target, const Byte* __restrict source, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i)
    StorePixel(target + 4 * i, YuvOfRgb(Load(source + 4 * i)));
}
void YuvToGray(Byte* __restrict target, const Byte* __restrict source, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i)
    target[i] = source[4 * i];
}
void YuvToRgb(Byte* __restrict target, const Byte* __restrict source, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i)
    StorePixel(target + 4 * i, RgbOfYuv(Load(source + 4 * i)));
}

template <class Format>
void GrayToPairs(Byte* __restrict target, const Byte* __restrict source, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i)
    Store(target + 4 * i, Format::ToSample(Pack(source[2 * i], 128, source[2 * i + 1], 128)));
}
template <class Format>
void YuvToPairs(Byte* __restrict target, const Byte* __restrict source, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i)
    Store(target + 4 * i,
          Format::ToSample(YuyvOfYuv(Load(source + 8 * i), Load(source + 8 * i + 4))));
}
template <class Format>
void RgbToPairs(Byte* __restrict target, const Byte* __restrict source, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i)
    Store(target + 4 * i, Format::ToSample(YuyvOfYuv(YuvOfRgb(Load(source + 8 * i)),
                                                     YuvOfRgb(Load(source + 8 * i + 4)))));
}
template <class Format>
void PairsToGray(Byte* __restrict target, const Byte* __restrict source, std::size_t count) {
  constexpr int luma = Format::inPlace ? 1 : 0;
  for (std::size_t i = 0; i < 2 * count; ++i)
    target[i] = source[2 * i + luma];
}
template <class Format>
void PairsToYuv(Byte* __restrict target, const Byte* __restrict source, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    StorePixel(target + 8 * i, LeftPixel<Format>(source, i));
    StorePixel(target + 8 * i + 4, RightPixel<Format>(source, i, count));
  }
}
template <class Format>
void PairsToRgb(Byte* __restrict target, const Byte* __restrict source, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    StorePixel(target + 8 * i, RgbOfYuv(LeftPixel<Format>(source, i)));
    StorePixel(target + 8 * i + 4, RgbOfYuv(RightPixel<Format>(source, i, count)));
  }
}
void YuyvToUyvy(Byte* __restrict target, const Byte* __restrict source, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i)
    Store(target + 4 * i, Uyvy::ToSample(Load(source + 4 * i)));
}
// Not the way back: it leads over the chroma of single pixels.
void UyvyToYuyv(Byte* __restrict target, const Byte* __restrict source, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i)
    Store(target + 4 * i,
          YuyvOfYuv(LeftPixel<Uyvy>(source, i), RightPixel<Uyvy>(source, i, count)));
}

constexpr RowKernels rowKernels = {
    .boolToGray = BoolToGray,
    .boolToRgb = BoolToRgb,
    .grayToBool = GrayToBool,
    .grayToRgb = GrayToRgb,
    .grayToYuv = GrayToYuv,
    .grayToYuyv = GrayToPairs<Yuyv>,
    .grayToUyvy = GrayToPairs<Uyvy>,
    .rgbToGray = RgbToGray,
    .rgbToYuv = RgbToYuv,
    .rgbToYuyv = RgbToPairs<Yuyv>,
    .rgbToUyvy = RgbToPairs<Uyvy>,
    .yuvToGray = YuvToGray,
    .yuvToRgb = YuvToRgb,
    .yuvToYuyv = YuvToPairs<Yuyv>,
    .yuvToUyvy = YuvToPairs<Uyvy>,
    .yuyvToGray = PairsToGray<Yuyv>,
    .yuyvToRgb = PairsToRgb<Yuyv>,
    .yuyvToYuv = PairsToYuv<Yuyv>,
    .yuyvToUyvy = YuyvToUyvy,
    .uyvyToGray = PairsToGray<Uyvy>,
    .uyvyToRgb = PairsToRgb<Uyvy>,
    .uyvyToYuv = PairsToYuv<Uyvy>,
    .uyvyToYuyv = UyvyToYuyv,
};

}  // namespace
