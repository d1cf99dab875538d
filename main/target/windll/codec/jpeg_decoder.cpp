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

constexpr std::size_t cacheLine = 64;

// Rows come in four bytes a pixel, which only libjpeg-turbo gives.
constexpr J_COLOR_SPACE firstIsRed = JCS_EXT_RGBX;
constexpr J_COLOR_SPACE firstIsBlue = JCS_EXT_BGRX;

// Groups of rows in libjpeg's raw form, which leaves out its scalar copy of pixels. For an object
// that has been started with raw output.
class RawGroups final : public JpegGroupSource {
 public:
  explicit RawGroups(jpeg_decompress_struct& object) : object(object) {}

  void ReadGroup(const Groups& groups) override {
    JSAMPARRAY rows[maxComponents];
    for (int i = 0; i < maxComponents; ++i) {
      for (std::uint32_t y = 0; y < groups[i].rows; ++y)
        pointers[i][y] = groups[i].samples + y * groups[i].distance;
      rows[i] = pointers[i].data();
    }
    jpeg_read_raw_data(&object, rows, groups[0].rows);
  }

 private:
  static constexpr std::uint32_t maxGroupRows = 4 * DCTSIZE;

  jpeg_decompress_struct& object;
  std::array<std::array<JSAMPROW, maxGroupRows>, maxComponents> pointers;
};

}  // namespace

CJPEGDecoder::CJPEGDecoder(JpegRoad road) : road(road) {
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
    if (JpegPlanes::Supports(object, false)) {
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
  if (!DecodeScan(target)) DecodeByLibjpeg(target);
}

bool CJPEGDecoder::DecodeScan(const JpegTarget& target) {
  if (road == JpegRoad::libjpeg || jpeg_has_multiple_scans(&object)) return false;
  jpeg_calc_output_dimensions(&object);
  const bool isColor = object.jpeg_color_space == JCS_YCbCr;
  const bool isGray = object.jpeg_color_space == JCS_GRAYSCALE;
  const bool lumaOnly =
      target.format == PixelFormat::GRAY || (isGray && target.format == PixelFormat::RGB);
  if (!(isColor || (isGray && lumaOnly)) || !JpegPlanes::Supports(object, lumaOnly)) return false;
  const JpegRowPlan plan(target, object.output_width, object.output_height);
  if (!plan.finish || !scan.Start(object, lumaOnly)) return false;
  planes.Start(object, lumaOnly);
  try {
    if (lumaOnly)
      ReadGrayPlane(plan, scan);
    else
      ReadPlanes(plan, scan);
    planes.ReadRest(scan);
    const std::size_t size = scan.Finish();
    object.src->next_input_byte += size;
    object.src->bytes_in_buffer -= size;
  } catch (const IrregularScan&) {
    return false;
  }
  jpeg_abort_decompress(&object);
  return true;
}

void CJPEGDecoder::DecodeByLibjpeg(const JpegTarget& target) {
  const bool asPlanes = ChooseOutput(target.format);
  jpeg_start_decompress(&object);
  const JpegRowPlan plan(target, object.output_width, object.output_height);
  if (asPlanes) {
    planes.Start(object, false);
    RawGroups groups(object);
    ReadPlanes(plan, groups);
    if (plan.finish) planes.ReadRest(groups);
  } else {
    scratch.resize(std::max(scratch.size(), JpegRowBytes(PixelFormat::YUV, object.output_width)));
    ReadScanlines(plan);
    if (plan.finish && plan.rows < object.output_height) ReadScanline(scratch.data());
  }
  if (plan.finish)
    jpeg_finish_decompress(&object);
  else
    jpeg_abort_decompress(&object);
}

void CJPEGDecoder::ReadScanline(std::uint8_t* target) {
  jpeg_read_scanlines(&object, &target, 1);
}

void CJPEGDecoder::ReadScanlines(const JpegRowPlan& plan) {
  const bool pairs = IsPairFormat(plan.format);
  const auto pack = plan.format == PixelFormat::YUYV ? KernelsFor<RowKernels>().yuvToYuyv
                                                     : KernelsFor<RowKernels>().yuvToUyvy;
  const std::size_t wanted = JpegRowBytes(plan.format, plan.columns);
  const bool direct = !pairs && plan.columns == object.output_width;
  for (std::uint32_t y = 0; y < plan.rows; ++y) {
    ReadScanline(direct ? plan.Row(y) : scratch.data());
    if (pairs)
      pack(plan.Row(y), scratch.data(), plan.columns / 2);
    else if (!direct)
      std::memcpy(plan.Row(y), scratch.data(), wanted);
  }
}

void CJPEGDecoder::ReadGrayPlane(const JpegRowPlan& plan, JpegGroupSource& from) {
  for (std::uint32_t y = 0; y < plan.rows; ++y) {
    const std::uint8_t* const row = planes.ReadRow(from, y).y;
    if (plan.format == PixelFormat::GRAY)
      std::memcpy(plan.Row(y), row, plan.columns);
    else
      KernelsFor<PlaneKernels>().repeatGray(plan.Row(y), row, plan.columns);
  }
}

// Fuses the stretching of chroma, the mean over pairs and the interleaving of components.
void CJPEGDecoder::ReadPlanes(const JpegRowPlan& plan, JpegGroupSource& from) {
  const PlaneKernels& kernels = KernelsFor<PlaneKernels>();
  const bool pairs = IsPairFormat(plan.format);
  const bool down = planes.IsHalvedDown();
  PlaneKernels::Widen stretch = nullptr;
  switch (planes.Across()) {
    case JpegPlanes::Widening::none:
      if (pairs) stretch = kernels.meanOfPairs;
      break;
    case JpegPlanes::Widening::blended:
      if (pairs)
        stretch = down ? kernels.widenBetweenToPairs : kernels.widenToPairs;
      else
        stretch = down ? kernels.widenBetween : kernels.widen;
      break;
    case JpegPlanes::Widening::repeated:
      if (!pairs) stretch = kernels.repeat;
      break;
  }
  const PlaneKernels::Join join = plan.format == PixelFormat::RGB
                                      ? (swapRGB ? kernels.joinSwappedRgb : kernels.joinRgb)
                                  : !pairs                           ? kernels.joinYuv
                                  : plan.format == PixelFormat::YUYV ? kernels.joinYuyv
                                                                     : kernels.joinUyvy;
  const std::size_t samples = pairs ? plan.columns / 2 : plan.columns;
  // Halved chroma of an odd width has one sample more than pairs.
  const std::size_t stretched = pairs ? samples : (samples + 1) / 2;
  // Two rows that begin with a cache line.
  const std::size_t room = (std::size_t{plan.columns} + cacheLine) / cacheLine * cacheLine;
  scratch.resize(std::max(scratch.size(), 2 * room + cacheLine));
  const auto address = reinterpret_cast<std::uintptr_t>(scratch.data());
  std::uint8_t* const first = scratch.data() + (0 - address) % cacheLine;
  std::uint8_t* const wide[2] = {first, first + room};
  for (std::uint32_t y = 0; y < plan.rows; ++y) {
    const JpegPlanes::Row row = planes.ReadRow(from, y);
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
