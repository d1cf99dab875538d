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

std::shared_ptr<Decoder> NewDecoder(int video, int format, int scale) {
  return std::make_shared<Decoder>(format, scale, video);
}

Case Decoding(const char* name, int video, const std::vector<Bytes>& frames, int format,
              int scale) {
  return {name, [=] {
            return [decoder = NewDecoder(video, format, scale), stream = frames]() mutable {
              Image image = NewImage();
              for (Bytes& frame : stream)
                ztlib_decoder_process(&decoder->object, image.get(), frame.data(),
                                      static_cast<std::uint32_t>(frame.size()));
              return PixelsOf(image);
            };
          }};
}

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

std::vector<Case> Cases() {
  std::vector<Case> cases;
  const Bytes scene = jpeg_reference::Scene(width, height);
  const auto framed = [](const Bytes& jpeg) {
    Bytes frame;
    ztlib_copyAndAddHeader(&frame, Collect, jpeg.data(), static_cast<std::uint32_t>(jpeg.size()));
    return frame;
  };
  const Bytes jpeg = jpeg_reference::Encode(scene, width, height);
  const Bytes progressive = jpeg_reference::Encode(scene, width, height, {.progressive = true});
  const std::vector<Bytes> plain{framed(jpeg)}, scans{framed(progressive)};
  const std::vector<Bytes> differential = DifferentialStream();
  const std::vector<Bytes> layered = LayeredStream(false), blocks = LayeredStream(true);

  cases.push_back(Decoding("plain video to RGB", 3, plain, ZTLIB_RGB, 1));
  cases.push_back(Decoding("plain video to gray at a quarter", 3, plain, ZTLIB_GRAY, 4));
  cases.push_back(Decoding("plain video to UYVY", 3, plain, ZTLIB_UYVY, 1));
  cases.push_back(Decoding("scans to RGB", 3, scans, ZTLIB_RGB, 1));
  cases.push_back(Decoding("differential video to RGB", 7, differential, ZTLIB_RGB, 1));
  cases.push_back(Decoding("differential video to YUYV", 7, differential, ZTLIB_YUYV, 1));
  cases.push_back(Decoding("layered video to RGB", 0, layered, ZTLIB_RGB, 1));
  cases.push_back(Decoding("layered video to YUYV at a half", 0, layered, ZTLIB_YUYV, 2));
  cases.push_back(Decoding("layered blocks to UYVY", 4, blocks, ZTLIB_UYVY, 1));
  // Each round makes a decoder, replaces it behind its handle, and gives it a base.
  for (const int video : {0, 3, 4, 7})
    cases.push_back({"new decoders", [=] {
                       return [=] {
                         Decoder decoder(ZTLIB_RGB, 1, video);
                         Image image = NewImage();
                         Bytes frame = plain[0];
                         for (int i = 0; i < 2; ++i) {
                           ztlib_decoder_process(&decoder.object, image.get(), frame.data(),
                                                 static_cast<std::uint32_t>(frame.size()));
                           decoder.Configure(ZTLIB_RGB, 1);
                         }
                         return PixelsOf(image);
                       };
                     }});
  cases.push_back({"a base picture", [=] {
                     return [=, decoder = NewDecoder(7, ZTLIB_UYVY, 1)] {
                       const Image base = Wrapped(ZTLIB_UYVY, 30);
                       if (!base) return Bytes();
                       ztlib_decoder_setBaseImage(decoder->object, base.get());
                       Bytes frame = differential[1];
                       const Image image = NewImage();
                       ztlib_decoder_process(&decoder->object, image.get(), frame.data(),
                                             static_cast<std::uint32_t>(frame.size()));
                       return PixelsOf(image);
                     };
                   }});

  for (const int video : {ZTLIB_VIDEO_MJPEG, ZTLIB_VIDEO_MJPEGDIFF})
    for (const int format : {ZTLIB_GRAY, ZTLIB_UYVY}) {
      cases.push_back({"new encoders", [=] {
                         const Config config = Config().Int("Width", width).Int("Height", height);
                         return [=] {
                           const Encoder encoder(video);
                           config.Apply(ztlib_encoder_config, encoder.object);
                           const Image image = Wrapped(format, 9);
                           return encoder.Process(image.get());
                         };
                       }});
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
    cases.push_back({"the memory form", [=] {
                       return [=] {
                         const Image image = Wrapped(format, 70);
                         Bytes saved;
                         if (image) ztlib_ztimage_saveToZTMem(image.get(), &saved, Collect);
                         const ztlib_blob blob{saved.data(), saved.size()};
                         const Image loaded = NewImage();
                         if (saved.empty() || !ztlib_ztimage_loadFromZTMem(loaded.get(), &blob))
                           return Bytes();
                         return PixelsOf(loaded);
                       };
                     }});
  cases.push_back({"a header", [=] { return [=] { return framed(jpeg); }; }});
  cases.push_back({"a payload", [=] {
                     return [=] {
                       Bytes payload;
                       const ztlib_blob blob{plain[0].data(), plain[0].size()};
                       ztlib_getFrameInfo1(&blob, nullptr, nullptr, nullptr, nullptr, nullptr,
                                           nullptr, &payload, Collect);
                       return payload;
                     };
                   }});
  cases.push_back({"layers apart and together", [=] {
                     return [=] {
                       std::array<Bytes, 4> records;
                       void* users[4] = {&records[0], &records[1], &records[2], &records[3]};
                       const ztlib_blob blob{layered[0].data(), layered[0].size()};
                       if (ztlib_decomposeToLayers(&blob, users, Collect) != 4) return Bytes();
                       return JoinLayers(records).value_or(Bytes());
                     };
                   }});
  cases.push_back({"a failure", [] {
                     return [] {
                       ztlib_getScaleDownByPixel3(1, 99, 1, 1);
                       return Bytes();
                     };
                   }});

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
  using Context = std::shared_ptr<void>;
  const auto newContext = [] {
    return Context(ztlib_simplemotion_create(), ztlib_simplemotion_destroy);
  };
  cases.push_back({"new motion contexts", [=] {
                     return [=] {
                       const std::unique_ptr<void, void (*)(void*)> context(
                           ztlib_simplemotion_create(), ztlib_simplemotion_destroy);
                       if (!context) return Bytes();
                       watch.Apply(ztlib_simplemotion_configure, context.get(), width, height);
                       return detect(context.get(), 100);
                     };
                   }});
  cases.push_back({"a motion context",
                   [=] {
                     const Context context = newContext();
                     watch.Apply(ztlib_simplemotion_configure, context.get(), width, height);
                     for (int i = 0; i < 60; ++i)
                       detect(context.get(), i * std::int64_t{100});
                     return [=, time = std::int64_t{6000}]() mutable {
                       return detect(context.get(), time += 100);
                     };
                   },
                   false});
  cases.push_back({"a mesh", [] {
                     return [] {
                       const std::unique_ptr<void, void (*)(void*)> mesh(
                           ztlib_triangulation_create(), ztlib_triangulation_destroy);
                       if (!mesh) throw std::bad_alloc();  // the one call that tells by null alone
                       ztlib_triangulation_init(mesh.get(), 0, 0, 12, 12, 2);
                       for (int i = 0; i < 24; ++i) {
                         const float values[] = {1.0F * static_cast<float>(i), 2};
                         ztlib_triangulation_addPoint(mesh.get(), i * 7 % 12, i * 5 % 12, values,
                                                      i % 3);
                       }
                       ztlib_triangulation_finalize(mesh.get());
                       Bytes values(2 * sizeof(float));
                       ztlib_triangulation_estimate(mesh.get(), 5, 5,
                                                    reinterpret_cast<float*>(values.data()), 2);
                       return values;
                     };
                   }});
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
