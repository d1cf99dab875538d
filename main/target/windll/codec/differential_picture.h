#pragma once

#include "main/target/windll/image/ztimage.h"

#include <cstdint>
#include <span>
#include <vector>

namespace ztlib {

// What differential video of either kind keeps from frame to frame: the base picture, and buffers
// for the list of changed blocks and for the strip in which they come. Sizes are in pixels.
class DifferentialPicture {
 public:
  // The side of a block that the list counts by.
  static constexpr int blockSide = 16;

  // Memory that blocks are copied between: a picture, or the strip of decoded blocks.
  struct Plane {
    std::uint8_t* pixels;
    std::uint64_t size;      // in bytes
    std::uint64_t distance;  // of two rows, in bytes
    std::uint64_t sampleSize;
    std::uint64_t rows;
  };
  [[nodiscard]] static Plane PlaneOf(CZTImage& image);

  // The base becomes a deep copy.
  void SetBase(const CZTImage& picture) { base.Copy(picture); }
  // The same, but a base of that format and size keeps its frame.
  void UpdateBase(const CZTImage& picture);
  void CopyBaseTo(CZTImage& out) const;
  // A base of another size is lost; one of that size and of its own format takes its place.
  void MatchFrame(int width, int height);
  // Gives the base that size, and this format, if it is empty or has another size.
  void RequireBase(PixelFormat format, int width, int height);

  // `list` may reach beyond its end; `maxCount` blocks are taken at most.
  void ReadBlockList(std::span<const std::uint8_t> list, std::uint64_t maxCount);
  // How many of the `width` columns of a strip can come into the picture.
  [[nodiscard]] std::uint32_t UsedStripWidth(std::uint32_t width, PixelFormat format,
                                             std::uint32_t scale) const;
  // A strip as a picture, for any format.
  [[nodiscard]] CZTImage& MakeStripImage(PixelFormat format, int width, int height);
  // A strip in plain memory without a client's frame, for formats that the JPEG layer gives.
  [[nodiscard]] Plane MakeStripPlane(PixelFormat format, std::uint32_t width, std::uint32_t height);

  // `out` becomes the base picture with the listed blocks of the strip over it, all of them at
  // 1 / `activeScale`. Reference frames change the base as well.
  void ApplyBlocks(CZTImage& out, const Plane& strip, PixelFormat format, std::int32_t activeScale,
                   std::uint32_t frameType);

 private:
  // Of blocks within the picture.
  struct BlockShape {
    std::uint64_t rowSize;  // in bytes
    std::uint64_t side;     // in rows
  };

  [[nodiscard]] bool HasBase(int width, int height) const;
  // Makes `picture` of base and blocks in one pass.
  void LayWholeBlocks(const Plane& picture, const Plane& reference, const Plane& strip,
                      const BlockShape& shape, std::uint32_t frameType) const;
  // Lays blocks of any kind over `picture`, which is a copy of the base.
  void LayClippedBlocks(const Plane& picture, const Plane& strip, PixelFormat format,
                        std::uint64_t scale, std::uint32_t frameType);

  CZTImage base;
  CZTImage stripImage;
  std::vector<std::uint8_t> stripPixels;
  std::vector<std::uint64_t> blockList;
};

}  // namespace ztlib
