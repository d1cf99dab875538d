#include "client/statistics.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

CSquaredError& CSquaredError::operator+=(const CSquaredError& other) {
  sum += other.sum;
  samples += other.samples;
  return *this;
}

CPictureError& CPictureError::operator+=(const CPictureError& other) {
  luma += other.luma;
  chroma += other.chroma;
  return *this;
}

double CSquaredError::Psnr() const {
  if (sum == 0) return maxPsnr;
  return std::min(maxPsnr, 10 * std::log10(255.0 * 255.0 * double(samples) / double(sum)));
}

CPictureError Compare(const AVFrame& first, const AVFrame& second) {
  CPictureError error;
  for (int y = 0; y < first.height; ++y) {
    const std::uint8_t* a = first.data[0] + std::ptrdiff_t{y} * first.linesize[0];
    const std::uint8_t* b = second.data[0] + std::ptrdiff_t{y} * second.linesize[0];
    // 32 bits hold a row: 65500 pixels with an error of 2 * 255 * 255 would not fit, so rows are
    // summed in pieces.
    constexpr int piece = 16384;
    for (int start = 0; start < first.width; start += piece) {
      std::uint32_t luma = 0, chroma = 0;
      const int end = std::min(first.width, start + piece);
      for (int x = start; x < end; ++x) {
        const int dy = a[4 * x] - b[4 * x];
        const int du = a[4 * x + 1] - b[4 * x + 1];
        const int dv = a[4 * x + 2] - b[4 * x + 2];
        luma += static_cast<std::uint32_t>(dy * dy);
        chroma += static_cast<std::uint32_t>(du * du + dv * dv);
      }
      error.luma.sum += luma;
      error.chroma.sum += chroma;
    }
  }
  error.luma.samples = std::uint64_t(first.width) * std::uint64_t(first.height);
  error.chroma.samples = 2 * error.luma.samples;
  return error;
}
