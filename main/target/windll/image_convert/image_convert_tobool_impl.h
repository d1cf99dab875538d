#pragma once

#include "main/target/windll/image_convert/image_convert_rows.h"

inline void Convert(BoolImageView& target, const GrayImageView& source) {
  ConvertRows(target, source, KernelsFor<RowKernels>().grayToBool);
}
