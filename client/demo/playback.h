#pragma once

#include "client/demo/html_report.h"
#include "client/frame_file.h"
#include "client/recorder.h"

#include <cstdint>
#include <span>
#include <string>

// One coding of the clip, written to a file and played back.
class CPlayback {
 public:
  CPlayback(COutputs& outputs, const std::string& name, const std::string& path);

  // `reference` is the picture that was coded, as ZTLIB_YUV.
  void Add(std::span<std::uint8_t> frame, const AVFrame& reference);

  // Of the last frame.
  [[nodiscard]] const AVFrame& Rgb() const { return *rgb; }

  [[nodiscard]] CCoding Finish(const CCoder& coder);
  // In place of Finish, if there was nothing to play.
  void Close() { file.Close(); }

 private:
  CFrameFileWriter file;
  // One decoder for the eye and one for the figures.
  ztlib::Decoder toRgb, toYuv{{ZTLIB_YUV}};
  CStage decodeRgb{"decode to RGB"}, decodeYuv{"decode to YUV"};
  const AVFrame* rgb = nullptr;
  CCoding coding;
};
