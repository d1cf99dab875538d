#include "main/lib/alarm_mgr/a_alarm_detector_base.h"

#include "main/lib/base/debug.h"

#include <limits>

namespace ztlib {

namespace {

constexpr char source[] = "main/lib/alarm_mgr/a_alarm_detector_base";

constexpr int configurationVersion = 0x20000;
constexpr int motionClassId = -405786987;
constexpr long long longestTimeMs = 60000000;

std::int64_t IntervalOf(double fpsLimit) {
  if (!(fpsLimit > 0)) return 0;
  const float interval = 1000.0F / static_cast<float>(fpsLimit);
  constexpr float limit = 0x1p63F;
  return interval < limit ? static_cast<std::int64_t>(interval)
                          : std::numeric_limits<std::int64_t>::max();
}

}  // namespace

AAlarmDetectorBaseConfiguration::AAlarmDetectorBaseConfiguration(const CGuid& identity)
    : className(*this, Tok::Class, 1, "AlarmDetectorCVCASimpleMotion"),
      version(*this, Tok::Version, 1, configurationVersion),
      detectorClassId(*this, Tok::DetectorClassID, 1, motionClassId),
      builtIn(*this, Tok::BuiltIn, 1, false),
      detectorId(*this, Tok::DetectorID, 1, identity.IsEmpty() ? CGuid::Generate() : identity),
      displayName(*this, Tok::DisplayName, 1, "CVCASimpleMotion detector"),
      description(*this, Tok::Description, 1, "Motion detector"),
      violationTimeMs(*this, Tok::ViolationTimeMs, 1, 0, 0, longestTimeMs),
      restoreDelayMs(*this, Tok::RestoreDelayMs, 1, 0, 0, longestTimeMs),
      fpsLimit(*this, Tok::FpsLimit, 1, 0.0),
      enabled(*this, Tok::Enabled, 1, true) {}

AAlarmDetectorBase::AAlarmDetectorBase(AAlarmDetectorBaseConfiguration* configuration,
                                       IAlarmNotifyReceiver* notifySink)
    : notifySink(notifySink), configuration(configuration) {}

AAlarmDetectorBase::~AAlarmDetectorBase() = default;

CData AAlarmDetectorBase::GetStateData() const {
  return {};
}

void AAlarmDetectorBase::Hook4() {}

// The second attempt calls this very function, qualified: an overriding one would start over.
CResultRecord AAlarmDetectorBase::Configure(const CData& tree, bool isFallback) {
  CData before;
  if (!isFallback) AAlarmDetectorBase::ExportConfiguration(before, Tok::Config);
  configuration->FromCData(tree);
  CResultRecord result = VirtualConfigure();
  if (result.Succeeded()) {
    state = DetectorState::dsNotConfigured;
    frameIntervalMs = IntervalOf(configuration->fpsLimit.Get());
  } else if (!isFallback &&
             !AAlarmDetectorBase::Configure(before.Child(Tok::Config), true).Succeeded()) {
    ReportNoFallback();
  }
  return result;
}

void AAlarmDetectorBase::ReportNoFallback() {
  if (alarmActive != 0 && notifySink) notifySink->OnRestore({});
  alarmActive = 0;
  ZT_LOG(2, source, 69, "Configuration failed and fallback config invalid! %s",
         configuration->displayName.Get().c_str());
}

void AAlarmDetectorBase::ExportConfiguration(CData& tree, Token key) const {
  ExportRecord(*configuration, tree, key);
}

void AAlarmDetectorBase::Hook7() {}

CResultRecord AAlarmDetectorBase::VirtualConfigure() {
  return {};
}

CResultRecord AAlarmDetectorBase::Process(CData&, const FrameTime&, bool* signal) {
  *signal = false;
  return {};
}

CData AAlarmDetectorBase::GetStatusData() const {
  return {};
}

}  // namespace ztlib
