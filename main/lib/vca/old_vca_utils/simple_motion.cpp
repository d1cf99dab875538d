#include "main/lib/vca/old_vca_utils/simple_motion.h"

#include "main/lib/base/debug.h"

#include <algorithm>
#include <utility>

namespace ztlib {

namespace {

constexpr char source[] = "main/lib/vca/old_vca_utils/simple_motion";

constexpr int preferredWidth = 160;
constexpr long long fixedRestoreDelayMs = 3000;
constexpr std::int32_t resultVersion = 0x20000;
constexpr std::int32_t oldestVersion = 0x10000;  // exclusive

CData& MotionsOf(CData& tree) {
  CDataValue* const present = tree.Find(Tok::Motions, cdNode);
  CData* const found = present ? present->GetNode() : nullptr;
  return found ? *found : tree.AddChild(Tok::Motions);
}

// `best` begins at 0 and keeps its value if `value` is negative or not a number.
void KeepLargest(float& best, double value) {
  if (const auto narrowed = static_cast<float>(value); best < narrowed) best = narrowed;
}

}  // namespace

CVCASimpleMotionConfiguration::CVCASimpleMotionConfiguration()
    : violationTimeMs(*this, Tok::ViolationTimeMs, 1, 0, 0, 100000),
      restoreDelayMs(*this, Tok::RestoreDelayMs, 1, fixedRestoreDelayMs, 0, 100000),
      generateMetadata(*this, Tok::GenerateMetadata, 1, true),
      configs(*this, Tok::Configs, 1) {}

CVCASimpleMotion::CVCASimpleMotion(AAlarmDetectorBase* owner, CImageDataCache* imageCache)
    : AVCABase(owner, imageCache, &configuration) {}

CVCASimpleMotion::~CVCASimpleMotion() = default;

int CVCASimpleMotion::ChooseResolutionLevel(int current) const {
  if (current >= 0 && current <= imageCache->GetMaxLevel() &&
      imageCache->GetSize(current).width <= preferredWidth)
    return current;
  int level = imageCache->GetLevelForWidth(preferredWidth);
  if (imageCache->GetSize(level).width > preferredWidth && level < imageCache->GetMaxLevel()) {
    ++level;
    const Size size = imageCache->GetSize(level);
    ZT_LOG(4, source, 52, "DETECTORS: Motion detection resolution: %dx%d",
           static_cast<int>(size.width), static_cast<int>(size.height));
  }
  return level;
}

CData CVCASimpleMotion::DetectorItems() const {
  CData items;
  for (const CDataElement& element : configuration.configs.Get().Elements()) {
    if (items.Count() == listLimit.mostNodes) break;
    if (const CData* const node = element.value.GetNode()) items.AddChild(Tok::Empty, CData(*node));
  }
  if (items.Count() == 0) items.AddChild(Tok::Empty);
  for (std::uint64_t i = 0; i < items.Count(); ++i) {
    CData& item = *items.At(i).value.GetNode();
    item.RemoveAll(Tok::GenerateMetadata);
    item.RemoveAll(Tok::ViolationTimeMs);
    item.RemoveAll(Tok::RestoreDelayMs);
    item.AddBool(Tok::GenerateMetadata, configuration.generateMetadata.Get());
    item.AddLongLong(Tok::ViolationTimeMs, configuration.violationTimeMs.Get());
    item.AddLongLong(Tok::RestoreDelayMs, configuration.restoreDelayMs.Get());
  }
  return items;
}

CResultRecord CVCASimpleMotion::VirtualConfigure() {
  detectors.clear();
  resolutionLevel = ChooseResolutionLevel(noLevel);
  if (resolutionLevel == noLevel) {
    constexpr char text[] = "Error during simple motion configuration: no suitable resolution!";
    ZT_LOG(4, source, 82, text);
    return {resultFailure, "", text};
  }
  if (configuration.restoreDelayMs.Contains(fixedRestoreDelayMs))
    configuration.restoreDelayMs.Set(fixedRestoreDelayMs);

  CData items = DetectorItems();
  const Size size = imageCache->GetSize(resolutionLevel);
  for (std::uint64_t i = 0; i < items.Count(); ++i) {
    detectors.push_back(std::make_unique<CSingleSimpleMotion>());
    if (!detectors.back()->Configure(std::move(*items.At(i).value.GetNode()), size)) {
      ZT_LOG(4, source, 93, "Error during simple motion configuration: no suitable resolution!");
      return {resultFailure, "", "Error during simple motion configuration"};
    }
  }
  CData& list = configuration.configs.Edit();
  list.Clear();
  for (const auto& detector : detectors)
    list.AddChild(Tok::Empty, CData(detector->GetConfiguration()));
  return AVCABase::VirtualConfigure();
}

void CVCASimpleMotion::DeriveState() {
  if (std::all_of(detectors.begin(), detectors.end(),
                  [](const auto& detector) { return detector->GetState() == allRunning; }))
    state = allRunning;
}

CResultRecord CVCASimpleMotion::Process(CData& output) {
  CResultRecord result = AVCABase::Process(output);
  if (!result.Succeeded()) return result;
  if (const int level = ChooseResolutionLevel(resolutionLevel); level != resolutionLevel) {
    resolutionLevel = level;
    CData present;
    ExportConfiguration(present, Tok::Config);
    Configure(present.Child(Tok::Config));
  }
  if (resolutionLevel == noLevel) {
    constexpr char text[] = "Error during simple motion process: no suitable resolution!";
    ZT_LOG(4, source, 122, text);
    return {resultFailure, "", text};
  }
  DeriveState();
  Detect(output, imageCache->GetPlaneView(resolutionLevel, planeY), imageCache->GetFrameTime());
  return result;
}

void CVCASimpleMotion::Detect(CData& output, const GrayView& plane, const FrameTime& time) {
  CData& motions = MotionsOf(output);
  const bool metadata = configuration.generateMetadata.Get();
  anySignal = false;
  float alarmPercent = 0.0F;
  float detectPercent = 0.0F;
  for (const auto& detector : detectors) {
    CData found;
    if (detector->ProcessAndDecide(found, plane, time)) anySignal = true;
    if (!metadata) continue;
    KeepLargest(alarmPercent, found.GetDouble(Tok::AlarmPercent, 0.0));
    KeepLargest(detectPercent, found.GetDouble(Tok::DetectPercent, 0.0));
    motions.AddChild(Tok::Empty, std::move(found));
  }
  if (!metadata) return;
  output.AddDouble(Tok::AlarmPercent, alarmPercent);
  output.AddDouble(Tok::DetectPercent, detectPercent);
  output.AddInt(Tok::Version, resultVersion);
  output.AddTime(Tok::TimestampMs, CTimestamper::ToClientTime(time));
  output.AddBool(Tok::Predicted, false);
  CData& resolution = output.AddChild(Tok::Resolution);
  resolution.AddInt(Tok::Width, static_cast<std::int32_t>(plane.width));
  resolution.AddInt(Tok::Height, static_cast<std::int32_t>(plane.height));
}

// The blank in the condition is part of the text that is logged.
// clang-format off
#define ZT_CHECK_CONFIGURED(function) \
  ZT_MUST_BE_FALSE(! IsConfigured(), function, source, 162)
// clang-format on

bool CVCASimpleMotion::VirtualProcess(CData& result, const CData& input, const FrameTime& time) {
  ZT_CHECK_CONFIGURED("VirtualProcess");
  DeriveState();
  const CDataValue* const list = input.Find(Tok::Motions, cdNode);
  if (!list || input.GetInt(Tok::Version, 0) <= oldestVersion) return false;
  const CData* const given = list->GetNode();
  if (!given) return false;

  static const CData empty;
  CData& motions = MotionsOf(result);
  bool signal = false;
  const std::uint64_t count = std::min<std::uint64_t>(detectors.size(), given->Count());
  for (std::uint64_t i = 0; i < count; ++i) {
    const CData* const child = given->At(i).value.GetNode();
    CData found;
    if (detectors[i]->VirtualProcessAndDecide(found, child ? *child : empty, time)) signal = true;
    if (configuration.generateMetadata.Get()) motions.AddChild(Tok::Empty, std::move(found));
  }
  return signal;
}

void CVCASimpleMotion::Reset() {
  detectors.clear();
  resolutionLevel = noLevel;
  anySignal = false;
  const CData last = GetConfigurationCopy();
  Configure(last);
}

}  // namespace ztlib
