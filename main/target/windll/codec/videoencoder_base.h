#pragma once

#include "main/lib/base/synchron_pthread.h"

#include <cstdint>

namespace ztlib {

class CBinData;
class CData;
class CZTImage;

// One picture's order to an encoder.
struct EncodeRequest {
  std::uint64_t timestamp = 0;
  bool forceKeyFrame = false;
  CZTImage* thumbnail = nullptr;    // may be null
  const void* extraInfo = nullptr;  // only whether it is there counts
};

// What the exports drive every encoder through. Any thread at any time: calls wait for each other.
class CVideoEncoderBase {
 public:
  CVideoEncoderBase() = default;
  virtual ~CVideoEncoderBase() = default;
  CVideoEncoderBase(const CVideoEncoderBase&) = delete;
  CVideoEncoderBase& operator=(const CVideoEncoderBase&) = delete;

  // Makes `out` a whole frame, header included.
  virtual void Encode(CBinData& out, const CZTImage& image, const EncodeRequest& request) = 0;
  // Values that are absent or of another kind stay as they are. After an exception the old
  // configuration goes on.
  virtual void Configure(const CData& config) = 0;
  [[nodiscard]] virtual std::int16_t GetVideoFormat() const = 0;
  virtual void SetQuality(int quality) = 0;

 protected:
  std::uint32_t width = 16;
  std::uint32_t height = 16;
  std::uint32_t lineSize = 16;  // configurable, of no effect
  CMutex mutex{CMutex::Kind::Recursive};
};

}  // namespace ztlib
