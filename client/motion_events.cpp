#include "client/motion_events.h"

#include "client/text.h"

#include <cinttypes>
#include <numeric>

void CMotionEvents::Add(const ztlib::MotionResult& result, std::int64_t timeMs) {
  const bool isOpen = !events.empty() && events.back().isOpen;
  if (isOpen) {
    events.back().endMs = timeMs;
    events.back().isOpen = result.isSignal;
  } else if (result.isSignal) {
    events.emplace_back();
    events.back().startMs = events.back().endMs = timeMs;
  }
  if (!result.isSignal) return;
  CMotionEvent& event = events.back();
  ++event.frames;
  event.percentSum += result.detectPercent;
  if (event.frames > 1 && result.detectPercent <= event.highestPercent) return;
  event.highestPercent = result.detectPercent;
  event.highestMs = timeMs;
}

std::int64_t CMotionEvents::LengthMs() const {
  return std::accumulate(
      events.begin(), events.end(), std::int64_t{0},
      [](std::int64_t sum, const CMotionEvent& event) { return sum + event.LengthMs(); });
}

std::string TimeText(std::int64_t ms) {
  const std::int64_t hundredths = (ms + 5) / 10;
  const std::int64_t minutes = hundredths / 6000, rest = hundredths % 6000;
  const std::string seconds = Text("%02" PRId64 ".%02" PRId64, rest / 100, rest % 100);
  if (minutes < 60) return Text("%" PRId64 ":", minutes) + seconds;
  return Text("%" PRId64 ":%02" PRId64 ":", minutes / 60, minutes % 60) + seconds;
}
