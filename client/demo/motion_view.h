#pragma once

#include "client/demo/html_report.h"
#include "client/demo/moment.h"
#include "client/motion_events.h"
#include "client/motion_overlay.h"

#include <cstdint>
#include <string>
#include <vector>

// Watches the pictures of a video for motion and shows what was found.
class CMotionView {
 public:
  // `title` tells what is watched.
  CMotionView(CMomentMaker& momentMaker, CMotionSettings settings, std::string title);

  void Add(const AVFrame& picture, std::int64_t timeMs);
  [[nodiscard]] CMotionReport Finish();

 private:
  // Puts the strongest picture of the alarm that has ended to the others.
  void Keep();

  CMomentMaker& pictures;
  CMotionWatch watch;
  CMotionOverlay overlay;
  CMotionEvents events;
  CMotionReport report;
  FramePtr strongest;  // of the present alarm
  std::int64_t lastMs = 0;
};
