#pragma once

#include "main/target/windll/image_convert/image_convert_rows.h"

inline void Convert(YuyvImageView& target, const GrayImageView& source) {
  ConvertRows(target, source, Rows().grayToYuyv);
}
inline void Convert(YuyvImageView& target, const RgbImageView& source) {
  ConvertRows(target, source, Rows().rgbToYuyv);
}
inline void Convert(YuyvImageView& target, const YuvImageView& source) {
  ConvertRows(target, source, Rows().yuvToYuyv);
}
inline void Convert(YuyvImageView& target, const UyvyImageView& source) {
  ConvertRows(target, source, Rows().uyvyToYuyv);
}
