#pragma once

#include "fuzz/input.h"
#include "fuzz/require.h"
#include "tests/kit/codec.h"

#include <algorithm>
#include <array>
#include <utility>

// A client of the exports for fuzzing: its screen, good frames, and what becomes of them.
namespace codec_fuzz {

using namespace kit;

inline constexpr std::array scales = {1, 2, 4, 8, 3, 5, 16, 1000};

// Never destroyed: who comes last at the end of a program is not known.
inline FramePool& frames = *new FramePool;

// The client is as generous as one with this screen, for some screens in turn, which keeps the time
// of an input in bounds.
inline constexpr std::int64_t screen = 3840 * 2160;
inline std::int64_t pixelsLeft = 0;

// False if the pixels are more than the rest of this input may have.
inline bool Spend(std::int64_t pixels) {
  if (pixels > std::min(screen, pixelsLeft)) return false;
  pixelsLeft -= pixels;
  return true;
}
// At the beginning of an input.
inline void GrantScreens() {
  pixelsLeft = 2 * screen;
  ztlib_registerAVFrameMgr(
      [](int width, int height, int format) -> void* {
        return Spend(std::int64_t{width} * height) ? FramePool::Allocate(width, height, format)
                                                   : nullptr;
      },
      FramePool::Release, nullptr, 0);
}

// Sets so many bytes at places that the input names.
inline void Change(Input& in, Bytes& bytes, std::size_t count) {
  for (; count > 0 && !bytes.empty(); --count) {
    const std::size_t at = in.Short() % bytes.size();
    bytes[at] = in.Byte();
  }
}

// A decoder under a script. The first two bytes choose scale and format, then come steps: a good
// frame with some bytes changed, a frame of the input's own, another configuration, or one of the
// target's own, which may change the frame. After each of them the frame is decoded.
struct Script {
  Script(std::span<const std::uint8_t> data, int video, const std::vector<Bytes>& goodFrames)
      : in{data}, video(video), good(goodFrames), frame(good[0]), decoder(ZTLIB_GRAY, 1, video) {
    GrantScreens();
    Configure(false);
  }
  // Steps below `ownEnd` and `configureEnd` are of these kinds, the others are handed to `other`.
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
  // Whatever came, a key frame decodes as on a new handle.
  void RequireSameAsNew(const Bytes& key) {
    GrantScreens();
    const auto pixels = [&](Decoder& with) {
      // The first one puts a decoder of its format behind the handle, which knows no configuration.
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
