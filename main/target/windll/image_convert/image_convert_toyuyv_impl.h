#pragma once

#include "main/target/windll/image_convert/image_convert_rows.h"

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
// Throws if the source is smaller than 4 by 4, has an odd width, or a picture is not aligned to 4.
void Convert(YuyvImageView& target, const BayerImageView& source);
// Asks the frame manager for a picture in between: its border, which is not written, shows.
void Convert(YuyvImageView& target, const BayerBlockImageView& source);
void Convert(YuyvImageView& target, const Yuv420ImageView& source);
