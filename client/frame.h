#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#if defined(ZTCLIENT_FFMPEG)
#include "client/av.h"
#endif

// The pictures that the library and the client hand each other: FFmpeg's frames where the client is
// built with FFmpeg, otherwise a record of which the library reads the same fields.
#if defined(ZTCLIENT_FFMPEG)
using CFrame = AVFrame;
#else
struct CFrame {
  std::uint8_t* data[8] = {};
  int linesize[8] = {};
  std::unique_ptr<std::uint8_t[]> memory;
  int width = 0, height = 0;
  int pixelFormat = 0;
};
using FramePtr = std::unique_ptr<CFrame>;
#endif
static_assert(offsetof(CFrame, data) == 0 && offsetof(CFrame, linesize) == 64 &&
              offsetof(CFrame, width) == 104 && offsetof(CFrame, height) == 108);

// A frame with `rows` rows of `rowBytes` bytes without padding, which its line size says. Null if
// there is no memory.
[[nodiscard]] FramePtr MakeFrame(int width, int height, int pixelFormat, std::size_t rowBytes,
                                 std::size_t rows) noexcept;
// One of ztlib_pixel_format, of a frame made by MakeFrame.
[[nodiscard]] int PixelFormatOf(const CFrame& frame);
// Whether somebody else still looks at the bytes.
[[nodiscard]] bool IsShared(CFrame& frame);
