#include "client/picture_encoder.h"

#include "client/layered_recording.h"

namespace {

class CLibraryEncoder : public IPictureEncoder {
 public:
  explicit CLibraryEncoder(const ztlib::EncoderSettings& settings) : encoder(settings) {}

  [[nodiscard]] std::span<std::uint8_t> Encode(const ztlib::Image& image) override {
    encoder.Encode(image, coded);
    return coded;
  }

 private:
  ztlib::Encoder encoder;
  ztlib::Bytes coded;
};

}  // namespace

std::unique_ptr<IPictureEncoder> NewEncoder(const ztlib::EncoderSettings& settings) {
  if (CLayeredRecording::Codes(settings.videoFormat))
    return std::make_unique<CLayeredRecording>(settings);
  return std::make_unique<CLibraryEncoder>(settings);
}
