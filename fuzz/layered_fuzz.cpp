#include "client/layered/layered_encoder.h"
#include "fuzz/codec_fuzz.h"
#include "tests/support/codec_client.h"

#include <array>

namespace {

using namespace codec_fuzz;

constexpr int width = 80;
constexpr int height = 48;

// Key frames of both formats with codes of every kind, and two differential frames.
const std::vector<Bytes>& GoodFrames() {
  static const std::vector<Bytes> frames = [] {
    Bytes uyvy(std::size_t{2} * width * height);
    for (std::size_t i = 0; i < uyvy.size(); ++i)
      uyvy[i] = static_cast<std::uint8_t>(i * i / 1900 + i % 9 * 12);
    const CLayeredPlanes planes(uyvy.data(), 2 * width, width, height);
    const CLayeredPicture picture = planes.Picture();
    std::vector<Bytes> made;
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
        made.push_back(encoder.Encode(picture));
        const std::uint32_t blocks[] = {0, 3, 7, 13};
        if (isDifferential) made.push_back(*encoder.EncodeBlocks(picture, blocks));
      }
    return made;
  }();
  return frames;
}
constexpr std::size_t goodCount = 9;

constexpr std::array scales = {1, 2, 4, 8, 3, 16};

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

// A script of steps: a good frame with some bytes changed, a frame of the input's own, another
// configuration, or the last frame split into layers, changed and joined again. The first two bytes
// choose scale and format. Whatever came, a key frame decodes as on a new handle.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input in{{data, size}};
  const std::vector<Bytes>& good = GoodFrames();
  Require(good.size() == goodCount);
  int scale = scales[in.Byte() % scales.size()];
  int format = in.Byte() % 10;
  frameScale = 1;
  Codec decoder(ztlib_decoder_create(ZTLIB_VIDEO_LAYERED), ztlib_decoder_destroy);
  const Image image;
  Configure(decoder.object, format, scale, false);
  Bytes frame = good[0];
  while (!in.rest.empty()) {
    const std::size_t step = in.Byte();
    if (step < 16 * goodCount) {
      frame = good[step / 16];
      Change(in, frame, step % 16);
    } else if (step < 170) {
      frame = in.Block();
    } else if (step < 200) {
      scale = scales[in.Byte() % scales.size()];
      format = in.Byte() % 10;
      Configure(decoder.object, format, scale, false);
    } else {
      Records records(frame);
      Change(in, records.bytes[step % 4], step / 4 % 4);
      frame = codec_client::JoinLayers(std::span(records.bytes).first(1 + step / 16 % 4))
                  .value_or(Bytes());
    }
    Decode(decoder, image, frame);
  }
  for (const std::size_t key : {0, 3}) {
    const auto pixels = [&](Codec& with) {
      // The first one puts a decoder of its format behind the handle.
      Decode(with, image, good[key]);
      Configure(with.object, format, scale, false);
      const Image out;
      Decode(with, out, good[key]);
      return out.Pixels();
    };
    Codec fresh(ztlib_decoder_create(ZTLIB_VIDEO_LAYERED), ztlib_decoder_destroy);
    Require(pixels(decoder) == pixels(fresh));
  }
  return 0;
}
