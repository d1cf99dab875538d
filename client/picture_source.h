#pragma once

#include "client/av.h"

#include <cstdint>
#include <string>

// Where pictures come from.
class IPictureSource {
 public:
  virtual ~IPictureSource() = default;

  // Puts the next picture into `picture`; false at the end.
  virtual bool Next(AVFrame& picture) = 0;

  // When the last picture was taken, in milliseconds from the first one.
  [[nodiscard]] virtual std::int64_t TimeMs() const = 0;

  [[nodiscard]] virtual std::string Name() const = 0;
  [[nodiscard]] virtual AVRational FrameRate() const = 0;
  // The expected number of pictures, 0 if it is not known.
  [[nodiscard]] virtual std::int64_t Count() const = 0;
  // What was damaged and passed over, empty if nothing was.
  [[nodiscard]] virtual std::string Damage() const { return {}; }
};
