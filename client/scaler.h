#pragma once

#include "client/av.h"

// Brings pictures to one pixel format and size. YUV results are in full range with the matrix of
// BT.601, as in JPEG files; a picture's own range and matrix are respected.
class CScaler {
 public:
  // `picture` itself if nothing has to be done, else a picture that is valid until the next call.
  [[nodiscard]] const AVFrame& Convert(const AVFrame& picture, AVPixelFormat format, int width,
                                       int height);

  struct CSetup {
    int sourceWidth = 0, sourceHeight = 0;
    AVPixelFormat sourceFormat = AV_PIX_FMT_NONE;
    bool isSourceFullRange = false;
    AVColorSpace sourceMatrix = AVCOL_SPC_UNSPECIFIED;
    int width = 0, height = 0;
    AVPixelFormat format = AV_PIX_FMT_NONE;
    bool operator==(const CSetup&) const = default;
  };

 private:
  ScalerPtr scaler;
  CSetup setup;  // of the scaler
  FramePtr target;
};
