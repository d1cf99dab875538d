#include "main/lib/vca/old_vca_utils/single_simple_motion.h"

#include "main/lib/base/debug.h"
#include "main/lib/vca/old_vca_utils/motion_blob.h"

#include <algorithm>
#include <utility>

namespace ztlib {

namespace {

constexpr char source[] = "main/lib/vca/old_vca_utils/single_simple_motion";

constexpr std::int64_t warmupMs = 3100;
constexpr std::int64_t restoreDelayMs = 3000;
constexpr std::int64_t notRunning = -1;  // of a clock

// Times are the client's and may be anything: differences wrap.
std::int64_t Elapsed(std::int64_t from, std::int64_t to) {
  return static_cast<std::int64_t>(static_cast<std::uint64_t>(to) -
                                   static_cast<std::uint64_t>(from));
}

// Area of the mask over all of a frame, which leaves out the last row and column.
std::int32_t FullArea(const Size& size) {
  return static_cast<std::int32_t>((static_cast<std::uint64_t>(size.width) - 1) *
                                   (static_cast<std::uint64_t>(size.height) - 1));
}

}  // namespace

CSingleSimpleMotion::CSingleSimpleMotion() = default;

bool CSingleSimpleMotion::Configure(CData item, const Size& size,
                                    std::span<const std::unique_ptr<CSingleSimpleMotion>> others) {
  configuration = std::move(item);
  state = warmingUp;
  firstFrameTime = {};
  signalSinceMs = restoreSinceMs = notRunning;
  inSignal = false;
  ReadThresholds();
  ReadSettings(configuration);
  if (std::none_of(others.begin(), others.end(),
                   [this](const auto& other) { return Follow(*other); }))
    Rebuild(size);
  BuildMask(size);
  WarnOfThresholds(size);
  return IsConfigured();
}

const CData* CSingleSimpleMotion::Polygons() const {
  const CDataValue* const found = configuration.Find(Tok::Masks, cdNode);
  return found ? found->GetNode() : nullptr;
}

void CSingleSimpleMotion::BuildMask(const Size& size) {
  const CData* const polygons = size.width != 0 ? Polygons() : nullptr;
  // Without a mask, should building it fail, the detector finds nothing.
  mask = CMask();
  fullMaskArea = FullArea(size);
  mask.BuildFromData(polygons ? *polygons : CData(), size);
}

void CSingleSimpleMotion::ReadThresholds() {
  constexpr double leastPercent = 0.001;
  const double percent = configuration.GetDouble(Tok::MotionPercent, 0.2);
  signalThreshold = static_cast<float>(percent > leastPercent ? percent : leastPercent);
  restoreThreshold = signalThreshold * 0.66667F;
  generateMetadata = configuration.GetBool(Tok::GenerateMetadata, true);
  violationTimeMs = std::max<std::int64_t>(0, configuration.GetLongLong(Tok::ViolationTimeMs, 0));
}

void CSingleSimpleMotion::WarnOfThresholds(const Size& size) const {
  const float most =
      static_cast<float>(fullMaskArea) * 100.0F / static_cast<float>(size.width * size.height);
  if (most < signalThreshold)
    ZT_LOG(2, source, 72, "Alarm signal is not possible in this configuration!");
  if (most < restoreThreshold)
    ZT_LOG(2, source, 74, "VCA stay in restore forever in this configuration!");
}

// The blank in the condition is part of the text that is logged.
// clang-format off
#define ZT_CHECK_CONFIGURED(function, line) \
  ZT_MUST_BE_FALSE(! IsConfigured(), function, source, line)
// clang-format on

bool CSingleSimpleMotion::ProcessAndDecide(const GrayView& image, const FrameTime& time) {
  ZT_CHECK_CONFIGURED("Process", 84);
  if (state == warmingUp) {
    if (firstFrameTime.timestampMs == 0) firstFrameTime = time;
    if (Elapsed(firstFrameTime.timestampMs, time.timestampMs) > warmupMs) state = running;
  }
  // A mask of all that a mask can cover is not applied: the last row and column count then.
  const bool masked = mask.GetArea() != fullMaskArea;
  const std::int64_t count = ProcessImage(image, &time.timestampMs, masked ? &mask : nullptr);
  // The product wraps at 32 bits.
  const auto scaled = static_cast<std::int32_t>(static_cast<std::uint32_t>(count) * 100U);
  percent =
      (state == running ? static_cast<float>(scaled) : 0.0F) / static_cast<float>(fullMaskArea);
  Decide(time.timestampMs);
  return inSignal;
}

void CSingleSimpleMotion::WriteResult(ByteWriter& out, const Size& size) const {
  if (generateMetadata) {
    std::uint8_t* mark = BeginTagged(out, Tok::Motion, cdBinary);
    out.Write('\0');  // the blob's own metadata, always empty
    WriteMotionBlob(out.Take(MotionBlobSize(size)), size,
                    state == running ? GetMotionBits() : nullptr);
    EndTagged(out, mark);
    static const CData none;
    const CData* const polygons = Polygons();
    mark = BeginTagged(out, Tok::Masks, cdNode);
    WriteTagged(polygons ? *polygons : none, out);
    EndTagged(out, mark);
    WriteTaggedNumber(out, Tok::DetectPercent, cdDouble, double{percent});
    WriteTaggedNumber(out, Tok::AlarmPercent, cdDouble, double{detectionProgress});
  }
  out.Write('\0');
}

std::uint64_t CSingleSimpleMotion::RoomForResult(const Size& size) const {
  constexpr std::uint64_t roomForRest = 128;
  if (!generateMetadata) return roomForRest;
  const CData* const polygons = Polygons();
  return roomForRest + MotionBlobSize(size) + (polygons ? TaggedSize(*polygons) : 0);
}

float CSingleSimpleMotion::VirtualProcess(CData&, const CData& item) {
  ZT_CHECK_CONFIGURED("VirtualProcess", 117);
  state = running;
  const CDataValue* const found = item.Find(Tok::Motion, cdBinary);
  if (!found || !found->GetBinary()) return 0.0F;
  const std::shared_ptr<CBinData>& blob = found->GetBinary();

  const CMotionBlobView view(*blob);
  const bool masked = mask.GetArea() != 0;
  if (!view.IsKnown() || (masked && !view.IsWhole())) {
    ZT_LOG(1, source, 128, "Unknown motion image!");
    return 0.0F;
  }
  const Size size = view.GetSize();
  if (masked && (mask.GetWidth() != size.width || mask.GetHeight() != size.height)) BuildMask(size);
  // All of the frame counts here, unlike with pixels.
  return static_cast<float>(masked ? view.CountBits(mask) : view.CountBits()) * 100.0F /
         static_cast<float>(size.width * size.height);
}

bool CSingleSimpleMotion::VirtualProcessAndDecide(CData& result, const CData& item,
                                                  const FrameTime& time) {
  percent = VirtualProcess(result, item);
  Decide(time.timestampMs);
  result.AddDouble(Tok::DetectPercent, percent);
  return inSignal;
}

float CSingleSimpleMotion::ProgressAfter(std::int64_t sinceMs) const {
  if (sinceMs >= violationTimeMs) return 1.0F;
  // The division is one of floats because the time to violation may be 0 here: a clock that went
  // back gives a negative `sinceMs`, which is below it. A division of integers would end the process.
  const auto scaled = static_cast<std::int64_t>(static_cast<std::uint64_t>(sinceMs) * 100U);
  return static_cast<float>(scaled) / static_cast<float>(violationTimeMs);
}

void CSingleSimpleMotion::Decide(std::int64_t timeMs) {
  if (!inSignal) {
    restoreSinceMs = notRunning;
    if (!(percent >= signalThreshold)) return Leave();
    if (signalSinceMs == notRunning) {
      signalSinceMs = timeMs;
      detectionProgress = 0.0F;
      if (violationTimeMs >= 1) return;
      inSignal = true;
    } else {
      inSignal = Elapsed(signalSinceMs, timeMs) >= violationTimeMs;
    }
  } else if (!(percent <= restoreThreshold)) {
    restoreSinceMs = notRunning;
  } else if (restoreSinceMs == notRunning) {
    restoreSinceMs = timeMs;
  } else if (Elapsed(restoreSinceMs, timeMs) > restoreDelayMs) {
    return Leave();
  }
  detectionProgress =
      signalSinceMs == notRunning ? 0.0F : ProgressAfter(Elapsed(signalSinceMs, timeMs));
}

void CSingleSimpleMotion::Leave() {
  inSignal = false;
  signalSinceMs = notRunning;
  detectionProgress = 0.0F;
}

}  // namespace ztlib
