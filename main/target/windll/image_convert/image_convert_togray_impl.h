#pragma once

// What becomes GRAY: the overloads, and the arithmetic of a row, which row_kernels.cpp compiles for
// every instruction set.
#if !defined(ZTLIB_INSTRUCTION_SET)

#include "main/target/windll/image_convert/image_convert_rows.h"

namespace ztlib {

inline void Convert(GrayImageView& target, const BoolImageView& source) {
  ConvertRows(target, source, KernelsFor<RowKernels>().boolToGray);
}
inline void Convert(GrayImageView& target, const RgbImageView& source) {
  ConvertRows(target, source, KernelsFor<RowKernels>().rgbToGray);
}
inline void Convert(GrayImageView& target, const YuvImageView& source) {
  ConvertRows(target, source, KernelsFor<RowKernels>().yuvToGray);
}
inline void Convert(GrayImageView& target, const YuyvImageView& source) {
  ConvertRows(target, source, KernelsFor<RowKernels>().yuyvToGray);
}
inline void Convert(GrayImageView& target, const UyvyImageView& source) {
  ConvertRows(target, source, KernelsFor<RowKernels>().uyvyToGray);
}

}  // namespace ztlib

#else

#include "main/target/windll/image_convert/image_convert_toyuv_impl.h"

namespace ztlib {

namespace {

inline void BoolToGray(Byte* __restrict target, const Byte* __restrict source, std::size_t count) {
  ForRange<bytesPerVector>(
      0, count, [=](std::size_t i) { StoreVector(target + i, (V32) - (V8)LoadVector(source + i)); },
      [=](std::size_t i) { target[i] = static_cast<Byte>(-source[i]); });
}

inline void RgbToGray(Byte* __restrict target, const Byte* __restrict source, std::size_t count) {
  ForRange<bytesPerVector>(
      0, count,
      [=](std::size_t i) {
        const auto luma = [=](std::size_t part) {
          return RgbTerms(LoadVector(source + 4 * i + part * bytesPerVector)).Luma();
        };
        StoreVector(target + i, PackWordsToBytes(luma(0), luma(1), luma(2), luma(3)));
      },
      [=](std::size_t i) { target[i] = static_cast<Byte>(LumaOfRgb(Load(source + 4 * i))); });
}

inline void YuvToGray(Byte* __restrict target, const Byte* __restrict source, std::size_t count) {
  ForRange<bytesPerVector>(
      0, count,
      [=](std::size_t i) {
        const auto luma = [=](std::size_t part) {
          return LoadVector(source + 4 * i + part * bytesPerVector) & 0xff;
        };
        StoreVector(target + i, PackWordsToBytes(luma(0), luma(1), luma(2), luma(3)));
      },
      [=](std::size_t i) { target[i] = source[4 * i]; });
}

template <class Format>
void PairsToGray(Byte* __restrict target, const Byte* __restrict source, std::size_t count) {
  constexpr int luma = Format::lumaFirst ? 0 : 1;
  ForRange<bytesPerVector / 2>(
      0, count,
      [=](std::size_t i) {
        const V16 first = LumaOf<Format>(LoadVector(source + 4 * i));
        const V16 second = LumaOf<Format>(LoadVector(source + 4 * i + bytesPerVector));
        StoreVector(target + 2 * i, InOrder((V32)PackToBytes((S16)first, (S16)second)));
      },
      [=](std::size_t i) {
        target[2 * i] = source[4 * i + luma];
        target[2 * i + 1] = source[4 * i + luma + 2];
      });
}

}  // namespace

}  // namespace ztlib

#endif
