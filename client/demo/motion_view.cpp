#include "client/demo/motion_view.h"

#include <algorithm>
#include <utility>

namespace {

constexpr int watchedWidth = 320;
constexpr std::size_t maxPictures = 4;

}  // namespace

CMotionView::CMotionView(CMomentMaker& momentMaker, CMotionSettings settings, std::string title)
    : pictures(momentMaker), watch(std::move(settings), watchedWidth) {
  report.title = std::move(title);
}

void CMotionView::Add(const AVFrame& picture, std::int64_t timeMs) {
  const ztlib::MotionResult& result = watch.Look(picture, timeMs);
  events.Add(result, timeMs);
  report.percents.push_back(result.detectPercent);
  report.progress.push_back(Progress(result));
  lastMs = timeMs;

  const auto frame = static_cast<double>(report.percents.size() - 1);
  if (report.alarms.size() < events.Events().size()) report.alarms.push_back({frame, frame});
  if (result.isSignal || strongest) report.alarms.back().to = frame;
  if (result.isSignal && events.Events().back().highestMs == timeMs) {
    strongest = NewFrame();
    AvCheck(av_frame_ref(strongest.get(), &overlay.Draw(picture, watch, result)),
            "cannot show a picture");
  }
  if (!result.isSignal && strongest) {
    report.alarms.back().isOpen = false;
    Keep();
  }
}

void CMotionView::Keep() {
  report.pictures.push_back({events.Events().size() - 1, pictures.Overview(*strongest)});
  strongest.reset();
  if (report.pictures.size() <= maxPictures) return;
  report.pictures.erase(std::min_element(report.pictures.begin(), report.pictures.end(),
                                         [&](const CMotionPicture& a, const CMotionPicture& b) {
                                           const auto list = events.Events();
                                           return list[a.alarm].highestPercent <
                                                  list[b.alarm].highestPercent;
                                         }));
}

CMotionReport CMotionView::Finish() {
  if (strongest) Keep();
  report.settings = watch.Settings();
  report.width = watch.Width();
  report.height = watch.Height();
  report.events.assign(events.Events().begin(), events.Events().end());
  if (report.percents.size() > 1)
    report.secondsPerFrame = double(lastMs) / 1000 / double(report.percents.size() - 1);
  report.framesPerSecond = watch.detect.RunsPerSecond();
  return std::move(report);
}
