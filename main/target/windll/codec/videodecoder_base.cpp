#include "main/target/windll/codec/videodecoder_base.h"

#include "main/lib/base/cdata/HAData.h"

void CVideoDecoderBase::Configure(const CData& config) {
  const std::int32_t scale = config.GetInt(Tok::ScaleDown, scaleDown);
  if (scale > 0) scaleDown = scale;
  pixelFormat = static_cast<PixelFormat>(
      config.GetInt(Tok::PixelFormat, static_cast<std::int32_t>(pixelFormat)));
}
