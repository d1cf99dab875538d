#pragma once

#include "client/av.h"

// Between ZTLIB_YUV (4 bytes: Y, U, V, unused; rows without padding) and the planes of FFmpeg,
// which has no such packed format.

// The planar format to bring a picture to before it is packed for the encoder. The encoder averages
// chroma over 2 by 2 pixels, so chroma that is already shared by neighbours is repeated for each of
// them and comes out as it went in; it must not be interpolated before.
[[nodiscard]] AVPixelFormat PlanarFormatFor(const AVFrame& picture);

// `planes` is in a format of PlanarFormatFor and has the size of `packed`.
void PackYuv(const AVFrame& planes, AVFrame& packed);

// `planes` is AV_PIX_FMT_YUV444P of the same size.
void UnpackYuv(const AVFrame& packed, AVFrame& planes);
