#pragma once

#include "main/target/windll/image_convert/image_convert_rows.h"

inline void Convert(GrayView& target, const BoolView& source) {
  ConvertRows(target, source, Rows().boolToGray);
}
inline void Convert(GrayView& target, const RgbView& source) {
  ConvertRows(target, source, Rows().rgbToGray);
}
inline void Convert(GrayView& target, const YuvView& source) {
  ConvertRows(target, source, Rows().yuvToGray);
}
inline void Convert(GrayView& target, const YuyvView& source) {
  ConvertRows(target, source, Rows().yuyvToGray);
}
inline void Convert(GrayView& target, const UyvyView& source) {
  ConvertRows(target, source, Rows().uyvyToGray);
}
