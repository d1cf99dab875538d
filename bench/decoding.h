#pragma once

#include "tests/kit/codec.h"

#include <benchmark/benchmark.h>

// The benchmarks of the exports share these functions.

// Frames that come back are given out again, as in clients. The pool is never destroyed, because
// some images stay.
inline kit::FramePool& frames = *new kit::FramePool({.reuse = true});

// Decodes frames in turn. The decoder may write into them.
inline void DecodeAgain(benchmark::State& state, kit::Decoder& decoder,
                        std::span<kit::Bytes> frames) {
  const kit::Image image = kit::NewImage();
  std::size_t next = 0;
  for (auto _ : state) {
    kit::Bytes& frame = frames[next++ % frames.size()];
    ztlib_decoder_process(&decoder.object, image.get(), frame.data(),
                          static_cast<std::uint32_t>(frame.size()));
  }
  if (!kit::FrameOf(image)) state.SkipWithError("no picture");
}
inline void DecodeAgain(benchmark::State& state, kit::Decoder& decoder, kit::Bytes frame) {
  DecodeAgain(state, decoder, {&frame, 1});
}

// Encodes pictures in turn and returns the size of the last frame.
inline std::uint32_t EncodeAgain(benchmark::State& state, const kit::Encoder& encoder,
                                 std::span<const kit::Image> images) {
  std::uint32_t size = 0;
  const auto take = [](void* user, const void*, std::uint32_t bytes) {
    *static_cast<std::uint32_t*>(user) = bytes;
  };
  std::size_t next = 0;
  for (auto _ : state)
    ztlib_encoder_process(encoder.object, &size, take, images[next++ % images.size()].get(), 0);
  if (size == 0) state.SkipWithError("not encoded");
  return size;
}
