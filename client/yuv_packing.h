#pragma once

#include "client/frame.h"

// Between the packed formats of the library (rows without padding) and the planes of FFmpeg.

// The planar format to bring a picture to before it is packed for the encoder. The encoder averages
// chroma over 2 by 2 pixels, so chroma that is already shared by neighbours is repeated for each of
// them and comes out as it went in; it must not be interpolated before.
[[nodiscard]] AVPixelFormat PlanarFormatFor(const AVFrame& picture);

// To ZTLIB_YUV (Y, U, V, unused) or ZTLIB_UYVY (U, Y, V, Y for two pixels, chroma averaged).
// `planes` is in a format of PlanarFormatFor and at least as large as `packed`, which gets its top
// left part. The width for ZTLIB_UYVY is even.
void PackYuv(const AVFrame& planes, AVFrame& packed);
void PackUyvy(const AVFrame& planes, AVFrame& packed);

// Takes the pictures of the frame pool apart that FFmpeg could not read.
class CUnpacker {
 public:
  // AV_PIX_FMT_YUV444P for a ZTLIB_YUV picture, valid until the next call; any other as it is.
  [[nodiscard]] const AVFrame& Unpack(const AVFrame& picture);

 private:
  FramePtr planes;
};
