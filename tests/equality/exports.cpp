// Runs a fixed set of inputs through every export, as a client with all floating-point exceptions
// unmasked.
#include "client/layered/layered_encoder.h"
#include "tests/equality/steps.h"
#include "tests/kit/codec.h"
#include "tests/support/jpeg_reference.h"

#include <xmmintrin.h>

namespace {

using namespace kit;

constexpr unsigned exceptionMasks = 0x1F80;

constexpr int width = 96, height = 80;

// Outputs are mixed in and, if `user` is a block of bytes, kept there.
void Receive(void* user, const void* data, std::uint32_t size) {
  Mix(std::span(static_cast<const std::uint8_t*>(data), size));
  if (user) Collect(user, data, size);
}

// Returns a picture of YUV pixels, of which a part differs from moment to moment.
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
  Encoder encoder(width, height, videoFormat);
  encoder.Configure(Config().Int("JPEGQuality", quality).Bool("AdvancedProfile", isAdvanced));
  std::vector<Bytes> frames;
  for (int moment = 0; moment < 6; ++moment) {
    const Image image = NewImage(source, width, height, Scene(moment));
    frames.emplace_back();
    ztlib_encoder_process(encoder.object, &frames.back(), Receive, image.get(), moment == 4);
  }
  return frames;
}

void Decode(int videoFormat, std::vector<Bytes> frames, int target, int scale) {
  Decoder decoder(target, scale, videoFormat);
  decoder.Configure(Config().Bool("SwapRGB", target == ZTLIB_RGB && scale == 2));
  const Image base = NewImage(target, width, height, Scene(9));
  ztlib_decoder_setBaseImage(decoder.object, base.get());
  const Image image = NewImage();
  for (Bytes& frame : frames) {
    decoder.Process(image.get(), frame);
    MixImage(image);
    Mix(std::span(frame));
  }
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

void Layers(std::vector<Bytes>& frames) {
  for (const Bytes& frame : frames) {
    const ztlib_blob blob{frame.data(), frame.size()};
    std::uint32_t sizes[4] = {};
    ztlib_getLayerSizes(&blob, sizes);
    Mix(sizes);
    Mix(ztlib_getLayerCount(&blob));
    Bytes records[4];
    void* users[4] = {&records[0], &records[1], &records[2], &records[3]};
    Mix(ztlib_decomposeToLayers(&blob, users, Receive));
    for (std::size_t i = 0; i < 4; ++i) {
      Mix(std::span(records[i]));
      const auto joined = JoinLayers(std::span(records).first(i + 1));
      Mix(std::span(joined.value()));
    }
  }
}

void LayeredVideo() {
  for (const int videoFormat : {ZTLIB_VIDEO_LAYERED, ZTLIB_VIDEO_LAYEREDDIFF})
    for (const int family : {0, 1}) {
      CLayeredSettings settings;
      settings.isDifferential = videoFormat == ZTLIB_VIDEO_LAYEREDDIFF;
      settings.tableFamily = family;
      settings.quality = family == 0 ? 75 : 96;
      settings.codes.longFormInterval = 5 * family;
      // The encoder is no part of the library, so it runs with masked exceptions.
      _mm_setcsr(_mm_getcsr() | exceptionMasks);
      CLayeredEncoder encoder(settings);
      _mm_setcsr(_mm_getcsr() & ~exceptionMasks);
      const std::string name = "layered " + std::to_string(videoFormat) + std::to_string(family);
      std::vector<Bytes> frames;
      Step(name + " encode", [&] {
        for (int moment = 0; moment < 6; ++moment) {
          const Image image = NewImage(ZTLIB_UYVY, width, height, Scene(moment));
          const CLayeredPlanes planes(FrameOf(image)->data, 2 * width, width, height);
          frames.push_back(encoder.Encode(planes.Picture(), moment == 4));
          Mix(std::span(frames.back()));
        }
      });
      Step(name + " layers", [&] { Layers(frames); });
      for (int target = 1; target <= 5; ++target)
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
        Decoder decoder(target);
        const Image image = NewImage();
        // The second half of the bytes is missing at first.
        for (const std::size_t size : {frame.size() / 2, frame.size()}) {
          decoder.Process(image.get(), Bytes(frame.begin(), frame.begin() + size));
          MixImage(image);
        }
      }
    });
}

void Images() {
  for (int format = 0; format <= 8; ++format)
    Step(std::string("image memory ") + formatNames[format], [&] {
      const Image image = NewImage(format, width, height, Noise(9999, 7));
      Bytes memory;
      ztlib_ztimage_saveToZTMem(image.get(), &memory, Receive);
      const Image loaded = NewImage();
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
  // One of the widths is no multiple of 4.
  for (const int columns : {width, width - 3})
    Step(columns == width ? "motion" : "motion of odd width", [&] {
      void* const context = ztlib_simplemotion_create();
      kit::Apply(Config(), ztlib_simplemotion_configure, context, columns, height);
      for (int moment = 0; moment < 60; ++moment) {
        Bytes picture =
            Noise(static_cast<std::size_t>(columns * height), static_cast<std::uint32_t>(moment));
        for (std::uint8_t& pixel : picture)
          pixel = static_cast<std::uint8_t>(100 + pixel % 8);
        // Something bright appears when the model has learned.
        for (int y = 10; moment >= 45 && y < 40; ++y)
          std::fill_n(&picture[static_cast<std::size_t>(y * columns + moment)], 30, 230);
        const Image image = NewImage(ZTLIB_GRAY, columns, height, picture);
        Mix(ztlib_simplemotion_detect(context, nullptr, Receive, image.get(),
                                      13'000'000'000'000 + 100 * moment));
      }
      ztlib_simplemotion_destroy(context);
    });
}

// All values are exact, because inexact results would trap here.
void Triangulation() {
  for (const std::int32_t size : {9, 1024, 2147483647})
    Step("triangulation " + std::to_string(size), [size] {
      void* const handle = ztlib_triangulation_create();
      ztlib_triangulation_init(handle, -size, -size, size, size, 2);
      // Places are in 256ths of the frame: middle, sides and quarters join the mesh at any size.
      Bytes places = {128, 128, 128, 0, 0, 128, 128, 255, 255, 128, 64, 64, 192, 64, 64, 192};
      const Bytes more = Noise(200, 5);
      places.insert(places.end(), more.begin(), more.end());
      for (std::size_t i = 0; i < places.size(); i += 2) {
        const auto at = [&](std::uint8_t place) {
          return static_cast<std::int32_t>(std::int64_t{size} * (place - 128) / 128);
        };
        const std::int32_t x = at(places[i]), y = at(places[i + 1]);
        const float values[] = {float(places[i]), float(i)};
        ztlib_triangulation_addPoint(handle, x, y, values, i % 11 == 10 ? 1 : 2);
        if (i == 100) ztlib_triangulation_finalize(handle);
        for (const std::uint8_t place : {0, 50, 128, 200}) {
          float estimate[2] = {-1, -1};
          ztlib_triangulation_estimate(handle, at(place), y, estimate, 2);
          Mix(std::span(estimate));
        }
      }
      ztlib_triangulation_finalize(nullptr);
      ztlib_triangulation_destroy(handle);
    });
}

}  // namespace

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

int main(int count, char** arguments) {
  ReadStackShift(count, arguments);
  _mm_setcsr(_mm_getcsr() & ~exceptionMasks);
  const FramePool frames;
  ztlib_context_create();
  // Failures are results as well.
  ztlib_registerLogger([](int level, const char* text) {
    Mix(level);
    Mix(text);
  });
  ztlib_registerExceptionHandler([](const char* text) { Mix(text); });
  Video(ZTLIB_VIDEO_MJPEG, "mjpeg");
  Video(ZTLIB_VIDEO_MJPEGDIFF, "mjpegdiff");
  LayeredVideo();
  JpegFiles();
  Images();
  Arithmetic();
  Motion();
  Triangulation();
  LayeredPictures();
  Triangulations();
  DifferentialVideo();
  CodedFrames();
  ztlib_context_destroy();
  const bool isStillUnmasked = (_mm_getcsr() & exceptionMasks) == 0;
  return isStillUnmasked ? 0 : 1;
}
