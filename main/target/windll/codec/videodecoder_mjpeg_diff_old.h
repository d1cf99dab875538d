#pragma once

#include "main/target/windll/codec/layered_picture.h"
#include "main/target/windll/codec/videodecoder_mjpeg_diff.h"

namespace ztlib {

// Differential layered video of older cameras: base picture and blocks are those of differential
// video, key frames and strips are layered pictures. Frames have no types: each that is no key
// frame is a copy of the base with blocks laid over it.
class CVideoDecoderMJPEGDIFF_OLD : public CVideoDecoderMJPEGDIFF {
 public:
  CVideoDecoderMJPEGDIFF_OLD();
  void Decode(CZTImage& out, CBinData& frame) override;
  void Configure(const CData& config) override;
  [[nodiscard]] std::int16_t GetVideoFormat() const override;

 private:
  void DecodeKey(CZTImage& out, const FrameHeader& header);
  void DecodeDifferential(CZTImage& out, const FrameHeader& header, Bytes list);

  LayeredPicture picture;
};

}  // namespace ztlib
