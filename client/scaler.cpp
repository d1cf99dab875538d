#include "client/scaler.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <new>
#include <utility>

extern "C" {
#include <libavutil/opt.h>
}

namespace {

struct CShape {
  AVPixelFormat format;
  bool isYuv, isFullRange;
};

// FFmpeg has full range both as a flag and as formats of their own; only the flag is left here.
CShape ShapeOf(const AVFrame& picture) {
  auto format = static_cast<AVPixelFormat>(picture.format);
  bool isFull = picture.color_range == AVCOL_RANGE_JPEG;
  for (const auto& [old, now] : {std::pair{AV_PIX_FMT_YUVJ420P, AV_PIX_FMT_YUV420P},
                                 std::pair{AV_PIX_FMT_YUVJ422P, AV_PIX_FMT_YUV422P},
                                 std::pair{AV_PIX_FMT_YUVJ444P, AV_PIX_FMT_YUV444P},
                                 std::pair{AV_PIX_FMT_YUVJ440P, AV_PIX_FMT_YUV440P}})
    if (format == old) {
      format = now;
      isFull = true;
    }
  const AVPixFmtDescriptor* descriptor = av_pix_fmt_desc_get(format);
  const bool isRgb =
      descriptor && (descriptor->flags & (AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL)) != 0;
  // Gray without a word about its range comes from image files, which use all of it.
  const bool isPlainGray =
      descriptor && descriptor->nb_components < 3 && picture.color_range == AVCOL_RANGE_UNSPECIFIED;
  return {format, !isRgb, isRgb || isFull || isPlainGray};
}

ScalerPtr NewScaler(const CScaler::CSetup& setup) {
  ScalerPtr scaler(sws_alloc_context());
  if (!scaler) throw std::bad_alloc();
  // The ranges must be known at the start: a context that begins with equal ones may choose a plain
  // copy and stay with it.
  const std::pair<const char*, int> options[] = {
      {"srcw", setup.sourceWidth},
      {"srch", setup.sourceHeight},
      {"src_format", setup.sourceFormat},
      {"src_range", setup.isSourceFullRange},
      {"dstw", setup.width},
      {"dsth", setup.height},
      {"dst_format", setup.format},
      {"dst_range", 1},
      {"sws_flags", SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP}};
  for (const auto& [name, value] : options)
    AvCheck(av_opt_set_int(scaler.get(), name, value, 0), "cannot convert pictures");
  if (sws_init_context(scaler.get(), nullptr, nullptr) < 0) {
    const char* name = av_get_pix_fmt_name(setup.sourceFormat);
    throw CError(Text("cannot convert a picture of %dx%d in the format %s", setup.sourceWidth,
                      setup.sourceHeight, name ? name : "unknown"));
  }
  sws_setColorspaceDetails(scaler.get(), sws_getCoefficients(setup.sourceMatrix),
                           setup.isSourceFullRange, sws_getCoefficients(SWS_CS_ITU601), 1, 0,
                           1 << 16, 1 << 16);
  return scaler;
}

// Full range for a value of the limited one, in which `zero` stands for 0, or for no color, and
// `steps` for 255 steps of the full one: rounded to the nearest value, so that a half goes up on
// either side of zero.
constexpr int Stretched(int value, int zero, int steps, int fullZero) {
  const int doubled = 2 * 255 * (value - zero) + steps;
  const int rounded = (doubled >= 0 ? doubled : doubled - 2 * steps + 1) / (2 * steps);
  return std::clamp(rounded + fullZero, 0, 255);
}

// The same without a division and within 16 bits, so that the compiler does eight at a time.
template <std::uint16_t factor, std::uint16_t rounding, std::int16_t zero>
struct CStretch {
  static constexpr std::uint8_t Apply(std::uint8_t value) {
    const auto quarters = static_cast<std::uint16_t>((value << 2) + rounding);
    const auto stretched =
        static_cast<std::int16_t>((std::uint32_t{quarters} * std::uint32_t{factor} >> 16) - zero);
    return static_cast<std::uint8_t>(
        std::min<std::int16_t>(std::max<std::int16_t>(stretched, 0), 255));
  }
  static constexpr bool Is(int limitedZero, int steps, int fullZero) {
    for (int value = 0; value < 256; ++value)
      if (Apply(static_cast<std::uint8_t>(value)) != Stretched(value, limitedZero, steps, fullZero))
        return false;
    return true;
  }
  static void Row(const std::uint8_t* __restrict from, std::uint8_t* __restrict to, int width) {
    for (int x = 0; x < width; ++x)
      to[x] = Apply(from[x]);
  }
};
using CStretchLuma = CStretch<19077, 3, 19>;
using CStretchChroma = CStretch<18651, 59, 34>;
static_assert(CStretchLuma::Is(16, 219, 0) && CStretchChroma::Is(128, 224, 128));

// Whether a picture's samples are bytes in planes of their own.
bool IsPlanarYuv(AVPixelFormat format) {
  const AVPixFmtDescriptor* const descriptor = av_pix_fmt_desc_get(format);
  return descriptor && descriptor->nb_components == 3 && descriptor->comp[0].depth == 8 &&
         (descriptor->flags & (AV_PIX_FMT_FLAG_PLANAR | AV_PIX_FMT_FLAG_RGB)) ==
             AV_PIX_FMT_FLAG_PLANAR &&
         av_pix_fmt_count_planes(format) == 3;
}

void StretchRange(const AVFrame& source, AVFrame& target) {
  int downX = 0, downY = 0;
  AvCheck(
      av_pix_fmt_get_chroma_sub_sample(static_cast<AVPixelFormat>(target.format), &downX, &downY),
      "cannot convert pictures");
  for (int plane = 0; plane < 3; ++plane) {
    const auto stretch = plane == 0 ? CStretchLuma::Row : CStretchChroma::Row;
    const int width = plane == 0 ? target.width : AV_CEIL_RSHIFT(target.width, downX);
    const int height = plane == 0 ? target.height : AV_CEIL_RSHIFT(target.height, downY);
    for (int y = 0; y < height; ++y) {
      const std::ptrdiff_t row = y;
      stretch(source.data[plane] + row * source.linesize[plane],
              target.data[plane] + row * target.linesize[plane], width);
    }
  }
}

}  // namespace

const AVFrame& CScaler::Convert(const AVFrame& picture, AVPixelFormat format, int width,
                                int height) {
  const CShape source = ShapeOf(picture);
  const bool isSameMatrix = !source.isYuv || picture.colorspace == AVCOL_SPC_BT470BG ||
                            picture.colorspace == AVCOL_SPC_SMPTE170M ||
                            picture.colorspace == AVCOL_SPC_UNSPECIFIED;
  const bool isSame =
      source.format == format && isSameMatrix && picture.width == width && picture.height == height;
  if (isSame && source.isFullRange) return picture;

  const CSetup wanted{picture.width,
                      picture.height,
                      source.format,
                      source.isFullRange,
                      isSameMatrix ? AVCOL_SPC_BT470BG : picture.colorspace,
                      width,
                      height,
                      format};
  // Most recordings need nothing but their range stretched, for which the scaler takes ten times as
  // long.
  const bool isStretched = isSame && IsPlanarYuv(format);
  if (!isStretched && (!scaler || wanted != setup)) {
    scaler = NewScaler(wanted);
    setup = wanted;
  }
  if (!target || target->format != format || target->width != width || target->height != height)
    target = NewFrame(format, width, height);
  // An encoder may still hold the picture of the call before.
  AvCheck(av_frame_make_writable(target.get()), "cannot allocate a picture");
  const AVPixFmtDescriptor* descriptor = av_pix_fmt_desc_get(format);
  target->color_range = AVCOL_RANGE_JPEG;
  target->colorspace = descriptor->flags & AV_PIX_FMT_FLAG_RGB ? AVCOL_SPC_RGB : AVCOL_SPC_BT470BG;
  if (isStretched)
    StretchRange(picture, *target);
  else
    sws_scale(scaler.get(), picture.data, picture.linesize, 0, picture.height, target->data,
              target->linesize);
  return *target;
}
