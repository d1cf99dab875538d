#pragma once

#include "client/layered/layered_tables.h"
#include "tests/kit/bytes.h"
#include "tests/kit/pixels.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <vector>

// A plain decoder of layered pictures, whose results those of the library must equal. It goes bit
// by bit, coefficient by coefficient and pixel by pixel, for coded pictures whose offsets are
// sound. The quantisation tables are those of the client's encoder, which shares nothing with the
// library.
namespace layered_reference {

using namespace kit;
using Frequencies = std::array<unsigned, 256>;

inline unsigned Number(const Bytes& bytes, std::size_t at, int size) {
  unsigned value = 0;
  for (int i = 0; i < size && at + i < bytes.size(); ++i)
    value |= static_cast<unsigned>(bytes[at + i]) << (8 * i);
  return value;
}

inline Frequencies Unpack(const Bytes& coded, std::size_t model) {
  Frequencies frequencies{};
  for (unsigned i = 0; i < 16; ++i)
    frequencies[i < 8 ? i : i == 8 ? 128 : 240 + i] = Number(coded, model + 2 * i, 2);
  Bytes planes;
  for (std::size_t at = model + 32; at < coded.size() && planes.size() < 480; ++at)
    if (coded[at] != 128)
      planes.push_back(coded[at]);
    else if (++at < coded.size())
      planes.resize(planes.size() + std::max<unsigned>(coded[at], 1), coded[at] ? 0 : 128);
  planes.resize(480);
  for (unsigned plane = 0; plane < 16; ++plane)
    for (unsigned i = 0; i < 240; ++i)
      frequencies[i < 120 ? 8 + i : 9 + i] |= (planes[30 * plane + i / 8] >> i % 8 & 1U) << plane;
  return frequencies;
}

// Makes the tree of the code as pairs of successors; leaves are 256 and above. Among equal weights
// the heap functions of g++'s standard library take the same one as the format.
inline std::array<std::array<unsigned, 2>, 256> TreeOf(const Frequencies& frequencies) {
  std::array<std::array<unsigned, 2>, 256> tree{};
  std::vector<std::array<unsigned, 2>> heap;  // weights and numbers
  const auto isLater = [](const auto& a, const auto& b) { return a[0] > b[0]; };
  const auto push = [&](unsigned weight, unsigned number) {
    heap.push_back({weight, number});
    std::push_heap(heap.begin(), heap.end(), isLater);
  };
  for (unsigned s = 0; s < 256; ++s)
    if (frequencies[s]) push(frequencies[s], 256 + s);
  tree[0].fill(heap.empty() ? 256 : heap[0][1]);
  for (auto node = static_cast<unsigned>(heap.size()); node-- > 1;) {
    unsigned sum = 0;
    for (unsigned& successor : tree[node - 1]) {
      std::pop_heap(heap.begin(), heap.end(), isLater);
      successor = heap.back()[1];
      sum += heap.back()[0];
      heap.pop_back();
    }
    push(sum, node - 1);
  }
  return tree;
}

inline Bytes DecodeStream(const Bytes& coded, unsigned model, unsigned stream, unsigned count) {
  const auto tree = TreeOf(Unpack(coded, model));
  Bytes bytes;
  for (std::size_t bit = 8 * std::size_t{stream}; bytes.size() < count;) {
    unsigned node = 0;
    for (; node < 256; ++bit)
      node = tree[node][bit / 8 < coded.size() ? coded[bit / 8] >> bit % 8 & 1 : 0];
    bytes.push_back(static_cast<std::uint8_t>(node - 256));
  }
  return bytes;
}

// The rest of a decoded stream. A code that is cut short ends it.
struct Codes {
  Bytes bytes;
  std::size_t at = 0;
  int predictor = 0;

  [[nodiscard]] bool Has(std::size_t count) {
    if (at + count > bytes.size()) at = bytes.size();
    return at + count <= bytes.size();
  }
  [[nodiscard]] int Low(std::size_t i) const { return static_cast<std::int8_t>(bytes[at + i]); }
  [[nodiscard]] int Wide(std::size_t i) const {
    return static_cast<std::int16_t>(Number(bytes, at + i, 2));
  }
  int NextBase() {
    const std::size_t length = at < bytes.size() && bytes[at] == 0x80 ? 3 : 1;
    if (!Has(length)) return predictor;
    predictor = static_cast<std::int16_t>(predictor + (length == 3 ? Wide(1) : Low(0)));
    at += length;
    return predictor;
  }
  std::vector<int> NextGroup(std::size_t count, bool hasRuns) {
    std::vector<int> values;
    while (values.size() < count && at < bytes.size()) {
      const unsigned code = bytes[at];
      std::size_t length = 1, zeros = 0;
      std::vector<int> value;
      if (hasRuns)
        length = code <= 0xFC ? 2 : code == 0xFE ? 6 : 4;
      else if (code == 0x80)
        length = at + 1 < bytes.size() && bytes[at + 1] == 0xFF ? 4 : 2;
      if (!Has(length)) break;
      if (hasRuns) zeros = code <= 0xFC ? code : Number(bytes, at + 2, 2);
      if (!hasRuns && length == 2) zeros = bytes[at + 1];
      if (length == 1 || (hasRuns && length < 6 && code != 0xFD))
        value = {Low(length > 1)};
      else if (length == 6 || (!hasRuns && length == 4))
        value = {Wide(length - 2)};
      at += length;
      values.resize(values.size() + zeros);
      values.insert(values.end(), value.begin(), value.end());
    }
    values.resize(count);
    return values;
  }
};

inline bool IsPairs(int format) {
  return format == ZTLIB_YUYV || format == ZTLIB_UYVY;
}

// The planes of a macroblock after the transform, Y of 16 by 16 samples, U and V of 8 by 8.
using Planes = std::array<std::array<std::array<int, 16>, 16>, 3>;

// Returns the pixels of a macroblock at 1 / scale; `format` decides how chroma is spread.
inline Canvas PixelsOf(const Planes& planes, int scale, int format) {
  const int side = 16 / scale;
  Canvas canvas(side, std::vector<Pixel>(side));
  const auto mean = [&](int plane, int x, int y, int square) {
    int sum = square * square / 2;
    for (int i = 0; i < square * square; ++i)
      sum += planes[plane][y * square + i / square][x * square + i % square];
    return std::clamp(sum / (square * square) + 128, 0, 255);
  };
  for (int y = 0; y < side; ++y)
    for (int x = 0; x < side; ++x) {
      canvas[y][x][0] = mean(0, x, y, scale);
      for (const int plane : {1, 2})
        canvas[y][x][plane] =
            scale == 1 ? mean(plane, x / 2, y / 2, 1) : mean(plane, x, y, scale / 2);
    }
  if (scale == 1 && IsPairs(format)) BlendChromaRows(canvas);
  if (scale == 1 && !IsPairs(format)) SmoothChroma(canvas, false);
  for (std::vector<Pixel>& row : canvas)
    if (format == ZTLIB_RGB) std::ranges::transform(row, row.begin(), YuvToRgb);
  return canvas;
}

// Draws a coded picture, which begins with its header, over `picture` of width by height pixels.
inline void Draw(Bytes& picture, int width, int height, const Bytes& coded, int scale, int format) {
  constexpr int shells[4][2] = {{0, 1}, {1, 4}, {4, 16}, {16, 64}};
  const auto field = [&](std::size_t at) { return Number(coded, at, 4); };
  Codes codes[6];
  for (unsigned i = 0; i < 6; ++i) {
    const unsigned layer = i < 3 ? 0 : i - 2;
    if (layer > 0 && (field(16 + 4 * i) == 0 || scale << layer > 8)) continue;
    codes[i].bytes =
        DecodeStream(coded, field(64 + 4 * layer), field(16 + 4 * i), field(40 + 4 * i));
  }
  constexpr int order[64] = {0,  8,  9,  1,  2,  10, 18, 17, 16, 24, 25, 26, 27, 19, 11, 3,
                             4,  12, 20, 28, 36, 35, 34, 33, 32, 40, 41, 42, 43, 44, 45, 37,
                             29, 21, 13, 5,  6,  14, 22, 30, 38, 46, 54, 53, 52, 51, 50, 49,
                             48, 56, 57, 58, 59, 60, 61, 62, 63, 55, 47, 39, 31, 23, 15, 7};

  const int family = static_cast<std::int16_t>(Number(coded, 108, 2));
  const int quality = static_cast<std::int16_t>(Number(coded, 110, 2));
  const CLayeredTables steps = MakeLayeredTables(family, quality);
  const unsigned across = field(100) / 16, rows = field(104) / 16, group = field(96);
  const int side = 16 / scale;
  for (unsigned row = 0; row < rows; ++row)
    for (unsigned x = 0; x < across; x += group) {
      const std::size_t m = std::min(group, across - x);
      std::vector<int> values[4];
      for (std::size_t i = 0; i < 6 * m; ++i)
        values[0].push_back(codes[i % 6 < 4 ? 0 : i % 6 - 3].NextBase());
      for (int layer = 1; layer < 4; ++layer)
        values[layer] =
            codes[2 + layer].NextGroup(6 * m * (shells[layer][1] - shells[layer][0]), layer == 3);
      for (std::size_t i = 0; i < m; ++i) {
        Planes planes;
        for (int b = 0; b < 6; ++b) {
          std::int16_t block[64];
          for (int layer = 0; layer < 4; ++layer) {
            const int size = shells[layer][1] - shells[layer][0];
            for (int k = 0; k < size; ++k) {
              const int at = order[shells[layer][0] + k];
              const int value = values[layer][(i * 6 + b) * size + k];
              block[at] = static_cast<std::int16_t>(
                  (value * (b > 3 ? steps.chroma : steps.luma)[at] + 32) >> 6);
            }
          }
          idct8x8_mmx(block);
          for (int k = 0; k < 64; ++k)
            planes[std::max(b - 3, 0)][(b < 4 ? b / 2 * 8 : 0) + k / 8]
                  [(b < 4 ? b % 2 * 8 : 0) + k % 8] = block[k];
        }
        const int left = static_cast<int>(x + i) * side, top = static_cast<int>(row) * side;
        if (left + side > width || top + side > height) continue;
        const Canvas pixels = PixelsOf(planes, scale, format);
        for (int k = 0; k < side * side; ++k)
          StorePixel(&picture[static_cast<std::size_t>(top + k / side) * width *
                              (IsPairs(format) ? 2 : 4)],
                     left + k % side, pixels[k / side], k % side, format);
      }
    }
}

}  // namespace layered_reference
