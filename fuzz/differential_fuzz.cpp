#include "fuzz/good_frames.h"

using namespace codec_fuzz;

// A script, in which the target's own step makes the present picture the base. Whatever came, key
// frames bring everything back: what follows them decodes as on a new handle.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const std::vector<Bytes> good = DifferentialFrames();
  Script script({data, size}, ZTLIB_VIDEO_MJPEGDIFF, good);
  script.Run(230, 245, [&script](std::size_t) {
    ztlib_decoder_setBaseImage(script.decoder.object, script.image.get());
  });
  if (size > 0 && data[0] >= 64) return 0;  // as it takes most of the time
  GrantScreens();
  const auto decodeGood = [&script](Decoder& with, const Image& out) {
    std::vector<Bytes> pictures;
    // The first key frame at a scale has the old size, which some formats do not have.
    with.Configure(ZTLIB_RGB, script.scale);
    with.Process(out.get(), good[0]);
    with.Process(out.get(), good[0]);
    with.Configure(script.format, script.scale);
    for (const std::size_t frame : {0, 1, 3, 4, 6, 8, 10}) {
      with.Process(out.get(), good[frame]);
      pictures.push_back(BytesOf(out));
    }
    return pictures;
  };
  // A new decoder behind the handle if the last frame was of another video format.
  script.decoder.Process(script.image.get(), good[1]);
  Decoder fresh(ZTLIB_RGB, 1, ZTLIB_VIDEO_MJPEGDIFF);
  // A base in a format that the stream's size at this scale cannot have is for the client to
  // replace.
  const Image base = NewImage(ZTLIB_RGB, 1, 1, {0});
  ztlib_decoder_setBaseImage(script.decoder.object, base.get());
  Require(decodeGood(script.decoder, base) == decodeGood(fresh, NewImage()));
  return 0;
}
