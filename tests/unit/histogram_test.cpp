#include "main/lib/imgproc/histogram.h"

#include "main/lib/base/exceptions.h"
#include "main/lib/base/logger.h"
#include "tests/support/common.h"

#include <array>
#include <numeric>

using namespace ztlib;

namespace {

using Bins = std::array<std::int32_t, 256>;
using Counts = std::vector<std::pair<int, int>>;
constexpr int lowest = std::numeric_limits<int>::min(), highest = std::numeric_limits<int>::max();

Bins BinsOf(const CHistogramData& histogram) {
  Bins bins;
  std::copy_n(histogram.bins, 256, bins.begin());
  return bins;
}

// Makes a histogram of some bins and their counts.
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

ByteImage Noise(int width, int height) {
  ByteImage image(width, height);
  const Bytes noise = NoiseBytes(static_cast<std::size_t>(image.GetScanline() * height));
  std::copy(noise.begin(), noise.end(), image.GetWritePtr());
  return image;
}

TEST(Histogram, CountsPixelsAndThoseOfAMask) {
  for (const auto& [width, height] : {std::pair{1, 1}, {7, 9}, {8, 1}, {131, 67}}) {
    const ByteImage image = Noise(width, height);
    CMask mask;  // taller, and as wide or wider than the image
    mask.SetPolygons(width + height % 2, height + 2, {{{0, 0}, {2 * width, 0}, {0, height + 1}}});
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
  static std::string logged;
  Logger().AddStream(new CFunctionLogStream(
      [](int level, const char* text) { logged += std::to_string(level) + text; }));
  CHistogram histogram = Of({{5, 99}});
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

TEST(Histogram, CopiesSumsAndClears) {
  struct CCounting : CHistogram {
    void Clear() override { ++clears; }
    int clears = 0;
  } counting;
  counting.Make(Noise(2, 2));
  counting.Make(Noise(2, 2), CMask());
  EXPECT_EQ(counting.clears, 2);

  const CHistogram first = Of({{0, 3}, {255, highest}});
  CHistogram second = first, third;
  second.Add(first);
  EXPECT_EQ(BinsOf(second), BinsOf(Of({{0, 6}, {255, -2}})));
  third.Assign(second);
  EXPECT_EQ(BinsOf(third = second), BinsOf(second));
  EXPECT_EQ(first.bins[0], 3);
  third.Clear();
  EXPECT_EQ(BinsOf(third), Bins{});
  EXPECT_EQ(third.img_pixel_num_, 4);  // stays, and no bin reaches its half
  EXPECT_EQ(third.Median(), 255);
}

TEST(Histogram, MediansBoundsAndRanges) {
  // Each case has bins, their median, and for a part of the pixels the range and its mean.
  const std::tuple<Counts, int, int, std::array<int, 3>> cases[] = {
      {{}, 0, 100, {0, 255, 0}},
      {{{7, 1}}, 255, 1, {7, 255, 7}},
      {{{7, 2}}, 7, 1, {7, 255, 7}},
      {{{7, 1}, {9, 1}}, 7, 1, {8, 9, 8}},
      {{{7, 1}, {9, 3}}, 9, 1, {8, 9, 8}},
      // With half of the pixels on either side the limit is 100 * 5000 >> 10 = 488.
      {{{90, 400}, {100, 200}, {110, 400}}, 100, 100, {90, 255, 100}},
      {{{90, 500}, {110, 500}}, 90, 100, {90, 110, 100}},
      {{{90, 500}, {110, 500}}, 90, -100, {100, 101, 100}},
      {{{255, 500}}, 255, 100, {255, 255, 255}},
      {{{0, 500}}, 0, 100, {0, 255, 0}},
      // 500000000 * 5 wraps in 32 bits to a number below 0, and so the limit is below 0.
      {{{90, 250000000}, {110, 250000000}}, 90, 1, {100, 101, 100}},
  };
  for (const auto& [counts, median, part, expected] : cases) {
    std::array range{-1, -1, -1};
    Of(counts).GetRange(range[0], range[1], range[2], part);
    EXPECT_EQ(range, expected) << part;
    EXPECT_EQ(Of(counts).Median(), median);
  }
  const CHistogram histogram = Of({{10, 4}, {20, 2}, {200, 5}});
  const std::array<int, 4> bounds[] = {
      {0, 1, 4, 10},  {0, 1, 5, 20},   {0, 1, 12, 255},      {255, -1, 6, 20},   {255, -1, 12, 0},
      {11, 1, 1, 20}, {5, 10, 1, 255}, {-3, 1, 1, 0},        {256, -1, 1, 255},  {50, 1, 0, 50},
      {50, 0, 9, 50}, {-9, 1, 0, 0},   {0, highest, 9, 255}, {255, lowest, 9, 0}};
  for (const auto& [start, step, goal, bound] : bounds)
    EXPECT_EQ(histogram.FindBound(start, step, goal), bound) << start << ' ' << step << ' ' << goal;
}

TEST(Histogram, MomentsAndEntropy) {
  CHistogram histogram = Of({{0, 1}, {126, 3}, {131, 1}, {255, 2}});
  histogram.img_pixel_num_ = 0;  // recounted
  for (const int order : {-1, 0, 1, 2, 5}) {
    double sum = 0;
    for (int i = 0; i < 256; ++i)
      sum += histogram.bins[i] * std::pow(i - 128, std::max(order, 0));
    EXPECT_FLOAT_EQ(histogram.CentralMoment(order), static_cast<float>(sum / 7)) << order;
  }
  // These powers are infinite; in odd orders their sum is no number.
  std::fill_n(histogram.bins, 256, 1);
  EXPECT_TRUE(std::isinf(histogram.CentralMoment(highest - 1)));
  EXPECT_TRUE(std::isnan(histogram.CentralMoment(highest)));

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
}

TEST(Histogram, TablesAndTheirUse) {
  std::array<std::uint8_t, 256> table;
  const CHistogram histogram = Of({{50, 10}, {100, 80}, {150, 10}});
  // Each case ends with the bins between which values are spread over the whole range.
  const std::tuple<float, int, int, int> stretches[] = {
      {std::nanf(""), 1, 49, 151},
      {20, 100, 50, 150},
      {20, 101, 0, 255},  // fewer steps than asked
      {200, -9, 0, 255}};
  for (const auto& [percent, minimum, low, high] : stretches) {
    histogram.Stretch(table.data(), percent, minimum);
    for (int i = 0; i < 256; ++i)
      EXPECT_EQ(table[i], std::clamp(((i - low) * 255 + (high - low) / 2) / (high - low), 0, 255))
          << percent << ": " << i;
  }
  CHistogram().Stretch(table.data(), 50, 1);

  for (const int offset : {-3, 250, lowest, highest}) {
    FillShifted(offset, table.data(), 200);
    for (int i = 0; i < 200; ++i)
      EXPECT_EQ(table[i], std::clamp<long long>(0LL + i + offset, 0, 255)) << offset;
  }

  std::iota(table.rbegin(), table.rend(), std::uint8_t{0});
  Bins wide{};
  for (int i = 0; i < 256; ++i)
    wide[i] = (i - 100) * 1000;
  const ByteImage before = Noise(13, 5);
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

TEST(Histogram, BlursWithinItsEndsAndDrawsBarsFromTheBottom) {
  CHistogram histogram = Of({{0, 30}, {3, 9}, {255, 60}}), out;
  for (const int radius : {-1, 1, 254, highest}) {
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

  // A bar has its share of eight rows, where the tallest has all; bins below 0 have no bar.
  ByteImage image(300, 8);
  std::fill_n(image.GetWritePtr(), image.GetScanline() * 8, 9);
  CHistogram().Draw(image, 200);
  const CHistogram bars = Of({{0, highest / 2}, {1, highest}, {2, -5}, {255, highest / 4 * 3}});
  bars.Draw(image, 200);
  for (long long i = 0; i < image.GetScanline() * 8; ++i) {
    const long long x = i % image.GetScanline(), y = i / image.GetScanline();
    const int height = x == 0 ? 3 : x == 1 ? 8 : x == 255 ? 5 : 0;
    EXPECT_EQ(image.GetPtr()[i], y >= 8 - height ? 200 : 9) << x << ' ' << y;
  }
}

}  // namespace
