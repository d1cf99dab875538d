#include "include/ztlib.h"
#include "main/lib/base/pixel_format.h"
#include "main/lib/calib/triangulation.h"
#include "main/lib/imgproc/virtual_coordinates.h"
#include "main/target/windll/client_pointers.h"

#include <new>

using namespace ztlib;

namespace {

constexpr char source[] = "main/target/windll/imgproc_api";

// The power of two that brings `lead`, the larger side of a picture, closest to `target`, limited
// by how often both sides halve evenly. An exact middle stays on the smaller picture. 0 if a size
// is not positive.
std::int32_t ChooseScaleDown(std::int64_t target, std::int64_t lead, std::int64_t other) {
  if (target <= 0 || lead <= 0 || other <= 0) return 0;
  if (lead < target) return 1;
  std::int32_t factor = 1;
  while (lead > target && lead % 2 == 0 && other % 2 == 0) {
    lead /= 2;
    other /= 2;
    factor *= 2;
  }
  return target - lead <= 2 * lead - target ? factor : factor / 2;
}

}  // namespace

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
      ZT_THROW(CException, "Invalid range", "ztlib_getScaleDownByPixel3", source, 43);
    if (width % sampleDx != 0 || height % sampleDy != 0) return 0;
    const int dx = width / sampleDx;
    const int dy = height / sampleDy;
    // Which side leads is told in pixels, the choice is made in samples.
    return width >= height ? ChooseScaleDown(target / sampleDx, dx, dy)
                           : ChooseScaleDown(target / sampleDy, dy, dx);
  });
}

void* ztlib_triangulation_create() {
  const FloatingPointGuard guard;
  return new (std::nothrow) CTriangulation;
}

void ztlib_triangulation_destroy(void* handle) {
  const FloatingPointGuard guard;
  delete static_cast<CTriangulation*>(handle);
}

void ztlib_triangulation_init(void* handle, int32_t x0, int32_t y0, int32_t x1, int32_t y1,
                              int32_t dimensions) {
  constexpr ExportSite site{"ztlib_triangulation_init", source, 107};
  GuardedCall(site, [&] { Deref<CTriangulation>(handle, site).Init(x0, y0, x1, y1, dimensions); });
}

void ztlib_triangulation_addPoint(void* handle, int32_t x, int32_t y, const float* values,
                                  int32_t count) {
  constexpr ExportSite site{"ztlib_triangulation_addPoint", source, 126};
  GuardedCall(site, [&] { Deref<CTriangulation>(handle, site).AddPoint(x, y, values, count); });
}

void ztlib_triangulation_finalize(void* handle) {
  constexpr ExportSite site{"ztlib_triangulation_finalize", source, 136};
  GuardedCall(site, [&] { Deref<CTriangulation>(handle, site).Finalize(); });
}

void ztlib_triangulation_estimate(void* handle, int32_t x, int32_t y, float* out, int32_t count) {
  constexpr ExportSite site{"ztlib_triangulation_estimate", source, 161};
  GuardedCall(site, [&] { Deref<CTriangulation>(handle, site).Estimate(x, y, out, count); });
}
