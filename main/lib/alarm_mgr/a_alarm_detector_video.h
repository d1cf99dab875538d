#pragma once

#include "main/lib/alarm_mgr/a_alarm_detector_base.h"
#include "main/lib/vca/a_vca_base.h"

namespace ztlib {

// The interface of detectors of pictures. It adds nothing to that of all detectors.
class AAlarmDetectorVideoConfiguration : public AAlarmDetectorBaseConfiguration {
 public:
  using AAlarmDetectorBaseConfiguration::AAlarmDetectorBaseConfiguration;
};

// An alarm detector with an analysis of frames behind it. Both are configured from the same tree,
// the analysis first.
class AAlarmDetectorVideo : public AAlarmDetectorBase {
 public:
  // Stores the pointers only; their objects outlive this one.
  AAlarmDetectorVideo(AAlarmDetectorBaseConfiguration* configuration,
                      IAlarmNotifyReceiver* notifySink, AVCABase* analysis);

  CResultRecord Configure(const CData& tree, bool isFallback) override;
  // Writes the detector's elements, then those of the analysis.
  void ExportConfiguration(CData& tree, Token key) const override;
  CResultRecord VirtualConfigure() override;
  // Runs the analysis; the answer is in what that reports, `*signal` stays false.
  CResultRecord Process(CData& tree, const FrameTime& frame, bool* signal) override;

 private:
  AVCABase* const analysis;
};

}  // namespace ztlib
