#pragma once

#include "main/target/windll/image_convert/image_convert_rows.h"

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
void Convert(UyvyImageView& target, const Yuv420ImageView& source);
