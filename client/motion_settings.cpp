#include "client/motion_settings.h"

#include "client/console.h"
#include "client/text.h"
#include "client/tree_json.h"
#include "client/whole_file.h"
#include "ztlib.hpp"

#include <algorithm>
#include <initializer_list>

namespace {

constexpr std::size_t maxDetectors = 8;

// An object whose names are keys.
bool IsRecord(const Json& json) {
  return json.is_object() && (json.empty() || !json.begin().key().starts_with('$'));
}

void CheckKeys(const Json& record, std::initializer_list<std::string_view> known,
               const std::string& name) {
  for (const auto& [key, value] : record.items())
    if (std::find(known.begin(), known.end(), key) == known.end())
      Complain(Text("%s: %s is no key of motion detection", name.c_str(), key.c_str()));
}

// Of a detector only doubles count as such; people also write whole numbers.
void Prepare(Json& detector, const std::string& name) {
  CheckKeys(detector,
            {"Sensitivity", "MotionPercent", "HighVarianceReduction", "MeltinReduction",
             "AlternativeVarianceHandling", "ForbidHighSensitivityStart", "BinaryOutputMode",
             "Masks", "GenerateMetadata", "ViolationTimeMs", "RestoreDelayMs"},
            name);
  for (const char* key : {"Sensitivity", "MotionPercent"})
    if (detector.contains(key) && detector[key].is_number())
      detector[key] = detector[key].get<double>();
}

CDetectorSettings SettingsOf(ztlib::ByteView detector) {
  CDetectorSettings settings;
  if (const auto percent = Find(detector, "MotionPercent", 'F')) {
    // No percentage comes near the upper limit, and what is no number is the lower one.
    settings.signalPercent = std::min(1000.0, std::max(0.001, percent->Double()));
    settings.restorePercent = settings.signalPercent * 0.66667;
  }
  const auto masks = Find(detector, "Masks", '@');
  ztlib::TreeReader reader(masks ? masks->value : ztlib::ByteView());
  while (const auto polygon = reader.Next()) {
    if (polygon->subtype != '2' || polygon->value.size() < 4) continue;
    settings.polygons.emplace_back();
    for (std::size_t i = 0; i < polygon->value.size(); i += 2)
      settings.polygons.back().push_back(
          static_cast<std::int16_t>(ztlib::LittleEndian(polygon->value.Sub(i, 2))));
  }
  return settings;
}

}  // namespace

CMotionSettings ParseMotionSettings(const std::string& text, const std::string& name) {
  Json tree = ParseJson(text, name);
  if (IsRecord(tree)) {
    CheckKeys(tree, {"ViolationTimeMs", "RestoreDelayMs", "GenerateMetadata", "Configs"}, name);
    if (tree.contains("Configs") && tree["Configs"].is_array())
      for (Json& detector : tree["Configs"])
        if (IsRecord(detector)) Prepare(detector, name);
  }
  CMotionSettings settings;
  const ztlib::TreeWriter written = BlockOf(tree, name);
  settings.block.assign(written.Bytes().begin(), written.Bytes().end());
  const ztlib::ByteView block(settings.block);
  for (const char tag : {'I', 'Q'})
    if (const auto violation = Find(block, "ViolationTimeMs", tag))
      settings.violationMs = violation->Integer();
  const auto configs = Find(block, "Configs", '@');
  ztlib::TreeReader reader(configs ? configs->value : ztlib::ByteView());
  while (const auto detector = reader.Next())
    if (detector->tag == '@' && settings.detectors.size() < maxDetectors)
      settings.detectors.push_back(SettingsOf(detector->value));
  if (settings.detectors.empty()) settings.detectors.emplace_back();
  return settings;
}

CMotionSettings ReadMotionSettings(const std::string& path) {
  if (path.empty()) return ParseMotionSettings("{}", "defaults");
  return ParseMotionSettings(ReadWholeFile(path), path);
}
