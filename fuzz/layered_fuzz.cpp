#include "fuzz/good_frames.h"

namespace {

using namespace codec_fuzz;

struct Records {
  std::array<Bytes, 4> bytes;
  explicit Records(const Bytes& frame) {
    void* users[4] = {&bytes[0], &bytes[1], &bytes[2], &bytes[3]};
    const ztlib_blob blob{frame.data(), frame.size()};
    std::uint32_t sizes[4] = {};
    ztlib_getLayerSizes(&blob, sizes);
    const bool isSplit = ztlib_decomposeToLayers(&blob, users, Collect) == 4;
    Require(isSplit == !bytes[0].empty() && isSplit == !bytes[3].empty());
    for (std::size_t i = 0; isSplit && i < 4; ++i)
      Require(bytes[i].size() == sizes[i] + (i == 0 ? 256 : 32));
  }
};

}  // namespace

// Runs a script, in which the target's own step splits the last frame into layers, changes some of
// them and joins them again.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const std::vector<Bytes> good = LayeredFrames();
  Script script({data, size}, ZTLIB_VIDEO_LAYERED, good);
  script.Run(170, 200, [&script](std::size_t step) {
    Records records(script.frame);
    Change(script.in, records.bytes[step % 4], step / 4 % 4);
    const auto joined = JoinLayers(std::span(records.bytes).first(1 + step / 16 % 4));
    script.frame = joined.value_or(Bytes());
  });
  for (const std::size_t key : {0, 3})
    script.RequireSameAsNew(good[key]);
  return 0;
}
