#include "main/target/windll/codec/jpeg_decoder.h"

#include "main/target/windll/codec/plane_kernels.h"
#include "main/target/windll/image_convert/row_kernels.h"

#include <algorithm>
#include <cstring>

#include <jerror.h>

namespace ztlib {

namespace {

// libjpeg has no smaller scale.
constexpr std::uint32_t maxScaleDenominator = 8;

// Rows come in four bytes a pixel, which only libjpeg-turbo gives.
constexpr J_COLOR_SPACE firstIsRed = JCS_EXT_RGBX;
constexpr J_COLOR_SPACE firstIsBlue = JCS_EXT_BGRX;

[[nodiscard]] bool IsPairFormat(PixelFormat format) {
  return format == PixelFormat::YUYV || format == PixelFormat::UYVY;
}

[[nodiscard]] std::size_t RowBytes(PixelFormat format, std::uint32_t width) {
  if (format == PixelFormat::GRAY) return width;
  return std::size_t{width} * (IsPairFormat(format) ? 2 : 4);
}

}  // namespace

// Which part of the decoded picture goes where in the target.
struct CJPEGDecoder::RowPlan {
  RowPlan(const JpegTarget& target, std::uint32_t decodedWidth, std::uint32_t decodedHeight)
      : format(target.format), pixels(target.pixels) {
    // Rows of pairs can follow each other only if none of them ends within a pair.
    const bool packed = std::uint64_t{decodedWidth} * decodedHeight <=
                            std::uint64_t{target.width} * target.height &&
                        !(IsPairFormat(format) && decodedWidth % 2 != 0);
    columns = packed ? decodedWidth : std::min(decodedWidth, target.width);
    rows = packed ? decodedHeight : std::min(decodedHeight, target.height);
    if (columns == 0) rows = 0;
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
  arena.Attach(reinterpret_cast<j_common_ptr>(&object));
  limits.Attach(object);
}

bool CJPEGDecoder::IsTargetFormat(PixelFormat format) {
  return format == PixelFormat::GRAY || format == PixelFormat::RGB || format == PixelFormat::YUV ||
         IsPairFormat(format);
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

bool CJPEGDecoder::ChooseOutput(PixelFormat format) {
  if (format == PixelFormat::GRAY) {
    object.out_color_space = JCS_GRAYSCALE;
  } else if (format == PixelFormat::RGB) {
    object.out_color_space = swapRGB ? firstIsRed : firstIsBlue;
  } else {
    object.out_color_space = JCS_YCbCr;
    jpeg_calc_output_dimensions(&object);
    if (JpegPlanes::Supports(object)) {
      object.raw_data_out = TRUE;
    } else if (object.jpeg_color_space == JCS_YCbCr) {
      // Under a wrong name libjpeg hands the components out as they are, four bytes a pixel.
      object.jpeg_color_space = JCS_RGB;
      object.out_color_space = firstIsRed;
    }
  }
  return object.raw_data_out != FALSE;
}

void CJPEGDecoder::Decode(std::span<const std::uint8_t> data, const JpegTarget& target,
                          std::uint32_t scaleDenominator) {
  Begin(data);
  jpeg_read_header(&object, TRUE);
  // Newer versions would go on with wider samples, which rows have no room for.
  if (object.data_precision != BITS_IN_JSAMPLE) RaiseJpegError(object, JERR_BAD_PRECISION);
  object.scale_num = 1;
  object.scale_denom = std::min(scaleDenominator, maxScaleDenominator);
  limits.Start(object, target.width, target.height, data.size());
  const bool asPlanes = ChooseOutput(target.format);
  jpeg_start_decompress(&object);
  const RowPlan plan(target, object.output_width, object.output_height);
  // Where sizes are rounded, one row is decoded that nobody wants. More than that is not worth it.
  const bool finish = object.output_height - plan.rows <= 1;
  if (asPlanes) {
    planes.Start(object);
    ReadPlanes(plan);
    if (finish) planes.ReadRest(object);
  } else {
    scratch.resize(std::max(scratch.size(), RowBytes(PixelFormat::YUV, object.output_width)));
    ReadScanlines(plan);
    if (finish && plan.rows < object.output_height) ReadScanline(scratch.data());
  }
  if (finish)
    jpeg_finish_decompress(&object);
  else
    jpeg_abort_decompress(&object);
}

void CJPEGDecoder::ReadScanline(std::uint8_t* target) {
  jpeg_read_scanlines(&object, &target, 1);
}

void CJPEGDecoder::ReadScanlines(const RowPlan& plan) {
  const bool pairs = IsPairFormat(plan.format);
  const auto pack = plan.format == PixelFormat::YUYV ? KernelsFor<RowKernels>().yuvToYuyv
                                                     : KernelsFor<RowKernels>().yuvToUyvy;
  const std::size_t wanted = RowBytes(plan.format, plan.columns);
  const bool direct = !pairs && plan.columns == object.output_width;
  for (std::uint32_t y = 0; y < plan.rows; ++y) {
    ReadScanline(direct ? plan.Row(y) : scratch.data());
    if (pairs)
      pack(plan.Row(y), scratch.data(), plan.columns / 2);
    else if (!direct)
      std::memcpy(plan.Row(y), scratch.data(), wanted);
  }
}

// Fuses the stretching of chroma, the mean over pairs and the interleaving of components.
void CJPEGDecoder::ReadPlanes(const RowPlan& plan) {
  const PlaneKernels& kernels = KernelsFor<PlaneKernels>();
  const bool pairs = IsPairFormat(plan.format);
  const bool across = planes.IsHalvedAcross();
  const bool down = planes.IsHalvedDown();
  const PlaneKernels::Widen stretch = pairs ? (!across ? kernels.meanOfPairs
                                               : down  ? kernels.widenBetweenToPairs
                                                       : kernels.widenToPairs)
                                            : (!across ? nullptr
                                               : down  ? kernels.widenBetween
                                                       : kernels.widen);
  const PlaneKernels::Join join = !pairs                             ? kernels.joinYuv
                                  : plan.format == PixelFormat::YUYV ? kernels.joinYuyv
                                                                     : kernels.joinUyvy;
  const std::size_t samples = pairs ? plan.columns / 2 : plan.columns;
  // Halved chroma of an odd width has one sample more than pairs.
  const std::size_t stretched = pairs ? samples : (samples + 1) / 2;
  const std::size_t room = (std::size_t{plan.columns} + 1) / 2 * 2;
  scratch.resize(std::max(scratch.size(), 2 * room));
  std::uint8_t* const wide[2] = {scratch.data(), scratch.data() + room};
  for (std::uint32_t y = 0; y < plan.rows; ++y) {
    const JpegPlanes::Row row = planes.ReadRow(object, y);
    std::array<const std::uint8_t*, 2> chroma = row.near;
    if (stretch)
      for (int i = 0; i < 2; ++i) {
        stretch(wide[i], row.near[i], row.far[i], stretched);
        chroma[i] = wide[i];
      }
    join(plan.Row(y), row.y, chroma[0], chroma[1], samples);
  }
}

}  // namespace ztlib
