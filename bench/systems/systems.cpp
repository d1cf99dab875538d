#include "tests/kit/codec.h"
#include "tests/kit/image.h"

#include <chrono>
#include <cmath>
#include <cstdio>

// Measures what a client pays most for through the exports of the shared library, the same way on
// every system. It prints one line for each call: its name and its shortest time in microseconds.
namespace {

using kit::Bytes;
using kit::Decoder;
using kit::Encoder;
using kit::Image;

constexpr int width = 1920, height = 1080;

// Waves with some texture, like a street that a camera sees; `shift` moves all of it.
Bytes Scene(int bytesPerPixel, int shift) {
  Bytes pixels(static_cast<std::size_t>(width) * height * static_cast<std::size_t>(bytesPerPixel));
  std::uint32_t noise = 1;
  for (std::size_t i = 0; i < pixels.size(); ++i) {
    noise = noise * 1664525U + 1013904223U;
    const auto pixel = i / static_cast<std::size_t>(bytesPerPixel);
    const double x = static_cast<double>(pixel % width) + shift;
    const double y = static_cast<double>(pixel / width);
    pixels[i] = static_cast<std::uint8_t>(128 + 60 * std::sin(x / 31) * std::cos(y / 23) +
                                          20 * std::sin(x * y / 4001) + (noise >> 29));
  }
  return pixels;
}

template <class Call>
void Measure(const char* name, Call call) {
  double best = 1e30;
  for (int i = 0; i < 25; ++i) {
    const auto start = std::chrono::steady_clock::now();
    call(i);
    const std::chrono::duration<double, std::micro> taken =
        std::chrono::steady_clock::now() - start;
    best = std::min(best, taken.count());
  }
  std::printf("%s %.1f\n", name, best);
}

}  // namespace

int main() {
  const kit::FramePool pool({.reuse = true});
  const Image yuv = kit::NewImage(ZTLIB_YUV, width, height, Scene(4, 0));
  Encoder encoder(width, height);
  const Bytes frame = encoder.Process(yuv.get());
  Measure("encode", [&](int) { (void)encoder.Process(yuv.get()); });

  const Image shown = kit::NewImage();
  for (const int scale : {1, 8}) {
    Decoder decoder(ZTLIB_RGB, scale);
    Measure(scale == 1 ? "decode" : "decode_eighth",
            [&](int) { decoder.Process(shown.get(), frame); });
  }
  {
    const Image still = kit::NewImage(ZTLIB_UYVY, width, height, Scene(2, 0));
    Encoder differential(width, height, ZTLIB_VIDEO_MJPEGDIFF);
    (void)differential.Process(still.get(), true);
    Measure("differential_still", [&](int) { (void)differential.Process(still.get()); });
  }
  const Image gray[] = {kit::NewImage(ZTLIB_GRAY, width, height, Scene(1, 0)),
                        kit::NewImage(ZTLIB_GRAY, width, height, Scene(1, 3))};
  void* const motion = ztlib_simplemotion_create();
  kit::Apply(kit::Config().Child("Configs",
                                 kit::Config().Child("", kit::Config().Double("Sensitivity", 50))),
             ztlib_simplemotion_configure, motion, width, height);
  Bytes result;
  Measure("motion", [&](int i) {
    ztlib_simplemotion_detect(motion, &result, kit::Collect, gray[i % 2].get(), i * 40);
  });
  ztlib_simplemotion_destroy(motion);
}
