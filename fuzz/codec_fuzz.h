#pragma once

#include "fuzz/input.h"
#include "fuzz/require.h"
#include "tests/kit/codec.h"

#include <algorithm>
#include <array>
#include <utility>

// A client of the exports for fuzzing, with a screen that limits its pictures, and with scripts
// that change good frames and decode them.
namespace codec_fuzz {

using namespace kit;

inline constexpr std::array scales = {1, 2, 4, 8, 3, 5, 16, 1000};

// This is never destroyed, because the last image of a program may go after any other object.
inline FramePool& frames = *new FramePool;

// A picture may have the pixels of this screen, and all pictures of an input together those of two,
// which limits the time that an input takes.
inline constexpr std::int64_t screen = 3840 * 2160;
inline std::int64_t pixelsLeft = 0;

// Returns false if the pixels are more than this input may still have.
inline bool Spend(std::int64_t pixels) {
  if (pixels > std::min(screen, pixelsLeft)) return false;
  pixelsLeft -= pixels;
  return true;
}
// Starts an input with the pixels of two screens.
inline void GrantScreens() {
  pixelsLeft = 2 * screen;
  ztlib_registerAVFrameMgr(
      [](int width, int height, int format) -> void* {
        return Spend(std::int64_t{width} * height) ? FramePool::Allocate(width, height, format)
                                                   : nullptr;
      },
      FramePool::Release, nullptr, 0);
}

// Changes `count` bytes at places that the input names.
inline void Change(Input& in, Bytes& bytes, std::size_t count) {
  for (; count > 0 && !bytes.empty(); --count) {
    const std::size_t at = in.Short() % bytes.size();
    bytes[at] = in.Byte();
  }
}

// A script runs a decoder. The first two bytes choose scale and format, then there are steps: a
// good frame with some bytes changed, a frame from the input, another configuration, or a step of
// the target's own, which may change the frame. After each of them the frame is decoded.
struct Script {
  Script(std::span<const std::uint8_t> data, int video, const std::vector<Bytes>& goodFrames)
      : in{data}, video(video), good(goodFrames), frame(good[0]), decoder(ZTLIB_GRAY, 1, video) {
    GrantScreens();
    Configure(false);
  }
  // Steps below `ownEnd` bring a frame, those below `configureEnd` a configuration. The others go
  // to `other`.
  template <class Other>
  void Run(std::size_t ownEnd, std::size_t configureEnd, Other other) {
    for (int steps = 0; !in.rest.empty() && steps < 24; ++steps) {
      const std::size_t step = in.Byte();
      if (step < 16 * good.size()) {
        frame = good[step / 16];
        Change(in, frame, step % 16);
      } else if (step < ownEnd) {
        frame = in.Block();
      } else if (step < configureEnd) {
        Configure(step == configureEnd - 1);
      } else {
        other(step);
      }
      decoder.Process(image.get(), frame);
    }
  }
  // A key frame must decode as on a new handle, whatever came before.
  void RequireSameAsNew(const Bytes& key) {
    GrantScreens();
    const auto pixels = [&](Decoder& with) {
      // The first frame may put a decoder of its format, without configuration, behind the handle.
      with.Process(NewImage().get(), key);
      with.Configure(format, scale, swapRgb);
      const Image out = NewImage();
      with.Process(out.get(), key);
      return BytesOf(out);
    };
    Decoder fresh(ZTLIB_GRAY, 1, video);
    Require(pixels(decoder) == pixels(fresh));
  }

  Input in;
  const int video;
  const std::vector<Bytes>& good;
  Bytes frame;
  Decoder decoder;
  Image image = NewImage();
  int scale = 1, format = 0;
  bool swapRgb = false;

 private:
  void Configure(bool swap) {
    scale = scales[in.Byte() % scales.size()];
    format = in.Byte() % 10;
    swapRgb = swap;
    decoder.Configure(format, scale, swapRgb);
  }
};

}  // namespace codec_fuzz
