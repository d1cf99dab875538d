#pragma once

#include "fuzz/input.h"
#include "fuzz/require.h"
#include "include/ztlib.h"
#include "tests/support/codec_config.h"

// A client of the codec exports for fuzzing: a frame manager that refuses large pictures, and a
// frame that is known to be good.
namespace codec_fuzz {

using Bytes = std::vector<std::uint8_t>;

// Of the picture before it is scaled down, which is what the time of decoding goes by.
inline constexpr std::int64_t maxPixels = 1 << 19;
inline int frameScale = 1;
inline int framesAlive = 0;

struct Frame {
  std::uint8_t* data;
  char unread[56];
  std::int32_t lineSize;
  char unreadEither[36];
  std::int32_t width;
  std::int32_t height;
  Bytes memory;

  // To memory of exactly that size, so that a sanitizer sees a read behind it.
  void Resize(std::size_t size) {
    memory = Bytes(size);
    data = memory.data();
  }
};

inline void* AllocateFrame(int width, int height, int format) {
  constexpr int halfBytesPerPixel[] = {2, 2, 8, 8, 4, 4, 2, 2, 3};
  const std::int64_t pixels = std::int64_t{width} * height;
  if (pixels * frameScale > maxPixels / frameScale) return nullptr;
  ++framesAlive;
  auto* const frame = new Frame{};
  frame->Resize(static_cast<std::size_t>(pixels * halfBytesPerPixel[format] / 2));
  frame->width = width;
  frame->height = height;
  return frame;
}
inline void ReleaseFrame(void* frame) {
  --framesAlive;
  delete static_cast<Frame*>(frame);
}
inline const bool registered = [] {
  ztlib_registerAVFrameMgr(AllocateFrame, ReleaseFrame, nullptr, 0);
  return true;
}();

struct Image {
  Image() : object(ztlib_ztimage_create()) {}
  Image(int format, Frame* frame) : object(ztlib_ztimage_create_avframe(format, frame)) {}
  ~Image() { ztlib_ztimage_destroy(object); }
  Image(const Image&) = delete;
  Image& operator=(const Image&) = delete;
  [[nodiscard]] Bytes Pixels() const {
    const auto* frame = static_cast<const Frame*>(ztlib_ztimage_get_avframe(object));
    return frame ? frame->memory : Bytes();
  }
  void* object;
};

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

inline void Decode(Codec& decoder, const Image& image, Bytes frame) {
  ztlib_decoder_process(&decoder.object, image.object, frame.data(),
                        static_cast<std::uint32_t>(frame.size()));
}

// Sets so many bytes at places that the input names.
inline void Change(Input& in, Bytes& bytes, std::size_t count) {
  for (; count > 0 && !bytes.empty(); --count) {
    const std::size_t at = in.Short() % bytes.size();
    bytes[at] = in.Byte();
  }
}

// The frame of a picture whose byte i is `byteAt(i)`; nothing after a failure.
template <class ByteAt>
Bytes Encode(const Codec& encoder, int format, int width, int height, ByteAt&& byteAt) {
  auto* const picture = static_cast<Frame*>(AllocateFrame(width, height, format));
  for (std::size_t i = 0; i < picture->memory.size(); ++i)
    picture->memory[i] = static_cast<std::uint8_t>(byteAt(i));
  const Image image(format, picture);
  Bytes frame;
  ztlib_encoder_process(encoder.object, &frame, Collect, image.object, 0);
  return frame;
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
    const Bytes made = Encode(encoder, ZTLIB_YUV, side, side,
                              [](std::size_t i) { return i * i / 512 + i % 7 * 20; });
    Require(!made.empty());
    return made;
  }();
  return frame;
}

}  // namespace codec_fuzz
