#include "client/frame_pool.h"

#include "ztlib.h"

#include <algorithm>
#include <array>
#include <cstddef>

// The library reads these three fields of a frame.
static_assert(offsetof(AVFrame, data) == 0 && offsetof(AVFrame, width) == 104 &&
              offsetof(AVFrame, height) == 108);

namespace {

struct CSampleShape {
  int width, height, bytes;
  AVPixelFormat known;  // FFmpeg's name, if it has one
};

constexpr std::array<CSampleShape, 9> shapes{{
    {1, 1, 1, AV_PIX_FMT_NONE},      // ZTLIB_BOOL8
    {1, 1, 1, AV_PIX_FMT_GRAY8},     // ZTLIB_GRAY
    {1, 1, 4, AV_PIX_FMT_BGR0},      // ZTLIB_RGB
    {1, 1, 4, AV_PIX_FMT_NONE},      // ZTLIB_YUV
    {2, 1, 4, AV_PIX_FMT_YUYV422},   // ZTLIB_YUYV
    {2, 1, 4, AV_PIX_FMT_UYVY422},   // ZTLIB_UYVY
    {1, 1, 1, AV_PIX_FMT_NONE},      // ZTLIB_RGBBAYER
    {2, 2, 4, AV_PIX_FMT_NONE},      // ZTLIB_YUVBAYERBLOCK
    {16, 16, 384, AV_PIX_FMT_NONE},  // ZTLIB_YUV420BLOCK
}};

// The pixel format rides in `opaque`, as not every one has a value in AVFrame::format.
void* FormatTag(int pixelFormat) {
  return const_cast<CSampleShape*>(&shapes[static_cast<std::size_t>(pixelFormat)]);
}

FramePtr MakeFrame(int width, int height, int pixelFormat) {
  const CSampleShape& shape = shapes[static_cast<std::size_t>(pixelFormat)];
  const std::uint64_t row = std::uint64_t(width / shape.width) * std::uint64_t(shape.bytes);
  const std::uint64_t size = row * std::uint64_t(height / shape.height);
  if (size == 0 || size > CFramePool::maxPictureBytes) return nullptr;

  FramePtr frame(av_frame_alloc());
  if (!frame) return nullptr;
  frame->width = width;
  frame->height = height;
  frame->format = shape.known;
  frame->opaque = FormatTag(pixelFormat);
  if (shape.known != AV_PIX_FMT_NONE) {
    if (av_frame_get_buffer(frame.get(), 1) < 0) return nullptr;
  } else {
    frame->buf[0] = av_buffer_alloc(static_cast<std::size_t>(size));
    if (!frame->buf[0]) return nullptr;
    frame->data[0] = frame->buf[0]->data;
    frame->linesize[0] = static_cast<int>(row);
  }
  // The pictures are those of JPEG files: full range, the matrix of BT.601.
  frame->color_range = AVCOL_RANGE_JPEG;
  frame->colorspace = pixelFormat == ZTLIB_RGB ? AVCOL_SPC_RGB : AVCOL_SPC_BT470BG;
  return frame;
}

}  // namespace

CFramePool& CFramePool::Instance() {
  static CFramePool pool;
  return pool;
}

void CFramePool::Register() {
  ztlib_registerAVFrameMgr(
      [](int width, int height, int pixelFormat) -> void* {
        return Instance().Allocate(width, height, pixelFormat);
      },
      [](void* frame) { Instance().Release(static_cast<AVFrame*>(frame)); }, nullptr, 0);
}

AVFrame* CFramePool::Allocate(int width, int height, int pixelFormat) noexcept {
  if (width <= 0 || height <= 0 || pixelFormat < 0 ||
      static_cast<std::size_t>(pixelFormat) >= shapes.size())
    return nullptr;
  {
    const std::lock_guard lock(mutex);
    const auto found = std::find_if(idle.begin(), idle.end(), [&](const FramePtr& frame) {
      return frame->width == width && frame->height == height &&
             frame->opaque == FormatTag(pixelFormat);
    });
    if (found != idle.end()) {
      AVFrame* frame = found->release();
      idle.erase(found);
      return frame;
    }
  }
  return MakeFrame(width, height, pixelFormat).release();
}

void CFramePool::Release(AVFrame* frame) noexcept {
  FramePtr owned(frame);
  // A video encoder may still hold the buffer of a picture that was shown to it.
  if (!owned || !av_frame_is_writable(frame)) return;
  const std::lock_guard lock(mutex);
  idle.push_back(std::move(owned));
  if (idle.size() > maxIdle) idle.erase(idle.begin());
}
