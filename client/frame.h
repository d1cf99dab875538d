#pragma once

#include "client/av.h"

#include <cstddef>

// The pictures that the library and the client hand each other are FFmpeg's frames, of which the
// library reads these fields.
static_assert(offsetof(AVFrame, data) == 0 && offsetof(AVFrame, linesize) == 64 &&
              offsetof(AVFrame, width) == 104 && offsetof(AVFrame, height) == 108);

// A frame with `rows` rows of `rowBytes` bytes without padding, which its line size says. Null if
// there is no memory.
[[nodiscard]] FramePtr MakeFrame(int width, int height, int pixelFormat, std::size_t rowBytes,
                                 std::size_t rows) noexcept;
// One of ztlib_pixel_format, of a frame made by MakeFrame.
[[nodiscard]] int PixelFormatOf(const AVFrame& frame);
// Whether somebody else still looks at the bytes.
[[nodiscard]] bool IsShared(AVFrame& frame);
