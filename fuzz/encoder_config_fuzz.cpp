#include "fuzz/codec_fuzz.h"
#include "main/lib/base/cdata/HAData.h"

using namespace ztlib;

// Two configuration blocks for encoders of both video formats, and after each a picture of the
// configured size, which comes out as a frame that decodes. Another size would end the process.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace codec_fuzz;
  if (size == 0) return 0;
  const std::size_t cut = data[0] % size;
  LimitPictures();
  for (const int video : {ZTLIB_VIDEO_MJPEG, ZTLIB_VIDEO_MJPEGDIFF}) {
    const Encoder encoder(video);
    Decoder decoder(ZTLIB_UYVY, 1, video);
    std::int64_t width = 16, height = 16;
    bool configured = false;
    for (const auto& [at, count] : {std::pair(std::size_t{1}, cut), {cut + 1, size - cut - 1}}) {
      if (at > size || count > size - at) continue;
      CData tree;
      ParseTagged(tree, data + at, count);
      const std::int64_t newWidth =
          static_cast<std::uint32_t>(tree.GetInt(Tok::Width, static_cast<int>(width)));
      const std::int64_t newHeight =
          static_cast<std::uint32_t>(tree.GetInt(Tok::Height, static_cast<int>(height)));
      // Buffers of the encoder's own are as large as the size says.
      constexpr std::int64_t most = 1 << 16;
      if (newWidth > most || newHeight > most || newWidth * newHeight > most) continue;
      static bool failed;
      failed = false;
      ztlib_registerExceptionHandler([](const char*) { failed = true; });
      const ztlib_blob blob{data + at, count};
      ztlib_encoder_config(encoder.object, &blob);
      if (!failed) {
        width = newWidth;
        height = newHeight;
        configured = true;
      }
      const bool whole = video == ZTLIB_VIDEO_MJPEG || (width % 8 == 0 && height % 8 == 0);
      if (!configured || !whole || width % 2 != 0) continue;
      for (int i = 0; i < 3; ++i) {
        const Image picture = NewImage(
            ZTLIB_UYVY, static_cast<int>(width), static_cast<int>(height),
            [i](std::size_t at) { return at / 99 == 3U * static_cast<unsigned>(i) ? at : 90; });
        const Bytes frame = encoder.Process(picture.get());
        if (frame.empty()) continue;  // too small a picture
        const Image decoded = NewImage();
        decoder.Process(decoded.get(), frame);
        Require(static_cast<std::int64_t>(BytesOf(decoded).size()) == width * height * 2);
      }
    }
  }
  return 0;
}
