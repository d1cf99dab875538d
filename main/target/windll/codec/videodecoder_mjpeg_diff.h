#pragma once

#include "main/target/windll/codec/frame_header.h"
#include "main/target/windll/codec/videodecoder_mjpeg.h"
#include "main/target/windll/image/ztimage.h"

#include <vector>

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

 private:
  using Bytes = std::span<const std::uint8_t>;
  struct SizeInPixels {
    int width;
    int height;
  };
  // Memory that blocks are copied between: a picture, or the strip of decoded blocks.
  struct Plane {
    std::uint8_t* pixels;
    std::uint64_t size;      // in bytes
    std::uint64_t distance;  // of two rows, in bytes
    std::uint64_t sampleSize;
    std::uint64_t rows;
  };

  [[nodiscard]] static Plane PlaneOf(CZTImage& image);
  [[nodiscard]] static SizeInPixels ScaledSize(const FrameHeader& header, std::int32_t scaleDown);
  void DecodeKey(CZTImage& out, const FrameHeader& header, Bytes stream);
  void DecodeDifferential(CZTImage& out, const FrameHeader& header, Bytes list, Bytes stream);
  [[nodiscard]] Plane DecodeStrip(Bytes stream, JpegSize size);
  void ApplyBlocks(CZTImage& out, const Plane& strip, std::uint32_t frameType);

  CZTImage baseImage;
  CZTImage stripImage;  // for formats that the JPEG layer does not give
  std::vector<std::uint8_t> stripPixels;
  std::vector<std::uint64_t> blockList;
};
