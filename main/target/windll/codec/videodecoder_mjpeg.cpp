#include "main/target/windll/codec/videodecoder_mjpeg.h"

#include "main/lib/base/cdata/HAData.h"
#include "main/target/windll/codec/frame_header.h"
#include "main/target/windll/image/ztimage.h"

#include <algorithm>

namespace ztlib {

std::int16_t CVideoDecoderMJPEG::GetVideoFormat() const {
  return videoFormatMJPEG;
}

void CVideoDecoderMJPEG::Configure(const CData& config) {
  CVideoDecoderBase::Configure(config);
  activeScale = scaleDown;
  ConfigureSwap(config);
}

void CVideoDecoderMJPEG::ConfigureSwap(const CData& config) {
  if (const CDataValue* const swap = config.Find(Tok::SwapRGB, cdBool))
    Jpeg().SetSwapRGB(swap->GetBool());
}

CJPEGDecoder& CVideoDecoderMJPEG::Jpeg() {
  if (!decoder) decoder = std::make_unique<CJPEGDecoder>();
  return *decoder;
}

void CVideoDecoderMJPEG::Decode(CZTImage& out, CBinData& frame) {
  const std::span<const std::uint8_t> bytes(frame.Data(), frame.Size());
  // A frame that ends in its header has an empty stream, which the JPEG layer refuses.
  const auto stream = bytes.subspan(std::min<std::size_t>(FrameHeader::size, bytes.size()));
  const JpegSize size = Jpeg().ReadHeader(stream);
  const auto scale = static_cast<std::uint32_t>(activeScale);
  out.CreateBySizeInPixels(pixelFormat, static_cast<int>(size.width / scale),
                           static_cast<int>(size.height / scale));
  DecodeStream(out, stream);
}

void CVideoDecoderMJPEG::DecodeStream(CZTImage& picture, std::span<const std::uint8_t> stream) {
  if (!CJPEGDecoder::IsTargetFormat(picture.GetPixelFormat()))
    return DecodeThroughYuv(picture, stream);
  Jpeg().Decode(stream,
                {.format = picture.GetPixelFormat(),
                 .pixels = picture.GetPtrAs<std::uint8_t>(),
                 .width = static_cast<std::uint32_t>(picture.GetDxInPixels()),
                 .height = static_cast<std::uint32_t>(picture.GetDyInPixels())},
                static_cast<std::uint32_t>(activeScale));
}

void CVideoDecoderMJPEG::DecodeThroughYuv(CZTImage& picture, std::span<const std::uint8_t> stream) {
  CZTImage decoded;
  decoded.CreateBySizeInPixels(PixelFormat::YUV, picture.GetDxInPixels(), picture.GetDyInPixels());
  DecodeStream(decoded, stream);
  picture.ConvertOrMap(picture.GetPixelFormat(), decoded);
}

}  // namespace ztlib
