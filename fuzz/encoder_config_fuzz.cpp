#include "fuzz/codec_fuzz.h"
#include "main/lib/base/cdata/HAData.h"

// Encoders of both video formats get configuration blocks, and after each a picture of the
// configured size, which must become a frame that decodes. Another size would end the process.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace codec_fuzz;
  static bool failed;
  ztlib_registerExceptionHandler([](const char*) { failed = true; });
  GrantScreens();
  for (const int video : {ZTLIB_VIDEO_MJPEG, ZTLIB_VIDEO_MJPEGDIFF}) {
    const Encoder encoder(video);
    Decoder decoder(ZTLIB_UYVY, 1, video);
    int width = 0, height = 0;
    Input in{{data, size}};
    for (int steps = 0; !in.rest.empty() && steps < 4; ++steps) {
      const Bytes block = in.Block();
      ztlib::CData tree;
      ztlib::ParseTagged(tree, block.data(), block.size());
      const std::int64_t newWidth = tree.GetInt(ztlib::Tok::Width, width);
      const std::int64_t newHeight = tree.GetInt(ztlib::Tok::Height, height);
      // The encoder's own buffers are as large as the configured size, so that is limited here.
      constexpr std::int64_t most = 1 << 16;
      if (std::min(newWidth, newHeight) < 0 || std::max(newWidth, newHeight) > most) continue;
      if (newWidth * newHeight > most) continue;
      failed = false;
      const ztlib_blob blob{block.data(), block.size()};
      ztlib_encoder_config(encoder.object, &blob);
      if (!failed) {
        width = static_cast<int>(newWidth);
        height = static_cast<int>(newHeight);
      }
      const bool isWhole = video == ZTLIB_VIDEO_MJPEG || (width % 8 == 0 && height % 8 == 0);
      if (width * height == 0 || !isWhole || width % 2 != 0) continue;
      for (const unsigned part : {0, 3, 6}) {
        const Image picture = NewImage(ZTLIB_UYVY, width, height,
                                       [part](std::size_t i) { return i / 99 == part ? i : 90; });
        const Bytes frame = encoder.Process(picture.get());
        if (frame.empty()) continue;  // too small a picture
        const Image decoded = NewImage();
        decoder.Process(decoded.get(), frame);
        Require(BytesOf(decoded).size() == PictureSize(width, height, ZTLIB_UYVY));
      }
    }
  }
  return 0;
}
