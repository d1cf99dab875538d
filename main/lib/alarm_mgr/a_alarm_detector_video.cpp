#include "main/lib/alarm_mgr/a_alarm_detector_video.h"

#include "main/lib/base/debug.h"

namespace ztlib {

namespace {

constexpr char source[] = "main/lib/alarm_mgr/a_alarm_detector_video";
constexpr int fallbackLine = 41;

}  // namespace

AAlarmDetectorVideo::AAlarmDetectorVideo(AAlarmDetectorBaseConfiguration* configuration,
                                         IAlarmNotifyReceiver* notifySink, AVCABase* analysis)
    : AAlarmDetectorBase(configuration, notifySink), analysis(analysis) {}

CResultRecord AAlarmDetectorVideo::Configure(const CData& tree, bool isFallback) {
  CData before;
  if (!isFallback) AAlarmDetectorVideo::ExportConfiguration(before, Tok::Config);
  CResultRecord result = analysis->Configure(tree);
  if (result.Succeeded()) return AAlarmDetectorBase::Configure(tree, false);
  if (!isFallback && !AAlarmDetectorVideo::Configure(before.Child(Tok::Config), true).Succeeded())
    ZT_LOG(2, source, fallbackLine, "Configuration failed and fallback config invalid! %s",
           Configuration().displayName.Get().c_str());
  return result;
}

void AAlarmDetectorVideo::ExportConfiguration(CData& tree, Token key) const {
  AAlarmDetectorBase::ExportConfiguration(tree, key);
  analysis->ExportConfiguration(tree, key);
}

CResultRecord AAlarmDetectorVideo::VirtualConfigure() {
  return AAlarmDetectorBase::VirtualConfigure();
}

CResultRecord AAlarmDetectorVideo::Process(CData& tree, const FrameTime& frame, bool* signal) {
  CResultRecord result = AAlarmDetectorBase::Process(tree, frame, signal);
  return result.Succeeded() ? analysis->Process(tree) : result;
}

}  // namespace ztlib
