// Encodes what a camera shows as differential video: encode_camera OUT.zts
#include <cstdio>
#include <exception>
#include <fstream>

#include <ztlib.hpp>

constexpr int width = 320, height = 240;

// Stands for the camera: a bright square moves over a gray ground. U, Y, V, Y for two pixels.
static ztlib::Image Capture(int time) {
  auto frame = ztlib::FramePool::New(width, height, ZTLIB_UYVY);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      const bool isSquare = y >= 100 && y < 148 && x >= 2 * time && x < 2 * time + 48;
      std::uint8_t* const luma = frame->data[0] + (y * width + x) * 2 + 1;
      luma[-1] = 128;
      *luma = isSquare ? 230 : static_cast<std::uint8_t>(60 + y / 4);
    }
  return {ZTLIB_UYVY, std::move(frame)};
}

int main(int count, char** arguments) try {
  if (count != 2) throw std::runtime_error("encode_camera OUT.zts");
  const ztlib::Session session;
  std::ofstream file(arguments[1], std::ios::binary);

  ztlib::EncoderSettings settings{ZTLIB_VIDEO_MJPEGDIFF, width, height};
  settings.keyInterval = 25;
  const ztlib::Encoder encoder(settings);
  ztlib::Bytes frame;  // keeps its memory from picture to picture
  std::size_t key = 0, all = 0;
  constexpr int pictures = 100;
  for (int time = 0; time < pictures; ++time) {
    encoder.Encode(Capture(time), frame);
    file.write(reinterpret_cast<const char*>(frame.data()),
               static_cast<std::streamsize>(frame.size()));
    all += frame.size();
    if (ztlib::ReadCodedFrame(frame).frameType == ztlib::keyFrame) key = frame.size();
  }
  if (!file.flush()) throw std::runtime_error("cannot write");
  std::printf("%d frames, %zu bytes; a key frame alone has %zu\n", pictures, all, key);
} catch (const std::exception& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return 1;
}
