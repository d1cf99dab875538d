#pragma once

#include "client/canvas.h"
#include "client/frame.h"
#include "client/motion_watch.h"

#include <optional>

// Shows on a picture what was found in it: polygons outlined, moving pixels tinted, those outside
// of every polygon faintly, a frame around the picture in an alarm.
class CMotionOverlay {
 public:
  // The picture as ZTLIB_RGB, valid until the next call. `watch` has just looked at it.
  [[nodiscard]] const AVFrame& Draw(const AVFrame& picture, const CMotionWatch& watch,
                                    const ztlib::MotionResult& result);

 private:
  void Outline(const CMotionSettings& settings, int width, int height);

  CScaler scaler;
  PoolFramePtr shown;
  // The outlines alone; how much of a pixel they cover is its glow.
  std::optional<CCanvas> lines;
};
