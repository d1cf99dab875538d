#pragma once

#include "main/lib/base/cdata/HAData.h"

#include <cstdint>
#include <string_view>

namespace ztlib {

// What alarm detectors tell about themselves.

// What a detector is doing.
struct DetectorState {
  enum Enum : std::int32_t {
    dsNotConfigured,
    dsInit,
    dsError,
    dsUnableToOperate,
    dsNormal,
    dsSignal,
    dsDisabled
  };
  // The text of a state. A value that is no state is logged and gives "dsError".
  [[nodiscard]] static const char* ToText(std::int32_t value);
};

// What an event of a detector tells.
struct DetectorEventType {
  enum Enum : std::int32_t { detSimpleEvent, detSignal, detRestore, detUnknown };
  // Any other value is "detUnknown", and so is any other text.
  [[nodiscard]] static const char* ToText(std::int32_t value);
  [[nodiscard]] static Enum FromText(std::string_view text);
};

// Where a camera stands. Values come with the record items that use them; none of ours does.
struct CameraEnvironment {
  enum Enum : std::int32_t {};
};

// Receives the notices of a detector.
class IAlarmNotifyReceiver {
 public:
  virtual ~IAlarmNotifyReceiver();
  virtual void OnSignal(const CData& notice) = 0;
  virtual void OnRestore(const CData& notice) = 0;
  virtual void OnState(const CData& notice) = 0;
  virtual void OnEvent(const CData& notice) = 0;
};

}  // namespace ztlib
