#include "client/layered/layered_encoder.h"
#include "tests/kit/codec.h"
#include "tests/support/common.h"
#include "tests/support/counting_heap.h"
#include "tests/support/jpeg_reference.h"

// Every call of the heap and of the frame manager fails once, in the library and in libjpeg, on
// every way through the exports. Nothing crashes or is lost, the failure is reported, and the
// handles are good for the next call.
namespace {

using namespace counting_heap;
using namespace kit;

constexpr int width = 64, height = 48;

int reports = 0;
char lastReport[256];

// The frames of this client are no part of the counted heap, and it may refuse one.
void* Allocate(int columns, int rows, int format) {
  if (!CountPoint()) return nullptr;
  const Pause pause;
  return FramePool::Allocate(columns, rows, format);
}
void Release(void* frame) {
  const Pause pause;
  FramePool::Release(frame);
}

Image Wrapped(int format, int seed) {
  Frame* frame = nullptr;
  {
    const Pause pause;
    frame = FramePool::Make(width, height, format);
    frame->lineSize = width;
    for (std::size_t i = 0; i < frame->size; ++i)
      frame->data[i] = static_cast<std::uint8_t>(seed + i * i / 700 % 90);
  }
  Image image(ztlib_ztimage_create_avframe(format, frame));
  if (!image) Release(frame);
  return image;
}

// Returns the bytes of a picture without a call that can fail.
Bytes PixelsOf(const Image& image) {
  const Pause pause;
  return image ? BytesOf(image) : Bytes();
}

// Something that a client does again and again. It returns what the client gets, or nothing after a
// failure, and owns the handles that it needs the next time.
using Work = std::function<Bytes()>;

struct Case {
  const char* name;
  std::function<Work()> start;
  bool isSame = true;  // gives the same result each time
};

std::vector<Bytes> DifferentialStream() {
  Encoder encoder(width, height, ZTLIB_VIDEO_MJPEGDIFF);
  encoder.Configure(Config().Int("RPFrameInterval", 2));
  std::vector<Bytes> stream;
  for (const int seed : {90, 60, 90})
    stream.push_back(encoder.Process(Wrapped(ZTLIB_UYVY, seed).get()));
  return stream;
}

std::vector<Bytes> LayeredStream(bool isDifferential) {
  const Bytes scene = jpeg_reference::Scene(width, height);
  const CLayeredPlanes planes(scene.data(), 2 * width, width, height);
  CLayeredSettings settings;
  settings.isDifferential = isDifferential;
  CLayeredEncoder encoder(settings);
  std::vector<Bytes> stream{encoder.Encode(planes.Picture())};
  const std::uint32_t blocks[] = {1, 2, 7};
  if (isDifferential) stream.push_back(*encoder.EncodeBlocks(planes.Picture(), blocks));
  return stream;
}

// Without a call that can fail between the library's.
void Process(Decoder& decoder, const Image& image, Bytes& frame) {
  ztlib_decoder_process(&decoder.object, image.get(), frame.data(),
                        static_cast<std::uint32_t>(frame.size()));
}

std::vector<Case> Cases() {
  std::vector<Case> cases;
  // What keeps nothing from round to round.
  const auto add = [&cases](const char* name, Work work) {
    cases.push_back({name, [=] { return work; }});
  };
  const Bytes scene = jpeg_reference::Scene(width, height);
  const auto framed = [](const Bytes& jpeg) {
    Bytes frame;
    ztlib_copyAndAddHeader(&frame, Collect, jpeg.data(), static_cast<std::uint32_t>(jpeg.size()));
    return frame;
  };
  const Bytes jpeg = jpeg_reference::Encode(scene, width, height);
  const std::vector<Bytes> plain{framed(jpeg)};
  const std::vector<Bytes> scans{
      framed(jpeg_reference::Encode(scene, width, height, {.progressive = true}))};
  const std::vector<Bytes> differential = DifferentialStream();
  const std::vector<Bytes> layered = LayeredStream(false), blocks = LayeredStream(true);

  const std::tuple<const char*, int, std::vector<Bytes>, int, int> decodings[] = {
      {"plain video to RGB", 3, plain, ZTLIB_RGB, 1},
      {"plain video to gray at a quarter", 3, plain, ZTLIB_GRAY, 4},
      {"plain video to UYVY", 3, plain, ZTLIB_UYVY, 1},
      {"scans to RGB", 3, scans, ZTLIB_RGB, 1},
      {"differential video to RGB", 7, differential, ZTLIB_RGB, 1},
      {"differential video to YUYV", 7, differential, ZTLIB_YUYV, 1},
      {"layered video to RGB", 0, layered, ZTLIB_RGB, 1},
      {"layered video to YUYV at a half", 0, layered, ZTLIB_YUYV, 2},
      {"layered blocks to UYVY", 4, blocks, ZTLIB_UYVY, 1}};
  for (const auto& [name, video, frames, format, scale] : decodings)
    cases.push_back({name, [video = video, frames = frames, format = format, scale = scale] {
                       return [decoder = std::make_shared<Decoder>(format, scale, video),
                               stream = frames]() mutable {
                         const Image image = NewImage();
                         for (Bytes& frame : stream)
                           Process(*decoder, image, frame);
                         return PixelsOf(image);
                       };
                     }});
  // A decoder that is made for each round, replaced behind its handle, and given a base.
  for (const int video : {0, 3, 4, 7})
    add("new decoders", [=] {
      Decoder decoder(ZTLIB_RGB, 1, video);
      const Image image = NewImage();
      Bytes frame = plain[0];
      for (int i = 0; i < 2; ++i) {
        Process(decoder, image, frame);
        decoder.Configure(ZTLIB_RGB, 1);
      }
      return PixelsOf(image);
    });
  cases.push_back({"a base picture", [=] {
                     return [=, decoder = std::make_shared<Decoder>(ZTLIB_UYVY, 1, 7)] {
                       const Image base = Wrapped(ZTLIB_UYVY, 30);
                       if (!base) return Bytes();
                       ztlib_decoder_setBaseImage(decoder->object, base.get());
                       Bytes frame = differential[1];
                       const Image image = NewImage();
                       Process(*decoder, image, frame);
                       return PixelsOf(image);
                     };
                   }});

  for (const int video : {ZTLIB_VIDEO_MJPEG, ZTLIB_VIDEO_MJPEGDIFF})
    for (const int format : {ZTLIB_GRAY, ZTLIB_UYVY}) {
      add("new encoders", [=, config = Config().Int("Width", width).Int("Height", height)] {
        const Encoder encoder(video);
        kit::Apply(config, ztlib_encoder_config, encoder.object);
        const Image image = Wrapped(format, 9);
        return encoder.Process(image.get());
      });
      cases.push_back({"an encoder",
                       [=] {
                         const auto encoder = std::make_shared<Encoder>(width, height, video);
                         return [=, count = 0]() mutable {
                           const Image image = Wrapped(format, 60 + count++ % 2 * 40);
                           return encoder->Process(image.get());
                         };
                       },
                       false});
    }

  for (const int format : {ZTLIB_BOOL8, ZTLIB_RGB})
    add("the memory form", [=] {
      const Image image = Wrapped(format, 70);
      Bytes saved;
      if (image) ztlib_ztimage_saveToZTMem(image.get(), &saved, Collect);
      const ztlib_blob blob{saved.data(), saved.size()};
      const Image loaded = NewImage();
      if (saved.empty() || !ztlib_ztimage_loadFromZTMem(loaded.get(), &blob)) return Bytes();
      return PixelsOf(loaded);
    });
  add("a header", [=] { return framed(jpeg); });
  add("a payload", [=] {
    Bytes payload;
    const ztlib_blob blob{plain[0].data(), plain[0].size()};
    ztlib_getFrameInfo1(&blob, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &payload,
                        Collect);
    return payload;
  });
  add("layers apart and together", [=] {
    std::array<Bytes, 4> records;
    void* users[4] = {&records[0], &records[1], &records[2], &records[3]};
    const ztlib_blob blob{layered[0].data(), layered[0].size()};
    if (ztlib_decomposeToLayers(&blob, users, Collect) != 4) return Bytes();
    return JoinLayers(records).value_or(Bytes());
  });
  add("a failure", [] {
    ztlib_getScaleDownByPixel3(1, 99, 1, 1);
    return Bytes();
  });

  const Config watch = Config().Child(
      "Configs",
      Config()
          .Child("", Config()
                         .Double("Sensitivity", 80)
                         .Child("Masks", Config().Shorts("", {0, 0, 9000, 0, 9000, 9000})))
          .Child("", Config().Double("MotionPercent", 3)));
  const auto detect = [](void* context, std::int64_t time) {
    const Image image = Wrapped(ZTLIB_GRAY, time % 3 == 0 ? 40 : 90);
    Bytes result;
    if (image) ztlib_simplemotion_detect(context, &result, Collect, image.get(), time);
    return result;
  };
  const auto newContext = [] {
    return std::unique_ptr<void, void (*)(void*)>(ztlib_simplemotion_create(),
                                                  ztlib_simplemotion_destroy);
  };
  add("new motion contexts", [=] {
    const auto context = newContext();
    if (!context) return Bytes();
    kit::Apply(watch, ztlib_simplemotion_configure, context.get(), width, height);
    return detect(context.get(), 100);
  });
  cases.push_back({"a motion context",
                   [=] {
                     const std::shared_ptr<void> context = newContext();
                     kit::Apply(watch, ztlib_simplemotion_configure, context.get(), width, height);
                     for (int i = 0; i < 60; ++i)
                       detect(context.get(), i * std::int64_t{100});
                     return [=, time = std::int64_t{6000}]() mutable {
                       return detect(context.get(), time += 100);
                     };
                   },
                   false});
  add("a mesh", [] {
    const std::unique_ptr<void, void (*)(void*)> mesh(ztlib_triangulation_create(),
                                                      ztlib_triangulation_destroy);
    if (!mesh) throw std::bad_alloc();  // the one call that tells by null alone
    ztlib_triangulation_init(mesh.get(), 0, 0, 12, 12, 2);
    for (int i = 0; i < 24; ++i) {
      const float values[] = {1.0F * static_cast<float>(i), 2};
      ztlib_triangulation_addPoint(mesh.get(), i * 7 % 12, i * 5 % 12, values, i % 3);
    }
    ztlib_triangulation_finalize(mesh.get());
    Bytes values(2 * sizeof(float));
    ztlib_triangulation_estimate(mesh.get(), 5, 5, reinterpret_cast<float*>(values.data()), 2);
    return values;
  });
  return cases;
}

class FailingMemory : public testing::Test {
 protected:
  FailingMemory() {
    ztlib_registerAVFrameMgr(Allocate, Release, nullptr, 0);
    ztlib_registerExceptionHandler([](const char* text) {
      ++reports;
      std::snprintf(lastReport, sizeof lastReport, "%s", text);
    });
    EXPECT_EQ(ztlib_decoder_create(-1), nullptr);  // the logger, which stays, is made by this
  }
  ~FailingMemory() override { ztlib_registerExceptionHandler(nullptr); }
  FramePool pool;
};

TEST_F(FailingMemory, EveryCallOnceOnEveryWay) {
  int points = 0;
  for (const Case& one : Cases()) {
    SCOPED_TRACE(one.name);
    reports = 0;
    const Bytes expected = one.start()();
    const int reportsOfSuccess = reports;
    int first = 0;
    for (bool failed = true; failed && !HasFailure(); ++points) {
      const int blocksBefore = liveBlocks, framesBefore = pool.allocated - pool.released;
      {
        const Work work = one.start();
        reports = 0;
        bool isLostByClient = false;
        Bytes result;
        callsToFailure = ++first;
        try {
          result = work();
        } catch (const std::bad_alloc&) {
          isLostByClient = true;
        }
        failed = callsToFailure.exchange(0) == 0;
        EXPECT_TRUE(result == expected || isLostByClient || reports > 0)
            << first << ": lost without a word";
        EXPECT_GE(reports, isLostByClient ? 0 : reportsOfSuccess) << first;
        reports = 0;
        const Bytes next = work();
        EXPECT_EQ(reports, reportsOfSuccess) << first << ", then " << lastReport;
        EXPECT_TRUE(one.isSame ? next == expected : next.empty() == expected.empty())
            << first << ": not as before";
      }
      EXPECT_EQ(liveBlocks, blocksBefore) << first << ": blocks left";
      EXPECT_EQ(pool.allocated - pool.released, framesBefore) << first << ": frames left";
    }
  }
  EXPECT_GT(points, 500);
  std::printf("%d points of failure\n", points);
}

}  // namespace
