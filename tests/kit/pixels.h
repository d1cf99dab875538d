#pragma once

#include "include/ztlib.h"

#include <array>
#include <cstdint>
#include <vector>

// Converts pixels one by one, as the formats define it. Tests compare conversions and decoders with
// this plain model. The functions are pure and trust their arguments.
namespace kit {

using Pixel = std::array<int, 3>;  // (value), (b, g, r) or (y, u, v)

inline Pixel RgbToYuv(const Pixel& p) {
  const auto [b, g, r] = p;
  return {(r * 77 + g * 150 + b * 29) >> 8, ((r * -43 + g * -85 + b * 128) >> 8) + 128,
          ((r * 128 + g * -107 + b * -21) >> 8) + 128};
}
inline int Saturate(int value) {
  return value < 0 ? 0 : value > 254 ? 255 : value;
}
inline Pixel YuvToRgb(const Pixel& p) {
  const int y = p[0] * 256;
  const int u = p[1] - 128;
  const int v = p[2] - 128;
  return {Saturate((y + u * 454) >> 8), Saturate((y + u * -88 + v * -183) >> 8),
          Saturate((y + v * 359) >> 8)};
}

// A picture as rows of pixels.
using Canvas = std::vector<std::vector<Pixel>>;

// Smooths chroma of half the size that has been repeated to full size: nine parts of a pixel, three
// of each neighbour and one of the diagonal neighbour. Tiles of 16 by 16 are smoothed one by one or
// across their edges.
inline void SmoothChroma(Canvas& canvas, bool acrossTiles) {
  for (std::size_t y = 1; y + 1 < canvas.size(); y += 2)
    for (std::size_t x = 1; x + 1 < canvas[y].size(); x += 2)
      for (const std::size_t c : {1U, 2U}) {
        if (!acrossTiles && (x % 16 == 15 || y % 16 == 15)) continue;
        int &p = canvas[y][x][c], &q = canvas[y][x + 1][c];
        int &r = canvas[y + 1][x][c], &s = canvas[y + 1][x + 1][c];
        const auto mix = [p, q, r, s](int a, int b, int d, int e) {
          return (a * p + b * q + d * r + e * s + 8) >> 4;
        };
        p = mix(9, 3, 3, 1);
        q = mix(3, 9, 1, 3);
        r = mix(3, 1, 9, 3);
        s = mix(1, 3, 3, 9);
      }
}
// Formats of pairs blend the chroma of rows 1 and 2, 3 and 4, 5 and 6 of each tile; the second row
// of a pair takes the new value of the first.
inline void BlendChromaRows(Canvas& canvas) {
  for (std::size_t y = 1; y + 1 < canvas.size(); y += y % 16 == 5 ? 12 : 2)
    for (std::size_t x = 0; x < canvas[y].size(); ++x)
      for (const std::size_t c : {1U, 2U}) {
        int &a = canvas[y][x][c], &b = canvas[y + 1][x][c];
        a = (3 * a + b + 2) >> 2;
        b = (a + 3 * b + 2) >> 2;
      }
}

// Puts pixel `x` of `pixels` into a row of one of the formats from gray to UYVY, as pixel `at`.
// Pairs share the mean of their chroma.
inline void StorePixel(std::uint8_t* row, int at, const std::vector<Pixel>& pixels, int x,
                       int format) {
  const Pixel& p = pixels[x];
  const auto put = [row](int byte, int value) { row[byte] = static_cast<std::uint8_t>(value); };
  if (format == ZTLIB_GRAY) return put(at, p[0]);
  if (format < ZTLIB_YUYV) {
    for (int c = 0; c < 3; ++c)
      put(4 * at + c, p[c]);
    return;
  }
  const Pixel& left = pixels[x - at % 2];
  const int shift = format == ZTLIB_UYVY;
  put(2 * at + shift, p[0]);
  for (int c = 1; c <= 2; ++c)
    put(at / 2 * 4 + 2 * c - 1 - shift, (left[c] + p[c] + 1) >> 1);
}

}  // namespace kit
