#include "include/ztlib.h"
#include "main/lib/calib/calibrator3d.h"
#include "tests/support/codec_config.h"
#include "tests/support/jpeg_reference.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

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
}  // namespace

extern "C" {
void* malloc(std::size_t size) {
  ++heapCalls;
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

using jpeg_reference::Bytes;

constexpr int width = 640;
constexpr int height = 480;

// Hands out frames that never come from the heap.
struct Frame {
  std::uint8_t* data;
  char unread[96];
  std::int32_t width;
  std::int32_t height;
  bool taken;
};
constexpr int frameCount = 8;
std::uint8_t frameMemory[frameCount][width * height * 4];
Frame frames[frameCount];

void* AllocateFrame(int w, int h, int) {
  for (int i = 0; i < frameCount; ++i)
    if (!frames[i].taken) {
      frames[i] = {frameMemory[i], {}, w, h, true};
      return &frames[i];
    }
  return nullptr;
}
void ReleaseFrame(void* frame) {
  static_cast<Frame*>(frame)->taken = false;
}

struct Output {
  std::uint32_t size = 0;
  std::uint8_t bytes[width * height * 2];
  static void Receive(void* user, const void* data, std::uint32_t size) {
    auto& self = *static_cast<Output*>(user);
    self.size = size;
    std::memcpy(self.bytes, data, size);
  }
};

// Heap calls of ten rounds after two to warm up.
template <class Round>
int CallsOfTen(Round round) {
  round();
  round();
  const int before = heapCalls;
  for (int i = 0; i < 10; ++i)
    round();
  return heapCalls - before;
}

TEST(Allocation, SteadyStateTakesFramesAndTheOutputBlockOnly) {
  ztlib_registerAVFrameMgr(AllocateFrame, ReleaseFrame, nullptr, 0);
  static Output output;
  const Bytes scene = jpeg_reference::Scene(width, height);
  for (int format : {ZTLIB_GRAY, ZTLIB_RGB, ZTLIB_YUV, ZTLIB_YUYV, ZTLIB_UYVY}) {
    SCOPED_TRACE(format);
    void* encoder = ztlib_encoder_create(ZTLIB_VIDEO_MJPEG);
    CodecConfig().Int("Width", width).Int("Height", height).Apply(ztlib_encoder_config, encoder);
    void* image = ztlib_ztimage_create_avframe(format, AllocateFrame(width, height, format));
    for (std::size_t i = 0; i < sizeof frameMemory[0]; ++i)
      static_cast<Frame*>(ztlib_ztimage_get_avframe(image))->data[i] = scene[i % scene.size()] / 4;
    const int encoding =
        CallsOfTen([&] { ztlib_encoder_process(encoder, &output, Output::Receive, image, 0); });
    EXPECT_EQ(encoding, 10);
    ASSERT_GT(output.size, 112U);

    void* decoder = ztlib_decoder_create(ZTLIB_VIDEO_MJPEG);
    CodecConfig().Int("PixelFormat", format).Apply(ztlib_decoder_config, decoder);
    void* decoded = ztlib_ztimage_create();
    const int decoding =
        CallsOfTen([&] { ztlib_decoder_process(&decoder, decoded, output.bytes, output.size); });
    EXPECT_EQ(decoding, 0);
    EXPECT_NE(ztlib_ztimage_get_avframe(decoded), nullptr);
    ztlib_ztimage_destroy(decoded);
    ztlib_ztimage_destroy(image);
    ztlib_decoder_destroy(&decoder);
    ztlib_encoder_destroy(&encoder);
  }
}

// Key, plain, plain and reference frames of two pictures in turn.
TEST(Allocation, DifferentialVideoTakesNoMoreThanPlainVideo) {
  ztlib_registerAVFrameMgr(AllocateFrame, ReleaseFrame, nullptr, 0);
  static Output output;
  for (bool advanced : {false, true}) {
    void* encoder = ztlib_encoder_create(ZTLIB_VIDEO_MJPEGDIFF);
    CodecConfig()
        .Int("Width", width)
        .Int("Height", height)
        .Int("RPFrameInterval", 3)
        .Bool("AdvancedProfile", advanced)
        .Apply(ztlib_encoder_config, encoder);
    void* images[2];
    for (int i = 0; i < 2; ++i) {
      void* frame = AllocateFrame(width, height, ZTLIB_UYVY);
      images[i] = ztlib_ztimage_create_avframe(ZTLIB_UYVY, frame);
      for (int at = 0; at < width * height * 2; ++at) {
        const bool object = at % (2 * width) < 200 && at / (2 * width) - 100U < 40U;
        static_cast<Frame*>(frame)->data[at] = object ? 40 + 90 * i + at % 5 : 150;
      }
    }
    int next = 0;
    std::vector<Bytes> stream;
    const auto encode = [&] {
      ztlib_encoder_process(encoder, &output, Output::Receive, images[next++ % 2], 0);
    };
    for (int i = 0; i < 5; ++i) {
      encode();
      stream.emplace_back(output.bytes, output.bytes + output.size);
      EXPECT_EQ(output.bytes[72], i == 0 ? 0 : i == 3 ? 5 : advanced ? 4 : 3);
      EXPECT_EQ(output.size > 124, i != 2) << i;
    }
    EXPECT_EQ(CallsOfTen(encode), 10);

    for (int format : {ZTLIB_RGB, ZTLIB_UYVY}) {
      void* decoder = ztlib_decoder_create(ZTLIB_VIDEO_MJPEGDIFF);
      CodecConfig().Int("PixelFormat", format).Apply(ztlib_decoder_config, decoder);
      void* decoded = ztlib_ztimage_create();
      EXPECT_EQ(CallsOfTen([&] {
                  for (Bytes& frame : stream)
                    ztlib_decoder_process(&decoder, decoded, frame.data(),
                                          static_cast<std::uint32_t>(frame.size()));
                }),
                0);
      EXPECT_NE(ztlib_ztimage_get_avframe(decoded), nullptr);
      ztlib_ztimage_destroy(decoded);
      ztlib_decoder_destroy(&decoder);
    }
    for (void* image : images)
      ztlib_ztimage_destroy(image);
    ztlib_encoder_destroy(&encoder);
  }
}

// The bitmap is all of its size that a frame takes; all else is the small change of a tree.
TEST(Allocation, MotionTakesOneBitmapForEachDetector) {
  ztlib_registerAVFrameMgr(AllocateFrame, ReleaseFrame, nullptr, 0);
  for (const int columns : {width, width - 3}) {
    void* context = ztlib_simplemotion_create();
    const ztlib_blob empty{nullptr, 0};
    ztlib_simplemotion_configure(context, &empty, columns, height);
    void* image = ztlib_ztimage_create_avframe(ZTLIB_GRAY, AllocateFrame(columns, height, 1));
    std::int64_t time = 0;
    const auto detect = [&] {
      time += 100;
      static std::uint64_t bytes;
      ztlib_simplemotion_detect(
          context, nullptr, [](void*, const void*, std::uint32_t size) { bytes += size; }, image,
          time);
    };
    for (int i = 0; i < 50; ++i)
      detect();
    largestBlock = 0;
    EXPECT_LT(CallsOfTen(detect), 10 * 20);
    EXPECT_LT(largestBlock, static_cast<std::size_t>(columns * height / 8 + 100));
    ztlib_ztimage_destroy(image);
    ztlib_simplemotion_destroy(context);
  }
}

TEST(Allocation, CalibratorsMeasureWithoutMemory) {
  CCalibrator3DConfig record;
  record.height.Set(1.8);
  for (const int x : {4000, 8000}) {
    CCalibrator3DLineConfig& mark = record.lines.Add();
    mark.x0.Set(x);
    mark.y0.Set(8000);
    mark.x1.Set(x + 90);
    mark.y1.Set(6000);
  }
  CCalibrator3D calibrator;
  calibrator.Configure(record.ToCData({}));
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

}  // namespace
