#include <cstdio>

#include <ztlib.hpp>

int main() {
  const ztlib::Session session;
  const ztlib::Image drawn(ZTLIB_YUV, ztlib::FramePool::New(64, 48, ZTLIB_YUV));
  const ztlib::Encoder encoder({ZTLIB_VIDEO_MJPEG, 64, 48});
  ztlib::Bytes coded;
  encoder.Encode(drawn, coded);
  ztlib::Decoder decoder({ZTLIB_RGB});
  const ztlib::Frame& shown = decoder.Decode(coded).FrameAs();
  const std::uint8_t* p = shown.data[0];
  std::printf("%d x %d, first pixel %d %d %d\n", shown.width, shown.height, p[2], p[1], p[0]);
}
