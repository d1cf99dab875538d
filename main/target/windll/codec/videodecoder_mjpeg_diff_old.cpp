#include "main/target/windll/codec/videodecoder_mjpeg_diff_old.h"

#include "main/lib/base/cdata/HAData.h"
#include "main/lib/base/debug.h"

#include <limits>

namespace ztlib {

namespace {

constexpr char source[] = "main/target/windll/codec/videodecoder_mjpeg_diff_old";

bool HasBlocks(const FrameHeader& header) {
  return static_cast<std::int32_t>(header.blockCount) > 0;
}
std::uint64_t StripWidth(const FrameHeader& header) {
  return std::uint64_t{header.blockSize} * header.blockCount;
}

}  // namespace

CVideoDecoderMJPEGDIFF_OLD::CVideoDecoderMJPEGDIFF_OLD() : picture(source) {}

std::int16_t CVideoDecoderMJPEGDIFF_OLD::GetVideoFormat() const {
  return videoFormatLayeredDiff;
}

void CVideoDecoderMJPEGDIFF_OLD::Configure(const CData& config) {
  // Layered video has no colours to swap, and a new scale waits for the next key frame.
  // NOLINTNEXTLINE(bugprone-parent-virtual-call)
  CVideoDecoderBase::Configure(config);
}

void CVideoDecoderMJPEGDIFF_OLD::Decode(CZTImage& out, CBinData& frame) {
  const Bytes bytes(frame.Data(), frame.Size());
  if (bytes.size() < FrameHeader::size) ZT_THROW(CException, "Invalid range", "Decode", source, 35);
  const FrameHeader header = FrameHeader::Read(bytes);
  const bool isKey = header.differential == 0;
  // What is damaged is refused before anything changes.
  if (header.format == GetVideoFormat() && (isKey || HasBlocks(header))) {
    if (!isKey && StripWidth(header) > std::numeric_limits<std::int32_t>::max())
      ZT_THROW(CException, "Invalid range", "Decode", source, 41);
    picture.Open(bytes, header, isKey ? scaleDown : activeScale, pixelFormat);
  }
  CheckFrame(header);
  if (isKey)
    DecodeKey(out, header);
  else
    DecodeDifferential(out, header, bytes.subspan(FrameHeader::size));
}

void CVideoDecoderMJPEGDIFF_OLD::DecodeKey(CZTImage& out, const FrameHeader& header) {
  const SizeInPixels size = ScaledSize(header, scaleDown);
  // A scale that the format cannot have must not stay in force.
  differential.RequireBase(pixelFormat, size.width, size.height);
  activeScale = scaleDown;
  out.CreateBySizeInPixels(pixelFormat, size.width, size.height);
  picture.Draw(out);
  differential.UpdateBase(out);
}

void CVideoDecoderMJPEGDIFF_OLD::DecodeDifferential(CZTImage& out, const FrameHeader& header,
                                                    Bytes list) {
  const auto [width, height] = ScaledSize(header, activeScale);
  differential.RequireBase(pixelFormat, width, height);
  out.CreateBySizeInPixels(pixelFormat, width, height);
  if (!HasBlocks(header)) return differential.CopyBaseTo(out);
  const std::uint64_t stripWidth = StripWidth(header);
  const auto scale = static_cast<std::uint32_t>(activeScale);
  CZTImage& strip = differential.MakeStripImage(pixelFormat, static_cast<int>(stripWidth / scale),
                                                static_cast<int>(header.blockSize / scale));
  picture.Draw(strip);
  // A strip without rows holds no block, however wide it is.
  differential.ReadBlockList(list,
                             strip.GetDy() > 0 ? stripWidth / DifferentialPicture::blockSide : 0);
  differential.ApplyBlocks(out, DifferentialPicture::PlaneOf(strip), pixelFormat, activeScale,
                           frameTypePlain);
}

}  // namespace ztlib
