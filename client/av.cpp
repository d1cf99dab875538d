#include "client/av.h"

#include <new>

namespace {

template <class Pointer>
Pointer NotNull(Pointer pointer) {
  if (!pointer) throw std::bad_alloc();
  return pointer;
}

}  // namespace

int AvCheck(int result, const std::string& what) {
  if (result >= 0) return result;
  char text[AV_ERROR_MAX_STRING_SIZE] = {};
  av_strerror(result, text, sizeof text);
  throw CError(what + ": " + text);
}

FramePtr NewFrame() {
  return NotNull(FramePtr(av_frame_alloc()));
}

FramePtr NewFrame(AVPixelFormat format, int width, int height) {
  FramePtr frame = NewFrame();
  frame->format = format;
  frame->width = width;
  frame->height = height;
  AvCheck(av_frame_get_buffer(frame.get(), 0),
          Text("no memory for a picture of %dx%d", width, height));
  return frame;
}

PacketPtr NewPacket() {
  return NotNull(PacketPtr(av_packet_alloc()));
}

CodecPtr NewCodec(const AVCodec* codec) {
  return NotNull(CodecPtr(avcodec_alloc_context3(codec)));
}
