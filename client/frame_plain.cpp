#include "client/frame.h"

#include <new>

FramePtr MakeFrame(int width, int height, int pixelFormat, std::size_t rowBytes,
                   std::size_t rows) noexcept {
  FramePtr frame(new (std::nothrow) CFrame);
  if (!frame) return nullptr;
  frame->memory.reset(new (std::nothrow) std::uint8_t[rowBytes * rows]);
  if (!frame->memory) return nullptr;
  frame->data[0] = frame->memory.get();
  frame->linesize[0] = static_cast<int>(rowBytes);
  frame->pixelFormat = pixelFormat;
  frame->width = width;
  frame->height = height;
  return frame;
}

int PixelFormatOf(const CFrame& frame) {
  return frame.pixelFormat;
}

bool IsShared(CFrame&) {
  return false;
}
