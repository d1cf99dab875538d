#pragma once

#include "client/frame.h"
#include "client/frame_file.h"
#include "client/picture_source.h"
#include "client/yuv_packing.h"

// The pictures of a .zts file, which has no times: they follow each other at the given rate.
class CCodedInput : public IPictureSource {
 public:
  CCodedInput(const std::string& path, double framesPerSecond);

  // Pictures that cannot be decoded are left out; their time passes.
  bool Next(AVFrame& picture) override;
  [[nodiscard]] std::int64_t TimeMs() const override { return timeMs; }
  [[nodiscard]] std::string Name() const override { return name; }
  [[nodiscard]] AVRational FrameRate() const override { return frameRate; }
  [[nodiscard]] std::int64_t Count() const override { return 0; }
  [[nodiscard]] std::string Damage() const override;

 private:
  std::string name;
  AVRational frameRate;
  CFrameFileReader reader;
  ztlib::Decoder decoder{{ZTLIB_YUV}};
  CUnpacker unpacker;
  std::int64_t damagedFrames = 0, timeMs = 0;
};
