#pragma once

#include "include/ztlib.h"
#include "tests/support/codec_config.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include <benchmark/benchmark.h>

// A frame manager for benchmarks of video: frames of one size at most, and those that come back are
// given out again, as clients do. One thread.
namespace bench_frames {

struct Frame {
  std::uint8_t* data;
  char unread[56];
  std::int32_t lineSize;
  char unreadEither[36];
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

// Decodes one frame over and over.
inline void Decode(benchmark::State& state, int video, std::vector<std::uint8_t> frame, int format,
                   int scale) {
  ztlib_registerAVFrameMgr(Allocate, Release, nullptr, 0);
  void* decoder = ztlib_decoder_create(video);
  CodecConfig()
      .Int("PixelFormat", format)
      .Int("ScaleDown", scale)
      .Apply(ztlib_decoder_config, decoder);
  void* image = ztlib_ztimage_create();
  for (auto _ : state)
    ztlib_decoder_process(&decoder, image, frame.data(), static_cast<std::uint32_t>(frame.size()));
  if (!ztlib_ztimage_get_avframe(image)) state.SkipWithError("no picture");
  ztlib_ztimage_destroy(image);
  ztlib_decoder_destroy(&decoder);
}

}  // namespace bench_frames
