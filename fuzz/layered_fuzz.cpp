#include "client/layered/layered_encoder.h"
#include "fuzz/codec_fuzz.h"

namespace {

using namespace codec_fuzz;

// Key frames of both formats with codes of every kind, and two differential frames.
std::vector<Bytes> GoodFrames() {
  constexpr int width = 80, height = 48;
  Bytes uyvy(std::size_t{2} * width * height);
  for (std::size_t i = 0; i < uyvy.size(); ++i)
    uyvy[i] = static_cast<std::uint8_t>(i * i / 1900 + i % 9 * 12);
  const CLayeredPlanes planes(uyvy.data(), 2 * width, width, height);
  std::vector<Bytes> frames;
  for (const bool isDifferential : {false, true})
    for (const auto models :
         {ELayeredModels::counted, ELayeredModels::flat, ELayeredModels::steep}) {
      CLayeredSettings settings;
      settings.isDifferential = isDifferential;
      settings.models = models;
      settings.tableFamily = models == ELayeredModels::flat;
      settings.quality = models == ELayeredModels::steep ? 98 : 60;
      settings.groupSize = 2;
      settings.codes.longFormInterval = models == ELayeredModels::steep ? 3 : 0;
      CLayeredEncoder encoder(settings);
      frames.push_back(encoder.Encode(planes.Picture()));
      const std::uint32_t blocks[] = {0, 3, 7, 13};
      if (isDifferential) frames.push_back(*encoder.EncodeBlocks(planes.Picture(), blocks));
    }
  return frames;
}

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

// A script, in which the target's own step splits the last frame into layers and joins some of them
// again, changed.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const std::vector<Bytes> good = GoodFrames();
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
