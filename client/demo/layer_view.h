#pragma once

#include "client/demo/html_report.h"
#include "client/demo/moment.h"
#include "client/demo/playback.h"
#include "client/layer_records.h"
#include "client/recorder.h"

#include <array>
#include <cstdint>
#include <string>

// Records a clip as layered video and shows what its layers and the decoder's scales give.
class CLayerView {
 public:
  // The file gets what is recorded. `coder` is that of another video format, with whole steps of
  // it.
  CLayerView(CMomentMaker& momentMaker, COutputs& outputs, const std::string& path,
             const CCoder& coder);

  // With `isShown` the picture takes the place of the one that was to be shown.
  void Add(std::int64_t index, const AVFrame& picture, bool isShown);

  // Nothing if the pictures are too small.
  [[nodiscard]] std::optional<CLayerPictures> Finish();

 private:
  CMomentMaker& pictures;
  CPlayback playback;
  std::optional<CCoder> layered;
  std::optional<CPacker> packer;
  ztlib::Decoder toYuv{{ZTLIB_YUV}}, toRgb;
  // Of the factors 8, 4 and 2, which need as many layers as their place says; the whole is played
  // back.
  static constexpr std::size_t cutCount = layerCount - 1;
  std::array<ztlib::Decoder, cutCount> scaled{ztlib::Decoder({ZTLIB_RGB, 8}),
                                              ztlib::Decoder({ZTLIB_RGB, 4}),
                                              ztlib::Decoder({ZTLIB_RGB, 2})};
  std::array<CStage, cutCount> decode{CStage{"1/8"}, CStage{"1/4"}, CStage{"1/2"}};
  std::array<CSquaredError, cutCount> errors;
  std::array<std::uint64_t, cutCount> bytes{};
  CLayerPictures shown;
};
