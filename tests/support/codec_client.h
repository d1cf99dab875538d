#pragma once

#include "tests/support/codec_config.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

// Codecs and images as a client of the exports holds them.
namespace codec_client {

using Bytes = std::vector<std::uint8_t>;

struct ImageDeleter {
  void operator()(void* image) const { ztlib_ztimage_destroy(image); }
};
using Image = std::unique_ptr<void, ImageDeleter>;

template <void (*destroy)(void**), void (*config)(void*, const ztlib_blob*)>
struct Handle {
  explicit Handle(void* object) : object(object) {}
  ~Handle() { destroy(&object); }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  void Configure(const CodecConfig& values) { values.Apply(config, object); }
  void* object;
};

struct Decoder : Handle<ztlib_decoder_destroy, ztlib_decoder_config> {
  Decoder() : Handle(ztlib_decoder_create(ZTLIB_VIDEO_MJPEG)) {}
  explicit Decoder(int format, int scale = 1, int video = ZTLIB_VIDEO_MJPEG)
      : Handle(ztlib_decoder_create(video)) {
    Configure(CodecConfig().Int("PixelFormat", format).Int("ScaleDown", scale));
  }
  // From memory of exactly that size, so that a sanitizer sees a read behind it. What the decoder
  // writes into the frame is seen by the caller.
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

struct Encoder : Handle<ztlib_encoder_destroy, ztlib_encoder_config> {
  explicit Encoder(int video = ZTLIB_VIDEO_MJPEG) : Handle(ztlib_encoder_create(video)) {}
  Encoder(int width, int height, int video = ZTLIB_VIDEO_MJPEG) : Encoder(video) {
    Configure(CodecConfig().Int("Width", width).Int("Height", height));
  }
  // The frame; nothing after a failure.
  [[nodiscard]] Bytes Process(const void* image, bool key = false) const {
    Bytes frame;
    const auto receive = [](void* user, const void* data, std::uint32_t size) {
      const auto* const bytes = static_cast<const std::uint8_t*>(data);
      static_cast<Bytes*>(user)->assign(bytes, bytes + size);
    };
    ztlib_encoder_process(object, &frame, receive, image, key);
    return frame;
  }
};

// A frame of the records of its layers; nothing if none was handed out.
inline std::optional<Bytes> JoinLayers(std::span<const Bytes> records) {
  std::vector<ztlib_blob> blobs;
  for (const Bytes& record : records)
    blobs.push_back({record.data(), record.size()});
  std::vector<const ztlib_blob*> pointers(records.size() + 1);  // the address of none is one too
  for (std::size_t i = 0; i < blobs.size(); ++i)
    pointers[i] = &blobs[i];
  std::optional<Bytes> frame;
  const auto receive = [](void* user, const void* data, std::uint32_t size) {
    const auto* const bytes = static_cast<const std::uint8_t*>(data);
    static_cast<std::optional<Bytes>*>(user)->emplace(bytes, bytes + size);
  };
  ztlib_composeFromLayers(&frame, receive, pointers.data(),
                          static_cast<std::int32_t>(records.size()));
  return frame;
}

}  // namespace codec_client
