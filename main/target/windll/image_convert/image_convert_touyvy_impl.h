#pragma once

#include "main/target/windll/image_convert/image_convert_rows.h"

inline void Convert(UyvyImageView& target, const GrayImageView& source) {
  ConvertRows(target, source, Rows().grayToUyvy);
}
inline void Convert(UyvyImageView& target, const RgbImageView& source) {
  ConvertRows(target, source, Rows().rgbToUyvy);
}
inline void Convert(UyvyImageView& target, const YuvImageView& source) {
  ConvertRows(target, source, Rows().yuvToUyvy);
}
inline void Convert(UyvyImageView& target, const YuyvImageView& source) {
  ConvertRows(target, source, Rows().yuyvToUyvy);
}
void Convert(UyvyImageView& target, const Yuv420ImageView& source);
