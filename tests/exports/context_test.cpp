#include "tests/support/export_fixture.h"

#include <xmmintrin.h>

namespace {

class Context : public ExportTest {};

TEST_F(Context, TeardownIsReportedAndEveryServiceComesBack) {
  testing::internal::CaptureStdout();
  ztlib_context_destroy();  // without a creation it does nothing
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
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
  unsigned after = 0;
  _mm_setcsr(before & ~0x1F80U);  // all exceptions trap
  for (void* which : {image.get(), static_cast<void*>(nullptr)}) {
    ztlib_ztimage_get_avframe(which);
    after |= _mm_getcsr();
  }
  ztlib_getScaleDownByPixel1(320, 640, 480);
  after |= _mm_getcsr();
  _mm_setcsr(before);
  EXPECT_EQ(after & 0x1F80U, 0U);
}

TEST_F(Context, VirtualCoordinatesRoundAndNeverClamp) {
  using Call = std::int32_t (*)(std::int32_t, std::int32_t);
  constexpr Call toX = ztlib_getPixelXByVirtualX, fromX = ztlib_getVirtualXByPixelX;
  // The products need 64 bits; results keep their low 32.
  const std::tuple<Call, std::int32_t, std::int32_t, std::int32_t> cases[] = {
      {toX, 16384, 640, 640},   {ztlib_getPixelYByVirtualY, 8192, 641, 321},
      {toX, -16384, 1, 0},      {toX, -24576, 1, -1},
      {toX, 32768, 640, 1280},  {toX, INT32_MAX, INT32_MAX, -262144},
      {fromX, 640, 640, 16384}, {ztlib_getVirtualYByPixelY, 1, 3, 5461},
      {fromX, -1, 2, -8191},    {fromX, 5, 0, 0},
      {fromX, 3, -2, -24575}};
  for (const auto& [call, position, size, expected] : cases)
    EXPECT_EQ(call(position, size), expected) << position << " of " << size;
  for (int size : {1, 2, 3, 641, 1080, 16384})
    for (int pixel = 0; pixel <= size; ++pixel)
      ASSERT_EQ(toX(fromX(pixel, size), size), pixel);
}

TEST_F(Context, ScaleDownChoice) {
  // Target, the two sides in either order, choice.
  constexpr std::tuple<int, int, int, int> cases[] = {{320, 1280, 720, 4},
                                                      {400, 1280, 720, 4},
                                                      {500, 1280, 720, 2},
                                                      {100, 1001, 600, 1},
                                                      {0, 640, 480, 0},
                                                      {-5, 640, 480, 0},
                                                      {320, 0, 480, 0},
                                                      {10, 7, 640, 1},
                                                      {480, 640, 640, 2},
                                                      {1, 1 << 30, 1 << 30, 1 << 30},
                                                      {INT32_MAX, INT32_MAX, 2, 1}};
  for (const auto& [target, width, height, expected] : cases) {
    EXPECT_EQ(ztlib_getScaleDownByPixel1(target, width, height), expected)
        << target << " " << width;
    EXPECT_EQ(ztlib_getScaleDownByPixel1(target, height, width), expected);
    EXPECT_EQ(ztlib_getScaleDownByPixel3(target, 1, width, height), expected);
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
