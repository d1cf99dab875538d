#pragma once

#include "main/lib/alarm_mgr/a_alarm_detector_video.h"
#include "main/lib/imgproc/image_cache.h"
#include "main/lib/vca/old_vca_utils/simple_motion.h"
#include "main/target/windll/image/ztimage.h"

#include <cstdint>
#include <span>
#include <vector>

namespace ztlib {

// Motion detection on a client's images: one detector, one image cache and one analysis, wired as
// they are in a camera. No pointer to an image outlives the call that brought it. One thread at a
// time.
class CSimpleMotionContext : public AAlarmDetectorVideo, public IAlarmNotifyReceiver {
 public:
  CSimpleMotionContext();

  // Applies a configuration for images of that size in pixels. That it was bad shows in the log
  // and in frames without a result.
  void ConfigureFor(const CData& tree, int width, int height);

  struct Found {
    bool signal;
    std::span<const std::uint8_t> result;  // tagged form; until the next call
  };
  // Samples of an image that is not gray are taken as bytes of gray, rows a multiple of 4 of them
  // apart. Throws "Using null-pointer" for an empty image.
  Found Detect(const CZTImage& image, std::int64_t msSince1601);

  CResultRecord VirtualConfigure() override;

  void OnSignal(const CData&) override {}
  void OnRestore(const CData&) override {}
  void OnState(const CData&) override {}
  void OnEvent(const CData&) override {}

 private:
  class FrameInCache;
  // The image where it lies or, if it is not gray and too short, a copy that reaches as far as the
  // rows do.
  [[nodiscard]] GrayView PlaneOf(const CZTImage& image);

  CImageDataCache imageCache;
  CVCASimpleMotion analysis;
  AAlarmDetectorVideoConfiguration configuration;
  // Kept from frame to frame, so that a stream of frames needs no memory.
  std::vector<std::uint8_t> staging;
  std::vector<std::uint8_t> output;
};

}  // namespace ztlib
