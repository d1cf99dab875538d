#pragma once

// What becomes BOOL8: the overloads, and the arithmetic of a row, which row_kernels.cpp compiles
// for every instruction set.
#if !defined(ZTLIB_INSTRUCTION_SET)

#include "main/target/windll/image_convert/image_convert_rows.h"

namespace ztlib {

inline void Convert(BoolImageView& target, const GrayImageView& source) {
  ConvertRows(target, source, KernelsFor<RowKernels>().grayToBool);
}

}  // namespace ztlib

#else

#include "main/target/windll/image_convert/pixel_vectors.h"

namespace ztlib {

namespace {

inline void GrayToBool(Byte* __restrict target, const Byte* __restrict source, std::size_t count) {
  ForRange<bytesPerVector>(
      0, count,
      [=](std::size_t i) {
        StoreVector(target + i, (V32)((V8)LoadVector(source + i) != 0) & 0x01010101U);
      },
      [=](std::size_t i) { target[i] = source[i] != 0; });
}

}  // namespace

}  // namespace ztlib

#endif
