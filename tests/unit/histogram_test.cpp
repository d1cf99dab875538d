#include "main/lib/imgproc/histogram.h"

#include "main/lib/base/exceptions.h"
#include "main/lib/base/logger.h"
#include "tests/support/common.h"

#include <array>

using namespace ztlib;

namespace {

using Bins = std::array<std::int32_t, 256>;

Bins BinsOf(const CHistogramData& histogram) {
  Bins bins;
  std::copy_n(histogram.bins, 256, bins.begin());
  return bins;
}

TEST(Histogram, MissingImagesAreLoggedAndCountNothing) {
  static std::string logged;
  Logger().AddStream(new CFunctionLogStream(
      [](int level, const char* text) { logged += std::to_string(level) + text; }));
  CHistogram histogram;
  histogram.bins[5] = histogram.img_pixel_num_ = 99;
  ByteImage none;
  histogram.Make(none);
  EXPECT_EQ(BinsOf(histogram), Bins{});
  EXPECT_EQ(histogram.img_pixel_num_, 0);
  TApply(none, std::array<std::uint8_t, 256>{}.data());
  TApplyAndSaturation(none, Bins{}.data());
  histogram.Make(none, CMask());
  histogram.Draw(none, 1);
  EXPECT_EQ(logged,
            "1EXCEPTION! main/lib/imgproc/histogram:99: !img.Assigned()should be false!"
            "1EXCEPTION! main/lib/imgproc/histogram:40: !r_img.Assigned()should be false!"
            "1EXCEPTION! main/lib/imgproc/histogram:46: !r_img.Assigned()should be false!");
}

TEST(Histogram, ClearingLeavesTheNumberOfPixels) {
  struct CCounting : CHistogram {
    void Clear() override { ++clears; }
    int clears = 0;
  } counting;
  ByteImage image(4, 1);
  std::fill_n(image.GetWritePtr(), 4, 7);
  counting.Make(image);
  counting.Make(image, CMask());
  EXPECT_EQ(counting.clears, 2);

  CHistogram histogram;
  histogram.bins[9] = histogram.img_pixel_num_ = 4;
  histogram.Clear();
  EXPECT_EQ(BinsOf(histogram), Bins{});
  EXPECT_EQ(histogram.img_pixel_num_, 4);
  EXPECT_EQ(histogram.Median(), 255);  // no bin reaches the half of them
}

TEST(Histogram, EntropyAndRefusals) {
  CHistogram p, q, empty;
  for (int i = 0; i < 256; ++i) {
    p.img_pixel_num_ += p.bins[i] = 1;
    q.img_pixel_num_ += q.bins[i] = i % 2 * 2 + 1;
  }
  EXPECT_NEAR(p.RelativeEntropy(q), (std::log(2) + std::log(2 / 3.0)) / 2, 1e-5);
  q.bins[9] = 0;
  EXPECT_TRUE(std::isinf(p.RelativeEntropy(q)) && std::isnan(q.RelativeEntropy(p)));
  EXPECT_EQ(MessageOf<CException>([&] { static_cast<void>(empty.CentralMoment(2)); }),
            "img_pixel_num_ must be non-zero");
  const std::string refused = "img_pix_num_ shouldn't be zero";
  EXPECT_EQ(MessageOf<CException>([&] { (void)empty.RelativeEntropy(p); }), refused);
  EXPECT_EQ(MessageOf<CException>([&] { (void)p.RelativeEntropy(empty); }), refused);
  for (const auto& [low, high] : {std::pair{-1, 5}, {0, 256}, {256, 256}, {3, -2}})
    EXPECT_EQ(MessageOf<CException>([&, low = low, high = high] { TBlur(empty, low, high, 1); }),
              "Invalid range");
}

}  // namespace
