#include "client/frame.h"

#include "ztlib.h"

#include <array>

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

FramePtr MakeFrame(int width, int height, int pixelFormat, std::size_t rowBytes,
                   std::size_t rows) noexcept {
  FramePtr frame(av_frame_alloc());
  if (!frame) return nullptr;
  frame->width = width;
  frame->height = height;
  frame->format = names[static_cast<std::size_t>(pixelFormat)];
  // As not every pixel format has a value in AVFrame::format, it also rides here.
  frame->opaque = const_cast<AVPixelFormat*>(&names[static_cast<std::size_t>(pixelFormat)]);
  if (frame->format != AV_PIX_FMT_NONE) {
    if (av_frame_get_buffer(frame.get(), 1) < 0) return nullptr;
  } else {
    frame->buf[0] = av_buffer_alloc(rowBytes * rows);
    if (!frame->buf[0]) return nullptr;
    frame->data[0] = frame->buf[0]->data;
    frame->linesize[0] = static_cast<int>(rowBytes);
  }
  // The pictures are those of JPEG files: full range, the matrix of BT.601.
  frame->color_range = AVCOL_RANGE_JPEG;
  frame->colorspace = pixelFormat == ZTLIB_RGB ? AVCOL_SPC_RGB : AVCOL_SPC_BT470BG;
  return frame;
}

int PixelFormatOf(const AVFrame& frame) {
  return static_cast<int>(static_cast<const AVPixelFormat*>(frame.opaque) - names.data());
}

bool IsShared(AVFrame& frame) {
  return av_frame_is_writable(&frame) == 0;
}
