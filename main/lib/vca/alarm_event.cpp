#include "main/lib/vca/alarm_event.h"

#include "main/lib/base/debug.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace ztlib {

namespace {

constexpr char source[] = "main/lib/vca/alarm_event";
constexpr int stateLine = 17;

constexpr const char* stateTexts[] = {"dsNotConfigured",   "dsInit",   "dsError",
                                      "dsUnableToOperate", "dsNormal", "dsSignal",
                                      "dsDisabled"};
constexpr const char* eventTexts[] = {"detSimpleEvent", "detSignal", "detRestore", "detUnknown"};

template <std::size_t count>
bool IsRow(const char* const (&)[count], std::int32_t value) {
  return value >= 0 && static_cast<std::size_t>(value) < count;
}

}  // namespace

const char* DetectorState::ToText(std::int32_t value) {
  if (IsRow(stateTexts, value)) return stateTexts[value];
  ZT_LOG(1, source, stateLine, "Undefined state");
  return stateTexts[dsError];
}

const char* DetectorEventType::ToText(std::int32_t value) {
  return eventTexts[IsRow(eventTexts, value) ? value : detUnknown];
}

DetectorEventType::Enum DetectorEventType::FromText(std::string_view text) {
  const auto* const found = std::find(std::begin(eventTexts), std::end(eventTexts), text);
  return found == std::end(eventTexts) ? detUnknown
                                       : static_cast<Enum>(found - std::begin(eventTexts));
}

IAlarmNotifyReceiver::~IAlarmNotifyReceiver() = default;

}  // namespace ztlib
