#include "fuzz/good_frames.h"

// Runs a script whose good frame has 64 by 64 pixels of several frequencies.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace codec_fuzz;
  static const std::vector<Bytes> good{PlainFrame()};
  Script script({data, size}, ZTLIB_VIDEO_MJPEG, good);
  script.Run(230, 256, [](std::size_t) {});
  script.RequireSameAsNew(good[0]);
  return 0;
}
