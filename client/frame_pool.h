#pragma once

#include "client/frame.h"

#include <mutex>
#include <vector>

// A sample in pixels and bytes.
struct CSampleShape {
  int width, height, bytes;
};
// `pixelFormat` is one of ztlib_pixel_format.
[[nodiscard]] const CSampleShape& ShapeOf(int pixelFormat);

// The frame manager that the library gets all its picture memory from. Frames have
// rows without padding; a frame that comes back is kept with its buffer and given out again for
// the next picture of that shape, so a running stream allocates nothing.
class CFramePool {
 public:
  // No picture of this program is larger; a hostile frame cannot ask for more.
  static constexpr std::uint64_t maxPictureBytes = std::uint64_t{1} << 29;

  static CFramePool& Instance();

  // Size in pixels, `pixelFormat` one of ztlib_pixel_format. Null refuses: an unknown format, an
  // empty or too large picture, no memory.
  [[nodiscard]] AVFrame* Allocate(int width, int height, int pixelFormat) noexcept;
  void Release(AVFrame* frame) noexcept;

 private:
  // Enough for the pictures that one stream has in work at a time.
  static constexpr std::size_t maxIdle = 8;

  CFramePool() { idle.reserve(maxIdle + 1); }

  std::mutex mutex;
  std::vector<FramePtr> idle;  // oldest first
};

// A new frame of the pool, to be filled.
struct CPoolDelete {
  void operator()(AVFrame* frame) const { CFramePool::Instance().Release(frame); }
};
using PoolFramePtr = std::unique_ptr<AVFrame, CPoolDelete>;
// Throws CError if there is no memory.
[[nodiscard]] PoolFramePtr NewPoolFrame(int width, int height, int pixelFormat);
