#include "main/target/windll/codec/videodecoder_mjpeg_diff.h"

#include "main/lib/base/byte_io.h"
#include "main/lib/base/cdata/HAData.h"

#include <algorithm>
#include <cstdio>
#include <exception>

namespace ztlib {

std::int16_t CVideoDecoderMJPEGDIFF::GetVideoFormat() const {
  return videoFormatMJPEGDIFF;
}

void CVideoDecoderMJPEGDIFF::Configure(const CData& config) {
  // Unlike with plain video, a new scale waits for the next key frame.
  // NOLINTNEXTLINE(bugprone-parent-virtual-call)
  CVideoDecoderBase::Configure(config);
  ConfigureSwap(config);
}

void CVideoDecoderMJPEGDIFF::SetBaseImage(const CZTImage& image) {
  differential.SetBase(image);
}

void CVideoDecoderMJPEGDIFF::CheckFrame(const FrameHeader& header) {
  const auto [width, height] = ScaledSize(header, activeScale);
  differential.MatchFrame(width, height);
  if (header.format != GetVideoFormat()) {
    std::printf("[MJPEGDIFF] the frame wasn't compressed with the STDMJPEGDIFF-codec!\n");
    std::fflush(stdout);
    std::terminate();
  }
}

void CVideoDecoderMJPEGDIFF::Decode(CZTImage& out, CBinData& frame) {
  const std::span<std::uint8_t> bytes(frame.Data(), frame.Size());
  // Without a whole header there is no stream, which the JPEG layer refuses.
  if (bytes.size() < FrameHeader::size) (void)Jpeg().ReadHeader({});
  FrameHeader header = FrameHeader::Read(bytes);
  const Bytes list = bytes.subspan(FrameHeader::size);
  const Bytes stream = header.listSize <= list.size() ? list.subspan(header.listSize) : Bytes();
  if (header.differential == 1 && header.frameType == frameTypeKey) {
    // An early encoder that sent no type. Clients see the completed header.
    header.frameType = frameTypePlain;
    StoreLE(&bytes[FrameHeader::frameTypeOffset], header.frameType);
  }
  CheckFrame(header);
  const auto [width, height] = ScaledSize(header, activeScale);
  differential.RequireBase(pixelFormat, width, height);
  out.CreateBySizeInPixels(pixelFormat, width, height);
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
  differential.RequireBase(pixelFormat, size.width, size.height);
  activeScale = scaleDown;
  // Where `out` and the coded picture differ in size, at a change of scale or by a header that
  // lies, it holds that picture as one run of pixels; pairs of pixels then need not lie within a
  // row.
  const bool isPairs =
      out.GetPixelFormat() == PixelFormat::YUYV || out.GetPixelFormat() == PixelFormat::UYVY;
  const auto fillsOut = [&] {
    if (out.GetDxInPixels() != size.width || out.GetDyInPixels() != size.height) return false;
    const JpegSize coded = Jpeg().ReadHeader(stream);
    return coded.width == header.width && coded.height == header.height;
  };
  if (isPairs && !fillsOut())
    DecodeThroughYuv(out, stream);
  else
    DecodeStream(out, stream);
  differential.UpdateBase(out);
}

void CVideoDecoderMJPEGDIFF::DecodeDifferential(CZTImage& out, const FrameHeader& header,
                                                Bytes list, Bytes stream) {
  if (static_cast<std::int32_t>(header.blockCount) <= 0) return differential.CopyBaseTo(out);
  const JpegSize size = Jpeg().ReadHeader(stream);
  differential.ReadBlockList(list, size.width / DifferentialPicture::blockSide);
  const auto strip = DecodeStrip(stream, size);
  differential.ApplyBlocks(out, strip, pixelFormat, activeScale, header.frameType);
}

DifferentialPicture::Plane CVideoDecoderMJPEGDIFF::DecodeStrip(Bytes stream, JpegSize size) {
  const auto scale = static_cast<std::uint32_t>(activeScale);
  const std::uint32_t width = size.width / scale;
  // Rows below the blocks are of no use.
  const std::uint32_t height =
      std::min(size.height, std::uint32_t{DifferentialPicture::blockSide}) / scale;
  if (!CJPEGDecoder::IsTargetFormat(pixelFormat) || width % GetSampleDx(pixelFormat) != 0) {
    CZTImage& strip =
        differential.MakeStripImage(pixelFormat, static_cast<int>(width), static_cast<int>(height));
    DecodeStream(strip, stream);
    return DifferentialPicture::PlaneOf(strip);
  }
  const std::uint32_t used = differential.UsedStripWidth(width, pixelFormat, scale);
  const auto strip = differential.MakeStripPlane(pixelFormat, used, height);
  Jpeg().Decode(stream,
                {.format = pixelFormat, .pixels = strip.pixels, .width = used, .height = height},
                scale);
  return strip;
}

}  // namespace ztlib
