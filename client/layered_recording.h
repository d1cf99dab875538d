#pragma once

#include "client/layered/layered_encoder.h"
#include "client/library.h"

// Codes ZTLIB_UYVY pictures as layered video, which the library has no encoder of.
class CLayeredRecording : public IPictureEncoder {
 public:
  explicit CLayeredRecording(const CEncoderSettings& settings);

  [[nodiscard]] std::span<std::uint8_t> Encode(const ImagePtr& image) override;

 private:
  CLayeredEncoder encoder;
  LayeredBytes coded;
};
