#include "client/frame_pool.h"

#include "client/text.h"
#include "ztlib.h"

#include <algorithm>
#include <array>

namespace {

constexpr std::array<CSampleShape, 9> shapes{{
    {1, 1, 1},      // ZTLIB_BOOL8
    {1, 1, 1},      // ZTLIB_GRAY
    {1, 1, 4},      // ZTLIB_RGB
    {1, 1, 4},      // ZTLIB_YUV
    {2, 1, 4},      // ZTLIB_YUYV
    {2, 1, 4},      // ZTLIB_UYVY
    {1, 1, 1},      // ZTLIB_RGBBAYER
    {2, 2, 4},      // ZTLIB_YUVBAYERBLOCK
    {16, 16, 384},  // ZTLIB_YUV420BLOCK
}};

}  // namespace

const CSampleShape& ShapeOf(int pixelFormat) {
  return shapes.at(static_cast<std::size_t>(pixelFormat));
}

CFramePool& CFramePool::Instance() {
  static CFramePool pool;
  return pool;
}

AVFrame* CFramePool::Allocate(int width, int height, int pixelFormat) noexcept {
  if (width <= 0 || height <= 0 || pixelFormat < 0 ||
      static_cast<std::size_t>(pixelFormat) >= shapes.size())
    return nullptr;
  {
    const std::lock_guard lock(mutex);
    const auto found = std::find_if(idle.begin(), idle.end(), [&](const FramePtr& frame) {
      return frame->width == width && frame->height == height &&
             PixelFormatOf(*frame) == pixelFormat;
    });
    if (found != idle.end()) {
      AVFrame* frame = found->release();
      idle.erase(found);
      return frame;
    }
  }
  const CSampleShape& shape = ShapeOf(pixelFormat);
  const std::uint64_t row = std::uint64_t(width / shape.width) * std::uint64_t(shape.bytes);
  const std::uint64_t rows = std::uint64_t(height / shape.height);
  if (row * rows == 0 || row * rows > maxPictureBytes) return nullptr;
  FramePtr frame = MakeFrame(width, height, pixelFormat, row, rows);
  // Fourth bytes and the borders of sensor pictures stay as they are here, also in files.
  if (frame) std::fill_n(frame->data[0], row * rows, std::uint8_t{0});
  return frame.release();
}

void CFramePool::Release(AVFrame* frame) noexcept {
  FramePtr owned(frame);
  // A video encoder may still hold the buffer of a picture that was shown to it.
  if (!owned || IsShared(*frame)) return;
  const std::lock_guard lock(mutex);
  idle.push_back(std::move(owned));
  if (idle.size() > maxIdle) idle.erase(idle.begin());
}

PoolFramePtr NewPoolFrame(int width, int height, int pixelFormat) {
  PoolFramePtr frame(CFramePool::Instance().Allocate(width, height, pixelFormat));
  if (!frame) throw CError(Text("no memory for a picture of %dx%d", width, height));
  return frame;
}
