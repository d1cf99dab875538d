#pragma once

#include "main/target/windll/codec/layered_picture.h"
#include "main/target/windll/codec/videodecoder_base.h"

namespace ztlib {

// Layered video of older cameras: every frame is a picture in four layers behind the header.
class CVideoDecoderMJPEG_OLD : public CVideoDecoderBase {
 public:
  CVideoDecoderMJPEG_OLD();
  void Decode(CZTImage& out, CBinData& frame) override;
  void Configure(const CData& config) override;
  [[nodiscard]] std::int16_t GetVideoFormat() const override;

 private:
  LayeredPicture picture;
};

}  // namespace ztlib
