#pragma once

#include "main/target/windll/image_convert/image_convert_rows.h"

inline void Convert(RgbView& target, const BoolView& source) {
  ConvertRows(target, source, Rows().boolToRgb);
}
inline void Convert(RgbView& target, const GrayView& source) {
  ConvertRows(target, source, Rows().grayToRgb);
}
inline void Convert(RgbView& target, const YuvView& source) {
  ConvertRows(target, source, Rows().yuvToRgb);
}
inline void Convert(RgbView& target, const YuyvView& source) {
  ConvertRows(target, source, Rows().yuyvToRgb);
}
inline void Convert(RgbView& target, const UyvyView& source) {
  ConvertRows(target, source, Rows().uyvyToRgb);
}
