#include "main/target/windll/codec/videoencoder_mjpeg.h"

#include "main/lib/base/cdata/HAData.h"
#include "main/lib/base/debug.h"
#include "main/target/windll/codec/frame_header.h"
#include "main/target/windll/codec/jpeg_encoder.h"
#include "main/target/windll/image/ztimage.h"

#include <algorithm>
#include <new>

namespace ztlib {

namespace {

constexpr char source[] = "main/target/windll/codec/videoencoder_mjpeg";

constexpr std::uint64_t mostPixels = std::uint64_t{JPEG_MAX_DIMENSION} * JPEG_MAX_DIMENSION;

std::uint64_t Area(std::uint32_t width, std::uint32_t height) {
  return std::uint64_t{width} * height;
}

}  // namespace

std::int16_t CVideoEncoderMJPEG::GetVideoFormat() const {
  return videoFormatMJPEG;
}

std::uint32_t CVideoEncoderMJPEG::GetUnsigned(const CData& config, Token token,
                                              std::uint32_t present) {
  return static_cast<std::uint32_t>(config.GetInt(token, static_cast<std::int32_t>(present)));
}

CVideoEncoderMJPEG::Setup CVideoEncoderMJPEG::Prepare(const CData& config,
                                                      std::uint64_t listRoom) const {
  Setup setup{.width = GetUnsigned(config, Tok::Width, width),
              .height = GetUnsigned(config, Tok::Height, height),
              .quality = GetUnsigned(config, Tok::JPEGQuality, quality),
              .lineSize = GetUnsigned(config, Tok::LineSize, lineSize),
              .encoder = std::make_unique<CJPEGEncoder>(),
              .buffer = nullptr,
              .bufferSize = 0};
  const std::uint64_t pixels = Area(setup.width, setup.height);
  // What no JPEG picture holds would be memory that is never written.
  if (pixels > mostPixels) throw std::bad_alloc();
  setup.bufferSize = FrameHeader::size + listRoom + pixels * 2;
  setup.buffer = std::make_unique_for_overwrite<std::uint8_t[]>(setup.bufferSize);
  setup.encoder->Init(setup.width, setup.height, setup.quality);
  return setup;
}

void CVideoEncoderMJPEG::Commit(Setup&& setup) noexcept {
  width = setup.width;
  height = setup.height;
  quality = setup.quality;
  lineSize = setup.lineSize;
  encoder_ = std::move(setup.encoder);
  buffer = std::move(setup.buffer);
  bufferSize = setup.bufferSize;
}

void CVideoEncoderMJPEG::Configure(const CData& config) {
  const CAutoLock lock(&mutex);
  Commit(Prepare(config, 0));
}

void CVideoEncoderMJPEG::CheckConfigured(const char* site) const {
  if (!encoder_) ZT_THROW(CException, "Using null-pointer", "Encode", site, 67);
}

void CVideoEncoderMJPEG::ForwardQuality(int newQuality, const char* site, int line) {
  const CAutoLock lock(&mutex);
  ZT_ASSERT(encoder_, site, line);
  if (!encoder_) ZT_THROW(CException, "Using null-pointer", "SetQuality", site, 73);
  encoder_->SetQuality(static_cast<std::uint32_t>(newQuality));
}

void CVideoEncoderMJPEG::SetQuality(int newQuality) {
  ForwardQuality(newQuality, source, 69);
}

void CVideoEncoderMJPEG::Encode(CBinData& out, const CZTImage& image,
                                const EncodeRequest& request) {
  const CAutoLock lock(&mutex);
  CheckConfigured(source);
  CZTImage converted;
  JpegPicture picture{.format = image.GetPixelFormat()};
  if (CJPEGEncoder::IsSourceFormat(picture.format) &&
      static_cast<std::uint32_t>(image.GetDxInPixels()) == width &&
      static_cast<std::uint32_t>(image.GetDyInPixels()) >= height) {
    // Row by row inside the JPEG layer: no second picture.
    picture.pixels = image.GetPtrAs<std::uint8_t>();
    picture.distance = static_cast<std::size_t>(image.GetScanlineSize());
  } else {
    converted.ConvertOrMap(PixelFormat::YUV, image);
    // A picture of another size is read as one run of pixels.
    picture = {.format = PixelFormat::YUV,
               .pixels = converted.GetPtrAs<std::uint8_t>(),
               .distance = std::size_t{width} * 4};
    if (Area(converted.GetDx(), converted.GetDy()) < Area(width, height))
      ZT_THROW(CException, "Invalid range", "Encode", source, 100);
  }
  EncodeStream(picture, 0);
  out = FinishFrame({.format = videoFormatMJPEG}, request);
}

void CVideoEncoderMJPEG::EncodeStream(const JpegPicture& picture, std::size_t listSize) {
  // The frame's size is a number of 32 bits.
  const std::uint64_t room =
      std::min<std::uint64_t>(Area(width, height) * 2, UINT32_MAX - FrameHeader::size - listSize);
  encodedSize = static_cast<std::uint32_t>(encoder_->Encode(
      picture, {buffer.get() + FrameHeader::size + listSize, static_cast<std::size_t>(room)}));
}

CBinData CVideoEncoderMJPEG::FinishFrame(FrameHeader header, const EncodeRequest& request) {
  header.kind = FrameHeader::kindEncoded;
  header.totalSize = FrameHeader::size + header.listSize + encodedSize;
  header.headerSize = FrameHeader::size;
  header.timestamp = request.timestamp;
  header.width = width;
  header.height = height;
  header.quality = static_cast<std::uint16_t>(quality);
  header.Write(std::span<std::uint8_t, FrameHeader::size>(buffer.get(), FrameHeader::size));
  return {buffer.get(), header.totalSize};
}

}  // namespace ztlib
