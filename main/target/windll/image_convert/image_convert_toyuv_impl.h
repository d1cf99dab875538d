#pragma once

#include "main/target/windll/image_convert/image_convert_rows.h"

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
// Leaves a border of two pixels.
void Convert(YuvImageView& target, const BayerBlockImageView& source);
// Smooths chroma across the tiles.
void Convert(YuvImageView& target, const Yuv420ImageView& source);
// The same with every tile alone, as it becomes RGB.
void ConvertTilesAlone(YuvImageView& target, const Yuv420ImageView& source);
