#include "client/layered_encoder.h"
#include "main/lib/calib/calibrator3d.h"
#include "tests/support/calibration_tree.h"
#include "tests/support/codec_client.h"
#include "tests/support/common.h"
#include "tests/support/jpeg_reference.h"

#include <dlfcn.h>
#include <malloc.h>

// The heap of this program, libjpeg's use of it included, counts its calls. A program of its own,
// because it takes the place of the C library's functions.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
}

namespace {
std::atomic<int> heapCalls = 0;
std::atomic<std::size_t> largestBlock = 0;
std::atomic<int> callsBeforeFailure = -1;  // below 0 there is none
}  // namespace

extern "C" {
void* malloc(std::size_t size) {
  ++heapCalls;
  if (callsBeforeFailure >= 0 && callsBeforeFailure-- == 0) return nullptr;
  if (size > largestBlock) largestBlock = size;
  return __libc_malloc(size);
}
void* calloc(std::size_t count, std::size_t size) {
  ++heapCalls;
  return __libc_calloc(count, size);
}
void* realloc(void* memory, std::size_t size) {
  ++heapCalls;
  return __libc_realloc(memory, size);
}
void* aligned_alloc(std::size_t alignment, std::size_t size) {
  ++heapCalls;
  return __libc_memalign(alignment, size);
}
}

namespace {

using codec_client::Decoder;
using codec_client::Encoder;

constexpr int width = 640;
constexpr int height = 480;

// Frames that never come from the heap.
struct Frame {
  std::uint8_t* data;
  char unread[96];
  std::int32_t width;
  std::int32_t height;
  bool taken;
  static void* Allocate(int w, int h, int);
  static void Release(void* frame) { static_cast<Frame*>(frame)->taken = false; }
} frames[8];
std::uint8_t frameMemory[std::size(frames)][width * height * 4];

void* Frame::Allocate(int w, int h, int) {
  auto* const free = std::find_if(frames, std::end(frames), [](auto& f) { return !f.taken; });
  *free = {frameMemory[free - frames], {}, w, h, true};
  return free;
}

using codec_client::Image;

// A picture whose byte i is `byteAt(i)`.
template <class ByteAt>
Image Picture(int format, int columns, int size, ByteAt byteAt) {
  auto* const frame = static_cast<Frame*>(Frame::Allocate(columns, height, format));
  for (int i = 0; i < size; ++i)
    frame->data[i] = static_cast<std::uint8_t>(byteAt(i));
  return Image(ztlib_ztimage_create_avframe(format, frame));
}

class Allocation : public testing::Test {
 protected:
  Allocation() { ztlib_registerAVFrameMgr(Frame::Allocate, Frame::Release, nullptr, 0); }

  // The latest frame of an encoder.
  static inline std::uint8_t coded[width * height * 2];
  static inline std::uint32_t codedSize;
  static void Encode(const Encoder& encoder, const Image& image) {
    const auto receive = [](void*, const void* data, std::uint32_t size) {
      codedSize = size;
      std::memcpy(coded, data, size);
    };
    ztlib_encoder_process(encoder.object, nullptr, receive, image.get(), 0);
  }

  // Heap calls of ten rounds after two to warm up.
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
    const Image image = Picture(format, width, sizeof frameMemory[0],
                                [&](std::size_t i) { return scene[i % scene.size()] / 4; });
    EXPECT_EQ(CallsOfTen([&] { Encode(encoder, image); }), 10);
    ASSERT_GT(codedSize, 112U);
    std::vector<Bytes> stream = {Bytes(coded, coded + codedSize)};
    ExpectNoneToDecode(ZTLIB_VIDEO_MJPEG, format, stream);
  }
}

// Key, plain, plain and reference frames of two pictures in turn.
TEST_F(Allocation, DifferentialVideoTakesNoMoreThanPlainVideo) {
  for (bool advanced : {false, true}) {
    Encoder encoder(width, height, ZTLIB_VIDEO_MJPEGDIFF);
    encoder.Configure(CodecConfig().Int("RPFrameInterval", 3).Bool("AdvancedProfile", advanced));
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

// Key and differential frames of both layered formats in turn.
TEST_F(Allocation, LayeredVideoTakesFramesOnly) {
  const Bytes scene = jpeg_reference::Scene(width, height);
  const CLayeredPlanes planes(scene.data(), 2 * width, width, height);
  for (bool isDifferential : {false, true}) {
    CLayeredSettings settings;
    settings.isDifferential = isDifferential;
    CLayeredEncoder encoder(settings);
    std::vector<Bytes> stream{encoder.Encode(planes.Picture())};
    const std::uint32_t blocks[] = {3, 50, 51, 700};
    if (isDifferential) stream.push_back(*encoder.EncodeBlocks(planes.Picture(), blocks));
    for (int scale : {1, 8})
      for (int format : {ZTLIB_RGB, ZTLIB_UYVY})
        ExpectNoneToDecode(isDifferential ? 4 : 0, format, stream, scale);
  }
}

// The bitmap is all of its size that a frame takes; all else is the small change of a tree.
TEST_F(Allocation, MotionTakesOneBitmapForEachDetector) {
  for (const int columns : {width, width - 3}) {
    const std::unique_ptr<void, void (*)(void*)> context{ztlib_simplemotion_create(),
                                                         ztlib_simplemotion_destroy};
    CodecConfig().Apply(ztlib_simplemotion_configure, context.get(), columns, height);
    const Image image = Picture(ZTLIB_GRAY, columns, 0, [](int) { return 0; });
    std::int64_t time = 0;
    const auto detect = [&] {
      ztlib_simplemotion_detect(
          context.get(), nullptr, [](void*, const void*, std::uint32_t) {}, image.get(),
          time += 100);
    };
    for (int i = 0; i < 50; ++i)
      detect();
    largestBlock = 0;
    EXPECT_LT(CallsOfTen(detect), 10 * 20);
    EXPECT_LT(largestBlock, static_cast<std::size_t>(columns * height / 8 + 100));
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

// One call of the heap fails when somebody asks for the logger for the first time.
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
      callsBeforeFailure = n;
      try {
        use();
      } catch (const std::bad_alloc&) {
        EXPECT_EQ(&use, &firstUses[0]) << "only that call is without guard";
      }
      failed = callsBeforeFailure < 0;
      callsBeforeFailure = -1;
      listen();
      lines = 0;
      log();
      EXPECT_GE(lines, 1) << n;
    }
    EXPECT_GT(n, 3);
  }
}

// So they have nothing to fail of.
TEST_F(Allocation, CallsWithoutGuardTakeNoMemory) {
  CLayeredEncoder layered{CLayeredSettings()};
  const Bytes scene = jpeg_reference::Scene(64, 64);
  const Bytes frame = layered.Encode(CLayeredPlanes(scene.data(), 128, 64, 64).Picture());
  const ztlib_blob blob{frame.data(), frame.size()};
  Image image = Picture(ZTLIB_GRAY, width, 0, [](int) { return 0; });
  Decoder decoder(ZTLIB_RGB);
  Encoder encoder(64, 64, ZTLIB_VIDEO_MJPEGDIFF);
  void* const motion = ztlib_simplemotion_create();
  CodecConfig().Apply(ztlib_simplemotion_configure, motion, width, height);
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
    // The loader keeps some kilobytes, once.
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
