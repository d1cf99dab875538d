#include "fuzz/codec_fuzz.h"

#include <array>

namespace {

using namespace codec_fuzz;

constexpr std::int32_t width = 96;
constexpr std::int32_t height = 64;

// Key, plain, plain, reference, plain; the same with difference frames; and an empty one.
const std::vector<Bytes>& GoodFrames() {
  static const std::vector<Bytes> frames = [] {
    std::vector<Bytes> made;
    for (const bool advanced : {false, true}) {
      const Codec encoder(ztlib_encoder_create(ZTLIB_VIDEO_MJPEGDIFF), ztlib_encoder_destroy);
      CodecConfig()
          .Int("Width", width)
          .Int("Height", height)
          .Int("RPFrameInterval", 3)
          .Int("Bits", advanced ? 2 : 6)
          .Bool("AdvancedProfile", advanced)
          .Apply(ztlib_encoder_config, encoder.object);
      for (const std::size_t t : {0, 1, 2, 3, 4, 3}) {
        made.push_back(Encode(encoder, ZTLIB_UYVY, width, height, [t](std::size_t i) {
          return i / (2 * width) / 16 == 1 && i % (2 * width) / 32 == t ? 200 : 60 + i % 40;
        }));
        Require(!made.back().empty());
      }
    }
    return made;
  }();
  return frames;
}

constexpr std::array scales = {1, 2, 4, 8, 3, 5, 16, 1000};

}  // namespace

// A script of steps: a good frame with some bytes changed, a frame of the input's own, another
// configuration, or the present picture as the base. The first two bytes choose scale and format.
// Whatever came, key frames bring everything back: what follows them decodes as on a new handle.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input in{{data, size}};
  const std::vector<Bytes>& good = GoodFrames();
  int scale = scales[in.Byte() % scales.size()];
  int format = in.Byte() % 10;
  // Pictures that are not scaled down yet may come at any scale.
  frameScale = 1;
  Codec decoder(ztlib_decoder_create(ZTLIB_VIDEO_MJPEGDIFF), ztlib_decoder_destroy);
  Configure(decoder.object, format, scale, false);
  const Image image;
  while (!in.rest.empty()) {
    const std::size_t step = in.Byte();
    if (step < 16 * good.size()) {
      Bytes frame = good[step / 16];
      Change(in, frame, step % 16);
      Decode(decoder, image, frame);
    } else if (step < 230) {
      Decode(decoder, image, in.Block());
    } else if (step < 245) {
      scale = scales[in.Byte() % scales.size()];
      format = in.Byte() % 10;
      Configure(decoder.object, format, scale, step == 244);
    } else {
      ztlib_decoder_setBaseImage(decoder.object, image.object);
    }
  }
  const auto decodeGood = [&](Codec& with, const Image& out) {
    std::vector<Bytes> pictures;
    // The first key frame at a scale has the old size, which some formats do not have.
    Configure(with.object, ZTLIB_RGB, scale, false);
    Decode(with, out, good[0]);
    Decode(with, out, good[0]);
    Configure(with.object, format, scale, false);
    for (const std::size_t frame : {0, 1, 3, 4, 6, 8, 10}) {
      Decode(with, out, good[frame]);
      pictures.push_back(out.Pixels());
    }
    return pictures;
  };
  // A new decoder behind the handle if the last frame was of another video format.
  Decode(decoder, image, good[1]);
  Codec fresh(ztlib_decoder_create(ZTLIB_VIDEO_MJPEGDIFF), ztlib_decoder_destroy);
  // A base in a format that the stream's size at this scale cannot have is for the client to
  // replace.
  const Image base(ZTLIB_RGB, static_cast<Frame*>(AllocateFrame(1, 1, ZTLIB_RGB)));
  ztlib_decoder_setBaseImage(decoder.object, base.object);
  Require(decodeGood(decoder, base) == decodeGood(fresh, Image()));
  return 0;
}
