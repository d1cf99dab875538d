#pragma once

#include "main/target/windll/codec/jpeg_decoder.h"
#include "main/target/windll/codec/videodecoder_base.h"

#include <memory>
#include <span>

namespace ztlib {

// Plain video: every frame is one JPEG stream behind the header.
class CVideoDecoderMJPEG : public CVideoDecoderBase {
 public:
  void Decode(CZTImage& out, CBinData& frame) override;
  void Configure(const CData& config) override;
  [[nodiscard]] std::int16_t GetVideoFormat() const override;

 protected:
  // Decodes a stream at `activeScale` into `picture`, which has format and size. On return it may
  // stand in another client frame than before.
  void DecodeStream(CZTImage& picture, std::span<const std::uint8_t> stream);
  // The same by way of a YUV picture of the same size, whatever the format.
  void DecodeThroughYuv(CZTImage& picture, std::span<const std::uint8_t> stream);
  // Takes the flag of red and blue from a configuration that has it.
  void ConfigureSwap(const CData& config);
  // Made at the first use, which never comes in layered video.
  [[nodiscard]] CJPEGDecoder& Jpeg();

 private:
  std::unique_ptr<CJPEGDecoder> decoder;
};

}  // namespace ztlib
