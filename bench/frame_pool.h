#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

// A frame manager for benchmarks of video: frames of one size at most, and those that come back are
// given out again, as clients do. One thread.
namespace bench_frames {

struct Frame {
  std::uint8_t* data;
  char unread[96];
  std::int32_t width;
  std::int32_t height;
  std::vector<std::uint8_t> memory;
};

constexpr std::size_t capacity = std::size_t{1920} * 1088 * 4;

inline std::vector<std::unique_ptr<Frame>> freeFrames;

inline void* Allocate(int width, int height, int) {
  auto frame = std::make_unique<Frame>();
  if (!freeFrames.empty()) {
    frame = std::move(freeFrames.back());
    freeFrames.pop_back();
  }
  frame->memory.resize(capacity);
  frame->data = frame->memory.data();
  frame->width = width;
  frame->height = height;
  return frame.release();
}

inline void Release(void* frame) {
  freeFrames.emplace_back(static_cast<Frame*>(frame));
}

}  // namespace bench_frames
