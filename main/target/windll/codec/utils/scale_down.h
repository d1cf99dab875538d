#pragma once

#include "main/lib/base/image_rw.h"

namespace ztlib {

// Fills `target` with the mean luma of squares of `factor` by `factor` pixels, truncated. The
// factor is 2, 4, 8, 16, 32 or 64; any other throws. The target holds at least source.dx * 2 /
// factor columns and source.dy / factor rows; what the source has beyond whole squares is ignored.
void ScaleDownUYVY_To_Gray(TCImageView<TTGray<unsigned char>>& target,
                           const TCImageView<TTUYVY<unsigned char>>& source, int factor);

}  // namespace ztlib
