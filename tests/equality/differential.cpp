#include "tests/equality/steps.h"
#include "tests/kit/codec.h"
#include "tests/support/jpeg_reference.h"

namespace {

using namespace kit;

// Two rectangles that move over a still or a noisy background, a light that goes on at frame 9, and
// at frame 11 nothing that was there in frame 10. On the right it grows brighter all the time.
Bytes Picture(int width, int height, int moment, bool isNoisy) {
  const Bytes noise = Noise(static_cast<std::size_t>(width * height), 9U + moment);
  Bytes pixels;
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      const bool isFirst = x >= 9 * moment && x < 9 * moment + 20 && y >= 30 && y < 50;
      const bool isSecond = moment < 11 && x >= 120 && x < 140 && y / 9 == moment;
      const int jitter = isNoisy ? noise[static_cast<std::size_t>(y * width + x)] % 5 - 2 : 0;
      const int luma = (isFirst ? 220 : isSecond ? 20 : 60 + x / 2 + y + moment * x / 150) + jitter;
      pixels.push_back(static_cast<std::uint8_t>(isFirst ? 90 : 128 + (x + y) % 7 + jitter));
      pixels.push_back(static_cast<std::uint8_t>(std::min(luma + moment / 9 * 30, 255)));
    }
  return pixels;
}

// A stream of any options, and what decoders make of it who lose frames that others do not need.
void Sequence(std::uint32_t seed) {
  Draw draw(seed);
  const auto below = [&draw](std::uint32_t limit) { return static_cast<int>(draw.Below(limit)); };
  const int width = 8 * (1 + below(30)), height = 8 * (1 + below(14));
  Config config = Config().Int("Width", width).Int("Height", height);
  for (const auto& [name, limit] : {std::pair("JPEGQuality", 100U),
                                    {"IVPixelSensitivity", 25},
                                    {"IFrameInterval", 20},
                                    {"RPFrameInterval", 5},
                                    {"Bits", 33}})
    if (below(3) != 0) config.Int(name, below(limit));
  for (const char* const name : {"AdvancedProfile", "GenerateOutOfOrderIFrames"})
    config.Bool(name, below(3) == 0);
  Encoder encoder(ZTLIB_VIDEO_MJPEGDIFF);
  encoder.Configure(config);
  const bool isNoisy = below(3) == 0;
  std::vector<Bytes> frames;
  for (int moment = 0; moment < 16; ++moment) {
    const Image image =
        NewImage(ZTLIB_UYVY, width, height, Picture(width, height, moment, isNoisy));
    frames.push_back(encoder.Process(image.get(), moment == 14));
    Mix(std::span(frames.back()));
  }
  for (int format = ZTLIB_GRAY; format <= ZTLIB_UYVY; ++format) {
    constexpr int scales[] = {1, 1, 1, 1, 2, 3, 4, 8};
    Decoder decoder(format, scales[below(8)], ZTLIB_VIDEO_MJPEGDIFF);
    const int lost = below(4) * 0x5A3C;
    const Image image = NewImage();
    for (std::size_t i = 0; i < frames.size(); ++i) {
      const bool isNeeded = frames[i].size() < 112 || frames[i][72] == 0 || frames[i][72] == 5;
      if ((lost >> i & 1) != 0 && !isNeeded) continue;
      decoder.Process(image.get(), frames[i]);
      MixImage(image);
    }
  }
}

// A coded picture of another size than the header tells, or than the base at a new scale, is one
// run of pixels, whose pairs reach over the ends of rows.
void OtherSizes(const Encoder& encoder) {
  const Bytes frame = encoder.Process(NewImage(ZTLIB_UYVY, 24, 48, Noise(24 * 48 * 2, 1)).get());
  for (const auto& [width, height] : {std::pair(24, 48), {23, 40}, {51, 22}, {51, 48}, {23, 48}}) {
    const Bytes scene = jpeg_reference::Scene(width, height);
    const Bytes stream = jpeg_reference::Encode(scene, width, height);
    Bytes other(frame.begin(), frame.begin() + 112);
    other.insert(other.end(), stream.begin(), stream.end());
    for (const int scale : {1, 2, 3})
      for (int format = ZTLIB_GRAY; format <= ZTLIB_UYVY; ++format) {
        Decoder decoder(format, scale, ZTLIB_VIDEO_MJPEGDIFF);
        const Image image = NewImage();
        decoder.Process(image.get(), other);
        MixImage(image);
      }
  }
}

}  // namespace

void DifferentialVideo() {
  for (std::uint32_t seed = 0; seed < 40; ++seed)
    Step("differential video " + std::to_string(seed), [seed] { Sequence(seed); });
  Step("key frames of another size", [] { OtherSizes(Encoder(24, 48, ZTLIB_VIDEO_MJPEGDIFF)); });
}
