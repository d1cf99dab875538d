#include "main/target/windll/codec/videoencoder_mjpeg.h"

#include "main/lib/base/cdata/HAData.h"
#include "main/lib/base/debug.h"
#include "main/target/windll/codec/frame_header.h"
#include "main/target/windll/codec/jpeg_encoder.h"
#include "main/target/windll/image/ztimage.h"

#include <algorithm>
#include <new>

namespace {

constexpr char source[] = "main/target/windll/codec/videoencoder_mjpeg";

std::uint32_t GetUnsigned(const CData& config, Token token, std::uint32_t present) {
  return static_cast<std::uint32_t>(config.GetInt(token, static_cast<std::int32_t>(present)));
}

std::uint64_t Area(std::uint32_t width, std::uint32_t height) {
  return std::uint64_t{width} * height;
}

std::size_t SizeOfRoom(std::uint32_t width, std::uint32_t height) {
  const std::uint64_t pixels = Area(width, height);
  if (pixels > (PTRDIFF_MAX - FrameHeader::size) / 2) throw std::bad_alloc();
  return FrameHeader::size + pixels * 2;
}

}  // namespace

CVideoEncoderMJPEG::CVideoEncoderMJPEG() = default;
CVideoEncoderMJPEG::~CVideoEncoderMJPEG() = default;

std::int16_t CVideoEncoderMJPEG::GetVideoFormat() const {
  return videoFormatMJPEG;
}

void CVideoEncoderMJPEG::Configure(const CData& config) {
  const CAutoLock lock(&mutex);
  const std::uint32_t newWidth = GetUnsigned(config, Tok::Width, width);
  const std::uint32_t newHeight = GetUnsigned(config, Tok::Height, height);
  const std::uint32_t newQuality = GetUnsigned(config, Tok::JPEGQuality, quality);
  // What can fail comes first.
  const std::size_t newSize = SizeOfRoom(newWidth, newHeight);
  auto newBuffer = std::make_unique_for_overwrite<std::uint8_t[]>(newSize);
  auto newEncoder = std::make_unique<CJPEGEncoder>();
  newEncoder->Init(newWidth, newHeight, newQuality);
  buffer = std::move(newBuffer);
  bufferSize = newSize;
  encoder_ = std::move(newEncoder);
  width = newWidth;
  height = newHeight;
  quality = newQuality;
  lineSize = GetUnsigned(config, Tok::LineSize, lineSize);
}

void CVideoEncoderMJPEG::SetQuality(int newQuality) {
  const CAutoLock lock(&mutex);
  ZT_ASSERT(encoder_, source, 69);
  if (!encoder_) ZT_THROW(CException, "Using null-pointer", "SetQuality", source, __LINE__);
  encoder_->SetQuality(static_cast<std::uint32_t>(newQuality));
}

void CVideoEncoderMJPEG::Encode(CBinData& out, const CZTImage& image,
                                const EncodeRequest& request) {
  const CAutoLock lock(&mutex);
  if (!encoder_) ZT_THROW(CException, "Using null-pointer", "Encode", source, __LINE__);
  EncodeStream(image);
  const std::uint32_t totalSize = FrameHeader::size + encodedSize;
  const FrameHeader header{.kind = FrameHeader::kindEncoded,
                           .totalSize = totalSize,
                           .headerSize = FrameHeader::size,
                           .timestamp = request.timestamp,
                           .format = videoFormatMJPEG,
                           .width = width,
                           .height = height,
                           .quality = static_cast<std::uint16_t>(quality)};
  header.Write(Room().first<FrameHeader::size>());
  out = CBinData(buffer.get(), totalSize);
}

void CVideoEncoderMJPEG::EncodeStream(const CZTImage& image) {
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
      ZT_THROW(CException, "Invalid range", "Encode", source, __LINE__);
  }
  const auto room = Room().subspan(FrameHeader::size);
  // The frame's size is a number of 32 bits.
  const std::size_t most = UINT32_MAX - FrameHeader::size;
  encodedSize = static_cast<std::uint32_t>(
      encoder_->Encode(picture, room.first(std::min(room.size(), most))));
}
