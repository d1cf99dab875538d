#pragma once

#include "main/target/windll/image_convert/row_vectors.h"

// What the kernels of this folder share: single pixels as words, and the loops and stores around
// registers of them. For the sources of kernels only.
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

inline Word YuyvOfYuv(Word left, Word right) {
  return Pack(ByteOf(left, 0), (ByteOf(left, 1) + ByteOf(right, 1) + 1) >> 1, ByteOf(right, 0),
              (ByteOf(left, 2) + ByteOf(right, 2) + 1) >> 1);
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

constexpr std::size_t bytesPerVector = sizeof(Vector);
constexpr std::size_t wordsPerVector = sizeof(Vector) / 4;

inline void StorePixels(Byte* p, V32 pixels) {
  StoreVector(p, JoinFourthBytes(pixels, LoadVector(p)));
}
inline void StorePixels(Byte* p, TwoVectors pixels) {
  StorePixels(p, pixels.first);
  StorePixels(p + bytesPerVector, pixels.second);
}
// Pixels that were interleaved within each 128 bits: there the first half of the bits has one run
// of 16 pixels, the second half the next. `first` are their left eights, `second` their right ones.
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
// Pixels whose halves are apart.
inline void StorePixels(Byte* p, V16 low, V16 high) {
  StorePixels(p, InOrder(InterleaveLow(low, high), InterleaveHigh(low, high)));
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

}  // namespace
