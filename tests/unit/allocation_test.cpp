#include "client/layered/layered_encoder.h"
#include "main/lib/calib/calibrator3d.h"
#include "tests/kit/codec.h"
#include "tests/support/calibration_tree.h"
#include "tests/support/common.h"
#include "tests/support/counting_heap.h"
#include "tests/support/jpeg_reference.h"

#include <dlfcn.h>
#include <malloc.h>

using namespace ztlib;

namespace {

using namespace counting_heap;
using kit::BytesOf;
using kit::Config;
using kit::Decoder;
using kit::Encoder;
using kit::Frame;
using kit::FrameOf;
using kit::FramePool;
using kit::Image;
using kit::NewImage;

constexpr int width = 640;
constexpr int height = 480;
constexpr int roomOfFrame = width * height * 4;

// Makes a picture whose byte i is `byteAt(i)`, with room for any picture of these tests.
template <class ByteAt>
Image Picture(int format, int columns, int size, ByteAt byteAt) {
  Frame* const frame = FramePool::Make(columns, height, format, roomOfFrame);
  for (int i = 0; i < size; ++i)
    frame->data[i] = static_cast<std::uint8_t>(byteAt(i));
  return Image(ztlib_ztimage_create_avframe(format, frame));
}

class Allocation : public testing::Test {
 protected:
  // The pool takes its frames from the heap here, and no more later.
  FramePool frames{{.reuse = true}};
  Allocation() {
    Image images[8];
    for (Image& image : images)
      image = NewImage(ZTLIB_RGB, width, height, {0});
  }

  // Holds the latest frame of an encoder.
  static inline std::uint8_t coded[width * height * 2];
  static inline std::uint32_t codedSize;
  static void Encode(const Encoder& encoder, const Image& image) {
    const auto receive = [](void*, const void* data, std::uint32_t size) {
      codedSize = size;
      std::memcpy(coded, data, size);
    };
    ztlib_encoder_process(encoder.object, nullptr, receive, image.get(), 0);
  }

  // Returns the heap calls of ten rounds, after two rounds to warm up.
  template <class Round>
  static int CallsOfTen(Round round) {
    round();
    round();
    const int before = heapCalls;
    for (int i = 0; i < 10; ++i)
      round();
    return heapCalls - before;
  }
  static void ExpectNoneToDecode(int video, int format, std::vector<Bytes>& stream, int scale = 1) {
    Decoder decoder(format, scale, video);
    const Image decoded(ztlib_ztimage_create());
    EXPECT_EQ(CallsOfTen([&] {
                for (Bytes& frame : stream)
                  ztlib_decoder_process(&decoder.object, decoded.get(), frame.data(),
                                        static_cast<std::uint32_t>(frame.size()));
              }),
              0);
    EXPECT_NE(ztlib_ztimage_get_avframe(decoded.get()), nullptr);
  }
};

TEST_F(Allocation, SteadyStateTakesFramesAndTheOutputBlockOnly) {
  const Bytes scene = jpeg_reference::Scene(width, height);
  for (int format : {ZTLIB_GRAY, ZTLIB_RGB, ZTLIB_YUV, ZTLIB_YUYV, ZTLIB_UYVY}) {
    SCOPED_TRACE(format);
    const Encoder encoder(width, height);
    const Image image = Picture(format, width, roomOfFrame,
                                [&](std::size_t i) { return scene[i % scene.size()] / 4; });
    EXPECT_EQ(CallsOfTen([&] { Encode(encoder, image); }), 10);
    ASSERT_GT(codedSize, 112U);
    std::vector<Bytes> stream = {Bytes(coded, coded + codedSize)};
    ExpectNoneToDecode(ZTLIB_VIDEO_MJPEG, format, stream);
  }
}

// The frames are key, plain, plain and reference frames of two pictures in turn.
TEST_F(Allocation, DifferentialVideoTakesNoMoreThanPlainVideo) {
  for (bool advanced : {false, true}) {
    Encoder encoder(width, height, ZTLIB_VIDEO_MJPEGDIFF);
    encoder.Configure(Config().Int("RPFrameInterval", 3).Bool("AdvancedProfile", advanced));
    const auto picture = [](int n) {
      return Picture(ZTLIB_UYVY, width, width * height * 2, [n](int at) {
        const bool object = at % (2 * width) < 200 && at / (2 * width) - 100U < 40U;
        return object ? 40 + 90 * n + at % 5 : 150;
      });
    };
    const Image images[] = {picture(0), picture(1)};
    int next = 0;
    std::vector<Bytes> stream;
    const auto encode = [&] { Encode(encoder, images[next++ % 2]); };
    for (int i = 0; i < 5; ++i) {
      encode();
      stream.emplace_back(coded, coded + codedSize);
      EXPECT_EQ(coded[72], i == 0 ? 0 : i == 3 ? 5 : advanced ? 4 : 3);
      EXPECT_EQ(codedSize > 124, i != 2) << i;
    }
    EXPECT_EQ(CallsOfTen(encode), 10);
    for (int format : {ZTLIB_RGB, ZTLIB_UYVY})
      ExpectNoneToDecode(ZTLIB_VIDEO_MJPEGDIFF, format, stream);
  }
}

// The frames are key and differential frames of both layered formats in turn. The decoders inherit
// from that of JPEG, which would take more than the one block of the object.
TEST_F(Allocation, LayeredVideoTakesFramesOnlyAndNoJpegDecoder) {
  const Bytes scene = jpeg_reference::Scene(width, height);
  const CLayeredPlanes planes(scene.data(), 2 * width, width, height);
  for (bool isDifferential : {false, true}) {
    const int video = isDifferential ? ZTLIB_VIDEO_LAYEREDDIFF : ZTLIB_VIDEO_LAYERED;
    const int before = heapCalls;
    void* decoder = ztlib_decoder_create(video);
    EXPECT_EQ(heapCalls - before, 1) << video;
    ztlib_decoder_destroy(&decoder);
    CLayeredSettings settings;
    settings.isDifferential = isDifferential;
    CLayeredEncoder encoder(settings);
    std::vector<Bytes> stream{encoder.Encode(planes.Picture())};
    const std::uint32_t blocks[] = {3, 50, 51, 700};
    if (isDifferential) stream.push_back(*encoder.EncodeBlocks(planes.Picture(), blocks));
    for (int scale : {1, 8})
      for (int format : {ZTLIB_RGB, ZTLIB_UYVY})
        ExpectNoneToDecode(video, format, stream, scale);
  }
}

// These frames announce more than they have and than their picture holds. The picture is that of
// the sound frame, and no block of memory is larger than that picture needs.
TEST_F(Allocation, WhatFramesAnnounceTakesNoMemory) {
  const Bytes scene = jpeg_reference::Scene(64, 64);
  const CLayeredPlanes planes(scene.data(), 2 * 64, 64, 64);
  CLayeredSettings settings;
  const Bytes still = CLayeredEncoder(settings).Encode(planes.Picture());
  settings.isDifferential = true;
  const Bytes key = CLayeredEncoder(settings).Encode(planes.Picture());
  const std::uint32_t blocks[] = {5, 6};

  Bytes longStreams = still;
  const Bytes noise = NoiseBytes(4'000'000);
  longStreams.insert(longStreams.end(), noise.begin(), noise.end());
  for (std::size_t at = 112 + 40; at < 112 + 64; at += 4)
    Put(longStreams, at, 30'000'000);

  // This strip has 2^28 by 0 pixels, and entries of no bits in its list.
  Bytes endlessList = *CLayeredEncoder(settings).EncodeBlocks(planes.Picture(), blocks);
  Put(endlessList, 66, std::uint16_t{1});
  Put(endlessList, 84, 0x7FFFFFF0);
  for (const auto& [at, value] : {std::pair(112, -1), {116, 0}, {120, 0}})
    Put(endlessList, static_cast<std::size_t>(at), value);

  // This strip has 4,093 blocks, of which two are listed.
  const Encoder encoder(64, height, ZTLIB_VIDEO_MJPEGDIFF);
  Encode(encoder, Picture(ZTLIB_UYVY, 64, 64 * height * 2, [](int) { return 99; }));
  const Bytes jpegKey(coded, coded + codedSize);
  Bytes wideStrip = Words(112, {3, 0, 112, 0, 0, 0, 0x10007, 0, 64, height});
  for (const auto& [at, value] : {std::pair(72, 3), {84, 2}, {88, 16}, {112, 2}, {120, 6}})
    Put(wideStrip, static_cast<std::size_t>(at), value);
  Put(wideStrip, 124, 0);
  const Bytes stream = jpeg_reference::Encode(Bytes(65488 * 16 * 3, 99), 65488, 16);
  wideStrip.insert(wideStrip.end(), stream.begin(), stream.end());

  const struct {
    int video;
    int format;
    int scale;
    const Bytes& sound;
    const Bytes& hostile;
    std::size_t most;
  } cases[] = {{ZTLIB_VIDEO_LAYERED, ZTLIB_UYVY, 8, still, longStreams, 100'000},
               {ZTLIB_VIDEO_LAYEREDDIFF, ZTLIB_UYVY, 8, key, endlessList, 100'000},
               {ZTLIB_VIDEO_MJPEGDIFF, ZTLIB_RGB, 1, jpegKey, wideStrip, 4'000'000}};
  for (const auto& [video, format, scale, sound, hostile, most] : cases) {
    SCOPED_TRACE(video);
    Decoder decoder(format, scale, video);
    const Image images[] = {Image(ztlib_ztimage_create()), Image(ztlib_ztimage_create())};
    decoder.Process(images[0].get(), sound);
    Bytes frame = hostile;
    largestBlock = 0;
    ztlib_decoder_process(&decoder.object, images[1].get(), frame.data(),
                          static_cast<std::uint32_t>(frame.size()));
    EXPECT_LT(largestBlock, most);
    const auto* const expected = FrameOf(images[0]);
    const auto* const picture = FrameOf(images[1]);
    ASSERT_NE(picture, nullptr);
    EXPECT_TRUE(
        std::equal(picture->data, picture->data + 64 * 64 * 2 / (scale * scale), expected->data));
  }
}

TEST_F(Allocation, MotionTakesNoMemoryForAFrame) {
  const Config masked = Config().Child("Masks", Config().Shorts("", {0, 0, 9000, 0, 0, 9000}));
  for (const int format : {ZTLIB_GRAY, ZTLIB_BOOL8}) {
    constexpr int columns = width - 3;
    const std::unique_ptr<void, void (*)(void*)> context{ztlib_simplemotion_create(),
                                                         ztlib_simplemotion_destroy};
    kit::Apply(Config().Child("Configs", Config().Child("", masked).Child("", Config())),
               ztlib_simplemotion_configure, context.get(), columns, height);
    const Image image = Picture(format, columns, 0, [](int) { return 0; });
    std::int64_t time = 0;
    const auto detect = [&] {
      ztlib_simplemotion_detect(
          context.get(), nullptr, [](void*, const void*, std::uint32_t) {}, image.get(),
          time += 100);
    };
    for (int i = 0; i < 50; ++i)
      detect();
    EXPECT_EQ(CallsOfTen(detect), 0);
  }
}

TEST_F(Allocation, EightDetectorsShareTheirModelsAndOthersTakeNothing) {
  const auto callsWith = [](int count, int models = 1) {
    CData tree;
    CData& configs = tree.AddChild(Tok::Configs);
    for (int i = 0; i < count; ++i)
      configs.AddChild(Tok::Empty).AddDouble(Tok::Sensitivity, i % models);
    const CBinData bytes = ToTagged(tree);
    const ztlib_blob block{bytes.Data(), bytes.Size()};
    const std::unique_ptr<void, void (*)(void*)> context{ztlib_simplemotion_create(),
                                                         ztlib_simplemotion_destroy};
    const int before = heapCalls;
    ztlib_simplemotion_configure(context.get(), &block, 64, 48);
    return heapCalls - before;
  };
  EXPECT_GT(callsWith(8), callsWith(7));
  EXPECT_EQ(callsWith(10000), callsWith(8));
  EXPECT_EQ(callsWith(8, 8) - callsWith(8), 7 * (callsWith(8, 2) - callsWith(8)));
  EXPECT_GT(callsWith(8, 2), callsWith(8));
}

// Sizes come from outside, so those that no picture has are refused or cheap.
TEST_F(Allocation, EncodersKeepNothingForSizesWithoutPixels) {
  for (const int video : {ZTLIB_VIDEO_MJPEG, ZTLIB_VIDEO_MJPEGDIFF})
    for (const auto& [w, h] : {std::pair(-1, 0), {0, -1}, {-1, 1}, {1, -1}, {-1, -1}}) {
      Encoder encoder(width, height, video);
      largestBlock = 0;
      encoder.Configure(Config().Int("Width", w).Int("Height", h));
      EXPECT_LT(largestBlock, std::size_t{1} << 20) << w << ", " << h;
    }
}

TEST_F(Allocation, CalibratorsMeasureWithoutMemory) {
  CCalibrator3D calibrator;
  calibrator.Configure(MarkedTree({}, {{4000, 8000, 4000, 6000}, {8000, 8000, 8000, 6000}}));
  const int calls = CallsOfTen([&] {
    CPointF ground, point;
    float meters = 0;
    EXPECT_TRUE(calibrator.GetGround({7000, 7000}, ground) &&
                calibrator.ImagePosition(ground.x, ground.y, point) &&
                calibrator.Distance(point, {6000, 7000}, meters) &&
                calibrator.Height({7000, 7000}, {7000, 6000}, meters) &&
                calibrator.Head({7000, 7000}, meters, point));
  });
  EXPECT_EQ(calls, 0);
}

// One call of the heap fails during the first use of the logger.
TEST_F(Allocation, TheLoggerCanBeAskedForAgainWhenMemoryIsThere) {
  static int lines;
  const auto listen = [] { ztlib_registerLogger([](int, const char*) { ++lines; }); };
  const auto log = [] { EXPECT_EQ(ztlib_decoder_create(99), nullptr); };
  const std::function<void()> firstUses[] = {listen, log};
  for (const auto& use : firstUses) {
    int n = 0;
    for (bool failed = true; failed; ++n) {
      testing::internal::CaptureStdout();
      ztlib_context_create();
      ztlib_context_destroy();  // the logger and its listeners
      testing::internal::GetCapturedStdout();
      callsToFailure = n + 1;
      try {
        use();
      } catch (const std::bad_alloc&) {
        EXPECT_EQ(&use, &firstUses[0]) << "only that call is without guard";
      }
      failed = callsToFailure.exchange(0) == 0;
      listen();
      lines = 0;
      log();
      EXPECT_GE(lines, 1) << n;
    }
    EXPECT_GT(n, 3);
  }
}

// As they take no memory, they cannot fail.
TEST_F(Allocation, CallsWithoutGuardTakeNoMemory) {
  CLayeredEncoder layered{CLayeredSettings()};
  const Bytes scene = jpeg_reference::Scene(64, 64);
  const Bytes frame = layered.Encode(CLayeredPlanes(scene.data(), 128, 64, 64).Picture());
  const ztlib_blob blob{frame.data(), frame.size()};
  Image image = Picture(ZTLIB_GRAY, width, 0, [](int) { return 0; });
  Decoder decoder(ZTLIB_RGB);
  Encoder encoder(64, 64, ZTLIB_VIDEO_MJPEGDIFF);
  void* const motion = ztlib_simplemotion_create();
  kit::Apply(Config(), ztlib_simplemotion_configure, motion, width, height);
  void* const mesh = ztlib_triangulation_create();
  ztlib_triangulation_init(mesh, 0, 0, 9, 9, 1);
  std::uint32_t sizes[4] = {};
  std::int16_t block[64] = {};
  const int before = heapCalls;
  EXPECT_EQ(ztlib_getVideoFormat(&blob) + ztlib_getLayerCount(&blob), 4);
  ztlib_getLayerSizes(&blob, sizes);
  EXPECT_GT(sizes[3], 0U);
  idct8x8_mmx(block);
  ztlib_getScaleDownByPixel1(320, 640, 480);
  ztlib_getPixelXByVirtualX(5, 640);
  ztlib_registerExceptionHandler(nullptr);
  ztlib_registerAVFrameMgr(nullptr, nullptr, nullptr, 1);
  ztlib_ztimage_destroy(image.release());
  ztlib_decoder_destroy(&decoder.object);
  ztlib_encoder_destroy(&encoder.object);
  ztlib_simplemotion_destroy(motion);
  ztlib_triangulation_destroy(mesh);
  EXPECT_EQ(heapCalls, before);
}

TEST_F(Allocation, UnloadingGivesAllMemoryBack) {
  const auto cycle = [](bool isDestroyed) {
    void* const library = dlopen(ZTLIB_SHARED, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    const auto call = [&]<class Function, class... Arguments>(Function*, const char* name,
                                                              Arguments... arguments) {
      return reinterpret_cast<Function*>(dlsym(library, name))(arguments...);
    };
    call(&ztlib_context_create, "ztlib_context_create");
    call(&ztlib_registerLogger, "ztlib_registerLogger", [](int, const char*) {});
    call(&ztlib_ztimage_create_avframe, "ztlib_ztimage_create_avframe", 9, nullptr);
    void* decoder = call(&ztlib_decoder_create, "ztlib_decoder_create", ZTLIB_VIDEO_MJPEG);
    call(&ztlib_decoder_destroy, "ztlib_decoder_destroy", &decoder);
    if (isDestroyed) call(&ztlib_context_destroy, "ztlib_context_destroy");
    dlclose(library);
  };
  constexpr int cycles = 64;
  for (const bool isDestroyed : {true, false}) {
    std::size_t inUse[2];
    testing::internal::CaptureStdout();
    // The loader keeps some kilobytes, but only once.
    for (std::size_t& bytes : inUse) {
      for (int i = 0; i < cycles; ++i)
        cycle(isDestroyed);
      bytes = mallinfo2().uordblks;
    }
    testing::internal::GetCapturedStdout();
    EXPECT_LT(inUse[1], inUse[0] + 8 * cycles);
  }
}

}  // namespace
