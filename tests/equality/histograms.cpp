#include "main/lib/base/exceptions.h"
#include "main/lib/imgproc/histogram.h"
#include "tests/equality/steps.h"

#include <cmath>
#include <limits>
#include <random>
#include <utility>

using namespace ztlib;

namespace {

constexpr int lowest = std::numeric_limits<int>::min(), highest = std::numeric_limits<int>::max();

void MixHistogram(const CHistogram& histogram) {
  Mix(std::span(histogram.bins, 256));
  Mix(histogram.img_pixel_num_);
}

ByteImage NoisePlane(int width, int height) {
  ByteImage image(width, height);
  const Bytes noise = Noise(static_cast<std::size_t>(image.GetScanline() * height), 3);
  std::copy(noise.begin(), noise.end(), image.GetWritePtr());
  return image;
}

// Few or many bins, with counts of one pixel up to those whose sums wrap.
CHistogram RandomHistogram(std::mt19937& random) {
  CHistogram histogram;
  const std::uint32_t most = random() % 4 == 0 ? 1 : 30, shift = random() % most;
  std::uint32_t pixels = 0;
  for (std::uint32_t left = random() % 4 == 0 ? 900 : random() % 10; left > 0; --left)
    histogram.bins[random() % 256] = static_cast<std::int32_t>(1 + (left << shift) / 9);
  for (int i = 0; i < 256; ++i)
    pixels += static_cast<std::uint32_t>(histogram.bins[i]);
  histogram.img_pixel_num_ = static_cast<std::int32_t>(pixels);
  return histogram;
}

void Read(CHistogram& histogram) {
  Mix(histogram.Median());
  for (const int part : {-100, 0, 1, 30, 100, 200}) {
    int values[3] = {};
    histogram.GetRange(values[0], values[1], values[2], part);
    Mix(values);
  }
  constexpr std::pair<int, int> walks[] = {{0, 1},   {255, -1},    {100, 3},
                                           {5, 100}, {-3, 1},      {256, -1},
                                           {50, 0},  {0, highest}, {255, lowest}};
  for (const auto& [start, step] : walks)
    for (const int goal : {0, 1, 9, 500, 9'000'000, highest})
      Mix(histogram.FindBound(start, step, goal));
  std::uint8_t table[256];
  for (const float percent : {-1.0F, 0.0F, 3.5F, 20.0F, 60.0F, 200.0F, std::nanf("")})
    for (const int least : {-9, 1, 60, 101, 999}) {
      histogram.Stretch(table, percent, least);
      Mix(table);
    }
  for (const int order : {-1, 0, 1, 2, 5, highest - 1, highest})
    try {
      const float moment = histogram.CentralMoment(order);
      Mix(std::isnan(moment) ? 0.0F : moment);
    } catch (const CException& error) {
      Mix(error.what());
    }
}

void Change(CHistogram& histogram, CHistogram& other) {
  for (const auto& [width, height] : {std::pair(7, 1), {256, 8}, {300, 200}}) {
    ByteImage image = NoisePlane(width, height);
    histogram.Draw(image, 77);
    MixRows(image);
  }
  for (const int radius : {-1, 0, 1, 9, 254, highest}) {
    TBlur(histogram, other, radius);
    MixHistogram(other);
  }
  TBlur(other, 2, 90, 3);
  histogram.Add(other);
  other.Assign(histogram);
  histogram.Clear();
  MixHistogram(histogram);
  MixHistogram(other);
}

}  // namespace

void Histograms() {
  Step("histograms of planes", [] {
    for (const auto& [width, height] : {std::pair{1, 1}, {7, 9}, {8, 1}, {131, 67}})
      for (const int more : {-1, 0, 2}) {
        CHistogram histogram;
        CMask mask;
        mask.SetPolygons(width + height % 2, height + more,
                         {{{0, 0}, {2 * width, 0}, {0, height + 1}}});
        histogram.Make(NoisePlane(width, height));
        MixHistogram(histogram);
        histogram.Make(NoisePlane(width, height), mask);
        MixHistogram(histogram);
      }
  });
  Step("histograms", [] {
    std::mt19937 random(1);
    CHistogram other;
    for (int round = 0; round < 120; ++round) {
      CHistogram histogram = RandomHistogram(random);
      Read(histogram);
      if (round % 5 == 0) Change(histogram, other);
    }
  });
  Step("tables of pixels", [] {
    Bytes table = Noise(256, 2);
    int wide[256];
    for (int i = 0; i < 256; ++i)
      wide[i] = (i - 100) * (i % 9);
    ByteImage image = NoisePlane(13, 5);
    TApply(image, table.data());
    MixRows(image);
    TApplyAndSaturation(image, wide);
    MixRows(image);
    for (const int offset : {-3, 0, 250, lowest, highest}) {
      FillShifted(offset, table.data(), 200);
      Mix(std::span(table));
    }
  });
}
