#pragma once

#include "client/layered/layered_encoder.h"
#include "client/picture_encoder.h"

// Codes ZTLIB_UYVY pictures as layered video, which the library has no encoder of.
class CLayeredRecording : public IPictureEncoder {
 public:
  // Whether pictures of that format are layered.
  static bool Codes(ztlib_video_format videoFormat) {
    return videoFormat == ZTLIB_VIDEO_LAYERED || videoFormat == ZTLIB_VIDEO_LAYEREDDIFF;
  }

  explicit CLayeredRecording(const ztlib::EncoderSettings& settings);

  [[nodiscard]] std::span<std::uint8_t> Encode(const ztlib::Image& image) override;

 private:
  CLayeredEncoder encoder;
  LayeredBytes coded;
};
