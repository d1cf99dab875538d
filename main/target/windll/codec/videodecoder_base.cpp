#include "main/target/windll/codec/videodecoder_base.h"

#include "main/lib/base/cdata/HAData.h"
#include "main/target/windll/codec/frame_header.h"

namespace ztlib {

void CVideoDecoderBase::Configure(const CData& config) {
  const std::int32_t scale = config.GetInt(Tok::ScaleDown, scaleDown);
  if (scale > 0) scaleDown = scale;
  pixelFormat = static_cast<PixelFormat>(
      config.GetInt(Tok::PixelFormat, static_cast<std::int32_t>(pixelFormat)));
}

CVideoDecoderBase::SizeInPixels CVideoDecoderBase::ScaledSize(const FrameHeader& header,
                                                              std::int32_t scaleDown) {
  const auto scale = static_cast<std::uint32_t>(scaleDown);
  return {static_cast<int>(header.width / scale), static_cast<int>(header.height / scale)};
}

}  // namespace ztlib
