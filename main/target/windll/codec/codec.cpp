#include "main/target/windll/codec/codec.h"

#include "main/lib/base/cdata/HAData.h"
#include "main/lib/base/debug.h"
#include "main/target/windll/codec/frame_header.h"
#include "main/target/windll/codec/videodecoder_mjpeg_diff_old.h"
#include "main/target/windll/codec/videodecoder_mjpeg_old.h"
#include "main/target/windll/codec/videoencoder_mjpeg_diff.h"

#include <exception>

namespace ztlib {

namespace {
constexpr char source[] = "main/target/windll/codec/codec";
}

std::unique_ptr<CVideoEncoderBase> CreateEncoder(int format) {
  if (format == videoFormatMJPEG) return std::make_unique<CVideoEncoderMJPEG>();
  if (format == videoFormatMJPEGDIFF) return std::make_unique<CVideoEncoderMJPEGDIFF>();
  ZT_LOG(1, source, 20, "CreateEncoder: Unknown video format %i", format);
  return nullptr;
}

std::unique_ptr<CVideoDecoderBase> CreateDecoder(int format) {
  if (format == videoFormatLayered) return std::make_unique<CVideoDecoderMJPEG_OLD>();
  if (format == videoFormatMJPEG) return std::make_unique<CVideoDecoderMJPEG>();
  if (format == videoFormatLayeredDiff) return std::make_unique<CVideoDecoderMJPEGDIFF_OLD>();
  if (format == videoFormatMJPEGDIFF) return std::make_unique<CVideoDecoderMJPEGDIFF>();
  ZT_LOG(1, source, 41, "CreateDecoder: Unknown video format %i", format);
  return nullptr;
}

bool DecodeFrame(CVideoDecoderBase** decoder, CZTImage& out, CBinData& frame) {
  if (frame.Size() < FrameHeader::formatEnd)
    ZT_THROW(CException, "Invalid range", "DecodeFrame", source, 34);
  const std::int16_t format = ReadVideoFormat({frame.Data(), frame.Size()});
  if (!*decoder || (*decoder)->GetVideoFormat() != format) {
    std::unique_ptr<CVideoDecoderBase> created = CreateDecoder(format);
    if (!created) {
      // A client that never created a decoder and sends what none exists for is beyond help.
      if (!*decoder) std::terminate();
      ZT_LOG(1, source, 75, "DecodeFrame: invalid video format: (%i)", format);
      return false;
    }
    delete *decoder;
    *decoder = created.release();
  }
  (*decoder)->Decode(out, frame);
  return true;
}

}  // namespace ztlib
