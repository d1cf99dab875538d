#pragma once

#include "main/lib/base/byte_io.h"
#include "main/lib/imgproc/image_cache.h"
#include "main/lib/imgproc/mask.h"
#include "main/lib/vca/old_vca_utils/motion_background.h"

#include <cstdint>
#include <memory>
#include <span>

namespace ztlib {

// One detection area on a gray plane: the background model, the mask, the percentage of the frame
// that moves, and the decision whether that is a signal, which waits and restores in time. What a
// frame finds goes into a tree. One thread at a time.
class CSingleSimpleMotion : public CMotionBackground {
 public:
  CSingleSimpleMotion();

  // Takes the settings of a detector for planes of that size and starts anew, once if it shares the
  // model of one of `others`, which then come before it in every frame. A threshold that no frame
  // can reach is only logged. Throws what building the mask throws, and std::bad_alloc; the
  // detector then runs on, but finds nothing.
  bool Configure(CData item, const Size& size,
                 std::span<const std::unique_ptr<CSingleSimpleMotion>> others = {});

  // From pixels: the percentage, 0 during the warm-up, and the decision, true while in signal.
  bool ProcessAndDecide(const GrayView& image, const FrameTime& time);
  // The percentage of the last frame.
  [[nodiscard]] float GetPercent() const { return percent; }
  // What the last frame of pixels found, as a node of the tagged form: "Motion", "Masks",
  // "DetectPercent" and "AlarmPercent" if asked for metadata, else nothing.
  void WriteResult(ByteWriter& out, const Size& size) const;
  // At least as many bytes as that takes.
  [[nodiscard]] std::uint64_t RoomForResult(const Size& size) const;
  [[nodiscard]] bool HasMetadata() const { return generateMetadata; }

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
  [[nodiscard]] const CData* Polygons() const;
  void ReadThresholds();
  void WarnOfThresholds(const Size& size) const;
  // Moves the signal on with the percentage of a frame.
  void Decide(std::int64_t timeMs);
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
  float percent = 0;
  float detectionProgress = 0;
  std::int64_t signalSinceMs = -1;
  std::int64_t restoreSinceMs = -1;
  bool inSignal = false;
};

}  // namespace ztlib
