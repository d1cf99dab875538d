#include "client/picture_forms.h"

#include "client/frame.h"
#include "ztlib.h"

CPlaneMaker::CPlaneMaker(const AVFrame& first) : width(first.width), height(first.height) {
  switch (PixelFormatOf(first)) {
    case ZTLIB_GRAY:
      format = AV_PIX_FMT_GRAY8;
      layout = "mono";
      break;
    case ZTLIB_YUYV:
    case ZTLIB_UYVY:
      format = AV_PIX_FMT_YUV422P;
      layout = "422";
      break;
    case ZTLIB_YUV:
      format = AV_PIX_FMT_YUV444P;
      layout = "444";
      break;
    default:
      break;
  }
}

std::span<const CPlane> CPlaneMaker::Make(const AVFrame& picture) {
  const AVFrame& shown = scaler.Convert(unpacker.Unpack(picture), format, width, height);
  const AVPixFmtDescriptor* descriptor = av_pix_fmt_desc_get(format);
  for (int plane = 0; plane < descriptor->nb_components; ++plane)
    planes[std::size_t(plane)] = {
        shown.data[plane], shown.linesize[plane],
        plane ? AV_CEIL_RSHIFT(width, descriptor->log2_chroma_w) : width,
        plane ? AV_CEIL_RSHIFT(height, descriptor->log2_chroma_h) : height};
  return std::span(planes).first(static_cast<std::size_t>(descriptor->nb_components));
}
