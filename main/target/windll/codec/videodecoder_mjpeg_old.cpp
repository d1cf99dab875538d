#include "main/target/windll/codec/videodecoder_mjpeg_old.h"

#include "main/lib/base/cdata/HAData.h"
#include "main/target/windll/codec/frame_header.h"
#include "main/target/windll/image/ztimage.h"

namespace ztlib {

CVideoDecoderMJPEG_OLD::CVideoDecoderMJPEG_OLD()
    : picture("main/target/windll/codec/videodecoder_mjpeg_old") {}

std::int16_t CVideoDecoderMJPEG_OLD::GetVideoFormat() const {
  return videoFormatLayered;
}

void CVideoDecoderMJPEG_OLD::Configure(const CData& config) {
  CVideoDecoderBase::Configure(config);
  activeScale = scaleDown;
}

void CVideoDecoderMJPEG_OLD::Decode(CZTImage& out, CBinData& frame) {
  const std::span<const std::uint8_t> bytes(frame.Data(), frame.Size());
  const FrameHeader header = FrameHeader::Read(bytes);
  picture.Open(bytes, header, activeScale, pixelFormat);
  const auto [width, height] = ScaledSize(header, activeScale);
  out.CreateBySizeInPixels(pixelFormat, width, height);
  picture.Draw(out);
}

}  // namespace ztlib
