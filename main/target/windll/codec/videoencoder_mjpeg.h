#pragma once

#include "main/lib/base/cdata/HAData.h"
#include "main/target/windll/codec/frame_header.h"
#include "main/target/windll/codec/jpeg_encoder.h"
#include "main/target/windll/codec/videoencoder_base.h"

#include <memory>
#include <span>

namespace ztlib {

// Plain video: every frame is one JPEG stream behind the header.
class CVideoEncoderMJPEG : public CVideoEncoderBase {
 public:
  void Encode(CBinData& out, const CZTImage& image, const EncodeRequest& request) override;
  void Configure(const CData& config) override;
  [[nodiscard]] std::int16_t GetVideoFormat() const override;
  // Holds until the next Configure. Headers go on to name the configured quality.
  void SetQuality(int newQuality) override;

 protected:
  // A configuration with all its parts: what can fail has been done.
  struct Setup {
    std::uint32_t width;
    std::uint32_t height;
    std::uint32_t quality;
    std::uint32_t lineSize;
    std::unique_ptr<CJPEGEncoder> encoder;
    std::unique_ptr<std::uint8_t[]> buffer;
    std::size_t bufferSize;
  };
  // `listRoom` bytes between header and stream are for derived formats.
  [[nodiscard]] Setup Prepare(const CData& config, std::uint64_t listRoom) const;
  void Commit(Setup&& setup) noexcept;
  [[nodiscard]] static std::uint32_t GetUnsigned(const CData& config, Token token,
                                                 std::uint32_t present);

  // `site` is the source in whose name it throws.
  void CheckConfigured(const char* site) const;
  void ForwardQuality(int newQuality, const char* source, int line);

  // Codes a picture of the size that `encoder_` is set up for, `listSize` bytes behind the header.
  // The stream may take two bytes for each pixel of the configured size.
  void EncodeStream(const JpegPicture& picture, std::size_t listSize);
  // Completes the header by what all formats have, and gives out the frame that it describes.
  [[nodiscard]] CBinData FinishFrame(FrameHeader header, const EncodeRequest& request);

  std::unique_ptr<CJPEGEncoder> encoder_;  // null before the first Configure
  std::uint32_t encodedSize = 0;           // of the last stream
  std::uint32_t quality = 75;
  // Header, list and stream of the frame in work.
  std::unique_ptr<std::uint8_t[]> buffer;
  std::size_t bufferSize = 0;
};

}  // namespace ztlib
