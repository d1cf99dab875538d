#pragma once

#include "main/target/windll/codec/videoencoder_base.h"

#include <memory>
#include <span>

class CJPEGEncoder;
struct FrameHeader;

// Plain video: every frame is one JPEG stream behind the header.
class CVideoEncoderMJPEG : public CVideoEncoderBase {
 public:
  CVideoEncoderMJPEG();
  ~CVideoEncoderMJPEG() override;

  void Encode(CBinData& out, const CZTImage& image, const EncodeRequest& request) override;
  void Configure(const CData& config) override;
  [[nodiscard]] std::int16_t GetVideoFormat() const override;
  // Holds until the next Configure. Headers go on to name the configured quality.
  void SetQuality(int newQuality) override;

 protected:
  // Room for a frame of the current size: the header and two bytes a pixel.
  [[nodiscard]] std::span<std::uint8_t> Room() const { return {buffer.get(), bufferSize}; }

  std::unique_ptr<CJPEGEncoder> encoder_;  // null before the first Configure
  std::uint32_t encodedSize = 0;           // of the last stream
  std::uint32_t quality = 75;
  std::unique_ptr<std::uint8_t[]> buffer;
  std::size_t bufferSize = 0;

 private:
  void EncodeStream(const CZTImage& image);
};
