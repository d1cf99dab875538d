#pragma once

#include "main/target/windll/codec/videoencoder_mjpeg.h"
#include "main/target/windll/image/ztimage.h"

#include <vector>

namespace ztlib {

// Differential video: between key frames only the 16 by 16 blocks that differ from a reference,
// side by side in one strip. The reference changes at key and reference frames only, so a receiver
// may lose any other frame without harm to what follows.
//
// Change is looked for on a thumbnail with one sample for 8 by 8 pixels. Sizes must be multiples of
// 8; blocks lie where they belong only if the width is a multiple of 16.
class CVideoEncoderMJPEGDIFF : public CVideoEncoderMJPEG {
 public:
  // An image of another size than the configured one ends the process: it is a programming error of
  // the client.
  void Encode(CBinData& out, const CZTImage& image, const EncodeRequest& request) override;
  // The next frame will be a key frame.
  void Configure(const CData& config) override;
  [[nodiscard]] std::int16_t GetVideoFormat() const override;
  void SetQuality(int newQuality) override;

 private:
  using Picture = TCImageView<TTUYVY<unsigned char>>;
  using Thumbnail = TCImageView<TTGray<unsigned char>>;

  // One byte for each block, with a border of one.
  struct BlockMap {
    void Resize(std::size_t newColumns, std::size_t newRows);
    [[nodiscard]] std::uint8_t* Row(std::size_t row) {
      return &marks[(row + 1) * (columns + 2) + 1];
    }

    std::size_t columns = 0;
    std::size_t rows = 0;
    std::vector<std::uint8_t> marks;
    std::vector<std::uint8_t> rowIsMarked;  // with the same border
  };

  void CheckSizes(const CZTImage& picture, const CZTImage* given) const;
  // False if the frame has to be a key frame after all.
  [[nodiscard]] bool EncodeDifferential(const CZTImage& picture, const CZTImage& present,
                                        FrameHeader& header);
  void EncodeKey(const CZTImage& picture, const CZTImage& present, FrameHeader& header);
  void Compare(const Thumbnail& present);
  void ListBlocks();
  void FillStrip(const Picture& picture, bool asDifference);
  void RenewReference(const Picture& picture, const Thumbnail& present);

  template <class F>
  void ForEachBlockRow(F&& f) const;
  // Of a row of a block that begins at byte `left` of row y.
  [[nodiscard]] static std::size_t BytesInside(const Picture& picture, std::int32_t y,
                                               std::size_t left);

  std::uint32_t maxChangedBlocks = 0;
  std::uint32_t pixelThreshold = 10;
  std::uint32_t frameCounter = 0xFFFFFFFF;  // frames since the last key frame
  std::uint32_t keyFrameInterval = 60;
  std::uint32_t referenceInterval = 4;
  std::uint32_t bitsPerEntry = 6;
  bool hasExtraInfo = false;
  bool advancedMode = false;
  bool allowOutOfOrderKeyFrames = true;
  CZTImage referenceImage;      // UYVY; in advanced mode only
  CZTImage referenceThumbnail;  // gray
  CZTImage thumbnail;           // gray; of the picture in work
  BlockMap changed;
  std::vector<std::uint8_t> spreadRow;
  std::vector<std::uint32_t> blockList;
  std::vector<std::uint8_t> packedList;
  std::vector<std::uint8_t> strip;  // UYVY
};

}  // namespace ztlib
