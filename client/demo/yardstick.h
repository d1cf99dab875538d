#pragma once

#include "client/demo/html_report.h"
#include "client/demo/standard_codec.h"
#include "client/recorder.h"

#include <optional>

// The same pictures with an encoder that everybody knows, in as many bytes as another coding takes.
// What all pictures so far miss corrects the next one, so the clip is needed but once.
class CYardstick {
 public:
  // `coder` is that of the other coding.
  CYardstick(const CCoder& coder, AVRational sourceRate);

  // `reference` is what other encoders got of the picture, as ZTLIB_YUV, and `bytes` what it takes in
  // the other coding. If FFmpeg refuses, a message says so, and nothing more is done.
  void Add(const AVFrame& picture, const AVFrame& reference, std::uint32_t bytes);

  // Nothing if FFmpeg refused.
  [[nodiscard]] std::optional<CCoding> Finish();

 private:
  static constexpr int mostTicks = 60000;  // per second, of MPEG-4
  static constexpr double finest = 1, coarsest = 51;

  // Begins anew.
  void Open();
  void Code(const AVFrame& picture, const AVFrame& reference);

  ztlib::EncoderSettings settings;
  CSize scaled;
  AVRational frameRate;
  CScaler toPlanes;
  CPacker packer;
  std::optional<CStandardEncoder> encoder;
  std::optional<CStandardDecoder> decoder;
  double quantizer = 23;
  std::uint64_t wanted = 0;  // bytes of all pictures so far
  CCoding coding;
  bool hasFailed = false;
};
