#pragma once

#include <cstdint>

namespace ztlib {

// What an image is made of. The unit of all geometry is the sample: one pixel, or the smallest
// group of pixels that a format stores together.

// The values are part of the image memory format and go to the client's frame manager.
enum class PixelFormat : std::int32_t {
  NONE = -1,  // the format of an empty image
  BOOL8 = 0,
  GRAY = 1,
  RGB = 2,
  YUV = 3,
  YUYV = 4,
  UYVY = 5,
  RGBBAYER = 6,
  YUVBAYERBLOCK = 7,
  YUV420BLOCK = 8
};

inline constexpr std::uint32_t pixelFormatCount = 9;

[[nodiscard]] constexpr bool IsPixelFormat(PixelFormat format) {
  return static_cast<std::uint32_t>(format) < pixelFormatCount;
}

// Width and height of a sample in pixels. Format 9 passes and gives 0: a caller that divides has
// to refuse it. Anything above throws "Invalid range".
[[nodiscard]] int GetSampleDx(PixelFormat format);
[[nodiscard]] int GetSampleDy(PixelFormat format);

// The pixel types: the bytes of one sample in memory order.
struct TBool8 {
  std::uint8_t value;
};
template <class T>
struct TTGray {
  T y;
};
template <class T>
struct TTRGB {
  T b, g, r, unused;
};
template <class T>
struct TTYUV {
  T y, u, v, unused;
};
template <class T>
struct TTYUYV {
  T y0, u, y1, v;
};
template <class T>
struct TTUYVY {
  T u, y0, v, y1;
};
template <class T>
struct TTRGBBayer {
  T value;
};
// Of the 2 by 2 luma sites only the top left and the bottom right one are stored.
template <class T>
struct TTYUVBayerBlock {
  T yTopLeft, yBottomRight, u, v;
};
// 16 by 16 pixels in the order of a 4:2:0 JPEG unit: luma quadrants top left, top right, bottom
// left, bottom right, then chroma at half resolution; 8 bytes a row.
template <class T>
struct TTYUV420Block {
  T y[4][64];
  T u[64];
  T v[64];
};

template <PixelFormat Format, int Dx, int Dy>
struct PixelTraitsBase {
  static constexpr PixelFormat format = Format;
  static constexpr int sampleDx = Dx;
  static constexpr int sampleDy = Dy;
};

template <class Pixel>
struct PixelTraits;
template <>
struct PixelTraits<TBool8> : PixelTraitsBase<PixelFormat::BOOL8, 1, 1> {};
template <>
struct PixelTraits<TTGray<unsigned char>> : PixelTraitsBase<PixelFormat::GRAY, 1, 1> {};
template <>
struct PixelTraits<TTRGB<unsigned char>> : PixelTraitsBase<PixelFormat::RGB, 1, 1> {};
template <>
struct PixelTraits<TTYUV<unsigned char>> : PixelTraitsBase<PixelFormat::YUV, 1, 1> {};
template <>
struct PixelTraits<TTYUYV<unsigned char>> : PixelTraitsBase<PixelFormat::YUYV, 2, 1> {};
template <>
struct PixelTraits<TTUYVY<unsigned char>> : PixelTraitsBase<PixelFormat::UYVY, 2, 1> {};
template <>
struct PixelTraits<TTRGBBayer<unsigned char>> : PixelTraitsBase<PixelFormat::RGBBAYER, 1, 1> {};
template <>
struct PixelTraits<TTYUVBayerBlock<unsigned char>>
    : PixelTraitsBase<PixelFormat::YUVBAYERBLOCK, 2, 2> {};
template <>
struct PixelTraits<TTYUV420Block<unsigned char>>
    : PixelTraitsBase<PixelFormat::YUV420BLOCK, 16, 16> {};

// Calls `f` with a type tag of the pixel type behind a format, which must be one of the nine.
template <class Pixel>
struct PixelTag {
  using type = Pixel;
};
template <class F>
decltype(auto) VisitPixelType(PixelFormat format, F&& f) {
  switch (format) {
    case PixelFormat::BOOL8:
      return f(PixelTag<TBool8>{});
    case PixelFormat::RGB:
      return f(PixelTag<TTRGB<unsigned char>>{});
    case PixelFormat::YUV:
      return f(PixelTag<TTYUV<unsigned char>>{});
    case PixelFormat::YUYV:
      return f(PixelTag<TTYUYV<unsigned char>>{});
    case PixelFormat::UYVY:
      return f(PixelTag<TTUYVY<unsigned char>>{});
    case PixelFormat::RGBBAYER:
      return f(PixelTag<TTRGBBayer<unsigned char>>{});
    case PixelFormat::YUVBAYERBLOCK:
      return f(PixelTag<TTYUVBayerBlock<unsigned char>>{});
    case PixelFormat::YUV420BLOCK:
      return f(PixelTag<TTYUV420Block<unsigned char>>{});
    case PixelFormat::GRAY:
    default:
      return f(PixelTag<TTGray<unsigned char>>{});
  }
}

}  // namespace ztlib
