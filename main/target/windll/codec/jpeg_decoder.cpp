#include "main/target/windll/codec/jpeg_decoder.h"

#include <algorithm>
#include <cstring>

namespace {

// libjpeg has no smaller scale.
constexpr std::uint32_t maxScaleDenominator = 8;

[[nodiscard]] std::size_t RowBytes(PixelFormat format, std::uint32_t width) {
  return std::size_t{width} * (format == PixelFormat::GRAY ? 1 : 4);
}

}  // namespace

// Which part of the decoded picture goes where in the target.
struct CJPEGDecoder::RowPlan {
  RowPlan(const JpegTarget& target, std::uint32_t decodedWidth, std::uint32_t decodedHeight)
      : format(target.format), pixels(target.pixels) {
    const bool packed =
        std::uint64_t{decodedWidth} * decodedHeight <= std::uint64_t{target.width} * target.height;
    columns = packed ? decodedWidth : std::min(decodedWidth, target.width);
    rows = packed ? decodedHeight : std::min(decodedHeight, target.height);
    distance = RowBytes(format, packed ? decodedWidth : target.width);
  }

  [[nodiscard]] std::uint8_t* Row(std::uint32_t y) const { return pixels + y * distance; }

  PixelFormat format;
  std::uint8_t* pixels;
  std::uint32_t columns;
  std::uint32_t rows;
  std::size_t distance;
};

CJPEGDecoder::CJPEGDecoder() {
  InitJpegErrors(errors);
  object.err = &errors;
  jpeg_create_decompress(&object);
  object.progress = scanLimit.Monitor();
}

CJPEGDecoder::~CJPEGDecoder() {
  jpeg_destroy_decompress(&object);
}

void CJPEGDecoder::Begin(std::span<const std::uint8_t> data) {
  // The last picture may have been left in the middle by an exception that was not libjpeg's.
  jpeg_abort_decompress(&object);
  object.src = source.Attach(data);
}

JpegSize CJPEGDecoder::ReadHeader(std::span<const std::uint8_t> data) {
  Begin(data);
  // The object keeps the size of the last picture when a stream brings none.
  const bool hasImage = jpeg_read_header(&object, FALSE) == JPEG_HEADER_OK;
  const JpegSize size = hasImage ? JpegSize{object.image_width, object.image_height} : JpegSize{};
  jpeg_abort_decompress(&object);
  return size;
}

void CJPEGDecoder::SetOutput(PixelFormat format) {
  if (format == PixelFormat::GRAY) {
    object.out_color_space = JCS_GRAYSCALE;
  } else if (format == PixelFormat::RGB) {
    object.out_color_space = swapRGB ? JCS_EXT_RGBX : JCS_EXT_BGRX;
  } else if (object.jpeg_color_space == JCS_YCbCr) {
    // Under a wrong name libjpeg hands the components out as they are, four bytes a pixel.
    object.jpeg_color_space = JCS_RGB;
    object.out_color_space = JCS_EXT_RGBX;
  } else {
    object.out_color_space = JCS_YCbCr;  // for libjpeg to refuse
  }
}

void CJPEGDecoder::Decode(std::span<const std::uint8_t> data, const JpegTarget& target,
                          std::uint32_t scaleDenominator) {
  Begin(data);
  jpeg_read_header(&object, TRUE);
  object.scale_num = 1;
  object.scale_denom = std::min(scaleDenominator, maxScaleDenominator);
  SetOutput(target.format);
  jpeg_start_decompress(&object);
  const RowPlan plan(target, object.output_width, object.output_height);
  ReadRows(plan);
  // Where sizes are rounded, one row is decoded that nobody wants.
  if (object.output_height - plan.rows > 1) return jpeg_abort_decompress(&object);
  if (object.output_scanline < object.output_height) SkipRow();
  jpeg_finish_decompress(&object);
}

void CJPEGDecoder::ReadRows(const RowPlan& plan) {
  const std::size_t decoded = RowBytes(plan.format, object.output_width);
  const std::size_t copied = RowBytes(plan.format, plan.columns);
  row.resize(std::max(row.size(), decoded));
  for (std::uint32_t y = 0; y < plan.rows; ++y) {
    JSAMPROW to = copied == decoded ? plan.Row(y) : row.data();
    jpeg_read_scanlines(&object, &to, 1);
    if (copied != decoded) std::memcpy(plan.Row(y), row.data(), copied);
  }
}

void CJPEGDecoder::SkipRow() {
  JSAMPROW to = row.data();
  jpeg_read_scanlines(&object, &to, 1);
}
