#pragma once

#include "tests/kit/config.h"
#include "tests/kit/image.h"

#include <optional>

// Codecs as a client of the exports holds them: each object owns its handle. A decoder belongs to
// one thread at a time, an encoder serialises its calls. A failure goes to the client's exception
// handler, and the result of the call is empty then.
namespace kit {

template <void (*destroy)(void**), void (*config)(void*, const ztlib_blob*)>
struct Handle {
  explicit Handle(void* object) : object(object) {}
  ~Handle() { destroy(&object); }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  void Configure(const Config& values) { Apply(values, config, object); }
  void* object;
};

// `video` is a ztlib_video_format, `format` a ztlib_pixel_format, `scale` divides both sides.
struct Decoder : Handle<ztlib_decoder_destroy, ztlib_decoder_config> {
  Decoder() : Handle(ztlib_decoder_create(ZTLIB_VIDEO_MJPEG)) {}
  explicit Decoder(int format, int scale = 1, int video = ZTLIB_VIDEO_MJPEG)
      : Handle(ztlib_decoder_create(video)) {
    Configure(format, scale);
  }
  using Handle::Configure;
  void Configure(int format, int scale, bool swapRgb = false) {
    Configure(Config().Int("PixelFormat", format).Int("ScaleDown", scale).Bool("SwapRGB", swapRgb));
  }
  // The decoder reads memory of exactly that size, so that a sanitizer sees a read behind it. What
  // it writes into the frame is copied back to the caller.
  void Process(void* image, Bytes& frame) {
    const std::unique_ptr<std::uint8_t[]> copy(new std::uint8_t[frame.size()]);
    std::copy(frame.begin(), frame.end(), copy.get());
    ztlib_decoder_process(&object, image, copy.get(), static_cast<std::uint32_t>(frame.size()));
    std::copy_n(copy.get(), frame.size(), frame.begin());
  }
  void Process(void* image, const Bytes& frame) {
    Bytes copy = frame;
    Process(image, copy);
  }
};

// The size is in pixels.
struct Encoder : Handle<ztlib_encoder_destroy, ztlib_encoder_config> {
  explicit Encoder(int video = ZTLIB_VIDEO_MJPEG) : Handle(ztlib_encoder_create(video)) {}
  Encoder(int width, int height, int video = ZTLIB_VIDEO_MJPEG) : Encoder(video) {
    Configure(Config().Int("Width", width).Int("Height", height));
  }
  // Returns the frame.
  [[nodiscard]] Bytes Process(const void* image, bool key = false) const {
    Bytes frame;
    ztlib_encoder_process(object, &frame, Collect, image, key);
    return frame;
  }
};

// Makes a frame of the records of its layers; returns nothing if the library hands out none.
[[nodiscard]] inline std::optional<Bytes> JoinLayers(std::span<const Bytes> records) {
  std::vector<ztlib_blob> blobs;
  for (const Bytes& record : records)
    blobs.push_back({record.data(), record.size()});
  std::vector<const ztlib_blob*> pointers(records.size() + 1);  // not null without records
  for (std::size_t i = 0; i < blobs.size(); ++i)
    pointers[i] = &blobs[i];
  std::optional<Bytes> frame;
  const auto receive = [](void* user, const void* data, std::uint32_t size) {
    Collect(&static_cast<std::optional<Bytes>*>(user)->emplace(), data, size);
  };
  ztlib_composeFromLayers(&frame, receive, pointers.data(),
                          static_cast<std::int32_t>(records.size()));
  return frame;
}

}  // namespace kit
