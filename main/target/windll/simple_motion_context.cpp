#include "main/target/windll/simple_motion_context.h"

#include "main/lib/base/debug.h"

#include <algorithm>

namespace ztlib {

namespace {
constexpr char source[] = "main/target/windll/simple_motion_context";
}

// The image as the frame of the cache, for a scope.
class CSimpleMotionContext::FrameInCache {
 public:
  FrameInCache(CSimpleMotionContext& context, const CZTImage& image, std::int64_t msSince1601)
      : cache(context.imageCache) {
    (void)Get<CTimestamper>();  // counts among the components that are in use
    const GrayView plane = context.PlaneOf(image);
    FrameRecord record;
    record.time = CTimestamper::FromClientTime(msSince1601);
    record.width = plane.width;
    record.height = plane.height;
    record.luma = plane.data;
    record.stride = plane.stride;
    cache.SetFrame(record);
  }
  ~FrameInCache() { cache.DropFrame(); }
  FrameInCache(const FrameInCache&) = delete;
  FrameInCache& operator=(const FrameInCache&) = delete;

 private:
  CImageDataCache& cache;
};

CSimpleMotionContext::CSimpleMotionContext()
    : AAlarmDetectorVideo(&configuration, this, &analysis), analysis(this, &imageCache) {}

void CSimpleMotionContext::ConfigureFor(const CData& tree, int width, int height) {
  CZTImage blank;
  blank.CreateBySizeInPixels(PixelFormat::GRAY, width, height);
  const FrameInCache frame(*this, blank, 0);
  Configure(tree, false);
}

CSimpleMotionContext::Found CSimpleMotionContext::Detect(const CZTImage& image,
                                                         std::int64_t msSince1601) {
  const FrameInCache frame(*this, image, msSince1601);
  if (!analysis.Detect(output).Succeeded()) output.assign(1, 0);  // no elements
  return {analysis.anySignal, output};
}

// The analysis has been configured on its own already; once more would build all detectors twice.
CResultRecord CSimpleMotionContext::VirtualConfigure() {
  return {};
}

GrayView CSimpleMotionContext::PlaneOf(const CZTImage& image) {
  GrayView plane{image.GetDx(), image.GetDy()};
  if (plane.width < 0 || plane.height < 0)
    ZT_THROW(CException, "Invalid range", "Feed", source, 60);
  if (plane.width == 0 || plane.height == 0) return plane;
  plane.data = image.GetPtrAs<std::uint8_t>();
  if (!plane.data) ZT_THROW(CException, "Using null-pointer", "Feed", source, 63);
  if (image.GetPixelFormat() == PixelFormat::GRAY) {
    plane.stride = image.GetView<TTGray<unsigned char>>().PlaneStride();
    return plane;
  }
  plane.stride = (plane.width + 3) / 4 * 4;
  const std::int64_t lastRow = plane.height - 1;
  const std::int64_t need = lastRow * plane.stride + plane.width;
  const std::int64_t have = lastRow * image.GetScanlineSize() + plane.width * image.GetSampleSize();
  if (need <= have) return plane;
  staging.resize(static_cast<std::size_t>(need));
  std::fill(std::copy_n(plane.data, have, staging.begin()), staging.end(), std::uint8_t{0});
  plane.data = staging.data();
  return plane;
}

}  // namespace ztlib
