#pragma once

#include "client/motion_result.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

// One alarm, from its first frame to the first one without it.
struct CMotionEvent {
  std::int64_t startMs = 0, endMs = 0;
  bool isOpen = true;  // the video ended before it
  std::int64_t frames = 0;
  double percentSum = 0;
  double highestPercent = 0;
  std::int64_t highestMs = 0;

  [[nodiscard]] double MeanPercent() const { return frames ? percentSum / double(frames) : 0; }
  [[nodiscard]] std::int64_t LengthMs() const { return endMs - startMs; }
};

// Gathers the alarms of a video.
class CMotionEvents {
 public:
  void Add(const ztlib::MotionResult& result, std::int64_t timeMs);
  [[nodiscard]] std::span<const CMotionEvent> Events() const { return events; }
  // All alarms together.
  [[nodiscard]] std::int64_t LengthMs() const;

 private:
  std::vector<CMotionEvent> events;
};

// "0:07.20", "1:02:03.00".
[[nodiscard]] std::string TimeText(std::int64_t ms);
