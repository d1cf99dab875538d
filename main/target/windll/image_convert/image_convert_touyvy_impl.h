#pragma once

#include "main/target/windll/image_convert/image_convert_rows.h"

inline void Convert(UyvyView& target, const GrayView& source) {
  ConvertRows(target, source, Rows().grayToUyvy);
}
inline void Convert(UyvyView& target, const RgbView& source) {
  ConvertRows(target, source, Rows().rgbToUyvy);
}
inline void Convert(UyvyView& target, const YuvView& source) {
  ConvertRows(target, source, Rows().yuvToUyvy);
}
inline void Convert(UyvyView& target, const YuyvView& source) {
  ConvertRows(target, source, Rows().yuyvToUyvy);
}
