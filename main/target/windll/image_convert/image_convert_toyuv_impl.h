#pragma once

#include "main/target/windll/image_convert/image_convert_rows.h"

inline void Convert(YuvImageView& target, const GrayImageView& source) {
  ConvertRows(target, source, Rows().grayToYuv);
}
inline void Convert(YuvImageView& target, const RgbImageView& source) {
  ConvertRows(target, source, Rows().rgbToYuv);
}
inline void Convert(YuvImageView& target, const YuyvImageView& source) {
  ConvertRows(target, source, Rows().yuyvToYuv);
}
inline void Convert(YuvImageView& target, const UyvyImageView& source) {
  ConvertRows(target, source, Rows().uyvyToYuv);
}
// Leaves a border of two pixels.
void Convert(YuvImageView& target, const BayerBlockImageView& source);
// Smooths chroma across the tiles.
void Convert(YuvImageView& target, const Yuv420ImageView& source);
// The same with every tile alone, as it becomes RGB.
void ConvertTilesAlone(YuvImageView& target, const Yuv420ImageView& source);
