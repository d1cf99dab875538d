#pragma once

// What becomes YUYV: the overloads, and the arithmetic of a row, which row_kernels.cpp compiles for
// every instruction set.
#if !defined(ZTLIB_INSTRUCTION_SET)

#include "main/target/windll/image_convert/image_convert_rows.h"

namespace ztlib {

inline void Convert(YuyvImageView& target, const GrayImageView& source) {
  ConvertRows(target, source, KernelsFor<RowKernels>().grayToYuyv);
}
inline void Convert(YuyvImageView& target, const RgbImageView& source) {
  ConvertRows(target, source, KernelsFor<RowKernels>().rgbToYuyv);
}
inline void Convert(YuyvImageView& target, const YuvImageView& source) {
  ConvertRows(target, source, KernelsFor<RowKernels>().yuvToYuyv);
}
inline void Convert(YuyvImageView& target, const UyvyImageView& source) {
  ConvertRows(target, source, KernelsFor<RowKernels>().uyvyToYuyv);
}

}  // namespace ztlib

#else

#include "main/target/windll/image_convert/image_convert_toyuv_impl.h"

namespace ztlib {

namespace {

inline Word YuyvOfYuv(Word left, Word right) {
  return Pack(ByteOf(left, 0), (ByteOf(left, 1) + ByteOf(right, 1) + 1) >> 1, ByteOf(right, 0),
              (ByteOf(left, 2) + ByteOf(right, 2) + 1) >> 1);
}

// Samples from luma (Y0, Y1) and chroma (U, V), 16 bits each.
template <class Format>
inline V32 Join(V16 luma, V16 chroma) {
  return (V32)(Format::lumaFirst ? luma | chroma << 8 : chroma | luma << 8);
}

// Samples from pixels, even and odd ones in separate words.
template <class Format>
inline V32 JoinPairs(V32 evenLuma, V32 oddLuma, V8 chromaU, V8 chromaV) {
  const V32 luma = evenLuma | oddLuma << 16;
  const V32 chroma = ((V32)chromaU >> 8 & 0xff) | ((V32)chromaV << 8 & 0xff0000U);
  return InOrder(Join<Format>((V16)luma, (V16)chroma));
}

template <class Format>
void GrayToPairs(Byte* __restrict target, const Byte* __restrict source, std::size_t count) {
  ForRange<bytesPerVector / 2>(
      0, count,
      [=](std::size_t i) {
        const auto gray = (V8)InOrder(LoadVector(source + 2 * i));
        StoreVector(target + 4 * i, Join<Format>(InterleaveLow(gray, V8{}), V16{} + 128));
        StoreVector(target + 4 * i + bytesPerVector,
                    Join<Format>(InterleaveHigh(gray, V8{}), V16{} + 128));
      },
      [=](std::size_t i) {
        Store(target + 4 * i, Format::ToSample(Pack(source[2 * i], 128, source[2 * i + 1], 128)));
      });
}

template <class Format>
void RgbToPairs(Byte* __restrict target, const Byte* __restrict source, std::size_t count) {
  ForRange<wordsPerVector>(
      0, count,
      [=](std::size_t i) {
        const V32 first = LoadVector(source + 8 * i);
        const V32 second = LoadVector(source + 8 * i + bytesPerVector);
        const RgbTerms even(EvenWords(first, second));
        const RgbTerms odd(OddWords(first, second));
        StoreVector(target + 4 * i,
                    JoinPairs<Format>(even.Luma(), odd.Luma(), Average((V8)even.U(), (V8)odd.U()),
                                      Average((V8)even.V(), (V8)odd.V())));
      },
      [=](std::size_t i) {
        Store(target + 4 * i, Format::ToSample(YuyvOfYuv(YuvOfRgb(Load(source + 8 * i)),
                                                         YuvOfRgb(Load(source + 8 * i + 4)))));
      });
}

template <class Format>
void YuvToPairs(Byte* __restrict target, const Byte* __restrict source, std::size_t count) {
  ForRange<wordsPerVector>(
      0, count,
      [=](std::size_t i) {
        const V32 first = LoadVector(source + 8 * i);
        const V32 second = LoadVector(source + 8 * i + bytesPerVector);
        const V32 even = EvenWords(first, second);
        const V32 odd = OddWords(first, second);
        const V8 chroma = Average((V8)even, (V8)odd);
        StoreVector(target + 4 * i,
                    JoinPairs<Format>(even & 0xff, odd & 0xff, chroma, (V8)((V32)chroma >> 8)));
      },
      [=](std::size_t i) {
        Store(target + 4 * i,
              Format::ToSample(YuyvOfYuv(Load(source + 8 * i), Load(source + 8 * i + 4))));
      });
}

// UYVY to YUYV is no mere exchange of bytes, as the other direction is: it goes over the chroma of
// single pixels.
inline void UyvyToYuyv(Byte* __restrict target, const Byte* __restrict source, std::size_t count) {
  ForInnerRange(
      count,
      [=](std::size_t i) {
        const V16 luma = LumaOf<Uyvy>(LoadVector(source + 4 * i));
        const BlendedChroma<Uyvy> chroma(source + 4 * i);
        StoreVector(target + 4 * i,
                    Join<Yuyv>(luma, (V16)Average((V8)(chroma.left >> chroma.leftShift),
                                                  (V8)(chroma.right >> chroma.rightShift))));
      },
      [=](std::size_t i) {
        Store(target + 4 * i,
              YuyvOfYuv(LeftPixel<Uyvy>(source, i), RightPixel<Uyvy>(source, i, count)));
      });
}

}  // namespace

}  // namespace ztlib

#endif
