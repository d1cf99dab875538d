#pragma once

#include "main/lib/imgproc/image_cache.h"
#include "main/lib/imgproc/mask.h"
#include "main/lib/vca/old_vca_utils/motion_background.h"

#include <cstdint>

namespace ztlib {

// One detection area on a gray plane: the background model, the mask, the percentage of the frame
// that moves, and the decision whether that is a signal, which waits and restores in time. What a
// frame finds goes into a tree. One thread at a time.
class CSingleSimpleMotion : public CMotionBackground {
 public:
  CSingleSimpleMotion();

  // Takes the settings of a detector for planes of that size and starts anew. A threshold that no
  // frame can reach is only logged. Throws what building the mask throws, and std::bad_alloc; the
  // detector then runs on, but finds nothing.
  bool Configure(CData item, const Size& size);

  // From pixels. Returns the percentage, 0 during the warm-up. If asked for metadata, `result` is
  // emptied and gets "Motion", "Masks" and "DetectPercent".
  float Process(CData& result, const GrayView& image, const FrameTime& time);
  // The same and the decision: true while in signal. Adds "AlarmPercent" to the metadata.
  bool ProcessAndDecide(CData& result, const GrayView& image, const FrameTime& time);

  // From the "Motion" of another device's metadata instead of pixels. A blob of an unknown form is
  // logged and is 0 percent; one too short for any bitmap throws std::out_of_range.
  float VirtualProcess(CData& result, const CData& item);
  // Adds "DetectPercent" to `result`, metadata or not.
  bool VirtualProcessAndDecide(CData& result, const CData& item, const FrameTime& time);

  // 1 never configured, 2 warming up, 3 running.
  [[nodiscard]] std::int32_t GetState() const { return state; }
  [[nodiscard]] bool IsConfigured() const { return state != notConfigured; }
  [[nodiscard]] bool IsInSignal() const { return inSignal; }
  // Percent of the way to the signal; 1 in full signal.
  [[nodiscard]] float GetProgress() const { return detectionProgress; }
  // The settings as they were given.
  [[nodiscard]] const CData& GetConfiguration() const { return configuration; }

 private:
  static constexpr std::int32_t notConfigured = 1;
  static constexpr std::int32_t warmingUp = 2;
  static constexpr std::int32_t running = 3;

  void BuildMask(const Size& size);
  void ReadThresholds();
  void WarnOfThresholds(const Size& size) const;
  // Moves the signal on with the percentage of a frame.
  void Decide(float percent, std::int64_t timeMs);
  void Leave();
  // The way to the signal `sinceMs` after its start.
  [[nodiscard]] float ProgressAfter(std::int64_t sinceMs) const;

  std::int64_t violationTimeMs = 0;
  float signalThreshold = 0;
  float restoreThreshold = 0;
  bool generateMetadata = false;
  FrameTime firstFrameTime;
  std::int32_t state = notConfigured;
  CData configuration;
  CMask mask;
  std::int32_t fullMaskArea = 0;
  float detectionProgress = 0;
  std::int64_t signalSinceMs = -1;
  std::int64_t restoreSinceMs = -1;
  bool inSignal = false;
};

}  // namespace ztlib
