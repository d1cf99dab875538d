#include "fuzz/codec_fuzz.h"

// A script whose good frame has 64 by 64 pixels of several frequencies.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace codec_fuzz;
  static const std::vector<Bytes> good = [] {
    const Image image =
        NewImage(ZTLIB_YUV, 64, 64, [](std::size_t i) { return i * i / 512 + i % 7 * 20; });
    return std::vector<Bytes>{Encoder(64, 64).Process(image.get())};
  }();
  Require(!good[0].empty());
  Script script({data, size}, ZTLIB_VIDEO_MJPEG, good);
  script.Run(230, 256, [](std::size_t) {});
  script.RequireSameAsNew(good[0]);
  return 0;
}
