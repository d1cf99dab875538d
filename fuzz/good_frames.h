#pragma once

#include "client/layered/layered_encoder.h"
#include "fuzz/codec_fuzz.h"

// Makes sound frames of the video formats, which targets change and decode.
namespace codec_fuzz {

// Returns a frame of 64 by 64 pixels of several frequencies.
inline Bytes PlainFrame() {
  const Image image =
      NewImage(ZTLIB_YUV, 64, 64, [](std::size_t i) { return i * i / 512 + i % 7 * 20; });
  const Bytes frame = Encoder(64, 64).Process(image.get());
  Require(!frame.empty());
  return frame;
}

// Returns a key, two plain, a reference and a plain frame, the same with difference frames, and an
// empty frame.
inline std::vector<Bytes> DifferentialFrames() {
  constexpr int width = 96, height = 64;
  std::vector<Bytes> frames;
  for (const bool advanced : {false, true}) {
    Encoder encoder(width, height, ZTLIB_VIDEO_MJPEGDIFF);
    encoder.Configure(Config()
                          .Int("RPFrameInterval", 3)
                          .Int("Bits", advanced ? 2 : 6)
                          .Bool("AdvancedProfile", advanced));
    for (const std::size_t t : {0, 1, 2, 3, 4, 3}) {
      const Image image = NewImage(ZTLIB_UYVY, width, height, [t](std::size_t i) {
        return i / (2 * width) / 16 == 1 && i % (2 * width) / 32 == t ? 200 : 60 + i % 40;
      });
      frames.push_back(encoder.Process(image.get()));
      Require(!frames.back().empty());
    }
  }
  return frames;
}

// Returns key frames of both formats with codes of every kind, and two differential frames.
inline std::vector<Bytes> LayeredFrames() {
  constexpr int width = 80, height = 48;
  Bytes uyvy(std::size_t{2} * width * height);
  for (std::size_t i = 0; i < uyvy.size(); ++i)
    uyvy[i] = static_cast<std::uint8_t>(i * i / 1900 + i % 9 * 12);
  const CLayeredPlanes planes(uyvy.data(), 2 * width, width, height);
  std::vector<Bytes> frames;
  for (const bool isDifferential : {false, true})
    for (const auto models :
         {ELayeredModels::counted, ELayeredModels::flat, ELayeredModels::steep}) {
      CLayeredSettings settings;
      settings.isDifferential = isDifferential;
      settings.models = models;
      settings.tableFamily = models == ELayeredModels::flat;
      settings.quality = models == ELayeredModels::steep ? 98 : 60;
      settings.groupSize = 2;
      settings.codes.longFormInterval = models == ELayeredModels::steep ? 3 : 0;
      CLayeredEncoder encoder(settings);
      frames.push_back(encoder.Encode(planes.Picture()));
      const std::uint32_t blocks[] = {0, 3, 7, 13};
      if (isDifferential) frames.push_back(*encoder.EncodeBlocks(planes.Picture(), blocks));
    }
  return frames;
}

}  // namespace codec_fuzz
