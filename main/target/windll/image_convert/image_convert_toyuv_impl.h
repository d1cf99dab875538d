#pragma once

#include "main/target/windll/image_convert/image_convert_rows.h"

inline void Convert(YuvView& target, const GrayView& source) {
  ConvertRows(target, source, Rows().grayToYuv);
}
inline void Convert(YuvView& target, const RgbView& source) {
  ConvertRows(target, source, Rows().rgbToYuv);
}
inline void Convert(YuvView& target, const YuyvView& source) {
  ConvertRows(target, source, Rows().yuyvToYuv);
}
inline void Convert(YuvView& target, const UyvyView& source) {
  ConvertRows(target, source, Rows().uyvyToYuv);
}
