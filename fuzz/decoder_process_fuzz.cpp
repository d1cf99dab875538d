#include "fuzz/codec_fuzz.h"

// Frames one behind the other, each as long as the two bytes in front of it say; the last two bytes
// of the input choose the configuration. Whatever the frames were, a good one afterwards decodes on
// the same handle as on a new one.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace codec_fuzz;
  if (size < 2) return 0;
  constexpr int scales[] = {1, 2, 4, 8, 3, 5, 16, 1000};
  const std::uint8_t choice = data[size - 2];
  const int scale = scales[choice % 8];
  const int format = data[size - 1] % 10;
  const bool swap = choice >= 128;
  Input in{{data, size - 2}};

  Codec decoder(ztlib_decoder_create(ZTLIB_VIDEO_MJPEG), ztlib_decoder_destroy);
  Configure(decoder.object, format, scale, swap);
  frameScale = scale;
  const Image image;
  while (!in.rest.empty())
    Decode(decoder, image, in.Block());

  const auto decodeGood = [&](Codec& with) {
    // Differential video may have put another decoder behind the handle; the first frame puts one
    // of its own format there, which knows no configuration.
    Decode(with, Image(), GoodFrame());
    Configure(with.object, format, scale, swap);
    const Image good;
    Decode(with, good, GoodFrame());
    return good.Pixels();
  };
  const Bytes after = decodeGood(decoder);
  Codec fresh(ztlib_decoder_create(ZTLIB_VIDEO_MJPEG), ztlib_decoder_destroy);
  Require(after == decodeGood(fresh));
  return 0;
}
