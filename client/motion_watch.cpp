#include "client/motion_watch.h"

#include "client/failure_text.h"
#include "client/frame.h"
#include "client/motion_area.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace {

// The library's times count from 1601, and one at the start of 1970 stands for none: videos begin
// in 2000.
constexpr std::int64_t startOfTime = 12'591'158'400'000;

constexpr char refusal[] = "the motion detectors refused their configuration";
constexpr char reason[] = ", the log lines of -v tell why";

}  // namespace

CMotionWatch::CMotionWatch(CMotionSettings motionSettings, int mostColumns)
    : settings(std::move(motionSettings)), maxWidth(mostColumns) {}

void CMotionWatch::Open(const AVFrame& first) {
  width = std::min(maxWidth, first.width);
  height = std::max(1, static_cast<int>(av_rescale(first.height, width, first.width)));
  for (const CDetectorSettings& detector : settings.detectors)
    counted.push_back(CountedPixels(detector, width, height));
  try {
    motion.Configure(ztlib::ByteView(settings.block), width, height);
  } catch (const ztlib::Error& error) {
    throw CError(InPlaceOf(error, std::string(refusal) + reason));
  }
}

const ztlib::MotionResult& CMotionWatch::Look(const AVFrame& picture, std::int64_t timeMs) {
  if (width == 0) Open(picture);
  const AVFrame& gray = scaler.Convert(picture, AV_PIX_FMT_GRAY8, width, height);
  PoolFramePtr plane = CFramePool::New(width, height, ZTLIB_GRAY);
  for (int y = 0; y < height; ++y)
    std::memcpy(plane->data[0] + std::ptrdiff_t{y} * plane->linesize[0],
                gray.data[0] + std::ptrdiff_t{y} * gray.linesize[0],
                static_cast<std::size_t>(width));
  const ztlib::Image image(ZTLIB_GRAY, std::move(plane));
  detect.Run([&] { return motion.Detect(image, startOfTime + timeMs, result); });
  if (!result.isConfigured) throw CError(std::string(refusal) + reason);
  return result;
}
