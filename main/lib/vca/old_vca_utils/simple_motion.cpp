#include "main/lib/vca/old_vca_utils/simple_motion.h"

#include "main/lib/base/debug.h"

#include <algorithm>
#include <span>
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
void KeepLargest(float& best, float value) {
  if (best < value) best = value;
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
    if (!detectors.back()->Configure(std::move(*items.At(i).value.GetNode()), size,
                                     std::span(detectors).first(detectors.size() - 1))) {
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
  std::vector<std::uint8_t> bytes;
  CResultRecord result = Detect(bytes);
  if (!result.Succeeded()) return result;
  CData found;
  ParseTagged(found, bytes.data(), bytes.size());
  CData& motions = MotionsOf(output);
  CData& foundMotions = found.Child(Tok::Motions);
  for (std::uint64_t i = 0; i < foundMotions.Count(); ++i)
    motions.AddChild(Tok::Empty, std::move(*foundMotions.At(i).value.GetNode()));
  for (std::uint64_t i = 1; i < found.Count(); ++i)
    output.Append(found.KeyText(found.At(i).key), std::move(found.At(i).value));
  return result;
}

CResultRecord CVCASimpleMotion::Detect(std::vector<std::uint8_t>& output) {
  CData untouched;
  CResultRecord result = AVCABase::Process(untouched);
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

  // All that can fail for want of memory comes before the first detector sees the frame.
  const GrayView plane = imageCache->GetPlaneView(resolutionLevel, planeY);
  const FrameTime time = imageCache->GetFrameTime();
  const Size size{plane.width, plane.height};
  constexpr std::uint64_t roomForRest = 256;
  std::uint64_t room = roomForRest;
  for (const auto& detector : detectors)
    room += detector->RoomForResult(size);
  output.resize(CheckTaggedSize(room));
  for (const auto& detector : detectors)
    detector->Prepare(size);

  anySignal = false;
  for (const auto& detector : detectors)
    if (detector->ProcessAndDecide(plane, time)) anySignal = true;
  ByteWriter writer(output);
  WriteResult(writer, size, time);
  output.resize(room - writer.Room());
  return result;
}

void CVCASimpleMotion::WriteResult(ByteWriter& out, const Size& size, const FrameTime& time) const {
  const bool metadata = configuration.generateMetadata.Get();
  float alarmPercent = 0.0F;
  float detectPercent = 0.0F;
  std::uint8_t* mark = BeginTagged(out, Tok::Motions, cdNode);
  for (const auto& detector : detectors) {
    if (!metadata) break;
    std::uint8_t* const child = BeginTagged(out, Tok::Empty, cdNode);
    detector->WriteResult(out, size);
    EndTagged(out, child);
    // After a configuration that failed halfway a detector may have other ideas of metadata.
    if (!detector->HasMetadata()) continue;
    KeepLargest(alarmPercent, detector->GetProgress());
    KeepLargest(detectPercent, detector->GetPercent());
  }
  out.Write('\0');
  EndTagged(out, mark);
  if (metadata) {
    WriteTaggedNumber(out, Tok::AlarmPercent, cdDouble, double{alarmPercent});
    WriteTaggedNumber(out, Tok::DetectPercent, cdDouble, double{detectPercent});
    WriteTaggedNumber(out, Tok::Version, cdInt, resultVersion);
    WriteTaggedNumber(out, Tok::TimestampMs, cdTime, CTimestamper::ToClientTime(time));
    WriteTaggedNumber(out, Tok::Predicted, cdBool, std::uint8_t{0});
    mark = BeginTagged(out, Tok::Resolution, cdNode);
    WriteTaggedNumber(out, Tok::Width, cdInt, static_cast<std::int32_t>(size.width));
    WriteTaggedNumber(out, Tok::Height, cdInt, static_cast<std::int32_t>(size.height));
    out.Write('\0');
    EndTagged(out, mark);
  }
  out.Write('\0');
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
