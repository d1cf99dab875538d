#include "tests/support/export_fixture.h"

#include <cfenv>

#include <xmmintrin.h>

namespace {

class Context : public ExportTest {};

TEST_F(Context, DestroyWithoutCreateDoesNothing) {
  testing::internal::CaptureStdout();
  ztlib_context_destroy();
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST_F(Context, TeardownIsReportedAndEveryServiceComesBack) {
  ASSERT_NE(ztlib_context_create(), nullptr);
  ztlib_ztimage_create_avframe(9, nullptr);  // makes sure that the logger exists
  Forget();
  testing::internal::CaptureStdout();
  ztlib_context_destroy();
  ztlib_context_destroy();
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "[ComponentRepository] Deleting 1 components (7 registered)...\n"
            "[ComponentRepository] Done!\n"
            "[ComponentRepository] Deleting 1 components (7 registered)...\n"
            "[ComponentRepository] (CRITICAL) Component of 'CLoggerWin' deleted twice!\n"
            "[ComponentRepository] Done!\n");
  // The callbacks went with the logger; a failure still reaches the handler.
  EXPECT_EQ(ztlib_ztimage_create_avframe(9, nullptr), nullptr);
  EXPECT_EQ(failures.size(), 1U);
  EXPECT_TRUE(lines.empty());
  ztlib_registerLogger([](int level, const char* text) { lines.emplace_back(level, text); });
}

TEST_F(Context, LogLineComesFirstThenTheHandlerAndNeitherCanThrowOutOfTheCall) {
  static std::vector<std::string> order;
  order.clear();
  ztlib_registerLogger([](int, const char*) {
    order.emplace_back("log");
    throw 7;
  });
  ztlib_registerExceptionHandler([](const char*) {
    order.emplace_back("handler");
    throw 8;
  });
  EXPECT_EQ(ztlib_ztimage_create_avframe(9, nullptr), nullptr);
  EXPECT_EQ(order, (std::vector<std::string>{"log", "handler"}));
  ztlib_registerExceptionHandler(nullptr);
  EXPECT_EQ(ztlib_ztimage_create_avframe(9, nullptr), nullptr);
  EXPECT_EQ(order.size(), 3U);
  // The throwing callback goes with the logger.
  ztlib_registerExceptionHandler([](const char* text) { failures.emplace_back(text); });
  testing::internal::CaptureStdout();
  ztlib_context_create();
  ztlib_context_destroy();
  testing::internal::GetCapturedStdout();
  ztlib_registerLogger([](int level, const char* text) { lines.emplace_back(level, text); });
}

TEST_F(Context, FloatingPointMaskIsTheClientsAgainAfterEveryCall) {
  const unsigned before = _mm_getcsr();
  const auto image = NewImage();
  _mm_setcsr(before & ~0x1F80U);  // all exceptions trap
  ztlib_ztimage_get_avframe(image.get());
  const unsigned afterSuccess = _mm_getcsr();
  ztlib_ztimage_get_avframe(nullptr);
  const unsigned afterFailure = _mm_getcsr();
  ztlib_getScaleDownByPixel1(320, 640, 480);
  const unsigned afterUnguarded = _mm_getcsr();
  _mm_setcsr(before);
  for (const unsigned word : {afterSuccess, afterFailure, afterUnguarded})
    EXPECT_EQ(word & 0x1F80U, 0U);
}

TEST_F(Context, VirtualCoordinatesRoundAndNeverClamp) {
  struct {
    int32_t (*call)(int32_t, int32_t);
    int32_t position, size, expected;
  } const cases[] = {
      {ztlib_getPixelXByVirtualX, 16384, 640, 640},
      {ztlib_getPixelYByVirtualY, 8192, 641, 321},
      {ztlib_getPixelXByVirtualX, -16384, 1, 0},
      {ztlib_getPixelXByVirtualX, -24576, 1, -1},
      {ztlib_getPixelXByVirtualX, 32768, 640, 1280},
      {ztlib_getVirtualXByPixelX, 640, 640, 16384},
      {ztlib_getVirtualYByPixelY, 1, 3, 5461},
      {ztlib_getVirtualXByPixelX, -1, 2, -8191},
      {ztlib_getVirtualXByPixelX, 5, 0, 0},
      {ztlib_getVirtualXByPixelX, 3, -2, -24575},
      // The products need 64 bits; results keep their low 32.
      {ztlib_getPixelXByVirtualX, INT32_MAX, INT32_MAX, -262144},
  };
  for (const auto& c : cases)
    EXPECT_EQ(c.call(c.position, c.size), c.expected) << c.position << " of " << c.size;
  for (int size : {1, 2, 3, 641, 1080, 16384})
    for (int pixel = 0; pixel <= size; ++pixel)
      ASSERT_EQ(ztlib_getPixelXByVirtualX(ztlib_getVirtualXByPixelX(pixel, size), size), pixel);
}

TEST_F(Context, ScaleDownChoice) {
  struct {
    int32_t target, width, height, expected;
  } const cases[] = {
      {320, 1280, 720, 4},
      {400, 1280, 720, 4},
      {500, 1280, 720, 2},
      {1280, 1280, 720, 1},
      {100, 1001, 600, 1},
      {2000, 1280, 720, 1},
      {0, 640, 480, 0},
      {-5, 640, 480, 0},
      {320, 0, 480, 0},
      {320, 640, -1, 0},
      {10, 7, 640, 1},
      {480, 640, 640, 2},
      {1, 1 << 30, 1 << 30, 1 << 30},
      {INT32_MAX, INT32_MAX, 2, 1},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(ztlib_getScaleDownByPixel1(c.target, c.width, c.height), c.expected)
        << c.target << " " << c.width << "x" << c.height;
    EXPECT_EQ(ztlib_getScaleDownByPixel1(c.target, c.height, c.width), c.expected);
    EXPECT_EQ(ztlib_getScaleDownByPixel3(c.target, 1, c.width, c.height), c.expected);
  }
  EXPECT_EQ(ztlib_getScaleDownByPixel3(320, 4, 641, 480), 0);
  EXPECT_EQ(ztlib_getScaleDownByPixel3(320, 4, 1280, 720), 4);
  EXPECT_EQ(ztlib_getScaleDownByPixel3(160, 8, 640, 480), 2);  // 40 by 30 tiles, then 20 by 15
  ExpectNoFailure();
  EXPECT_EQ(ztlib_getScaleDownByPixel3(320, 10, 640, 480), 0);
  ExpectFailure("ztlib_getScaleDownByPixel3", "main/lib/base/pixel_format", "Invalid range");
  EXPECT_EQ(ztlib_getScaleDownByPixel3(320, 9, 640, 480), 0);
  ExpectFailure("ztlib_getScaleDownByPixel3", "main/target/windll/imgproc_api", "Invalid range");
}

}  // namespace
