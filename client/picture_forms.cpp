#include "client/media_input.h"
#include "client/picture_file.h"
#include "client/picture_forms.h"
#include "client/scaler.h"
#include "client/yuv_packing.h"
#include "ztlib.h"

#include <array>

namespace {

class CPngCoder : public IPngCoder {
 public:
  std::span<const std::uint8_t> Code(const AVFrame& picture) override {
    return coder.Code(unpacker.Unpack(picture));
  }

 private:
  CUnpacker unpacker;
  CPictureCoder coder{CPictureCoder::EKind::png};
};

class CPlaneMaker : public IPlaneMaker {
 public:
  explicit CPlaneMaker(const AVFrame& first) : width(first.width), height(first.height) {
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

  const char* Layout() const override { return layout; }

  std::span<const CPlane> Make(const AVFrame& picture) override {
    const AVFrame& shown = scaler.Convert(unpacker.Unpack(picture), format, width, height);
    const AVPixFmtDescriptor* descriptor = av_pix_fmt_desc_get(format);
    for (int plane = 0; plane < descriptor->nb_components; ++plane)
      planes[std::size_t(plane)] = {
          shown.data[plane], shown.linesize[plane],
          plane ? AV_CEIL_RSHIFT(width, descriptor->log2_chroma_w) : width,
          plane ? AV_CEIL_RSHIFT(height, descriptor->log2_chroma_h) : height};
    return std::span(planes).first(static_cast<std::size_t>(descriptor->nb_components));
  }

 private:
  int width, height;
  AVPixelFormat format = AV_PIX_FMT_YUV420P;
  const char* layout = "420jpeg";
  CUnpacker unpacker;
  CScaler scaler;
  std::array<CPlane, 3> planes;
};

}  // namespace

std::unique_ptr<IPngCoder> NewPngCoder() {
  return std::make_unique<CPngCoder>();
}

std::unique_ptr<IPlaneMaker> NewPlaneMaker(const AVFrame& first) {
  return std::make_unique<CPlaneMaker>(first);
}
