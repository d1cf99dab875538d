#include "main/lib/imgproc/histogram.h"

#include "main/lib/base/exceptions.h"
#include "main/lib/base/logger.h"
#include "tests/support/common.h"

#include <array>
#include <numeric>

using namespace ztlib;

namespace {

using Bins = std::array<std::int32_t, 256>;
using Table = std::array<std::uint8_t, 256>;
using Counts = std::vector<std::pair<int, int>>;
constexpr int lowest = std::numeric_limits<int>::min(), highest = std::numeric_limits<int>::max();

Bins BinsOf(const CHistogramData& histogram) {
  Bins bins;
  std::copy_n(histogram.bins, 256, bins.begin());
  return bins;
}

// Bins and counts of single values.
CHistogram Of(const Counts& counts) {
  CHistogram histogram;
  std::uint32_t pixels = 0;
  for (const auto& [bin, count] : counts) {
    histogram.bins[bin] = count;
    pixels += static_cast<std::uint32_t>(count);
  }
  histogram.img_pixel_num_ = static_cast<std::int32_t>(pixels);
  return histogram;
}

ByteImage Noise(int width, int height, int values) {
  ByteImage image(width, height);
  std::minstd_rand random(7);
  std::generate_n(image.GetWritePtr(), image.GetScanline() * height,
                  [&] { return static_cast<std::uint8_t>(random() % values); });
  return image;
}

TEST(Histogram, CountsPixelsAndThoseOfAMask) {
  for (const auto& [width, height] : {std::pair{1, 1}, {3, 2}, {7, 9}, {8, 1}, {9, 5}, {131, 67}})
    for (const int values : {1, 3, 256}) {
      const ByteImage image = Noise(width, height, values);
      CMask mask;  // taller, and as wide or wider than the image
      mask.SetPolygons(width + values % 3, height + 2, {{{0, 0}, {2 * width, 0}, {0, height + 1}}});
      Bins all{}, inside{};
      for (int y = 0; y < height; ++y) {
        const std::uint8_t* const row = image.GetPtr() + y * image.GetScanline();
        for (int x = 0; x < width; ++x)
          ++all[row[x]];
        for (const CMaskRun& run : mask.GetRow(y))
          for (int x = run.start; x < std::min(run.end, width); ++x)
            ++inside[row[x]];
      }
      CHistogram histogram = Of({{5, 99}});
      histogram.Make(image);
      EXPECT_EQ(BinsOf(histogram), all);
      EXPECT_EQ(histogram.img_pixel_num_, width * height);
      histogram.Make(image, mask);
      EXPECT_EQ(BinsOf(histogram), inside);
      EXPECT_EQ(histogram.img_pixel_num_, std::accumulate(inside.begin(), inside.end(), 0));
    }
}

TEST(Histogram, MissingImagesAreLoggedAndCountNothing) {
  static std::vector<std::string> logged;
  Logger().AddStream(new CFunctionLogStream(
      [](int level, const char* text) { logged.push_back(std::to_string(level) + text); }));
  CHistogram histogram = Of({{5, 99}});
  ByteImage none;
  histogram.Make(none);
  EXPECT_EQ(BinsOf(histogram), Bins{});
  EXPECT_EQ(histogram.img_pixel_num_, 0);
  TApply(none, Table{}.data());
  TApplyAndSaturation(none, Bins{}.data());
  histogram.Make(none, CMask());
  histogram.Draw(none, 1);
  ASSERT_EQ(logged.size(), 3U);
  for (const char* const image : {"img", "r_img", "r_img"}) {
    EXPECT_EQ(logged[0].find("1EXCEPTION! main/lib/imgproc/histogram:"), 0U);
    EXPECT_TRUE(logged[0].ends_with(": !" + std::string(image) + ".Assigned()should be false!"));
    logged.erase(logged.begin());
  }
}

TEST(Histogram, CopiesSumsAndClears) {
  struct CCounting : CHistogram {
    void Clear() override { ++clears; }
    int clears = 0;
  } counting;
  counting.Make(Noise(2, 2, 9));
  counting.Make(Noise(2, 2, 9), CMask());
  EXPECT_EQ(counting.clears, 2);

  const CHistogram first = Of({{0, 3}, {255, highest}});
  CHistogram second = first, third;
  second.Add(first);
  EXPECT_EQ(BinsOf(second), BinsOf(Of({{0, 6}, {255, -2}})));
  EXPECT_EQ(second.img_pixel_num_, 4);
  third.Assign(second);
  EXPECT_EQ(BinsOf(third = second), BinsOf(second));
  EXPECT_EQ(first.bins[0], 3);
  third.Clear();
  EXPECT_EQ(BinsOf(third), Bins{});
  EXPECT_EQ(third.img_pixel_num_, 4);
}

TEST(Histogram, MediansAndBounds) {
  const std::pair<Counts, int> medians[] = {{{}, 0},
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
  const std::array<int, 4> bounds[] = {
      {0, 1, 4, 10},        {0, 1, 5, 20},      {0, 1, 11, 200}, {0, 1, 12, 255},  {255, -1, 6, 20},
      {255, -1, 12, 0},     {10, 1, 1, 10},     {11, 1, 1, 20},  {0, 10, 11, 200}, {5, 10, 1, 255},
      {-3, 1, 1, 0},        {256, -1, 1, 255},  {50, 1, 0, 50},  {-9, 1, 0, 0},    {50, 0, 9, 50},
      {0, highest, 9, 255}, {255, lowest, 9, 0}};
  for (const auto& [start, step, goal, bound] : bounds)
    EXPECT_EQ(histogram.FindBound(start, step, goal), bound) << start << ' ' << step << ' ' << goal;
}

TEST(Histogram, Ranges) {
  const std::tuple<Counts, int, std::array<int, 3>> cases[] = {
      {{}, 100, {0, 255, 0}},
      {{{100, 1000}}, 102, {100, 255, 100}},
      // Half of the pixels on either side: the limit is 100 * 5000 >> 10 = 488.
      {{{90, 400}, {100, 200}, {110, 400}}, 100, {90, 255, 100}},
      {{{90, 500}, {110, 500}}, 100, {90, 110, 100}},
      // No limit: the mean, and the next bin that is not empty.
      {{{90, 5}, {110, 5}}, 1, {100, 110, 100}},
      {{{90, 500}, {110, 500}}, -100, {100, 101, 100}},
      {{{255, 500}}, 100, {255, 255, 255}},
      {{{0, 500}}, 100, {0, 255, 0}},
      // 32 bits wrap: 500000000 * 5 is below 0, as the limit then is.
      {{{90, 250000000}, {110, 250000000}}, 1, {100, 101, 100}},
  };
  for (const auto& [counts, part, expected] : cases) {
    std::array range{-1, -1, -1};
    Of(counts).GetRange(range[0], range[1], range[2], part);
    EXPECT_EQ(range, expected) << part;
  }
}

TEST(Histogram, MomentsAndEntropy) {
  CHistogram histogram = Of({{0, 1}, {126, 3}, {131, 1}, {255, 2}});
  histogram.img_pixel_num_ = 0;  // recounted
  for (int order = -1; order < 9; ++order) {
    double sum = 0;
    for (int i = 0; i < 256; ++i)
      sum += histogram.bins[i] * std::pow(i - 128, std::max(order, 0));
    EXPECT_FLOAT_EQ(histogram.CentralMoment(order), static_cast<float>(sum / 7)) << order;
  }
  EXPECT_EQ(histogram.CentralMoment(lowest), 1.0F);
  EXPECT_EQ(histogram.img_pixel_num_, 7);
  // Powers beyond all numbers: they outweigh each other unless the order is even.
  std::fill_n(histogram.bins, 256, 1);
  EXPECT_TRUE(std::isinf(histogram.CentralMoment(highest - 1)));
  EXPECT_TRUE(std::isnan(histogram.CentralMoment(highest)));

  CHistogram p, q, empty;
  for (int i = 0; i < 256; ++i) {
    p.img_pixel_num_ += p.bins[i] = 1 + i % 3 + (i == 0 ? 99 : 0);
    q.img_pixel_num_ += q.bins[i] = 1 + i % 7;
  }
  double expected = 0;
  for (int i = 0; i < 256; ++i) {
    const double share = double(p.bins[i]) / p.img_pixel_num_;
    expected += std::log(share / (double(q.bins[i]) / q.img_pixel_num_)) * share;
  }
  EXPECT_NEAR(p.RelativeEntropy(q), expected, 1e-5);
  q.bins[9] = 0;
  EXPECT_TRUE(std::isinf(p.RelativeEntropy(q)) && std::isnan(q.RelativeEntropy(p)));
  EXPECT_EQ(MessageOf<CException>([&] { static_cast<void>(empty.CentralMoment(2)); }),
            "img_pixel_num_ must be non-zero");
  for (const auto& [a, b] : {std::pair{&empty, &p}, std::pair{&p, &empty}})
    EXPECT_EQ(MessageOf<CException>([a = a, b = b] { (void)a->RelativeEntropy(*b); }),
              "img_pix_num_ shouldn't be zero");
}

TEST(Histogram, TablesAndTheirUse) {
  Table table;
  const CHistogram histogram = Of({{50, 10}, {100, 80}, {150, 10}});
  const CHistogram ends = Of({{0, 9}, {255, 9}});
  // From which bin to which one they are spread over the whole range.
  const std::tuple<const CHistogram*, float, int, int, int> stretches[] = {
      {&histogram, -5, 1, 49, 151},  {&histogram, std::nanf(""), 1, 49, 151},
      {&histogram, 20, 1, 50, 150},  {&histogram, 20, 100, 50, 150},
      {&histogram, 20, 101, 0, 255},  // fewer steps than asked for
      {&histogram, 200, -9, 0, 255}, {&ends, 0, 999, 0, 255},
      {&ends, 100, 1, 0, 255}};
  for (const auto& [from, percent, minimum, low, high] : stretches) {
    table.fill(77);
    from->Stretch(table.data(), percent, minimum);
    for (int i = 0; i < 256; ++i)
      EXPECT_EQ(table[i], std::clamp(((i - low) * 255 + (high - low) / 2) / (high - low), 0, 255))
          << percent << ": " << i;
  }
  CHistogram().Stretch(table.data(), 50, 1);

  for (const int offset : {-3, 0, 250, lowest, highest}) {
    FillShifted(offset, table.data(), 200);
    for (int i = 0; i < 200; ++i)
      EXPECT_EQ(table[i], std::clamp<long long>(0LL + i + offset, 0, 255)) << offset;
  }

  std::iota(table.rbegin(), table.rend(), std::uint8_t{0});
  Bins wide{};
  for (int i = 0; i < 256; ++i)
    wide[i] = (i - 100) * 1000;
  const ByteImage before = Noise(13, 5, 256);
  ByteImage inverse = before, saturated = before;
  inverse.copyOnWrite = saturated.copyOnWrite = true;
  TApply(inverse, table.data());
  TApplyAndSaturation(saturated, wide.data());
  for (int i = 0; i < 5 * 16; i += i % 16 == 12 ? 4 : 1) {
    const int pixel = before.GetPtr()[i];
    EXPECT_EQ(inverse.GetPtr()[i], 255 - pixel);
    EXPECT_EQ(saturated.GetPtr()[i], pixel > 100 ? 255 : 0);
  }
}

TEST(Histogram, BlursWithinItsEnds) {
  CHistogram histogram = Of({{0, 30}, {3, 9}, {255, 60}}), out;
  for (const int radius : {-1, 0, 1, 7, 254, 255, highest}) {
    TBlur(histogram, out, radius);
    for (int i = 0; i < 256; ++i) {
      const int reach = std::clamp(radius, 0, 255);
      const int from = std::max(i - reach, 0), last = std::min(i + reach, 255);
      EXPECT_EQ(out.bins[i], std::accumulate(&histogram.bins[from], &histogram.bins[last] + 1, 0) /
                                 (last - from + 1));
    }
  }
  EXPECT_EQ(out.img_pixel_num_, 99);
  TBlur(histogram, 2, 3, 1);
  EXPECT_EQ(BinsOf(histogram), BinsOf(Of({{0, 30}, {2, 3}, {3, 3}, {255, 60}})));
  for (const auto& [low, high] : {std::pair{-1, 5}, {0, 256}, {256, 256}, {3, -2}})
    EXPECT_EQ(
        MessageOf<CException>([&, low = low, high = high] { TBlur(histogram, low, high, 1); }),
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
