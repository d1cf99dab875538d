#pragma once

#include "main/lib/base/pixel_format.h"

#include <cstdint>

namespace ztlib {

class CBinData;
class CData;
class CZTImage;
struct FrameHeader;

// What the exports drive every decoder through. One thread at a time.
class CVideoDecoderBase {
 public:
  CVideoDecoderBase() = default;
  virtual ~CVideoDecoderBase() = default;
  CVideoDecoderBase(const CVideoDecoderBase&) = delete;
  CVideoDecoderBase& operator=(const CVideoDecoderBase&) = delete;

  // Decodes a whole frame, header included, into `out`, whose old picture is dropped. The frame is
  // writable because differential video completes headers of early encoders in place.
  virtual void Decode(CZTImage& out, CBinData& frame) = 0;
  // Values that are absent or of another kind stay as they are.
  virtual void Configure(const CData& config);
  [[nodiscard]] virtual std::int16_t GetVideoFormat() const = 0;
  // Only differential video has a picture to start from.
  virtual void SetBaseImage(const CZTImage&) {}

 protected:
  struct SizeInPixels {
    int width;
    int height;
  };
  [[nodiscard]] static SizeInPixels ScaledSize(const FrameHeader& header, std::int32_t scaleDown);

  std::int32_t scaleDown = 1;    // as configured
  std::int32_t activeScale = 1;  // in force
  PixelFormat pixelFormat = PixelFormat::BOOL8;
};

}  // namespace ztlib
