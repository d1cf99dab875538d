#include "include/ztlib.h"
#include "main/lib/base/debug.h"
#include "main/lib/base/pixel_format.h"
#include "main/lib/imgproc/scale_down_choice.h"
#include "main/lib/imgproc/virtual_coordinates.h"
#include "main/target/windll/call_guard.h"

namespace {
constexpr char source[] = "main/target/windll/imgproc_api";
}

int32_t ztlib_getPixelXByVirtualX(int32_t virtualX, int32_t width) {
  return PixelByVirtual(virtualX, width);
}

int32_t ztlib_getPixelYByVirtualY(int32_t virtualY, int32_t height) {
  return PixelByVirtual(virtualY, height);
}

int32_t ztlib_getVirtualXByPixelX(int32_t pixelX, int32_t width) {
  return VirtualByPixel(pixelX, width);
}

int32_t ztlib_getVirtualYByPixelY(int32_t pixelY, int32_t height) {
  return VirtualByPixel(pixelY, height);
}

int32_t ztlib_getScaleDownByPixel1(int32_t target, int32_t width, int32_t height) {
  const FloatingPointGuard guard;
  return width >= height ? ChooseScaleDown(target, width, height)
                         : ChooseScaleDown(target, height, width);
}

int32_t ztlib_getScaleDownByPixel3(int32_t target, int32_t format, int32_t width, int32_t height) {
  return GuardedCall({"ztlib_getScaleDownByPixel3", source, 78}, 0, [&] {
    const int sampleDx = GetSampleDx(PixelFormat{format});
    const int sampleDy = GetSampleDy(PixelFormat{format});
    if (sampleDx == 0 || sampleDy == 0)
      ZT_THROW(CException, "Invalid range", "ztlib_getScaleDownByPixel3", source, __LINE__);
    if (width % sampleDx != 0 || height % sampleDy != 0) return 0;
    const int dx = width / sampleDx;
    const int dy = height / sampleDy;
    // Which side leads is told in pixels, the choice is made in samples.
    return width >= height ? ChooseScaleDown(target / sampleDx, dx, dy)
                           : ChooseScaleDown(target / sampleDy, dy, dx);
  });
}
