#pragma once

#include "client/av.h"
#include "ztlib.hpp"

#include <cstddef>

// The pictures that the library and the client hand each other are FFmpeg's frames, of which the
// library reads these fields.
static_assert(offsetof(AVFrame, data) == 0 && offsetof(AVFrame, linesize) == 64 &&
              offsetof(AVFrame, width) == 104 && offsetof(AVFrame, height) == 108);

// Makes the frames of the pool, whose rows have no padding, which their line size says.
struct CAvFrames {
  using Frame = AVFrame;

  static AVFrame* Make(const ztlib::PictureShape& shape) noexcept;
  static void Destroy(AVFrame* frame) noexcept { av_frame_free(&frame); }
  static bool HasShape(const AVFrame& frame, const ztlib::PictureShape& shape);
  // A video encoder may still hold the buffer of a picture that was shown to it.
  static bool IsUnused(AVFrame& frame) { return av_frame_is_writable(&frame) != 0; }
};

// The frame manager that the library gets all its picture memory from.
using CFramePool = ztlib::BasicFramePool<CAvFrames>;
// A new frame of the pool, to be filled.
using PoolFramePtr = CFramePool::Pointer;

// One of ztlib_pixel_format, of a frame of the pool.
[[nodiscard]] int PixelFormatOf(const AVFrame& frame);

// The frame behind an image; throws ztlib::Error if there is none.
[[nodiscard]] inline const AVFrame& FrameOf(const ztlib::Image& image) {
  return image.FrameAs<AVFrame>();
}
