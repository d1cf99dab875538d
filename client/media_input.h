#pragma once

#include "client/picture_source.h"

// The best video stream of anything that FFmpeg reads: video files, camera streams, pictures.
class CMediaInput : public IPictureSource {
 public:
  explicit CMediaInput(const std::string& name);

  bool Next(AVFrame& picture) override;
  [[nodiscard]] std::int64_t TimeMs() const override { return timeMs; }
  [[nodiscard]] std::string Name() const override { return name; }
  [[nodiscard]] AVRational FrameRate() const override { return frameRate; }
  [[nodiscard]] std::int64_t Count() const override { return count; }
  [[nodiscard]] std::string Damage() const override;

 private:
  struct CClose {
    void operator()(AVFormatContext* input) const { avformat_close_input(&input); }
  };

  // Feeds the codec one packet, or the end of the stream.
  void Feed();
  // Goes by the picture's own time, by the frame rate if it has none.
  void Clock(const AVFrame& picture);

  std::string name;
  std::unique_ptr<AVFormatContext, CClose> input;
  CodecPtr codec;
  PacketPtr packet = NewPacket();
  int stream = -1;
  AVRational frameRate{25, 1};
  std::int64_t count = 0;
  std::int64_t damagedPackets = 0;
  std::int64_t pictures = 0, firstTimeMs = 0, timeMs = 0;
};
