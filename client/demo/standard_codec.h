#pragma once

#include "client/av.h"
#include "ztlib.hpp"

// A video codec that everybody knows: H.264 of libx264 where FFmpeg has it, else FFmpeg's own
// MPEG-4. Like a camera's it gives each picture at once. CError is thrown if FFmpeg refuses.

class CStandardEncoder {
 public:
  CStandardEncoder(const ztlib::EncoderSettings& settings, AVRational frameRate);

  [[nodiscard]] AVCodecID Id() const { return codec->codec_id; }
  [[nodiscard]] const char* Name() const { return isH264 ? "H.264" : "MPEG-4"; }
  [[nodiscard]] const char* Settings() const {
    return isH264 ? "libx264, preset veryfast without delay" : "FFmpeg's own encoder";
  }

  // A packet that is valid until the next call. `planes` are in 4:2:0. `quantizer` is that of H.264,
  // 1 to 51, where 6 more mean twice the error.
  [[nodiscard]] const AVPacket& Encode(AVFrame& planes, double quantizer);

 private:
  CodecPtr codec;
  PacketPtr packet = NewPacket();
  bool isH264 = false;
};

class CStandardDecoder {
 public:
  explicit CStandardDecoder(AVCodecID id);

  // A picture that is valid until the next call.
  [[nodiscard]] const AVFrame& Decode(const AVPacket& packet);

 private:
  CodecPtr codec;
  FramePtr picture = NewFrame();
};
