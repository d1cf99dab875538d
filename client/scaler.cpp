#include "client/scaler.h"

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

}  // namespace

const AVFrame& CScaler::Convert(const AVFrame& picture, AVPixelFormat format, int width,
                                int height) {
  const CShape source = ShapeOf(picture);
  const bool isSameMatrix = !source.isYuv || picture.colorspace == AVCOL_SPC_BT470BG ||
                            picture.colorspace == AVCOL_SPC_SMPTE170M ||
                            picture.colorspace == AVCOL_SPC_UNSPECIFIED;
  if (source.format == format && source.isFullRange && isSameMatrix && picture.width == width &&
      picture.height == height)
    return picture;

  const CSetup wanted{picture.width,
                      picture.height,
                      source.format,
                      source.isFullRange,
                      isSameMatrix ? AVCOL_SPC_BT470BG : picture.colorspace,
                      width,
                      height,
                      format};
  if (!scaler || wanted != setup) {
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
  sws_scale(scaler.get(), picture.data, picture.linesize, 0, picture.height, target->data,
            target->linesize);
  return *target;
}
