#include "client/frame.h"

#include <array>
#include <cstring>

namespace {

// FFmpeg's name of each pixel format, if it has one.
constexpr std::array<AVPixelFormat, 9> names{
    AV_PIX_FMT_NONE,     // ZTLIB_BOOL8
    AV_PIX_FMT_GRAY8,    // ZTLIB_GRAY
    AV_PIX_FMT_BGR0,     // ZTLIB_RGB
    AV_PIX_FMT_NONE,     // ZTLIB_YUV
    AV_PIX_FMT_YUYV422,  // ZTLIB_YUYV
    AV_PIX_FMT_UYVY422,  // ZTLIB_UYVY
    AV_PIX_FMT_NONE,     // ZTLIB_RGBBAYER
    AV_PIX_FMT_NONE,     // ZTLIB_YUVBAYERBLOCK
    AV_PIX_FMT_NONE,     // ZTLIB_YUV420BLOCK
};

}  // namespace

AVFrame* CAvFrames::Make(const ztlib::PictureShape& shape) noexcept {
  FramePtr frame(av_frame_alloc());
  if (!frame) return nullptr;
  frame->width = shape.width;
  frame->height = shape.height;
  frame->format = names[shape.pixelFormat];
  // As not every pixel format has a value in AVFrame::format, it also rides here.
  frame->opaque = const_cast<AVPixelFormat*>(&names[shape.pixelFormat]);
  if (frame->format != AV_PIX_FMT_NONE) {
    if (av_frame_get_buffer(frame.get(), 1) < 0) return nullptr;
  } else {
    frame->buf[0] = av_buffer_alloc(shape.Size());
    if (!frame->buf[0]) return nullptr;
    frame->data[0] = frame->buf[0]->data;
    frame->linesize[0] = static_cast<int>(shape.rowBytes);
  }
  // The pictures are those of JPEG files: full range, the matrix of BT.601.
  frame->color_range = AVCOL_RANGE_JPEG;
  frame->colorspace = shape.pixelFormat == ZTLIB_RGB ? AVCOL_SPC_RGB : AVCOL_SPC_BT470BG;
  // Fourth bytes and the borders of sensor pictures stay as they are here, also in files.
  std::memset(frame->data[0], 0, shape.Size());
  return frame.release();
}

bool CAvFrames::HasShape(const AVFrame& frame, const ztlib::PictureShape& shape) {
  return frame.width == shape.width && frame.height == shape.height &&
         PixelFormatOf(frame) == shape.pixelFormat;
}

int PixelFormatOf(const AVFrame& frame) {
  return static_cast<int>(static_cast<const AVPixelFormat*>(frame.opaque) - names.data());
}
