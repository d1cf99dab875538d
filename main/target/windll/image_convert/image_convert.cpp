#include "main/target/windll/image_convert/image_convert.h"

#include "main/lib/base/debug.h"

void RefuseConversion(PixelFormat, PixelFormat) {
  ZT_THROW(CException, "Wrong format", "ConvertToNew", "main/target/windll/image/ztimage_impl",
           __LINE__);
}
