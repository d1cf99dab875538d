#include "tests/exports/blobs.h"

#include <stdexcept>

namespace {

using namespace blobs;
using kit::Decoder;
using kit::Encoder;

// The callbacks of this client do what nobody expects of them.
class Callbacks : public ExportTest {
 protected:
  Callbacks() { ztlib_registerAVFrameMgr(Allocate, Release, nullptr, 0); }

  // Is called once, before the next frame is given out.
  static inline std::function<void()> beforeFrame;
  static void* Allocate(int width, int height, int format) {
    if (const auto act = std::exchange(beforeFrame, nullptr)) act();
    return CTestFrames::Allocate(width, height, format);
  }
  // Whoever still reads a released frame gets other pixels.
  static void Release(void* frame) {
    const auto& old = *static_cast<kit::Frame*>(frame);
    std::ranges::fill(old.Picture(), 0xEE);
    CTestFrames::Release(frame);
  }
};

TEST_F(Callbacks, APictureReplacedWhileItIsReadIsReadToItsEnd) {
  constexpr int width = 64, height = 48;
  const auto picture = [] { return NewImage(ZTLIB_RGB, width, height, NoiseBytes(4001)); };
  const Bytes larger = Saved(NewImage(ZTLIB_RGB, 2 * width, 2 * height, {7}));
  const Encoder encoder(width, height, ZTLIB_VIDEO_MJPEGDIFF);
  const Image still = picture();
  (void)encoder.Process(still.get());
  const Bytes nothingChanged = encoder.Process(still.get());
  Decoder decoder(ZTLIB_RGB, 1, ZTLIB_VIDEO_MJPEGDIFF);
  const std::function<Bytes(const Image&)> readers[] = {
      [&](const Image& image) { return encoder.Process(image.get(), true); },
      [&](const Image& image) {
        ztlib_decoder_setBaseImage(decoder.object, image.get());
        const Image decoded = NewImage();
        decoder.Process(decoded.get(), nothingChanged);
        return BytesOf(decoded);
      }};
  for (const auto& read : readers) {
    const Image image = picture();
    const Bytes expected = read(image);
    beforeFrame = [&] { EXPECT_TRUE(Load(image, larger)); };
    EXPECT_EQ(read(image), expected);
    EXPECT_EQ(Saved(image), larger);
  }
  ExpectNoFailure();
}

TEST_F(Callbacks, WhatReleaseThrowsGoesNowhere) {
  const Image image = NewImage(ZTLIB_GRAY, 8, 8, {1});
  const Bytes block = Saved(image);
  ztlib_registerAVFrameMgr(
      Allocate,
      [](void* frame) {
        Release(frame);
        throw std::runtime_error("client");
      },
      nullptr, 0);
  EXPECT_TRUE(Load(image, block));
  ztlib_ztimage_destroy(NewImage(ZTLIB_GRAY, 8, 8, {1}).release());
  EXPECT_EQ(CTestFrames::released, 2);
  ExpectNoFailure();
}

TEST_F(Callbacks, WhatAllocateThrowsIsReportedWhateverItsLength) {
  const Image image = NewImage(ZTLIB_GRAY, 8, 8, {1});
  const Bytes block = Saved(image);
  for (const std::size_t length : {5U, 3000U}) {
    const std::string text(length, 'x');
    beforeFrame = [&] { throw std::runtime_error(text); };
    EXPECT_FALSE(Load(image, block));
    EXPECT_EQ(failures, std::vector<std::string>{text});
    const Line line(1, "std::exception (ztlib_ztimage_loadFromZTMem): '" + text + "'!");
    EXPECT_EQ(lines, std::vector<Line>{line});
    Forget();
  }
  beforeFrame = [] { throw 3.5; };
  EXPECT_FALSE(Load(image, block));
  ExpectUnknownFailure("ztlib_ztimage_loadFromZTMem");
}

}  // namespace
