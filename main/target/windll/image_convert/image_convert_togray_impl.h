#pragma once

#include "main/target/windll/image_convert/image_convert_rows.h"

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
// Leaves a border of two pixels.
void Convert(GrayImageView& target, const BayerBlockImageView& source);
void Convert(GrayImageView& target, const Yuv420ImageView& source);
