#pragma once

#include "main/target/windll/image_convert/image_convert_rows.h"

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
// Leaves a border of one pixel.
void Convert(RgbImageView& target, const BayerImageView& source);
void Convert(RgbImageView& target, const BayerBlockImageView& source);
void Convert(RgbImageView& target, const Yuv420ImageView& source);
