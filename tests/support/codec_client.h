#pragma once

#include "include/ztlib.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

// Handles and configurations as a client of the codec exports writes them.
namespace codec_client {

using Bytes = std::vector<std::uint8_t>;

// A configuration in the tagged form.
class Config {
 public:
  Config& Int(const char* name, std::int32_t value) { return Add('I', name, &value, 4); }
  Config& Bool(const char* name, bool value) { return Add('B', name, &value, 1); }
  Config& Short(const char* name, std::int16_t value) { return Add('2', name, &value, 2); }
  [[nodiscard]] ztlib_blob Blob() const { return {bytes.data(), bytes.size()}; }

 private:
  Config& Add(char tag, const std::string& name, const void* value, std::uint32_t size) {
    bytes += tag;
    bytes += static_cast<char>(name.size());
    bytes += name;
    bytes.append(reinterpret_cast<const char*>(&size), sizeof size);
    bytes.append(static_cast<const char*>(value), size);
    return *this;
  }
  std::string bytes;
};

template <void (*destroy)(void**), void (*config)(void*, const ztlib_blob*)>
struct Handle {
  explicit Handle(void* object) : object(object) {}
  ~Handle() { destroy(&object); }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  void Configure(const Config& values) {
    const ztlib_blob blob = values.Blob();
    config(object, &blob);
  }
  void* object;
};

struct Decoder : Handle<ztlib_decoder_destroy, ztlib_decoder_config> {
  Decoder() : Handle(ztlib_decoder_create(ZTLIB_VIDEO_MJPEG)) {}
  explicit Decoder(int format, int scale = 1, int video = ZTLIB_VIDEO_MJPEG)
      : Handle(ztlib_decoder_create(video)) {
    Configure(Config().Int("PixelFormat", format).Int("ScaleDown", scale));
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
    Configure(Config().Int("Width", width).Int("Height", height));
  }
};

}  // namespace codec_client
