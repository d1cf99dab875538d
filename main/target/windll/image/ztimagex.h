#pragma once

#include "main/lib/base/cdata/HAData.h"
#include "main/target/windll/image/ztimage.h"

namespace ztlib {

// Appends an image in the image memory format to a tree. A packed image must be gray and is written
// as a BOOL8 one whose pixels are 1 where the gray value is not 0.
void ToCData(CData& list, Token token, const CZTImage* image, bool packed);

}  // namespace ztlib
