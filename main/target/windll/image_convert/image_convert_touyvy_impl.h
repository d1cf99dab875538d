#pragma once

// What becomes UYVY: the overloads, and the arithmetic of a row, which row_kernels.cpp compiles for
// every instruction set.
#if !defined(ZTLIB_INSTRUCTION_SET)

#include "main/target/windll/image_convert/image_convert_rows.h"

namespace ztlib {

inline void Convert(UyvyImageView& target, const GrayImageView& source) {
  ConvertRows(target, source, KernelsFor<RowKernels>().grayToUyvy);
}
inline void Convert(UyvyImageView& target, const RgbImageView& source) {
  ConvertRows(target, source, KernelsFor<RowKernels>().rgbToUyvy);
}
inline void Convert(UyvyImageView& target, const YuvImageView& source) {
  ConvertRows(target, source, KernelsFor<RowKernels>().yuvToUyvy);
}
inline void Convert(UyvyImageView& target, const YuyvImageView& source) {
  ConvertRows(target, source, KernelsFor<RowKernels>().yuyvToUyvy);
}

}  // namespace ztlib

#else

#include "main/target/windll/image_convert/image_convert_toyuyv_impl.h"

namespace ztlib {

namespace {

inline void YuyvToUyvy(Byte* __restrict target, const Byte* __restrict source, std::size_t count) {
  ForRange<wordsPerVector>(
      0, count,
      [=](std::size_t i) {
        const auto samples = (V16)LoadVector(source + 4 * i);
        StoreVector(target + 4 * i, (V32)(samples << 8 | samples >> 8));
      },
      [=](std::size_t i) { Store(target + 4 * i, Uyvy::ToSample(Load(source + 4 * i))); });
}

}  // namespace

}  // namespace ztlib

#endif
