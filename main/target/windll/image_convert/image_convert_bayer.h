#pragma once

// From sensor pictures to other formats: the overloads, and the arithmetic of a row, which
// cell_kernels.cpp compiles for every instruction set.
#if !defined(ZTLIB_INSTRUCTION_SET)

#include "main/target/windll/image_convert/image_convert_rows.h"

namespace ztlib {

// The outermost pixels of the target stay as they are: they lack neighbours.
void Convert(RgbImageView& target, const BayerImageView& source);
// Throws if the source is smaller than 4 by 4, has an odd width, or a picture is not aligned to 4.
void Convert(YuyvImageView& target, const BayerImageView& source);

}  // namespace ztlib

#else

#include "main/target/windll/image_convert/cell_kernels.h"
#include "main/target/windll/image_convert/image_convert_toyuyv_impl.h"

namespace ztlib {

// Sensor pictures. A site has the colour of its filter; the two others come from its neighbours.
// Sites of a row alternate between green and the row's other colour, red or blue; the third is the
// colour of the rows above and below.
namespace {

// The colours of one pixel, or of every second pixel of a register in numbers of 16 bits. `row` is
// the colour that shares the row with green, `column` that of the rows above and below.
template <class T>
struct RowColours {
  T row, green, column;
};

// Even rows of the picture.
struct GreenRed {
  static constexpr bool greenFirst = true;
  template <class T>
  static T Red(const RowColours<T>& c) {
    return c.row;
  }
  template <class T>
  static T Blue(const RowColours<T>& c) {
    return c.column;
  }
};
// Odd rows of the picture.
struct BlueGreen {
  static constexpr bool greenFirst = false;
  template <class T>
  static T Red(const RowColours<T>& c) {
    return c.column;
  }
  template <class T>
  static T Blue(const RowColours<T>& c) {
    return c.row;
  }
};

// What one site is interpolated from: its own value, the sum of its left and right neighbours, what
// a rule makes of those above and below it (Column), and the sum of that for its left and right
// neighbours.
template <class T>
struct Site {
  T own, sides, column, columnSides;
};

// The rule for RGB: neighbours are added up, and the mean is truncated.
struct TruncatedSums {
  static int Column(const SensorRows& rows, std::size_t x) { return rows.above[x] + rows.below[x]; }
  // The same for every second pixel, from `x` on (index 0) or from `x` + 1 on (index 1).
  template <int index>
  static V16 Column(const SensorRows& rows, std::size_t x) {
    return WeighByte<index, 1>(LoadVector(rows.above + x)) +
           WeighByte<index, 1>(LoadVector(rows.below + x));
  }
  template <class T>
  static RowColours<T> OfGreen(const Site<T>& site) {
    return {site.sides >> 1, site.own, site.column >> 1};
  }
  template <class T>
  static RowColours<T> OfColour(const Site<T>& site) {
    return {site.own, (site.sides + site.column) >> 2, site.columnSides >> 2};
  }
};

// The rule for YUYV: the mean of the rows above and below is rounded first, and then the mean with
// what stands left and right.
struct RoundedMeans {
  static int Column(const SensorRows& rows, std::size_t x) {
    return (rows.above[x] + rows.below[x] + 1) >> 1;
  }
  template <int index>
  static V16 Column(const SensorRows& rows, std::size_t x) {
    return WeighByte<index, 1>(
        (V32)Average((V8)LoadVector(rows.above + x), (V8)LoadVector(rows.below + x)));
  }
  template <class T>
  static RowColours<T> OfGreen(const Site<T>& site) {
    return {(site.sides + 1) >> 1, site.own, site.column};
  }
  template <class T>
  static RowColours<T> OfColour(const Site<T>& site) {
    return {site.own, (site.sides + site.column + site.column + 2) >> 2,
            (site.columnSides + 1) >> 1};
  }
};

// Two pixels side by side, the left one in an even column.
template <class T>
struct PixelPair {
  RowColours<T> left, right;
};
template <class Row, class Rule, class T>
inline PixelPair<T> PairOf(const Site<T>& left, const Site<T>& right) {
  if constexpr (Row::greenFirst) return {Rule::OfGreen(left), Rule::OfColour(right)};
  return {Rule::OfColour(left), Rule::OfGreen(right)};
}

template <class Row, class Rule>
inline PixelPair<V16> PairsAt(const SensorRows& rows, std::size_t x) {
  const V32 own = LoadVector(rows.own + x);
  const V16 left = WeighByte<0, 1>(own);
  const V16 right = WeighByte<1, 1>(own);
  const V16 columnLeft = Rule::template Column<0>(rows, x);
  const V16 columnRight = Rule::template Column<1>(rows, x);
  return PairOf<Row, Rule>(
      Site<V16>{left, WeighByte<0, 1>(LoadVector(rows.own + x - 1)) + right, columnLeft,
                Rule::template Column<0>(rows, x - 1) + columnRight},
      Site<V16>{right, WeighByte<1, 1>(LoadVector(rows.own + x + 1)) + left, columnRight,
                Rule::template Column<1>(rows, x + 1) + columnLeft});
}

template <class Row, class Rule>
inline Word RgbAt(const SensorRows& rows, std::size_t x) {
  const Site<int> site = {rows.own[x], rows.own[x - 1] + rows.own[x + 1], Rule::Column(rows, x),
                          Rule::Column(rows, x - 1) + Rule::Column(rows, x + 1)};
  const RowColours<int> c =
      (x % 2 == 0) == Row::greenFirst ? Rule::OfGreen(site) : Rule::OfColour(site);
  return Pack(Row::Blue(c), c.green, Row::Red(c));
}

template <class Row>
void BayerToRgb(Byte* __restrict target, const SensorRows& rows, std::size_t width) {
  const auto scalar = [&](std::size_t x) {
    StorePixel(target + 4 * x, RgbAt<Row, TruncatedSums>(rows, x));
  };
  scalar(1);
  if (width == 3) return;
  // Pairs from column 2 on; with an even width the last column is left over.
  ForRange<bytesPerVector / 2>(
      1, (width - 1) / 2,
      [&](std::size_t pair) {
        const auto [left, right] = PairsAt<Row, TruncatedSums>(rows, 2 * pair);
        const V16 evenBlueGreen = Row::Blue(left) | left.green << 8;
        const V16 oddBlueGreen = Row::Blue(right) | right.green << 8;
        const V16 evenRed = Row::Red(left);
        const V16 oddRed = Row::Red(right);
        StoreInterleaved(
            target + 8 * pair,
            {InterleaveLow(evenBlueGreen, evenRed), InterleaveHigh(evenBlueGreen, evenRed)},
            {InterleaveLow(oddBlueGreen, oddRed), InterleaveHigh(oddBlueGreen, oddRed)});
      },
      [&](std::size_t pair) {
        scalar(2 * pair);
        scalar(2 * pair + 1);
      });
  if (width % 2 == 0) scalar(width - 2);
}

// A packed sample that takes U from its left pixel and V from its right one, where inner samples
// take the mean of both.
inline Word SampleOf(Word left, Word right) {
  return Pack(ByteOf(left, 0), ByteOf(left, 1), ByteOf(right, 0), ByteOf(right, 2));
}

// The first or last four pixels of a row, interpolated from these four columns alone.
template <class Row>
inline void StoreEnd(Byte* target, const SensorRows& rows, std::size_t x) {
  const Byte* const p = rows.own + x;
  const auto column = [&](std::size_t i) { return RoundedMeans::Column(rows, x + i); };
  RowColours<int> c[4];
  if constexpr (Row::greenFirst) {
    c[0] = {p[1], p[0], column(0)};
    c[2] = {(p[1] + p[3]) >> 1, p[2], column(2)};
    c[1] = {p[1], (p[0] + p[2] + 2 * column(1)) >> 2, (c[0].column + c[2].column) >> 1};
    c[3] = {p[3], column(3), c[2].column};
  } else {
    c[0] = {p[0], column(0), column(1)};
    c[1] = {(p[0] + p[2]) >> 1, p[1], c[0].column};
    const int twice = (rows.above[x + 2] + rows.below[x + 2] + 1) & ~1;
    c[2] = {p[2], (twice + p[1] + p[3]) >> 2, (c[1].column + column(3)) >> 1};
    c[3] = {p[2], p[3], column(3)};
  }
  Word yuv[4];
  for (int i = 0; i < 4; ++i)
    yuv[i] = YuvOfRgb(Pack(Row::Blue(c[i]), c[i].green, Row::Red(c[i])));
  Store(target + 2 * x, SampleOf(yuv[0], yuv[1]));
  Store(target + 2 * x + 4, SampleOf(yuv[2], yuv[3]));
}

// YuvOfRgb for numbers of 16 bits. Its weights add up to 256 for Y and to 0 for U and V, so the
// sums can be taken around green: differences to green are small enough that whatever wraps is not
// needed.
struct YuvSums {
  YuvSums(V16 red, V16 green, V16 blue) {
    const V16 r = red - green;
    const V16 b = blue - green;
    y = ((green << 8) + r * 77 + b * 29) >> 8;
    u = ((b << 7) - r * 43 + 0x8000) >> 8;
    v = ((r << 7) - b * 21 + 0x8000) >> 8;
  }
  V16 y, u, v;
};

// The row ends with four columns that StoreEnd makes. If the width is no multiple of 4, two columns
// remain behind them: they become one sample of a single colour.
template <class Row>
void BayerToYuyv(Byte* __restrict target, const SensorRows& rows, std::size_t width) {
  const std::size_t end = width - width % 4;
  StoreEnd<Row>(target, rows, 0);
  ForRange<bytesPerVector / 2>(
      2, end / 2 - (end > 4 ? 2 : 0),
      [&](std::size_t pair) {
        const auto [left, right] = PairsAt<Row, RoundedMeans>(rows, 2 * pair);
        const YuvSums l(Row::Red(left), left.green, Row::Blue(left));
        const YuvSums r(Row::Red(right), right.green, Row::Blue(right));
        const V16 first = l.y | (V16)Average((V8)l.u, (V8)r.u) << 8;
        const V16 second = r.y | (V16)Average((V8)l.v, (V8)r.v) << 8;
        const TwoVectors samples =
            InOrder(InterleaveLow(first, second), InterleaveHigh(first, second));
        StoreVector(target + 4 * pair, samples.first);
        StoreVector(target + 4 * pair + bytesPerVector, samples.second);
      },
      [&](std::size_t pair) {
        Store(target + 4 * pair, YuyvOfYuv(YuvOfRgb(RgbAt<Row, RoundedMeans>(rows, 2 * pair)),
                                           YuvOfRgb(RgbAt<Row, RoundedMeans>(rows, 2 * pair + 1))));
      });
  StoreEnd<Row>(target, rows, end - 4);
  if (end == width) return;
  const int left = rows.own[end];
  const int right = rows.own[end + 1];
  const RowColours<int> last =
      Row::greenFirst ? RowColours<int>{right, left, RoundedMeans::Column(rows, end)}
                      : RowColours<int>{left, right, RoundedMeans::Column(rows, end + 1)};
  const Word yuv = YuvOfRgb(Pack(Row::Blue(last), last.green, Row::Red(last)));
  Store(target + 2 * end, SampleOf(yuv, yuv));
}

}  // namespace

}  // namespace ztlib

#endif
