#pragma once

#include "client/frame.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

// The forms in which decoded pictures are written, made by FFmpeg or, in a client without it, by
// code of our own.

// Makes PNG files.
class IPngCoder {
 public:
  virtual ~IPngCoder() = default;
  // The file image, valid until the next call.
  [[nodiscard]] virtual std::span<const std::uint8_t> Code(const CFrame& picture) = 0;
};
[[nodiscard]] std::unique_ptr<IPngCoder> NewPngCoder();

struct CPlane {
  const std::uint8_t* data = nullptr;
  std::ptrdiff_t stride = 0;
  int columns = 0, rows = 0;
};

// Makes the planes of a YUV4MPEG2 stream.
class IPlaneMaker {
 public:
  virtual ~IPlaneMaker() = default;
  // The layout's name in YUV4MPEG2.
  [[nodiscard]] virtual const char* Layout() const = 0;
  // Valid until the next call.
  [[nodiscard]] virtual std::span<const CPlane> Make(const CFrame& picture) = 0;
};
// For pictures like the first, whose size all planes get.
[[nodiscard]] std::unique_ptr<IPlaneMaker> NewPlaneMaker(const CFrame& first);
