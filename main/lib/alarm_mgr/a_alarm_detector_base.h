#pragma once

#include "main/lib/base/cdata/HAData.h"
#include "main/lib/base/fairy/fairy_container.h"
#include "main/lib/base/fairy/fairy_numeric.h"
#include "main/lib/imgproc/image_cache.h"
#include "main/lib/vca/a_vca_base.h"
#include "main/lib/vca/alarm_event.h"

#include <cstdint>

namespace ztlib {

// What an alarm detector is and how it alarms. Times in milliseconds, the limit in frames a second.
class AAlarmDetectorBaseConfiguration : public CDataFairy<AAlarmDetectorBaseConfiguration> {
 public:
  // An empty identity becomes a new one.
  explicit AAlarmDetectorBaseConfiguration(const CGuid& identity = {});
  CStringItem className;
  CFairySimpleItem<int> version;
  CFairySimpleItem<int> detectorClassId;
  CFairySimpleItem<bool> builtIn;
  CFairySimpleItem<CGuid> detectorId;
  CStringItem displayName;
  CStringItem description;
  CFairyLimitedNumericItem<long long> violationTimeMs;
  CFairyLimitedNumericItem<long long> restoreDelayMs;
  CFairySimpleItem<double> fpsLimit;
  CFairySimpleItem<bool> enabled;
};

// An alarm detector: it owns a configuration and goes back to the one before when a new one fails.
class AAlarmDetectorBase {
 public:
  // Stores the pointers only; their objects outlive this one. The sink may be null.
  AAlarmDetectorBase(AAlarmDetectorBaseConfiguration* configuration,
                     IAlarmNotifyReceiver* notifySink);
  virtual ~AAlarmDetectorBase();
  AAlarmDetectorBase(const AAlarmDetectorBase&) = delete;
  AAlarmDetectorBase& operator=(const AAlarmDetectorBase&) = delete;

  [[nodiscard]] virtual CData GetStateData() const;
  virtual void Hook4();
  // Applies a tree and returns how that ended. After a failure the configuration before is applied
  // again, unless this call is that attempt already.
  virtual CResultRecord Configure(const CData& tree, bool isFallback);
  // Adds the present configuration to the child of that name.
  virtual void ExportConfiguration(CData& tree, Token key) const;
  virtual void Hook7();
  // What a derived class does with a new configuration.
  virtual CResultRecord VirtualConfigure();
  virtual CResultRecord Process(CData& tree, const FrameTime& frame, bool* signal);
  [[nodiscard]] virtual CData GetStatusData() const;

  [[nodiscard]] DetectorState::Enum GetState() const { return state; }
  // The least time between two frames; 0 without a limit.
  [[nodiscard]] std::int64_t GetFrameIntervalMs() const { return frameIntervalMs; }

 protected:
  [[nodiscard]] const AAlarmDetectorBaseConfiguration& Configuration() const {
    return *configuration;
  }

  std::int32_t alarmActive = 0;

 private:
  void ReportNoFallback();

  DetectorState::Enum state = DetectorState::dsNotConfigured;
  IAlarmNotifyReceiver* const notifySink;
  std::int64_t frameIntervalMs = 0;
  AAlarmDetectorBaseConfiguration* const configuration;
};

}  // namespace ztlib
