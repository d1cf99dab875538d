// Watches the left and the right half of a recording: motion_areas IN.zts
#include "recording.hpp"

#include <cstdio>

// Motion detectors look at gray pictures, and differential video has none: this takes the luma.
static ztlib::Image Luma(const ztlib::Frame& yuv) {
  auto gray = ztlib::FramePool::New(yuv.width, yuv.height, ZTLIB_GRAY);
  for (std::size_t i = 0; i < gray->size; ++i)
    gray->data[0][i] = yuv.data[0][4 * i];
  return {ZTLIB_GRAY, std::move(gray)};
}

int main(int count, char** arguments) try {
  if (count != 2) throw std::runtime_error("motion_areas IN.zts");
  const ztlib::Session session;
  Recording recording(arguments[1]);
  ztlib::Decoder decoder({ZTLIB_YUV, 2});  // half the size costs a quarter
  ztlib::Motion motion;
  ztlib::MotionSettings settings;
  // On both axes 16384 units are the width of the picture.
  settings.areas.resize(2);
  settings.areas[0].polygons = {{{0, 0}, {8192, 0}, {8192, 16384}, {0, 16384}}};
  settings.areas[1].polygons = {{{8192, 0}, {16384, 0}, {16384, 16384}, {8192, 16384}}};
  settings.areas[1].motionPercent = 0.5;

  ztlib::Bytes frame;
  ztlib::MotionResult result;
  bool isConfigured = false, wasSignal = false;
  for (std::int64_t number = 0; recording.Next(frame); ++number) {
    const ztlib::Frame& picture = decoder.Decode(frame).FrameAs();
    if (!isConfigured) motion.Configure(settings, picture.width, picture.height);
    isConfigured = true;
    const bool isSignal = motion.Detect(Luma(picture), number * 40, result);  // 25 a second
    if (isSignal && !wasSignal)
      std::printf("frame %lld: motion, %.2f %% of the picture left, %.2f %% right\n",
                  static_cast<long long>(number), result.areas[0].detectPercent,
                  result.areas[1].detectPercent);
    if (!isSignal && wasSignal) std::printf("frame %lld: still\n", static_cast<long long>(number));
    wasSignal = isSignal;
  }
} catch (const std::exception& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return 1;
}
