#pragma once

#include "include/ztlib.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <span>
#include <vector>

namespace kit {

// The size in bytes of a picture without padding; `format` is a ztlib_pixel_format.
[[nodiscard]] inline std::size_t PictureSize(int width, int height, int format) {
  constexpr std::size_t halfBytesPerPixel[] = {2, 2, 8, 8, 4, 4, 2, 2, 3};
  return static_cast<std::size_t>(width) * static_cast<std::size_t>(height) *
         halfBytesPerPixel[format] / 2;
}

// A frame as the library reads it: the fields at the offsets that ztlib_frame_allocate names come
// first, then those that only the pool reads.
struct Frame {
  std::uint8_t* data;
  char unread[56];
  std::int32_t lineSize;  // 0 unless a client sets it
  char unreadEither[36];
  std::int32_t width, height;  // in pixels
  std::int32_t format;
  std::unique_ptr<std::uint8_t[]> memory;  // `data` may point elsewhere
  std::size_t size;                        // of the picture in bytes
  std::size_t capacity;                    // of the memory in bytes

  [[nodiscard]] std::span<std::uint8_t> Picture() const { return {data, size}; }
};
static_assert(offsetof(Frame, lineSize) == 64 && offsetof(Frame, width) == 104 &&
              offsetof(Frame, height) == 108);

struct FramePoolOptions {
  std::uint8_t fill = 0;  // what a new picture holds
  // Frames that come back are given out again as they are, for pictures that need no more bytes.
  bool reuse = false;
};

// The frame manager. It is registered with the library as long as the object lives. There is one
// object at a time, because the library's callbacks know no object. Pictures have exactly the bytes
// that they need, so that a sanitizer sees an access to the first byte behind them. Frames may come
// and go on all threads. The object must live until the last frame is back.
class FramePool {
 public:
  explicit FramePool(FramePoolOptions chosen = {}) {
    options = chosen;
    allocated = released = 0;
    refuse = false;
    ztlib_registerAVFrameMgr(Allocate, Release, nullptr, 0);
  }
  ~FramePool() {
    ztlib_registerAVFrameMgr(nullptr, nullptr, nullptr, 0);
    idle.clear();
  }
  FramePool(const FramePool&) = delete;
  FramePool& operator=(const FramePool&) = delete;

  static inline std::atomic<int> allocated = 0;  // since the construction, with those of Make
  static inline std::atomic<int> released = 0;
  static inline std::atomic<bool> refuse = false;  // all that the library asks for

  // Makes a frame for a client to fill and to wrap, which the library then releases. Throws
  // std::bad_alloc.
  [[nodiscard]] static Frame* Make(int width, int height, int format) {
    return Make(width, height, format, PictureSize(width, height, format));
  }
  // Makes a frame of `size` bytes, for a picture whose rows have padding.
  [[nodiscard]] static Frame* Make(int width, int height, int format, std::size_t size) {
    std::unique_ptr<Frame> frame = TakeIdle(size);
    if (!frame) {
      frame = std::make_unique<Frame>();
      frame->memory.reset(new std::uint8_t[size]);
      frame->capacity = size;
      std::fill_n(frame->memory.get(), size, options.fill);
    }
    frame->data = frame->memory.get();
    frame->lineSize = 0;
    frame->width = width;
    frame->height = height;
    frame->format = format;
    frame->size = size;
    ++allocated;
    return frame.release();
  }

  // These are the callbacks themselves, for clients whose own callbacks call them.
  static void* Allocate(int width, int height, int format) {
    return refuse ? nullptr : Make(width, height, format);
  }
  static void Release(void* frame) {
    std::unique_ptr<Frame> owned(static_cast<Frame*>(frame));
    ++released;
    if (!options.reuse) return;
    const std::lock_guard lock(mutex);
    idle.push_back(std::move(owned));
  }

 private:
  static std::unique_ptr<Frame> TakeIdle(std::size_t size) {
    const std::lock_guard lock(mutex);
    // The smallest that will do, so that large pictures find the large ones.
    const auto found = std::ranges::min_element(idle, {}, [size](const auto& frame) {
      return frame->capacity >= size ? frame->capacity : SIZE_MAX;
    });
    if (found == idle.end() || (*found)->capacity < size) return nullptr;
    std::swap(*found, idle.back());
    std::unique_ptr<Frame> frame = std::move(idle.back());
    idle.pop_back();
    return frame;
  }

  static inline FramePoolOptions options;
  static inline std::mutex mutex;
  static inline std::vector<std::unique_ptr<Frame>> idle;
};

}  // namespace kit
