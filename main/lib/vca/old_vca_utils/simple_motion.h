#pragma once

#include "main/lib/base/fairy/fairy_numeric.h"
#include "main/lib/vca/a_vca_base.h"
#include "main/lib/vca/old_vca_utils/single_simple_motion.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace ztlib {

// Motion detection: times in milliseconds and the list of its areas, each with keys of its own.
class CVCASimpleMotionConfiguration : public AVCABaseConfiguration {
 public:
  CVCASimpleMotionConfiguration();
  CFairyLimitedNumericItem<long long> violationTimeMs;
  CFairyLimitedNumericItem<long long> restoreDelayMs;
  CFairySimpleItem<bool> generateMetadata;
  CFairyCData configs;  // one child for each detector
};

// Motion detection as a client sees it: up to eight detectors over the plane of the image cache
// that suits them, and one tree of what they found.
class CVCASimpleMotion : public AVCABase {
 public:
  CVCASimpleMotion(AAlarmDetectorBase* owner, CImageDataCache* imageCache);
  ~CVCASimpleMotion() override;

  // Builds the detectors of the list; there is at least one, and the ninth and later ones vanish
  // from it. What a detector throws leaves those before it, and itself, in place.
  CResultRecord VirtualConfigure() override;
  CResultRecord Process(CData& output) override;
  // The same with the result, if there is one, in the tagged form, in memory that is used again for
  // every frame. A frame that fails for want of memory is as if it had not come.
  CResultRecord Detect(std::vector<std::uint8_t>& output);
  // The same from metadata of another device. Returns whether any detector is in signal.
  bool VirtualProcess(CData& result, const CData& input, const FrameTime& time);
  // Starts anew with the configuration that was applied last.
  void Reset();

  // Of the list of detectors in a tree that comes from outside.
  static constexpr CDataListLimit listLimit{Tok::Configs, 8};

  bool anySignal = false;  // on the last frame

  [[nodiscard]] std::size_t GetDetectorCount() const { return detectors.size(); }
  [[nodiscard]] CVCASimpleMotionConfiguration& GetConfiguration() { return configuration; }

 private:
  static constexpr int noLevel = -1;
  static constexpr std::int32_t allRunning = 3;

  [[nodiscard]] int ChooseResolutionLevel(int current) const;
  // The children of the list that become detectors, with the settings that all have in common.
  [[nodiscard]] CData DetectorItems() const;
  void DeriveState();
  // What the detectors found, `size` being that of the plane.
  void WriteResult(ByteWriter& out, const Size& size, const FrameTime& time) const;

  int resolutionLevel = noLevel;
  CVCASimpleMotionConfiguration configuration;
  std::vector<std::unique_ptr<CSingleSimpleMotion>> detectors;
};

}  // namespace ztlib
