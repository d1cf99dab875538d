#pragma once

#include "client/av.h"
#include "client/motion_result.h"
#include "client/motion_settings.h"
#include "client/scaler.h"
#include "client/statistics.h"

#include <cstdint>
#include <vector>

// Looks for motion in pictures of any size with the library's detectors. They get gray planes of
// one size, that of the first picture or smaller: motion needs few pixels, and costs what they
// cost.
class CMotionWatch {
 public:
  // `maxWidth` is that of the planes.
  CMotionWatch(CMotionSettings motionSettings, int maxWidth);

  // `timeMs` counts from any start. The result is valid until the next call.
  const ztlib::MotionResult& Look(const AVFrame& picture, std::int64_t timeMs);

  [[nodiscard]] const CMotionSettings& Settings() const { return settings; }
  // Of the planes; 0 before the first picture.
  [[nodiscard]] int Width() const { return width; }
  [[nodiscard]] int Height() const { return height; }
  // The pixels that count for each detector.
  [[nodiscard]] const std::vector<std::vector<bool>>& Counted() const { return counted; }

  CStage detect{"detect motion"};

 private:
  void Open(const AVFrame& first);

  CMotionSettings settings;
  int maxWidth;
  ztlib::Motion motion;
  int width = 0, height = 0;
  std::vector<std::vector<bool>> counted;
  CScaler scaler;
  ztlib::MotionResult result;
};
