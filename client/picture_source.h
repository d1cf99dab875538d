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

  [[nodiscard]] virtual std::string Name() const = 0;
  [[nodiscard]] virtual AVRational FrameRate() const = 0;
  // The expected number of pictures, 0 if it is not known.
  [[nodiscard]] virtual std::int64_t Count() const = 0;
};
