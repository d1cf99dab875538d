#pragma once

// From groups of 2 by 2 pixels of a sensor to other formats: the overloads, and the arithmetic of a
// row, which cell_kernels.cpp compiles for every instruction set.
#if !defined(ZTLIB_INSTRUCTION_SET)

#include "main/target/windll/image_convert/image_convert_rows.h"

namespace ztlib {

// The outermost two pixels on each side of the target stay as they are.
void Convert(GrayImageView& target, const BayerBlockImageView& source);
void Convert(RgbImageView& target, const BayerBlockImageView& source);
// The outermost two pixels on each side of the target stay as they are.
void Convert(YuvImageView& target, const BayerBlockImageView& source);
// Goes over a YUV picture from the frame manager. The border of that picture is not written, so
// what its memory held is seen in the border of the target.
void Convert(YuyvImageView& target, const BayerBlockImageView& source);

}  // namespace ztlib

#else

#include "main/target/windll/image_convert/cell_kernels.h"
#include "main/target/windll/image_convert/image_convert_torgb_impl.h"

namespace ztlib {

// Groups of 2 by 2 pixels with luma at two of them. A word is one group (Y top left, Y bottom
// right, U, V); its sums are made in two halves of 16 bits, which do not overflow, so that the same
// code works on one word and on a register of them.
namespace {

inline Word LoadAs(const Byte* p, Word*) {
  return Load(p);
}
inline V32 LoadAs(const Byte* p, V32*) {
  return LoadVector(p);
}

// The bytes of a group in the two halves of a word: First has the top left luma and U, Second the
// bottom right luma and V.
template <class T>
inline T First(T group) {
  return group & 0x00ff00ffU;
}
template <class T>
inline T Second(T group) {
  return group >> 8 & 0x00ff00ffU;
}

// A group and the eight groups around it.
template <class T>
struct Neighbourhood {
  Neighbourhood(const SensorRows& rows, std::size_t i)
      : own(At(rows.own, i)),
        left(At(rows.own - 4, i)),
        right(At(rows.own + 4, i)),
        above(At(rows.above, i)),
        below(At(rows.below, i)),
        aboveLeft(At(rows.above - 4, i)),
        aboveRight(At(rows.above + 4, i)),
        belowLeft(At(rows.below - 4, i)),
        belowRight(At(rows.below + 4, i)) {}
  static T At(const Byte* row, std::size_t i) {
    return LoadAs(row + 4 * i, static_cast<T*>(nullptr));
  }

  // The luma of the two pixels for which the group stores none: the mean of the four stored ones
  // next to the pixel.
  template <int rounding>
  [[nodiscard]] T TopRightLuma() const {
    return Quarter<rounding>(First(own) + Second(own) + First(right) + Second(above));
  }
  template <int rounding>
  [[nodiscard]] T BottomLeftLuma() const {
    return Quarter<rounding>(First(own) + Second(own) + Second(left) + First(below));
  }

  T own, left, right, above, below, aboveLeft, aboveRight, belowLeft, belowRight;

 private:
  template <int rounding>
  static T Quarter(T sum) {
    return (sum + rounding) >> 2 & 0xff;
  }
};

// The four pixels of a group.
template <class T>
struct FourPixels {
  T topLeft, topRight, bottomLeft, bottomRight;
};

// The chroma of a pixel is 9/16 of its own group's, 3/16 of that of each of the two groups next to
// it and 1/16 of that of the diagonal one. It is blended three to one between rows, and then three
// to one between columns.
struct BlockYuv {
  // Chroma of one column of groups, blended between two rows. Each value stands in the upper half
  // of its word.
  template <class T>
  struct Column {
    Column(T own, T beside)
        : u(3 * First(own) + First(beside)), v(3 * Second(own) + Second(beside)) {}
    T u, v;
  };
  template <class T>
  static T Pixel(T luma, const Column<T>& own, const Column<T>& side) {
    const T u = 3 * own.u + side.u + 0x00080008U;
    const T v = 3 * own.v + side.v + 0x00080008U;
    return luma | (u >> 12 & 0xff00U) | (v >> 4 & 0xff0000U);
  }
  template <class T>
  static FourPixels<T> Pixels(const Neighbourhood<T>& g) {
    const Column<T> top(g.own, g.above);
    const Column<T> bottom(g.own, g.below);
    return {Pixel(T(g.own & 0xff), top, Column<T>(g.left, g.aboveLeft)),
            Pixel(g.template TopRightLuma<2>(), top, Column<T>(g.right, g.aboveRight)),
            Pixel(g.template BottomLeftLuma<2>(), bottom, Column<T>(g.left, g.belowLeft)),
            Pixel(T(g.own >> 8 & 0xff), bottom, Column<T>(g.right, g.belowRight))};
  }
  static Word Finished(Word yuv) { return yuv; }
  static TwoVectors Finished(TwoVectors yuv) { return yuv; }
};

// For RGB, U is interpolated between groups that lie side by side and V between groups above each
// other. Nothing is rounded.
struct BlockRgb {
  template <class T>
  static FourPixels<T> Pixels(const Neighbourhood<T>& g) {
    const T u = First(g.own);
    const T v = Second(g.own);
    const T besideU = First(g.left) + u;
    const T besideV = Second(g.right) + v;
    return {Pixel<T>(g.own & 0xff, besideU >> 1, (Second(g.above) + v) >> 1),
            Pixel<T>(g.template TopRightLuma<0>(), u,
                     (Second(g.aboveRight) + Second(g.above) + besideV) >> 2),
            Pixel<T>(g.template BottomLeftLuma<0>(),
                     (First(g.belowLeft) + First(g.below) + besideU) >> 2, v),
            Pixel<T>(g.own >> 8 & 0xff, (First(g.below) + u) >> 1, besideV >> 1)};
  }
  // `u` and `v` have the value in their upper halves.
  template <class T>
  static T Pixel(T luma, T u, T v) {
    return luma | (u >> 8 & 0xff00U) | (v & 0xff0000U);
  }
  static Word Finished(Word yuv) { return RgbOfYuv(yuv); }
  static TwoVectors Finished(TwoVectors yuv) { return RgbOfYuv(yuv); }
};

template <class Target>
inline void StorePair(Byte* target, Word left, Word right) {
  StorePixel(target, Target::Finished(left));
  StorePixel(target + 4, Target::Finished(right));
}
template <class Target>
inline void StorePair(Byte* target, V32 left, V32 right) {
  StorePixels(target,
              Target::Finished(InOrder(InterleaveLow(left, right), InterleaveHigh(left, right))));
}

template <class Target>
void BlockToPixels(Byte* __restrict upper, Byte* __restrict lower, const SensorRows& rows,
                   std::size_t count) {
  const auto step = [&]<class T>(std::size_t i, T*) {
    const FourPixels<T> pixels = Target::Pixels(Neighbourhood<T>(rows, i));
    StorePair<Target>(upper + 8 * i, pixels.topLeft, pixels.topRight);
    StorePair<Target>(lower + 8 * i, pixels.bottomLeft, pixels.bottomRight);
  };
  ForRange<wordsPerVector>(
      0, count, [&](std::size_t i) { step(i, static_cast<V32*>(nullptr)); },
      [&](std::size_t i) { step(i, static_cast<Word*>(nullptr)); });
}

// Two gray pixels in the lower half of each word.
inline void StoreGray(Byte* target, Word pair) {
  const auto bytes = static_cast<std::uint16_t>(pair);
  std::memcpy(target, &bytes, sizeof bytes);
}
inline void StoreGray(Byte* target, V32 first, V32 second) {
  StoreVector(target, InOrder((V32)Pack((S32)(first << 16) >> 16, (S32)(second << 16) >> 16)));
}

void BlockToGray(Byte* __restrict upper, Byte* __restrict lower, const SensorRows& rows,
                 std::size_t count) {
  const auto top = []<class T>(const Neighbourhood<T>& g) {
    return (g.own & 0xff) | g.template TopRightLuma<0>() << 8;
  };
  const auto bottom = []<class T>(const Neighbourhood<T>& g) {
    return g.template BottomLeftLuma<0>() | (g.own & 0xff00);
  };
  ForRange<2 * wordsPerVector>(
      0, count,
      [&](std::size_t i) {
        const Neighbourhood<V32> first(rows, i);
        const Neighbourhood<V32> second(rows, i + wordsPerVector);
        StoreGray(upper + 2 * i, top(first), top(second));
        StoreGray(lower + 2 * i, bottom(first), bottom(second));
      },
      [&](std::size_t i) {
        const Neighbourhood<Word> group(rows, i);
        StoreGray(upper + 2 * i, top(group));
        StoreGray(lower + 2 * i, bottom(group));
      });
}

void BlockBorderToRgb(Byte* __restrict target, const Byte* __restrict groups, int left, int right,
                      std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    const Word group = Load(groups + 4 * i);
    const Word chroma = group >> 8 & 0xffff00U;
    StorePixel(target + 8 * i, RgbOfYuv(chroma | static_cast<Word>(ByteOf(group, left))));
    StorePixel(target + 8 * i + 4, RgbOfYuv(chroma | static_cast<Word>(ByteOf(group, right))));
  }
}

}  // namespace

}  // namespace ztlib

#endif
