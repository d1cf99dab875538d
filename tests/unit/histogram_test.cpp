#include "main/lib/imgproc/histogram.h"

#include "main/lib/base/exceptions.h"
#include "main/lib/base/logger.h"

#include <array>
#include <cmath>
#include <functional>
#include <limits>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

using Bins = std::array<std::int32_t, 256>;
using Table = std::array<std::uint8_t, 256>;
constexpr int lowest = std::numeric_limits<int>::min(), highest = std::numeric_limits<int>::max();

Bins BinsOf(const CHistogramData& histogram) {
  Bins bins;
  std::copy_n(histogram.bins, 256, bins.begin());
  return bins;
}

// Bins and counts of single values.
CHistogram Of(const std::vector<std::pair<int, int>>& counts) {
  CHistogram histogram;
  for (const auto& [bin, count] : counts) {
    histogram.bins[bin] = count;
    histogram.img_pixel_num_ += count;
  }
  return histogram;
}

ByteImage Noise(int width, int height, int values) {
  ByteImage image(width, height);
  std::minstd_rand random(7);
  std::uint8_t* const pixels = image.GetWritePtr();
  for (long long i = 0; pixels && i < image.GetScanline() * height; ++i)
    pixels[i] = static_cast<std::uint8_t>(random() % values);
  return image;
}

std::vector<std::string> logged;
void Record() {
  static const bool once = [] {
    Logger().AddStream(new CFunctionLogStream(
        [](int level, const char* text) { logged.push_back(std::to_string(level) + text); }));
    return true;
  }();
  static_cast<void>(once);
  logged.clear();
}

std::string FailureOf(const std::function<void()>& work) {
  try {
    work();
  } catch (const CException& error) {
    const std::string text = error.what();
    EXPECT_NE(text.find("[main/lib/imgproc/histogram:"), std::string::npos) << text;
    return text.substr(text.find("] - ") + 4);
  }
  return "none";
}

TEST(Histogram, CountsPixelsAndThoseOfAMask) {
  for (const auto& [width, height] : {std::pair{1, 1}, {3, 2}, {7, 9}, {8, 1}, {9, 5}, {131, 67}})
    for (const int values : {1, 3, 256}) {
      const ByteImage image = Noise(width, height, values);
      CMask mask;  // taller, and as wide or wider than the image
      mask.SetPolygons(width + values % 3, height + 2, {{{1, 0}, {2 * width, 2}, {0, height + 1}}});
      Bins all{}, inside{};
      std::int32_t insideCount = 0;
      for (int y = 0; y < height; ++y) {
        const std::uint8_t* const row = image.GetPtr() + y * image.GetScanline();
        for (int x = 0; x < width; ++x)
          ++all[row[x]];
        for (const CMaskRun& run : mask.GetRow(y))
          for (int x = run.start; x < std::min(run.end, width); ++x, ++insideCount)
            ++inside[row[x]];
      }
      CHistogram histogram = Of({{5, 99}});
      histogram.Make(image);
      EXPECT_EQ(BinsOf(histogram), all);
      EXPECT_EQ(histogram.img_pixel_num_, width * height);
      histogram.Make(image, mask);
      EXPECT_EQ(BinsOf(histogram), inside);
      EXPECT_EQ(histogram.img_pixel_num_, insideCount);
    }
}

TEST(Histogram, MissingImagesAreLoggedAndCountNothing) {
  Record();
  CHistogram histogram = Of({{5, 99}});
  histogram.Make(ByteImage());
  EXPECT_EQ(BinsOf(histogram), Bins{});
  EXPECT_EQ(histogram.img_pixel_num_, 0);
  ByteImage none;
  TApply(none, Table{}.data());
  TApplyAndSaturation(none, Bins{}.data());
  ASSERT_EQ(logged.size(), 3U);
  for (std::size_t i = 0; i < logged.size(); ++i) {
    EXPECT_EQ(logged[i].find("1EXCEPTION! main/lib/imgproc/histogram:"), 0U);
    const std::string tail =
        i == 0 ? ": !img.Assigned()should be false!" : ": !r_img.Assigned()should be false!";
    EXPECT_EQ(logged[i].substr(logged[i].size() - tail.size()), tail);
  }
  histogram.Make(none, CMask());
  histogram.Draw(none, 1);
  EXPECT_EQ(logged.size(), 3U);
}

TEST(Histogram, CopiesSumsAndClears) {
  class CCounting : public CHistogram {
   public:
    void Clear() override {
      ++clears;
      CHistogram::Clear();
    }
    int clears = 0;
  } counting;
  counting.Make(Noise(2, 2, 9));
  counting.Make(Noise(2, 2, 9), CMask());
  EXPECT_EQ(counting.clears, 2);

  const CHistogram first = Of({{0, 3}, {255, highest}});
  CHistogram second = first, third;
  second.Add(first);
  EXPECT_EQ(second.bins[0], 6);
  EXPECT_EQ(second.bins[255], -2);
  EXPECT_EQ(second.img_pixel_num_, 4);
  third.Assign(second);
  third.Add(third);
  EXPECT_EQ(third.bins[0], 12);
  third = second;
  EXPECT_EQ(BinsOf(third), BinsOf(second));
  EXPECT_EQ(first.bins[0], 3);
  third.Clear();
  EXPECT_EQ(BinsOf(third), Bins{});
  EXPECT_EQ(third.img_pixel_num_, 4);
}

TEST(Histogram, MediansAndBounds) {
  const struct {
    std::vector<std::pair<int, int>> counts;
    int median;
  } medians[] = {{{}, 0},
                 {{{7, 1}}, 255},
                 {{{7, 2}}, 7},
                 {{{7, 1}, {9, 1}}, 7},
                 {{{7, 1}, {9, 3}}, 9},
                 {{{0, 5}, {255, 5}}, 0},
                 {{{0, 4}, {255, 6}}, 255}};
  for (const auto& [counts, median] : medians)
    EXPECT_EQ(Of(counts).Median(), median);
  CHistogram lost = Of({{7, 5}});
  lost.Clear();  // the count stays, and no bin reaches its half
  EXPECT_EQ(lost.Median(), 255);

  const CHistogram histogram = Of({{10, 4}, {20, 2}, {200, 5}});
  const struct {
    int start, step, goal, bound;
  } bounds[] = {{0, 1, 4, 10},      {0, 1, 5, 20},    {0, 1, 11, 200}, {0, 1, 12, 255},
                {255, -1, 6, 20},   {255, -1, 12, 0}, {10, 1, 1, 10},  {11, 1, 1, 20},
                {0, 10, 11, 200},   {5, 10, 1, 255},  {-3, 1, 1, 0},   {256, -1, 1, 255},
                {50, 1, 0, 50},     {-9, 1, 0, 0},    {50, 0, 9, 50},  {0, highest, 9, 255},
                {255, lowest, 9, 0}};
  for (const auto& [start, step, goal, bound] : bounds)
    EXPECT_EQ(histogram.FindBound(start, step, goal), bound) << start << ' ' << step << ' ' << goal;
}

TEST(Histogram, Ranges) {
  const struct {
    std::vector<std::pair<int, int>> counts;
    int part, low, high, mean;
  } cases[] = {
      {{}, 100, 0, 255, 0},
      {{{100, 1000}}, 102, 100, 255, 100},
      // Half of the pixels on either side: the limit is 100 * 5000 >> 10 = 488.
      {{{90, 400}, {100, 200}, {110, 400}}, 100, 90, 255, 100},
      {{{90, 500}, {110, 500}}, 100, 90, 110, 100},
      // No limit: the mean, and the next bin that is not empty.
      {{{90, 5}, {110, 5}}, 1, 100, 110, 100},
      {{{90, 500}, {110, 500}}, -100, 100, 101, 100},
      {{{255, 500}}, 100, 255, 255, 255},
      {{{0, 500}}, 100, 0, 255, 0},
      // 32 bits wrap: 500000000 * 5 is below 0, as the limit then is.
      {{{90, 250000000}, {110, 250000000}}, 1, 100, 101, 100},
  };
  for (const auto& [counts, part, low, high, mean] : cases) {
    int l = -1, h = -1, m = -1;
    Of(counts).GetRange(l, h, m, part);
    EXPECT_EQ((std::array{l, h, m}), (std::array{low, high, mean})) << part;
  }
}

TEST(Histogram, MomentsAndEntropy) {
  CHistogram histogram = Of({{126, 3}, {131, 1}});
  histogram.img_pixel_num_ = 0;  // recounted
  const std::pair<int, float> moments[] = {{lowest, 1},
                                           {0, 1},
                                           {1, -0.75f},
                                           {2, 5.25f},
                                           {3, 0.75f},
                                           {4, 32.25f},
                                           {highest, std::nanf("")}};
  for (const auto& [order, moment] : moments) {
    const float found = histogram.CentralMoment(order);
    EXPECT_TRUE(found == moment || (std::isnan(found) && std::isnan(moment))) << order << found;
  }
  EXPECT_EQ(histogram.img_pixel_num_, 4);

  CHistogram p, q;
  for (int i = 0; i < 256; ++i) {
    p.bins[i] = 1 + i % 3;
    q.bins[i] = 1 + i % 7;
    p.img_pixel_num_ += p.bins[i];
    q.img_pixel_num_ += q.bins[i];
  }
  double expected = 0;
  for (int i = 0; i < 256; ++i) {
    const double share = double(p.bins[i]) / p.img_pixel_num_;
    expected += std::log(share / (double(q.bins[i]) / q.img_pixel_num_)) * share;
  }
  EXPECT_NEAR(p.RelativeEntropy(q), expected, 1e-5);
  EXPECT_EQ(p.RelativeEntropy(p), 0);
  q.bins[9] = 0;
  EXPECT_TRUE(std::isinf(p.RelativeEntropy(q)));
  EXPECT_TRUE(std::isnan(q.RelativeEntropy(p)));

  CHistogram empty;
  EXPECT_EQ(FailureOf([&] { static_cast<void>(empty.CentralMoment(2)); }),
            "img_pixel_num_ must be non-zero");
  for (const auto& [a, b] : {std::pair{&empty, &p}, std::pair{&p, &empty}})
    EXPECT_EQ(FailureOf([a = a, b = b] { static_cast<void>(a->RelativeEntropy(*b)); }),
              "img_pix_num_ shouldn't be zero");
}

TEST(Histogram, TablesAndTheirUse) {
  Table table;
  const auto stretch = [&](const CHistogram& histogram, float percent, int minimum) {
    histogram.Stretch(table.data(), percent, minimum);
    return std::array<int, 4>{table[0], table[100], table[150], table[255]};
  };
  const CHistogram histogram = Of({{50, 10}, {100, 80}, {150, 10}});
  using Four = std::array<int, 4>;
  EXPECT_EQ(stretch(histogram, -5, 1), (Four{0, 128, 253, 255}));  // 49 to 151
  EXPECT_EQ(stretch(histogram, std::nanf(""), 1), (Four{0, 128, 253, 255}));
  EXPECT_EQ(stretch(histogram, 20, 1), (Four{0, 128, 255, 255}));    // 50 to 150
  EXPECT_EQ(stretch(histogram, 200, -9), (Four{0, 100, 150, 255}));  // 100 to 100
  EXPECT_EQ(stretch(histogram, 20, 101), (Four{0, 100, 150, 255}));  // fewer steps than asked for
  EXPECT_EQ(stretch(Of({{0, 9}, {255, 9}}), 0, 999), (Four{0, 100, 150, 255}));
  stretch(CHistogram(), 50, 1);

  FillShifted(-3, table.data(), 0);
  FillShifted(lowest, table.data(), 2);
  FillShifted(highest, table.data() + 2, 1);
  FillShifted(250, table.data() + 3, 10);
  EXPECT_EQ(std::vector<int>(table.begin(), table.begin() + 13),
            (std::vector<int>{0, 0, 255, 250, 251, 252, 253, 254, 255, 255, 255, 255, 255}));

  std::iota(table.rbegin(), table.rend(), std::uint8_t{0});
  Bins wide{};
  for (int i = 0; i < 256; ++i)
    wide[i] = (i - 100) * 1000;
  const ByteImage before = Noise(13, 5, 256);
  ByteImage inverse = before, saturated = before;
  inverse.copyOnWrite = saturated.copyOnWrite = true;
  TApply(inverse, table.data());
  TApplyAndSaturation(saturated, wide.data());
  for (int i = 0; i < 5 * 16; ++i) {
    const int pixel = before.GetPtr()[i];
    if (i % 16 >= 13) continue;
    EXPECT_EQ(inverse.GetPtr()[i], 255 - pixel);
    EXPECT_EQ(saturated.GetPtr()[i], pixel > 100 ? 255 : 0);
  }
}

TEST(Histogram, BlursWithinItsEnds) {
  CHistogram histogram = Of({{0, 30}, {3, 9}, {255, 60}}), out;
  TBlur(histogram, out, 1);
  EXPECT_EQ(std::vector<int>(out.bins, out.bins + 5), (std::vector<int>{15, 10, 3, 3, 3}));
  EXPECT_EQ(out.bins[255], 30);
  EXPECT_EQ(out.img_pixel_num_, 99);
  TBlur(histogram, out, highest);
  EXPECT_EQ(BinsOf(out), Bins{});  // 99 pixels over 256 bins
  TBlur(histogram, histogram, -1);
  EXPECT_EQ(histogram.bins[0], 30);
  TBlur(histogram, 2, 3, 1);
  EXPECT_EQ(std::vector<int>(histogram.bins, histogram.bins + 5),
            (std::vector<int>{30, 0, 3, 3, 0}));
  for (const auto& [low, high] : {std::pair{-1, 5}, {0, 256}, {256, 256}, {3, -2}})
    EXPECT_EQ(FailureOf([&, low = low, high = high] { TBlur(histogram, low, high, 1); }),
              "Invalid range");
}

TEST(Histogram, DrawsBarsFromTheBottom) {
  for (const int width : {1, 3, 300})
    for (const int tallest : {0, 4, highest}) {
      const CHistogram histogram =
          Of({{0, tallest / 2}, {1, tallest}, {2, -5}, {255, tallest / 4 * 3}});
      ByteImage image(width, 8);
      std::fill_n(image.GetWritePtr(), image.GetScanline() * 8, 9);
      histogram.Draw(image, 200);
      for (int i = 0; i < image.GetScanline() * 8; ++i) {
        const long long x = i % image.GetScanline(), y = i / image.GetScanline();
        const auto height = x < std::min(256, width)
                                ? std::max(histogram.bins[x], 0) * 8ll / std::max(tallest, 1)
                                : 0;
        EXPECT_EQ(image.GetPtr()[i], y >= 8 - height ? 200 : 9) << x << ' ' << y;
      }
    }
}

}  // namespace
