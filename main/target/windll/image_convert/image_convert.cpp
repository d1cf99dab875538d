#include "main/target/windll/image_convert/image_convert.h"

#include "main/lib/base/debug.h"

#include <array>

namespace ztlib {

#define ZT_HEADER(target) "main/target/windll/image_convert/image_convert_to" target "_impl"

void RefuseConversion(PixelFormat source, PixelFormat target) {
  // By target format; no header converts to the two sensor formats.
  constexpr std::array<const char*, pixelFormatCount> headers = {
      ZT_HEADER("bool"), ZT_HEADER("gray"), ZT_HEADER("rgb"),
      ZT_HEADER("yuv"),  ZT_HEADER("yuyv"), ZT_HEADER("uyvy"),
      nullptr,           nullptr,           ZT_HEADER("yuv420block")};
  // The way from a sensor image to blocks would lead over YUV and ends there.
  if (source == PixelFormat::RGBBAYER && target == PixelFormat::YUV420BLOCK)
    target = PixelFormat::YUV;
  const char* const header = headers[static_cast<std::size_t>(target)];
  if (header) ZT_THROW(CException, "Wrong format", "Convert", header, 19);
  ZT_THROW(CException, "Wrong format", "ConvertToNew", "main/target/windll/image/ztimage_impl", 21);
}

}  // namespace ztlib
