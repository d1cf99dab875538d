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

 protected:
  using Bytes = std::span<const std::uint8_t>;
  // Memory that blocks are copied between: a picture, or the strip of decoded blocks.
  struct Plane {
    std::uint8_t* pixels;
    std::uint64_t size;      // in bytes
    std::uint64_t distance;  // of two rows, in bytes
    std::uint64_t sampleSize;
    std::uint64_t rows;
  };
  // The side of a block that the list counts by.
  static constexpr int blockSide = 16;

  [[nodiscard]] static Plane PlaneOf(CZTImage& image);
  // `target` becomes a copy; it keeps its frame if that has the format and the size.
  static void CopyPicture(CZTImage& target, const CZTImage& source);
  // What every frame begins with: a base picture of another size is lost, and a frame of another
  // video format ends the process.
  void CheckFrame(const FrameHeader& header);
  // Gives the base picture a size, if it has another one.
  void ResizeBase(SizeInPixels size);
  // `out` becomes the base picture with the blocks of `blockList` over it.
  void ApplyBlocks(CZTImage& out, const Plane& strip, std::uint32_t frameType);

  CZTImage baseImage;
  CZTImage stripImage;
  std::vector<std::uint64_t> blockList;

 private:
  void DecodeKey(CZTImage& out, const FrameHeader& header, Bytes stream);
  void DecodeDifferential(CZTImage& out, const FrameHeader& header, Bytes list, Bytes stream);
  [[nodiscard]] Plane DecodeStrip(Bytes stream, JpegSize size);

  // The strip, in formats that the JPEG layer gives.
  std::vector<std::uint8_t> stripPixels;
};
