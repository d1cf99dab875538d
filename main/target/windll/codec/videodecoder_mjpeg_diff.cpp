#include "main/target/windll/codec/videodecoder_mjpeg_diff.h"

#include "main/lib/base/byte_io.h"
#include "main/lib/base/cdata/HAData.h"
#include "main/lib/base/debug.h"
#include "main/target/windll/codec/block_kernels.h"
#include "main/target/windll/codec/block_list.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <exception>

namespace {

// Blocks are copied by this much a sample, whatever the format. One-byte formats therefore copy
// past the block; differential frames are made for formats of four-byte samples.
constexpr int bytesPerSample = 4;
// The largest scale at which a block has whole pairs of pixels.
constexpr std::uint32_t maxDividingScale = 8;

}  // namespace

void CVideoDecoderMJPEGDIFF::CopyPicture(CZTImage& target, const CZTImage& source) {
  if (target.GetPixelFormat() == source.GetPixelFormat() && target.GetDx() == source.GetDx() &&
      target.GetDy() == source.GetDy())
    target.OverWrite(source);
  else
    target.Copy(source);
}

std::int16_t CVideoDecoderMJPEGDIFF::GetVideoFormat() const {
  return videoFormatMJPEGDIFF;
}

void CVideoDecoderMJPEGDIFF::Configure(const CData& config) {
  CVideoDecoderBase::Configure(config);
  ConfigureSwap(config);
}

void CVideoDecoderMJPEGDIFF::SetBaseImage(const CZTImage& image) {
  baseImage.Copy(image);
}

void CVideoDecoderMJPEGDIFF::CheckFrame(const FrameHeader& header) {
  const SizeInPixels size = ScaledSize(header, activeScale);
  if (!baseImage.IsEmpty() &&
      (baseImage.GetDxInPixels() != size.width || baseImage.GetDyInPixels() != size.height)) {
    std::printf("[MJPEGDIFF] the frame and decoder dimensions differ: %ix%i <-> %ix%i\n",
                size.width, size.height, baseImage.GetDxInPixels(), baseImage.GetDyInPixels());
    baseImage.CreateBySizeInPixels(baseImage.GetPixelFormat(), size.width, size.height);
  }
  if (header.format != GetVideoFormat()) {
    std::printf("[MJPEGDIFF] the frame wasn't compressed with the STDMJPEGDIFF-codec!\n");
    std::fflush(stdout);
    std::terminate();
  }
}

void CVideoDecoderMJPEGDIFF::ResizeBase(SizeInPixels size) {
  if (baseImage.IsEmpty() || baseImage.GetDxInPixels() != size.width ||
      baseImage.GetDyInPixels() != size.height)
    baseImage.CreateBySizeInPixels(pixelFormat, size.width, size.height);
}

void CVideoDecoderMJPEGDIFF::Decode(CZTImage& out, CBinData& frame) {
  const Bytes bytes(frame.Data(), frame.Size());
  // Without a whole header there is no stream, which the JPEG layer refuses.
  if (bytes.size() < FrameHeader::size) (void)decoder.ReadHeader({});
  FrameHeader header = FrameHeader::Read(bytes);
  const Bytes list = bytes.subspan(FrameHeader::size);
  const Bytes stream = header.listSize <= list.size() ? list.subspan(header.listSize) : Bytes();
  if (header.differential == 1 && header.frameType == frameTypeKey) {
    // An early encoder that sent no type. Clients see the completed header.
    header.frameType = frameTypePlain;
    StoreLE(frame.Data() + FrameHeader::frameTypeOffset, header.frameType);
  }
  CheckFrame(header);
  const SizeInPixels size = ScaledSize(header, activeScale);
  ResizeBase(size);
  out.CreateBySizeInPixels(pixelFormat, size.width, size.height);
  switch (header.frameType) {
    case frameTypeKey:
      DecodeKey(out, header, stream);
      break;
    case frameTypePlain:
    case frameTypeDifference:
    case frameTypeReference:
      DecodeDifferential(out, header, list, stream);
      break;
    default:
      break;
  }
}

void CVideoDecoderMJPEGDIFF::DecodeKey(CZTImage& out, const FrameHeader& header, Bytes stream) {
  // A scale that the format cannot have must not stay in force: base and scale go together, and no
  // later frame would get past its checks.
  const SizeInPixels size = ScaledSize(header, scaleDown);
  ResizeBase(size);
  activeScale = scaleDown;
  // Where `out` and the coded picture differ in size, at a change of scale or by a header that
  // lies, it holds that picture as one run of pixels; pairs of pixels then need not lie within a
  // row.
  const bool isPairs =
      out.GetPixelFormat() == PixelFormat::YUYV || out.GetPixelFormat() == PixelFormat::UYVY;
  const auto fillsOut = [&] {
    if (out.GetDxInPixels() != size.width || out.GetDyInPixels() != size.height) return false;
    const JpegSize coded = decoder.ReadHeader(stream);
    return coded.width == header.width && coded.height == header.height;
  };
  if (isPairs && !fillsOut())
    DecodeThroughYuv(out, stream);
  else
    DecodeStream(out, stream);
  CopyPicture(baseImage, out);
}

void CVideoDecoderMJPEGDIFF::DecodeDifferential(CZTImage& out, const FrameHeader& header,
                                                Bytes list, Bytes stream) {
  if (static_cast<std::int32_t>(header.blockCount) <= 0) return CopyPicture(out, baseImage);
  const JpegSize size = decoder.ReadHeader(stream);
  UnpackBlockList(blockList, list, size.width / blockSide);
  const Plane strip = DecodeStrip(stream, size);
  ApplyBlocks(out, strip, header.frameType);
}

CVideoDecoderMJPEGDIFF::Plane CVideoDecoderMJPEGDIFF::DecodeStrip(Bytes stream, JpegSize size) {
  const auto scale = static_cast<std::uint32_t>(activeScale);
  std::uint32_t width = size.width / scale;
  // Rows below the blocks are of no use.
  const std::uint32_t height = std::min(size.height, std::uint32_t{blockSide}) / scale;
  if (!CJPEGDecoder::IsTargetFormat(pixelFormat) || width % GetSampleDx(pixelFormat) != 0) {
    stripImage.CreateBySizeInPixels(pixelFormat, static_cast<int>(width), static_cast<int>(height));
    DecodeStream(stripImage, stream);
    return PlaneOf(stripImage);
  }
  const std::uint64_t sampleSize = pixelFormat == PixelFormat::GRAY ? 1 : 4;
  // Neither are columns behind the last block. One-byte formats copy past their blocks, and so do
  // scales by which blocks do not divide.
  if (sampleSize == bytesPerSample && maxDividingScale % scale == 0) {
    const std::uint64_t listed = std::max<std::uint64_t>(blockList.size(), 1) * blockSide / scale;
    width = static_cast<std::uint32_t>(std::min<std::uint64_t>(width, listed));
  }
  const std::uint64_t distance =
      width / static_cast<unsigned>(GetSampleDx(pixelFormat)) * sampleSize;
  stripPixels.resize(std::max<std::size_t>(stripPixels.size(), distance * height));
  decoder.Decode(
      stream,
      {.format = pixelFormat, .pixels = stripPixels.data(), .width = width, .height = height},
      scale);
  return {stripPixels.data(), distance * height, distance, sampleSize, height};
}

CVideoDecoderMJPEGDIFF::Plane CVideoDecoderMJPEGDIFF::PlaneOf(CZTImage& image) {
  const auto distance = static_cast<std::uint64_t>(image.GetScanlineSize());
  const auto sampleSize = static_cast<std::uint64_t>(image.GetSampleSize());
  const auto rows = static_cast<std::uint64_t>(image.GetDy());
  return {image.GetPtrAs<std::uint8_t>(), distance * rows, distance, sampleSize, rows};
}

void CVideoDecoderMJPEGDIFF::ApplyBlocks(CZTImage& out, const Plane& strip,
                                         std::uint32_t frameType) {
  CopyPicture(out, baseImage);
  const auto scale = static_cast<std::uint64_t>(activeScale);
  const std::uint64_t side = blockSide / scale;
  if (side == 0) return;
  const std::uint64_t blocksPerRow = static_cast<std::uint64_t>(baseImage.GetDxInPixels()) / side;
  if (blocksPerRow == 0) return;
  const auto sampleDx = static_cast<std::uint64_t>(GetSampleDx(pixelFormat));
  const bool isDifference = frameType == frameTypeDifference;
  const std::uint64_t rowSize = isDifference ? bytesPerSample / sampleDx * blockSide / scale
                                             : blockSide / sampleDx / scale * bytesPerSample;
  const Plane picture = PlaneOf(out);
  const Plane base = PlaneOf(baseImage);
  const std::uint64_t rows = std::min({picture.rows, base.rows});

  for (std::uint64_t i = 0; i < blockList.size(); ++i) {
    const std::uint64_t x = blockList[i] % blocksPerRow * blockSide / sampleDx / scale;
    const std::uint64_t y = blockList[i] / blocksPerRow * blockSide / scale;
    const std::uint64_t stripX = i * blockSide / sampleDx / scale;
    for (std::uint64_t row = 0; row < std::min(side, strip.rows) && y + row < rows; ++row) {
      // Every copy stays inside the buffers that it touches.
      const auto place = [](const Plane& plane, std::uint64_t atX, std::uint64_t atY) {
        return std::min(plane.size, atY * plane.distance + atX * plane.sampleSize);
      };
      const std::uint64_t to = place(picture, x, y + row);
      const std::uint64_t baseAt = place(base, x, y + row);
      const std::uint64_t from = place(strip, stripX, row);
      const std::uint64_t count =
          std::min({rowSize, picture.size - to, base.size - baseAt, strip.size - from});
      if (isDifference) {
        KernelsFor<BlockKernels>().addDifference(picture.pixels + to, base.pixels + baseAt,
                                                 strip.pixels + from, count);
        continue;
      }
      std::memcpy(picture.pixels + to, strip.pixels + from, count);
      if (frameType == frameTypeReference)
        std::memcpy(base.pixels + baseAt, strip.pixels + from, count);
    }
  }
}
