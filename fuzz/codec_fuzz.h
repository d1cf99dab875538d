#pragma once

#include "fuzz/require.h"
#include "include/ztlib.h"
#include "tests/support/codec_config.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

// A client of the codec exports for fuzzing: a frame manager that refuses large pictures, and a
// frame that is known to be good.
namespace codec_fuzz {

using Bytes = std::vector<std::uint8_t>;

// Of the picture before it is scaled down, which is what the time of decoding goes by.
inline constexpr std::int64_t maxPixels = 1 << 19;
inline int frameScale = 1;

struct Frame {
  std::uint8_t* data;
  char unread[96];
  std::int32_t width;
  std::int32_t height;
  Bytes memory;
};

inline void* AllocateFrame(int width, int height, int format) {
  constexpr int halfBytesPerPixel[] = {2, 2, 8, 8, 4, 4, 2, 2, 3};
  const std::int64_t pixels = std::int64_t{width} * height;
  if (pixels * frameScale > maxPixels / frameScale) return nullptr;
  auto* const frame = new Frame{};
  frame->memory.resize(static_cast<std::size_t>(pixels * halfBytesPerPixel[format] / 2));
  frame->data = frame->memory.data();
  frame->width = width;
  frame->height = height;
  return frame;
}
inline void ReleaseFrame(void* frame) {
  delete static_cast<Frame*>(frame);
}
inline const bool registered = [] {
  ztlib_registerAVFrameMgr(AllocateFrame, ReleaseFrame, nullptr, 0);
  return true;
}();

inline Bytes PixelsOf(void* image) {
  const auto* frame = static_cast<const Frame*>(ztlib_ztimage_get_avframe(image));
  return frame ? frame->memory : Bytes();
}

inline void Collect(void* user, const void* data, std::uint32_t size) {
  const auto* bytes = static_cast<const std::uint8_t*>(data);
  static_cast<Bytes*>(user)->assign(bytes, bytes + size);
}

struct Codec {
  Codec(void* object, void (*destroy)(void**)) : object(object), destroy(destroy) {}
  ~Codec() { destroy(&object); }
  Codec(const Codec&) = delete;
  Codec& operator=(const Codec&) = delete;
  void* object;
  void (*destroy)(void**);
};

inline void Configure(void* decoder, std::int32_t format, std::int32_t scale, bool swap) {
  CodecConfig()
      .Int("PixelFormat", format)
      .Int("ScaleDown", scale)
      .Bool("SwapRGB", swap)
      .Apply(ztlib_decoder_config, decoder);
}

// 64 by 64 pixels of several frequencies.
inline const Bytes& GoodFrame() {
  static const Bytes frame = [] {
    constexpr std::int32_t side = 64;
    const Codec encoder(ztlib_encoder_create(ZTLIB_VIDEO_MJPEG), ztlib_encoder_destroy);
    CodecConfig()
        .Int("Width", side)
        .Int("Height", side)
        .Apply(ztlib_encoder_config, encoder.object);
    auto* const picture = static_cast<Frame*>(AllocateFrame(side, side, ZTLIB_YUV));
    for (std::size_t i = 0; i < picture->memory.size(); ++i)
      picture->memory[i] = static_cast<std::uint8_t>(i * i / 512 + i % 7 * 20);
    void* const image = ztlib_ztimage_create_avframe(ZTLIB_YUV, picture);
    Bytes made;
    ztlib_encoder_process(encoder.object, &made, Collect, image, 1);
    ztlib_ztimage_destroy(image);
    Require(!made.empty());
    return made;
  }();
  return frame;
}

}  // namespace codec_fuzz
