// A fixed set of inputs through every export, as a client that runs with all floating-point
// exceptions unmasked.
#include "include/ztlib.h"
#include "tests/equality/steps.h"
#include "tests/support/codec_config.h"
#include "tests/support/jpeg_reference.h"

#include <algorithm>
#include <array>
#include <memory>

#include <xmmintrin.h>

namespace {

constexpr unsigned exceptionMasks = 0x1F80;

constexpr int width = 96, height = 80;

struct ImageDeleter {
  void operator()(void* image) const { ztlib_ztimage_destroy(image); }
};
using Image = std::unique_ptr<void, ImageDeleter>;

Image NewImage(int format, const Bytes& content) {
  auto* const frame = static_cast<Frame*>(Frame::Allocate(width, height, format));
  const std::span<std::uint8_t> picture = frame->Picture();
  for (std::size_t i = 0; i < picture.size(); ++i)
    picture[i] = content[i % content.size()];
  return Image(ztlib_ztimage_create_avframe(format, frame));
}

void MixImage(const Image& image) {
  if (const auto* frame = static_cast<const Frame*>(ztlib_ztimage_get_avframe(image.get())))
    MixPicture(*frame);
}

// Outputs are mixed in and, if `user` is a block of bytes, kept there.
void Receive(void* user, const void* data, std::uint32_t size) {
  const auto* const bytes = static_cast<const std::uint8_t*>(data);
  Mix(std::span(bytes, size));
  if (user) static_cast<Bytes*>(user)->assign(bytes, bytes + size);
}

// A picture of YUV pixels of which a part changes from moment to moment.
Bytes Scene(int moment) {
  const Bytes three = jpeg_reference::Scene(width, height);
  Bytes four;
  for (std::size_t i = 0; i < three.size(); i += 3)
    four.insert(four.end(), {three[i], three[i + 1], three[i + 2], 0});
  for (int y = 16; y < 48; ++y)
    for (int x = 8 * moment; x < 8 * moment + 24; ++x)
      four[static_cast<std::size_t>(4 * (y * width + x))] ^= 0xFF;
  return four;
}

std::vector<Bytes> Encode(int videoFormat, int source, int quality, bool isAdvanced) {
  void* encoder = ztlib_encoder_create(videoFormat);
  CodecConfig()
      .Int("Width", width)
      .Int("Height", height)
      .Int("JPEGQuality", quality)
      .Bool("AdvancedProfile", isAdvanced)
      .Apply(ztlib_encoder_config, encoder);
  std::vector<Bytes> frames;
  for (int moment = 0; moment < 6; ++moment) {
    const Image image = NewImage(source, Scene(moment));
    frames.emplace_back();
    ztlib_encoder_process(encoder, &frames.back(), Receive, image.get(), moment == 4);
  }
  ztlib_encoder_destroy(&encoder);
  return frames;
}

void Decode(int videoFormat, std::vector<Bytes> frames, int target, int scale) {
  void* decoder = ztlib_decoder_create(videoFormat);
  CodecConfig()
      .Int("PixelFormat", target)
      .Int("ScaleDown", scale)
      .Bool("SwapRGB", target == ZTLIB_RGB && scale == 2)
      .Apply(ztlib_decoder_config, decoder);
  const Image base = NewImage(target, Scene(9));
  ztlib_decoder_setBaseImage(decoder, base.get());
  const Image image(ztlib_ztimage_create());
  for (Bytes& frame : frames) {
    ztlib_decoder_process(&decoder, image.get(), frame.data(),
                          static_cast<std::uint32_t>(frame.size()));
    MixImage(image);
    Mix(std::span(frame));
  }
  ztlib_decoder_destroy(&decoder);
}

void FrameInformation(const Bytes& coded) {
  const ztlib_blob blob{coded.data(), coded.size()};
  std::int32_t out[12] = {};
  ztlib_getFrameInfo1(&blob, out, out + 1, out + 2, out + 3, out + 4, out + 5, nullptr, Receive);
  const void* payload = nullptr;
  std::uint32_t payloadSize = 0;
  ztlib_getFrameInfo2(coded.data(), static_cast<std::uint32_t>(coded.size()), out + 6, out + 7,
                      out + 8, out + 9, out + 10, out + 11, &payload, &payloadSize);
  Mix(out);
  Mix(std::span(static_cast<const std::uint8_t*>(payload), payloadSize));
  Mix(ztlib_getVideoFormat(&blob));
}

void Video(int videoFormat, const std::string& name) {
  for (int source = 0; source <= 8; ++source)
    for (const int quality : {30, 75, 95})
      Step(name + " encode " + formatNames[source] + " " + std::to_string(quality),
           [&] { Encode(videoFormat, source, quality, false); });
  for (const bool isAdvanced : {false, true}) {
    std::vector<Bytes> frames;
    Step(name + (isAdvanced ? " advanced" : " plain"),
         [&] { frames = Encode(videoFormat, ZTLIB_YUV, 75, isAdvanced); });
    Step(name + " frame information", [&] {
      for (const Bytes& frame : frames)
        FrameInformation(frame);
    });
    for (int target = 0; target <= 8; ++target)
      for (const int scale : {1, 2, 4, 8})
        Step(name + " decode " + formatNames[target] + " 1/" + std::to_string(scale),
             [&] { Decode(videoFormat, frames, target, scale); });
  }
}

void JpegFiles() {
  const Bytes scene = jpeg_reference::Scene(width, height);
  for (const jpeg_reference::Style& style :
       {jpeg_reference::Style{"4:2:0"}, jpeg_reference::Style{"4:2:2", 2, 1},
        jpeg_reference::Style{"4:4:4", 1, 1}, jpeg_reference::Style{"gray", 1, 1, 1},
        jpeg_reference::Style{"progressive", 2, 2, 3, true},
        jpeg_reference::Style{"restarts", 2, 2, 3, false, 1}})
    Step(std::string("jpeg ") + style.name, [&] {
      const Bytes file = jpeg_reference::Encode(scene, width, height, style);
      Bytes frame;
      ztlib_copyAndAddHeader(&frame, Receive, file.data(), static_cast<std::uint32_t>(file.size()));
      for (const int target : {1, 2, 3, 4, 5}) {
        void* decoder = ztlib_decoder_create(ZTLIB_VIDEO_MJPEG);
        CodecConfig().Int("PixelFormat", target).Apply(ztlib_decoder_config, decoder);
        const Image image(ztlib_ztimage_create());
        // The second half of the bytes is missing at first.
        for (const std::size_t size : {frame.size() / 2, frame.size()}) {
          ztlib_decoder_process(&decoder, image.get(), frame.data(),
                                static_cast<std::uint32_t>(size));
          MixImage(image);
        }
        ztlib_decoder_destroy(&decoder);
      }
    });
}

void Images() {
  for (int format = 0; format <= 8; ++format)
    Step(std::string("image memory ") + formatNames[format], [&] {
      const Image image = NewImage(format, Noise(9999, 7));
      Bytes memory;
      ztlib_ztimage_saveToZTMem(image.get(), &memory, Receive);
      const Image loaded(ztlib_ztimage_create());
      const ztlib_blob blob{memory.data(), memory.size()};
      Mix(ztlib_ztimage_loadFromZTMem(loaded.get(), &blob));
      MixImage(loaded);
    });
}

void Arithmetic() {
  Step("inverse transform", [] {
    for (std::uint32_t seed = 0; seed < 100; ++seed) {
      std::int16_t block[64];
      const Bytes noise = Noise(sizeof block, seed);
      std::memcpy(block, noise.data(), sizeof block);
      for (auto& coefficient : block)
        coefficient = static_cast<std::int16_t>(coefficient >> (seed % 13));
      idct8x8_mmx(block);
      Mix(std::span(block));
    }
  });
  Step("virtual coordinates", [] {
    for (int size = -5; size < 4000; size += 7)
      for (int at = -20000; at < 20000; at += 997)
        for (const auto call : {ztlib_getPixelXByVirtualX, ztlib_getPixelYByVirtualY,
                                ztlib_getVirtualXByPixelX, ztlib_getVirtualYByPixelY})
          Mix(call(at, size));
  });
  Step("scale-down choice", [] {
    for (int target = -1; target < 2000; target += 37)
      for (int dx = 0; dx < 2000; dx += 61) {
        Mix(ztlib_getScaleDownByPixel1(target, dx, 720));
        for (int format = 0; format < 11; ++format)
          Mix(ztlib_getScaleDownByPixel3(target, format, dx, 720));
      }
  });
}

void Motion() {
  Step("motion", [] {
    void* const context = ztlib_simplemotion_create();
    const ztlib_blob defaults{"", 1};
    ztlib_simplemotion_configure(context, &defaults, width, height);
    for (int moment = 0; moment < 60; ++moment) {
      Bytes picture = Noise(std::size_t{width} * height, static_cast<std::uint32_t>(moment));
      for (std::uint8_t& pixel : picture)
        pixel = static_cast<std::uint8_t>(100 + pixel % 8);
      // Something bright comes once the model has learned.
      for (int y = 10; moment >= 45 && y < 40; ++y)
        std::fill_n(&picture[static_cast<std::size_t>(y * width + moment)], 30, 230);
      const Image image = NewImage(ZTLIB_GRAY, picture);
      Mix(ztlib_simplemotion_detect(context, nullptr, Receive, image.get(),
                                    13'000'000'000'000 + 100 * moment));
    }
    ztlib_simplemotion_destroy(context);
  });
}

void Triangulation() {
  constexpr std::int32_t low = -2147483647 - 1, high = 2147483647;
  // In 256ths of the frame: its middle, sides and quarters join the mesh of a square of any size,
  // others that of a small one alone. Values are exact, as exceptions are unmasked here.
  Bytes places = {128, 128, 128, 0, 0, 128, 128, 255, 255, 128, 64, 64, 192, 64, 64, 192};
  const Bytes more = Noise(200, 5);
  places.insert(places.end(), more.begin(), more.end());
  for (const auto& [x0, y0, x1, y1] :
       {std::array{0, 0, 12, 9}, std::array{-7, 3, 14, 30}, std::array{0, 0, 1024, 1024},
        std::array{low, low, high, high}}) {
    const auto at = [](std::int64_t first, std::int64_t last, std::int64_t place) {
      return static_cast<std::int32_t>(place == 255 ? last - 1
                                                    : first + (last - first) * place / 256);
    };
    Step("triangulation " + std::to_string(x1), [&, left = x0, top = y0, right = x1, bottom = y1] {
      void* const handle = ztlib_triangulation_create();
      ztlib_triangulation_init(handle, left, top, right, bottom, 2);
      for (std::size_t i = 0; i < places.size(); i += 2) {
        const std::int32_t x = at(left, right, places[i]), y = at(top, bottom, places[i + 1]);
        const float values[] = {float(places[i]), float(i)};
        ztlib_triangulation_addPoint(handle, x, y, values, i % 11 == 10 ? 1 : 2);
        if (i == 100) ztlib_triangulation_finalize(handle);
        for (const int place : {0, 50, 100, 150, 200, 250}) {
          float estimate[2] = {-1, -1};
          ztlib_triangulation_estimate(handle, at(left, right, place), y, estimate, 2);
          Mix(std::span(estimate));
        }
      }
      ztlib_triangulation_finalize(nullptr);
      ztlib_triangulation_destroy(handle);
    });
  }
}

}  // namespace

int main() {
  _mm_setcsr(_mm_getcsr() & ~exceptionMasks);
  ztlib_registerAVFrameMgr(Frame::Allocate, Frame::Release, nullptr, 0);
  ztlib_context_create();
  // Failures are results as well.
  ztlib_registerLogger([](int level, const char* text) {
    Mix(level);
    Mix(text);
  });
  ztlib_registerExceptionHandler([](const char* text) { Mix(text); });
  Video(ZTLIB_VIDEO_MJPEG, "mjpeg");
  Video(ZTLIB_VIDEO_MJPEGDIFF, "mjpegdiff");
  JpegFiles();
  Images();
  Arithmetic();
  Motion();
  Triangulation();
  ztlib_context_destroy();
  const bool isStillUnmasked = (_mm_getcsr() & exceptionMasks) == 0;
  return isStillUnmasked ? 0 : 1;
}
