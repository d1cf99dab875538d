#include "main/target/windll/codec/jpeg_encoder.h"

#include "main/target/windll/codec/split_kernels.h"
#include "main/target/windll/image_convert/row_kernels.h"

#include <algorithm>
#include <cstring>

namespace ztlib {

namespace {

// How rows of a format become YUV; null for formats that do not, or need not.
RowKernels::Row ConversionOf(PixelFormat format) {
  switch (format) {
    case PixelFormat::GRAY:
      return KernelsFor<RowKernels>().grayToYuv;
    case PixelFormat::RGB:
      return KernelsFor<RowKernels>().rgbToYuv;
    default:
      return nullptr;
  }
}

// How two rows of a format whose pixels come in pairs become planes; null for other formats.
SplitKernels::Pairs PairSplitOf(PixelFormat format) {
  switch (format) {
    case PixelFormat::YUYV:
      return KernelsFor<SplitKernels>().yuyv;
    case PixelFormat::UYVY:
      return KernelsFor<SplitKernels>().uyvy;
    default:
      return nullptr;
  }
}

}  // namespace

bool CJPEGEncoder::IsSourceFormat(PixelFormat format) {
  return format == PixelFormat::YUV || ConversionOf(format) || PairSplitOf(format);
}

CJPEGEncoder::CJPEGEncoder(JpegRoad road) : road(road) {
  InitJpegErrors(errors);
  object.err = &errors;
  jpeg_create_compress(&object);
  arena.Attach(reinterpret_cast<j_common_ptr>(&object));
}

void CJPEGEncoder::Init(std::uint32_t newWidth, std::uint32_t newHeight, std::uint32_t newQuality) {
  jpeg_abort_compress(&object);
  width = newWidth;
  height = newHeight;
  object.input_components = 4;
  object.in_color_space = JCS_YCbCr;
  jpeg_set_defaults(&object);
  object.raw_data_in = TRUE;
  SetQuality(newQuality);
}

void CJPEGEncoder::SetQuality(std::uint32_t newQuality) {
  if (newQuality != quality) header.clear();
  quality = newQuality;
  jpeg_set_quality(&object, static_cast<int>(quality), TRUE);
}

void CJPEGEncoder::AllocatePlanes(PixelFormat format) {
  const std::size_t unit = lumaRows;
  const std::size_t needed = (width + unit - 1) / unit * unit;
  if (!PairSplitOf(format)) wide.resize(needed * wideBytesPerPixel);
  if (needed == paddedWidth) return;
  paddedWidth = 0;
  memory.resize(needed * (lumaRows + chromaRows));
  std::uint8_t* next = memory.data();
  const auto place = [&next](auto& rows, std::size_t distance) {
    for (std::uint8_t*& row : rows) {
      row = next;
      next += distance;
    }
  };
  place(yRows, needed);
  place(uRows, needed / 2);
  place(vRows, needed / 2);
  paddedWidth = needed;
}

std::size_t CJPEGEncoder::Encode(const JpegPicture& picture, std::span<std::uint8_t> out) {
  const auto isValid = [](std::uint32_t size) { return size > 0 && size <= JPEG_MAX_DIMENSION; };
  // A size that no picture has fails in libjpeg.
  if (road == JpegRoad::libjpeg || !isValid(width) || !isValid(height))
    return EncodeByLibjpeg(picture, out);
  AllocatePlanes(picture.format);
  if (header.empty()) MakeHeader();
  if (out.size() < header.size()) RaiseNoRoom();
  std::memcpy(out.data(), header.data(), header.size());
  const std::uint32_t sizes[] = {height, width};
  for (std::size_t i = 0; i < 4; ++i)
    out[sizePlace + i] = static_cast<std::uint8_t>(sizes[i / 2] >> (i % 2 == 0 ? 8 : 0));
  coder.Begin(out.subspan(header.size()));
  for (std::uint32_t top = 0; top < height; top += lumaRows) {
    FillPlanes(picture, top);
    if (!coder.CodeRow({.luma = yRows[0], .chroma = {uRows[0], vRows[0]}, .distance = paddedWidth},
                       (width + DCTSIZE - 1) / DCTSIZE, height - top > DCTSIZE))
      RaiseNoRoom();
  }
  constexpr std::uint8_t end[] = {0xff, JPEG_EOI};
  // libjpeg fails as soon as there is no room left.
  if (!coder.Finish() || coder.Room().size() <= sizeof end) RaiseNoRoom();
  std::memcpy(coder.Room().data(), end, sizeof end);
  return out.size() - coder.Room().size() + sizeof end;
}

void CJPEGEncoder::MakeHeader() {
  // One unit, whatever the planes hold. Its header differs from others in nothing but the size.
  std::array<std::uint8_t, 4096> stream;
  jpeg_abort_compress(&object);
  object.dest = destination.Attach(stream);
  object.image_width = lumaRows;
  object.image_height = lumaRows;
  jpeg_start_compress(&object, TRUE);
  JSAMPARRAY planes[] = {yRows.data(), uRows.data(), vRows.data()};
  jpeg_write_raw_data(&object, planes, lumaRows);
  jpeg_finish_compress(&object);
  coder.SetTables(object);
  // Segments have their marker, two bytes of length and their parameters.
  constexpr std::uint8_t frame = 0xc0;
  constexpr std::uint8_t scan = 0xda;
  std::size_t end = 2;
  std::uint8_t marker = 0;
  do {
    marker = stream[end + 1];
    if (marker == frame) sizePlace = end + 5;
    end += std::size_t{2} + (stream[end + 2] << 8 | stream[end + 3]);
  } while (marker != scan);
  header.assign(stream.begin(), stream.begin() + end);
}

std::size_t CJPEGEncoder::EncodeByLibjpeg(const JpegPicture& picture, std::span<std::uint8_t> out) {
  // The last picture may have been left in the middle by an exception that was not libjpeg's.
  jpeg_abort_compress(&object);
  object.dest = destination.Attach(out);
  object.image_width = width;
  object.image_height = height;
  jpeg_start_compress(&object, TRUE);
  AllocatePlanes(picture.format);
  JSAMPARRAY planes[] = {yRows.data(), uRows.data(), vRows.data()};
  for (std::uint32_t top = 0; top < height; top += lumaRows) {
    FillPlanes(picture, top);
    jpeg_write_raw_data(&object, planes, lumaRows);
  }
  jpeg_finish_compress(&object);
  return out.size() - destination.FreeRoom();
}

// Below the picture its last row goes on, and its last chroma row after halving.
void CJPEGEncoder::FillPlanes(const JpegPicture& picture, std::uint32_t top) {
  const std::uint32_t rows = std::min(height - top, lumaRows);
  const std::size_t chromaWidth = paddedWidth / 2;
  const SplitKernels::Pairs split = PairSplitOf(picture.format);
  for (std::uint32_t y = 0; y < lumaRows; y += 2) {
    std::uint8_t* const u = uRows[y / 2];
    std::uint8_t* const v = vRows[y / 2];
    if (y >= rows) {
      std::memcpy(yRows[y], yRows[y - 1], paddedWidth);
      std::memcpy(yRows[y + 1], yRows[y - 1], paddedWidth);
      std::memcpy(u, uRows[y / 2 - 1], chromaWidth);
      std::memcpy(v, vRows[y / 2 - 1], chromaWidth);
      continue;
    }
    const std::uint8_t* const pair[] = {picture.Row(top + y),
                                        picture.Row(top + std::min(y + 1, rows - 1))};
    if (split)
      split(&yRows[y], u, v, pair, width / 2, chromaWidth);
    else
      SplitOverYuv(picture.format, pair, y);
  }
}

void CJPEGEncoder::SplitOverYuv(PixelFormat format, const std::uint8_t* const (&rows)[2],
                                std::uint32_t y) {
  const RowKernels::Row toYuv = ConversionOf(format);
  std::uint8_t* const u = wide.data();
  std::uint8_t* const v = u + 2 * paddedWidth;
  std::uint8_t* const yuvRow = v + 2 * paddedWidth;
  for (std::uint32_t i = 0; i < 2; ++i) {
    if (toYuv) toYuv(yuvRow, rows[i], width);
    std::uint8_t* const planes[] = {yRows[y + i], u + i * paddedWidth, v + i * paddedWidth};
    KernelsFor<SplitKernels>().yuv(planes[0], planes[1], planes[2], toYuv ? yuvRow : rows[i],
                                   width);
    for (std::uint8_t* const plane : planes)
      std::memset(plane + width, plane[width - 1], paddedWidth - width);
  }
  KernelsFor<SplitKernels>().halve(uRows[y / 2], u, u + paddedWidth, paddedWidth / 2);
  KernelsFor<SplitKernels>().halve(vRows[y / 2], v, v + paddedWidth, paddedWidth / 2);
}

}  // namespace ztlib
