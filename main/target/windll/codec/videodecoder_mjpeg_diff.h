#pragma once

#include "main/target/windll/codec/differential_picture.h"
#include "main/target/windll/codec/frame_header.h"
#include "main/target/windll/codec/videodecoder_mjpeg.h"

namespace ztlib {

// Differential video: a base picture, which key frames replace and reference frames change; every
// other frame is a copy of the base with blocks laid over it and may be lost.
class CVideoDecoderMJPEGDIFF : public CVideoDecoderMJPEG {
 public:
  void Decode(CZTImage& out, CBinData& frame) override;
  // A new scale holds from the next key frame on.
  void Configure(const CData& config) override;
  [[nodiscard]] std::int16_t GetVideoFormat() const override;
  // A picture to start from without a key frame (deep copy).
  void SetBaseImage(const CZTImage& image) override;

 protected:
  using Bytes = std::span<const std::uint8_t>;

  // What every frame begins with: a base picture of another size is lost, and a frame of another
  // video format ends the process.
  void CheckFrame(const FrameHeader& header);

  DifferentialPicture differential;

 private:
  void DecodeKey(CZTImage& out, const FrameHeader& header, Bytes stream);
  void DecodeDifferential(CZTImage& out, const FrameHeader& header, Bytes list, Bytes stream);
  [[nodiscard]] DifferentialPicture::Plane DecodeStrip(Bytes stream, JpegSize size);
};

}  // namespace ztlib
