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
  // The callbacks were deleted with the logger; a failure still reaches the handler.
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
  // This deletes the logger with the callback that throws.
  ztlib_registerExceptionHandler([](const char* text) { failures.emplace_back(text); });
  testing::internal::CaptureStdout();
  ztlib_context_create();
  ztlib_context_destroy();
  testing::internal::GetCapturedStdout();
  ztlib_registerLogger([](int level, const char* text) { lines.emplace_back(level, text); });
}

// The mask bits of both floating-point units, one word each.
constexpr unsigned vectorMask = 0x1F80;
constexpr std::uint16_t x87Mask = 0x3F;
struct Masks {
  bool vector, x87;  // whether all exceptions are masked
  static Masks Present() {
    std::uint16_t word = 0;
    asm volatile("fnstcw %0" : "=m"(word));
    return {(_mm_getcsr() & vectorMask) != 0, (word & x87Mask) != 0};
  }
  void Set() const {
    _mm_setcsr(vector ? _mm_getcsr() | vectorMask : _mm_getcsr() & ~vectorMask);
    std::uint16_t word = 0;
    asm volatile("fnstcw %0" : "=m"(word));
    word = static_cast<std::uint16_t>(x87 ? word | x87Mask : word & ~x87Mask);
    asm volatile("fldcw %0" : : "m"(word));
  }
  bool operator==(const Masks&) const = default;
};

TEST_F(Context, FloatingPointMaskIsTheClientsAgainAfterEveryCall) {
  const auto image = NewImage(ZTLIB_GRAY, 2, 2, {9});
  static constexpr Masks trapping{false, false}, masked{true, true};
  static Masks inside, set;
  const auto save = [&] {
    ztlib_ztimage_saveToZTMem(image.get(), nullptr, [](void*, const void*, std::uint32_t) {
      inside = Masks::Present();
      set.Set();
    });
  };
  const auto after = [](const Masks& client, auto call) {
    client.Set();
    call();
    const Masks present = Masks::Present();
    masked.Set();
    return present;
  };
  for (void* which : {image.get(), static_cast<void*>(nullptr)})
    EXPECT_EQ(after(trapping, [&] { ztlib_ztimage_get_avframe(which); }), trapping);
  EXPECT_EQ(after(trapping, [] { ztlib_getScaleDownByPixel1(320, 640, 480); }), trapping);
  // The client's mask comes back, whatever a callback does to it.
  for (const Masks& client : {trapping, masked, Masks{true, false}, Masks{false, true}})
    for (const Masks& other : {trapping, masked, Masks{true, false}, Masks{false, true}}) {
      set = other;
      EXPECT_EQ(after(client, save), client);
      EXPECT_EQ(inside, masked);
    }
  // What the library leaves in the x87 unit must not trap in the client.
  const auto divide = [&] {
    ztlib_ztimage_saveToZTMem(image.get(), nullptr, [](void*, const void*, std::uint32_t) {
      volatile long double zero = 0;
      zero = 1 / zero;
    });
  };
  EXPECT_EQ(after(trapping, divide), trapping);
}

TEST_F(Context, VirtualCoordinatesRoundAndNeverClamp) {
  using Call = std::int32_t (*)(std::int32_t, std::int32_t);
  constexpr Call toX = ztlib_getPixelXByVirtualX, fromX = ztlib_getVirtualXByPixelX;
  // The products need 64 bits; results keep the low 32 bits.
  const std::tuple<Call, std::int32_t, std::int32_t, std::int32_t> cases[] = {
      {toX, 16384, 640, 640},   {ztlib_getPixelYByVirtualY, 8192, 641, 321},
      {toX, -24576, 1, -1},     {toX, INT32_MAX, INT32_MAX, -262144},
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
  // Each case has a target, the two sides, which may change places, and the choice.
  constexpr int cases[][4] = {{400, 1280, 720, 4},         {500, 1280, 720, 2},
                              {100, 1001, 600, 1},         {0, 640, 480, 0},
                              {-5, 640, 480, 0},           {320, 0, 480, 0},
                              {480, 640, 640, 2},          {1, 1 << 30, 1 << 30, 1 << 30},
                              {INT32_MAX, INT32_MAX, 2, 1}};
  for (const auto& [target, width, height, expected] : cases) {
    EXPECT_EQ(ztlib_getScaleDownByPixel1(target, width, height), expected)
        << target << " " << width;
    EXPECT_EQ(ztlib_getScaleDownByPixel1(target, height, width), expected);
    EXPECT_EQ(ztlib_getScaleDownByPixel3(target, 1, width, height), expected);
  }
  EXPECT_EQ(ztlib_getScaleDownByPixel3(320, 4, 641, 480), 0);
  EXPECT_EQ(ztlib_getScaleDownByPixel3(160, 8, 640, 480), 2);  // 40 by 30 tiles, then 20 by 15
  ExpectNoFailure();
  EXPECT_EQ(ztlib_getScaleDownByPixel3(320, 10, 640, 480), 0);
  ExpectFailure("ztlib_getScaleDownByPixel3", "main/lib/base/pixel_format", "Invalid range");
  EXPECT_EQ(ztlib_getScaleDownByPixel3(320, 9, 640, 480), 0);
  ExpectFailure("ztlib_getScaleDownByPixel3", "main/target/windll/imgproc_api", "Invalid range");
}

}  // namespace
