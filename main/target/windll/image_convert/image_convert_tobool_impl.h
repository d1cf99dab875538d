#pragma once

#include "main/target/windll/image_convert/image_convert_rows.h"

inline void Convert(BoolView& target, const GrayView& source) {
  ConvertRows(target, source, Rows().grayToBool);
}
