#include "main/lib/imgproc/histogram.h"

#include "main/lib/base/debug.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <numeric>

namespace ztlib {

using histogram_impl::source;

namespace {

constexpr int binCount = 256;
constexpr int lastBin = binCount - 1;

std::int32_t Wrap(std::int64_t sum) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(sum));
}

// Counts into two histograms in turn: neighbours are mostly alike, and a counter that was just
// written would have to be waited for. More of them take more of the cache than they gain.
class CPixelCounter {
 public:
  void Count(const std::uint8_t* pixels, std::int64_t length) {
    std::int64_t i = 0;
    for (; i + 8 <= length; i += 8) {
      std::uint32_t first, second;
      std::memcpy(&first, pixels + i, sizeof(first));
      std::memcpy(&second, pixels + i + sizeof(first), sizeof(second));
      for (unsigned shift = 0; shift < 32; shift += 8) {
        ++parts[0][first >> shift & 0xFF];
        ++parts[1][second >> shift & 0xFF];
      }
    }
    for (; i < length; ++i)
      ++parts[0][pixels[i]];
  }

  void AddTo(std::int32_t* bins) const {
    for (std::size_t i = 0; i < binCount; ++i)
      bins[i] = Wrap(std::int64_t{bins[i]} + parts[0][i] + parts[1][i]);
  }

 private:
  std::array<std::array<std::uint32_t, binCount>, 2> parts{};
};

// Box means of `in` for the bins `low` to `high`.
void Blur(const std::int32_t* in, std::int32_t* out, int low, int high, std::int64_t radius) {
  std::array<std::int64_t, binCount + 1> sums{};
  for (std::size_t i = 0; i < binCount; ++i)
    sums[i + 1] = sums[i] + in[i];
  radius = std::clamp<std::int64_t>(radius, 0, lastBin);
  for (std::int64_t i = low; i <= high; ++i) {
    const auto from = static_cast<std::size_t>(std::max<std::int64_t>(i - radius, 0));
    const auto to = static_cast<std::size_t>(std::min<std::int64_t>(i + radius, lastBin)) + 1;
    out[i] = Wrap((sums[to] - sums[from]) / static_cast<std::int64_t>(to - from));
  }
}

}  // namespace

CHistogramData::CHistogramData() : bins(new std::int32_t[binCount]()) {}

CHistogramData::CHistogramData(const CHistogramData& other)
    : bins(new std::int32_t[binCount]), img_pixel_num_(other.img_pixel_num_) {
  std::copy_n(other.bins, binCount, bins);
}

CHistogramData& CHistogramData::operator=(const CHistogramData& other) {
  if (this != &other) std::copy_n(other.bins, binCount, bins);
  img_pixel_num_ = other.img_pixel_num_;
  return *this;
}

CHistogramData::~CHistogramData() {
  delete[] bins;
}

void CHistogramData::Clear() {
  std::fill_n(bins, binCount, 0);
}

CIntensityDiagram::~CIntensityDiagram() = default;

void CHistogram::Assign(const CHistogram& other) {
  CHistogramData::operator=(other);
}

void CHistogram::Add(const CHistogram& other) {
  for (int i = 0; i < binCount; ++i)
    bins[i] = Wrap(std::int64_t{bins[i]} + other.bins[i]);
  img_pixel_num_ = Wrap(std::int64_t{img_pixel_num_} + other.img_pixel_num_);
}

void CHistogram::Make(const ByteImage& img) {
  ZT_MUST_BE_FALSE(!img.Assigned(), "Make", source, 99);
  Clear();
  img_pixel_num_ = 0;
  if (!img.Assigned()) return;
  CPixelCounter counter;
  for (long long y = 0; y < img.GetDy(); ++y)
    counter.Count(img.GetPtr() + y * img.GetScanline(), img.GetDx());
  counter.AddTo(bins);
  img_pixel_num_ = Wrap(img.GetDx() * img.GetDy());
}

void CHistogram::Make(const ByteImage& img, const CMask& mask) {
  Clear();
  img_pixel_num_ = 0;
  if (!img.Assigned()) return;
  CPixelCounter counter;
  std::int64_t pixels = 0;
  const auto rows = static_cast<int>(std::min<long long>(mask.GetHeight(), img.GetDy()));
  for (int y = 0; y < rows; ++y) {
    const std::uint8_t* const row = img.GetPtr() + y * img.GetScanline();
    for (const CMaskRun& run : mask.GetRow(y)) {
      const std::int64_t end = std::min<std::int64_t>(run.end, img.GetDx());
      if (run.start >= end) continue;
      counter.Count(row + run.start, end - run.start);
      pixels += end - run.start;
    }
  }
  counter.AddTo(bins);
  img_pixel_num_ = Wrap(pixels);
}

std::int64_t CHistogram::Sum() const {
  return std::accumulate(bins, bins + binCount, std::int64_t{0});
}

int CHistogram::Median() const {
  if (img_pixel_num_ == 0) return 0;
  if (img_pixel_num_ == 1) return lastBin;
  std::int64_t sum = 0;
  for (int i = 0; i < binCount; ++i) {
    sum += bins[i];
    if (sum >= img_pixel_num_ / 2) return i;
  }
  return lastBin;
}

float CHistogram::CentralMoment(int order) {
  img_pixel_num_ = Wrap(Sum());
  if (img_pixel_num_ == 0)
    ZT_THROW(CException, "img_pixel_num_ must be non-zero", "CentralMoment", source, 148);
  // From this order on the power of a whole number is 0, 1 or infinite, and only its sign may
  // change.
  constexpr int saturated = 130;
  if (order > saturated) order = saturated + order % 2;
  float sum = 0;
  for (int i = 0; i < binCount; ++i) {
    const auto distance = static_cast<float>(i - 128);
    float power = 1;
    for (int k = 0; k < order; ++k)
      power *= distance;
    sum += power * static_cast<float>(bins[i]);
  }
  return sum / static_cast<float>(img_pixel_num_);
}

float CHistogram::RelativeEntropy(const CHistogram& other) const {
  if (img_pixel_num_ == 0 || other.img_pixel_num_ == 0)
    ZT_THROW(CException, "img_pix_num_ shouldn't be zero", "RelativeEntropy", source, 166);
  float sum = 0;
  for (int i = 0; i < binCount; ++i) {
    const float p = static_cast<float>(bins[i]) / static_cast<float>(img_pixel_num_);
    const float q = static_cast<float>(other.bins[i]) / static_cast<float>(other.img_pixel_num_);
    sum = static_cast<float>(sum + std::log(static_cast<double>(p / q)) * static_cast<double>(p));
  }
  return sum;
}

int CHistogram::FindBound(int start, int step, int goal) const {
  if (start > lastBin || goal < 1 || step == 0) return std::clamp(start, 0, lastBin);
  std::int64_t i = start, sum = 0;
  for (; i >= 0 && i <= lastBin; i += step) {
    sum += bins[i];
    if (sum >= goal) break;
  }
  return static_cast<int>(std::clamp<std::int64_t>(i, 0, lastBin));
}

void CHistogram::GetRange(int& low, int& high, int& mean, int part) const {
  std::int64_t weighted = 0;
  for (int i = 0; i < binCount; ++i)
    weighted += std::int64_t{i} * bins[i];
  mean = img_pixel_num_ > 0 ? Wrap(weighted / img_pixel_num_) : 0;
  const auto scaled =
      static_cast<std::int32_t>(static_cast<std::uint32_t>(part) *
                                static_cast<std::uint32_t>(img_pixel_num_) * std::uint32_t{5});
  const std::int32_t limit = scaled >> 10;
  low = scaled >= 1024 && mean >= 0 ? FindBound(std::min(mean, lastBin), -1, limit) : mean;
  // This also happens with a limit of 0: the search then goes on to the next bin that is not empty.
  std::int64_t sum = 0;
  for (high = std::clamp(mean, -1, lastBin) + 1; high < lastBin; ++high) {
    sum += bins[high];
    if (sum > limit) break;
  }
  high = std::min(high, lastBin);
}

void CHistogram::Stretch(std::uint8_t lut[256], float percent, int minimum) const {
  // What is not a number counts as 0.
  percent = percent > 0 ? std::min(percent, 100.0f) : 0;
  minimum = std::clamp(minimum, 1, lastBin - 1);
  const auto occupied = [](std::int32_t bin) { return bin != 0; };
  const auto first = std::find_if(bins, bins + binCount, occupied) - bins;
  const auto behind = std::find_if(std::make_reverse_iterator(bins + binCount),
                                   std::make_reverse_iterator(bins), occupied)
                          .base() -
                      bins;
  const auto cut = static_cast<int>(static_cast<float>(img_pixel_num_) * percent / 200.0f);
  const int low = FindBound(std::max(static_cast<int>(first) - 1, 0), 1, cut);
  const int high = FindBound(std::min(static_cast<int>(behind), lastBin), -1, cut);
  const int range = high - low;
  for (int i = 0; i < binCount; ++i)
    lut[i] = static_cast<std::uint8_t>(
        range < minimum ? i : std::clamp(((i - low) * lastBin + range / 2) / range, 0, lastBin));
}

void CHistogram::Draw(ByteImage& image, std::uint8_t value) const {
  if (!image.Assigned()) return;
  std::uint8_t* const data = image.GetWritePtr();
  const std::int64_t tallest = std::max(*std::max_element(bins, bins + binCount), 1);
  const long long columns = std::min<long long>(binCount, image.GetDx());
  for (long long x = 0; x < columns; ++x) {
    const long long rows = std::max(bins[x], 0) * image.GetDy() / tallest;
    for (long long y = image.GetDy() - rows; y < image.GetDy(); ++y)
      data[y * image.GetScanline() + x] = value;
  }
}

void FillShifted(int offset, std::uint8_t* table, int count) {
  for (int i = 0; i < count; ++i)
    table[i] =
        static_cast<std::uint8_t>(std::clamp<std::int64_t>(std::int64_t{i} + offset, 0, 255));
}

void TBlur(const CHistogram& in, CHistogram& out, int radius) {
  Blur(in.bins, out.bins, 0, lastBin, radius);
  out.img_pixel_num_ = in.img_pixel_num_;
}

void TBlur(CHistogram& histogram, int low, int high, int radius) {
  if (low < 0 || low > lastBin || high < 0 || high > lastBin)
    ZT_THROW(CException, "Invalid range", "TBlur", source, 249);
  Blur(histogram.bins, histogram.bins, low, high, radius);
}

}  // namespace ztlib
