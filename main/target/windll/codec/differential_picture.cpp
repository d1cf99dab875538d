#include "main/target/windll/codec/differential_picture.h"

#include "main/target/windll/codec/block_kernels.h"
#include "main/target/windll/codec/block_list.h"
#include "main/target/windll/codec/frame_header.h"
#include "main/target/windll/codec/jpeg_row_plan.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace ztlib {

namespace {

// Blocks are copied by this much a sample, whatever the format. One-byte formats therefore copy
// past the block; differential frames are made for formats of four-byte samples.
constexpr int bytesPerSample = 4;
// The largest scale at which a block has whole pairs of pixels.
constexpr std::uint32_t maxDividingScale = 8;

std::uint64_t StripSampleSize(PixelFormat format) {
  return format == PixelFormat::GRAY ? 1 : bytesPerSample;
}

// Whether blocks are whole samples that lie side by side without gaps.
bool HasWholeBlocks(PixelFormat format, std::uint64_t scale) {
  const bool isFourBytes =
      format == PixelFormat::RGB || format == PixelFormat::YUV || IsPairFormat(format);
  return isFourBytes && maxDividingScale % scale == 0;
}

// `target` becomes a copy; it keeps its frame if that has the format and the size.
void CopyPicture(CZTImage& target, const CZTImage& source) {
  if (target.GetPixelFormat() == source.GetPixelFormat() && target.GetDx() == source.GetDx() &&
      target.GetDy() == source.GetDy())
    target.OverWrite(source);
  else
    target.Copy(source);
}

}  // namespace

void DifferentialPicture::UpdateBase(const CZTImage& picture) {
  CopyPicture(base, picture);
}

void DifferentialPicture::CopyBaseTo(CZTImage& out) const {
  CopyPicture(out, base);
}

bool DifferentialPicture::HasBase(int width, int height) const {
  return !base.IsEmpty() && base.GetDxInPixels() == width && base.GetDyInPixels() == height;
}

void DifferentialPicture::MatchFrame(int width, int height) {
  if (base.IsEmpty() || HasBase(width, height)) return;
  std::printf("[MJPEGDIFF] the frame and decoder dimensions differ: %ix%i <-> %ix%i\n", width,
              height, base.GetDxInPixels(), base.GetDyInPixels());
  base.CreateBySizeInPixels(base.GetPixelFormat(), width, height);
}

void DifferentialPicture::RequireBase(PixelFormat format, int width, int height) {
  if (!HasBase(width, height)) base.CreateBySizeInPixels(format, width, height);
}

void DifferentialPicture::ReadBlockList(std::span<const std::uint8_t> list,
                                        std::uint64_t maxCount) {
  UnpackBlockList(blockList, list, maxCount);
}

// Columns behind the last block are of no use, except to one-byte formats and at scales by which
// blocks do not divide: these copy past their blocks.
std::uint32_t DifferentialPicture::UsedStripWidth(std::uint32_t width, PixelFormat format,
                                                  std::uint32_t scale) const {
  if (!HasWholeBlocks(format, scale)) return width;
  const std::uint64_t listed = std::max<std::uint64_t>(blockList.size(), 1) * blockSide / scale;
  return static_cast<std::uint32_t>(std::min<std::uint64_t>(width, listed));
}

CZTImage& DifferentialPicture::MakeStripImage(PixelFormat format, int width, int height) {
  stripImage.CreateBySizeInPixels(format, width, height);
  return stripImage;
}

DifferentialPicture::Plane DifferentialPicture::MakeStripPlane(PixelFormat format,
                                                               std::uint32_t width,
                                                               std::uint32_t height) {
  const std::uint64_t sampleSize = StripSampleSize(format);
  const std::uint64_t distance = width / static_cast<unsigned>(GetSampleDx(format)) * sampleSize;
  stripPixels.resize(std::max<std::size_t>(stripPixels.size(), distance * height));
  return {stripPixels.data(), distance * height, distance, sampleSize, height};
}

DifferentialPicture::Plane DifferentialPicture::PlaneOf(CZTImage& image) {
  const auto distance = static_cast<std::uint64_t>(image.GetScanlineSize());
  const auto sampleSize = static_cast<std::uint64_t>(image.GetSampleSize());
  const auto rows = static_cast<std::uint64_t>(image.GetDy());
  return {image.GetPtrAs<std::uint8_t>(), distance * rows, distance, sampleSize, rows};
}

void DifferentialPicture::ApplyBlocks(CZTImage& out, const Plane& strip, PixelFormat format,
                                      std::int32_t activeScale, std::uint32_t frameType) {
  const auto scale = static_cast<std::uint64_t>(activeScale);
  if (HasWholeBlocks(format, scale) && out.GetPixelFormat() == format &&
      base.GetPixelFormat() == format) {
    const std::uint64_t rowSize = blockSide / scale / GetSampleDx(format) * bytesPerSample;
    const Plane picture = PlaneOf(out);
    const Plane reference = PlaneOf(base);
    if (picture.size == reference.size && picture.distance == reference.distance &&
        blockList.size() * rowSize <= strip.distance)
      return LayWholeBlocks(picture, reference, strip,
                            {.rowSize = rowSize, .side = blockSide / scale}, frameType);
  }
  CopyBaseTo(out);
  LayClippedBlocks(PlaneOf(out), strip, format, scale, frameType);
}

// The blocks of a row of blocks are laid as soon as the row is copied, while it is in cache. The
// list may name blocks in any order: the first one out of order, and all that follow, come when the
// picture is complete. So the last of several entries for a block always wins.
void DifferentialPicture::LayWholeBlocks(const Plane& picture, const Plane& reference,
                                         const Plane& strip, const BlockShape& shape,
                                         std::uint32_t frameType) const {
  const BlockKernels& kernels = KernelsFor<BlockKernels>();
  const std::uint64_t columns = static_cast<std::uint64_t>(base.GetDxInPixels()) / shape.side;
  const std::uint64_t stripRows = std::min(shape.side, strip.rows);
  const auto lay = [&](std::uint64_t i, std::uint64_t top, std::uint64_t column) {
    const std::uint64_t rows = std::min(stripRows, picture.rows - top);
    const std::uint64_t at = top * picture.distance + column * shape.rowSize;
    const std::uint8_t* const from = strip.pixels + i * shape.rowSize;
    const auto copyTo = [&](std::uint8_t* to) {
      kernels.copyRows(to, picture.distance, from, strip.distance, shape.rowSize, rows);
    };
    if (frameType == frameTypeDifference)
      return kernels.addDifference(picture.pixels + at, reference.pixels + at, picture.distance,
                                   from, strip.distance, shape.rowSize, rows);
    copyTo(picture.pixels + at);
    if (frameType == frameTypeReference) copyTo(reference.pixels + at);
  };

  std::uint64_t next = 0;
  std::uint64_t first = 0;  // block of the row
  for (std::uint64_t top = 0; top < picture.rows; top += shape.side, first += columns) {
    std::memmove(picture.pixels + top * picture.distance, reference.pixels + top * picture.distance,
                 std::min(shape.side, picture.rows - top) * picture.distance);
    for (; next < blockList.size() && blockList[next] - first < columns; ++next)
      lay(next, top, blockList[next] - first);
  }
  for (; columns > 0 && next < blockList.size(); ++next) {
    const std::uint64_t row = blockList[next] / columns;
    if (row * shape.side < picture.rows)
      lay(next, row * shape.side, blockList[next] - row * columns);
  }
}

// Every copy stays inside the buffers that it touches.
void DifferentialPicture::LayClippedBlocks(const Plane& picture, const Plane& strip,
                                           PixelFormat format, std::uint64_t scale,
                                           std::uint32_t frameType) {
  const std::uint64_t side = blockSide / scale;
  if (side == 0) return;
  const std::uint64_t blocksPerRow = static_cast<std::uint64_t>(base.GetDxInPixels()) / side;
  if (blocksPerRow == 0) return;
  const auto sampleDx = static_cast<std::uint64_t>(GetSampleDx(format));
  const bool isDifference = frameType == frameTypeDifference;
  const std::uint64_t rowSize = isDifference ? bytesPerSample / sampleDx * blockSide / scale
                                             : blockSide / sampleDx / scale * bytesPerSample;
  const Plane reference = PlaneOf(base);
  const std::uint64_t rows = std::min({picture.rows, reference.rows});

  for (std::uint64_t i = 0; i < blockList.size(); ++i) {
    const std::uint64_t x = blockList[i] % blocksPerRow * blockSide / sampleDx / scale;
    const std::uint64_t y = blockList[i] / blocksPerRow * blockSide / scale;
    const std::uint64_t stripX = i * blockSide / sampleDx / scale;
    for (std::uint64_t row = 0; row < std::min(side, strip.rows) && y + row < rows; ++row) {
      const auto place = [](const Plane& plane, std::uint64_t atX, std::uint64_t atY) {
        return std::min(plane.size, atY * plane.distance + atX * plane.sampleSize);
      };
      const std::uint64_t to = place(picture, x, y + row);
      const std::uint64_t referenceAt = place(reference, x, y + row);
      const std::uint64_t from = place(strip, stripX, row);
      const std::uint64_t count =
          std::min({rowSize, picture.size - to, reference.size - referenceAt, strip.size - from});
      if (isDifference) {
        KernelsFor<BlockKernels>().addDifference(picture.pixels + to,
                                                 reference.pixels + referenceAt, 0,
                                                 strip.pixels + from, 0, count, 1);
        continue;
      }
      std::memcpy(picture.pixels + to, strip.pixels + from, count);
      if (frameType == frameTypeReference)
        std::memcpy(reference.pixels + referenceAt, strip.pixels + from, count);
    }
  }
}

}  // namespace ztlib
