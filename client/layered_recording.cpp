#include "client/layered_recording.h"

#include "client/frame.h"

#include <algorithm>

namespace {

CLayeredSettings LayeredSettings(const ztlib::EncoderSettings& settings) {
  // The coarsest steps of the first family do not fit into their 16 bits below this.
  constexpr int lowestOfFirstFamily = 12;
  CLayeredSettings layered;
  layered.quality = settings.quality;
  layered.tableFamily = settings.quality < lowestOfFirstFamily ? 1 : 0;
  layered.isDifferential = settings.videoFormat == ZTLIB_VIDEO_LAYEREDDIFF;
  layered.keyInterval = settings.keyInterval;
  layered.threshold = std::max(1, 20 - settings.sensitivity);
  layered.listBits = static_cast<unsigned>(settings.listBits);
  layered.hasOverflowKeys = settings.hasOverflowKeys;
  return layered;
}

}  // namespace

CLayeredRecording::CLayeredRecording(const ztlib::EncoderSettings& settings)
    : encoder(LayeredSettings(settings)) {}

std::span<std::uint8_t> CLayeredRecording::Encode(const ztlib::Image& image) {
  const AVFrame& packed = FrameOf(image);
  const CLayeredPlanes planes(packed.data[0], std::ptrdiff_t{2} * packed.width, packed.width,
                              packed.height);
  coded = encoder.Encode(planes.Picture());
  return coded;
}
