#pragma once

#include "main/target/windll/image_convert/image_convert_rows.h"

inline void Convert(YuyvView& target, const GrayView& source) {
  ConvertRows(target, source, Rows().grayToYuyv);
}
inline void Convert(YuyvView& target, const RgbView& source) {
  ConvertRows(target, source, Rows().rgbToYuyv);
}
inline void Convert(YuyvView& target, const YuvView& source) {
  ConvertRows(target, source, Rows().yuvToYuyv);
}
inline void Convert(YuyvView& target, const UyvyView& source) {
  ConvertRows(target, source, Rows().uyvyToYuyv);
}
