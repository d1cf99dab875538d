#include "client/yuv_packing.h"

#include "ztlib.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace {

// Sixteen bytes of a register, and ways to take turns with those of two.
using Bytes16 = std::uint8_t __attribute__((vector_size(16)));
using Pairs16 = std::uint16_t __attribute__((vector_size(16)));
using Words16 = std::uint64_t __attribute__((vector_size(16)));

Bytes16 Load16(const std::uint8_t* bytes) {
  Bytes16 loaded;
  std::memcpy(&loaded, bytes, sizeof loaded);
  return loaded;
}
// Eight bytes, each twice.
Bytes16 LoadTwice8(const std::uint8_t* bytes) {
  std::uint64_t loaded = 0;
  std::memcpy(&loaded, bytes, sizeof loaded);
  const auto low = reinterpret_cast<Bytes16>(Words16{loaded, 0});
  return __builtin_shufflevector(low, low, 0, 0, 1, 1, 2, 2, 3, 3, 4, 4, 5, 5, 6, 6, 7, 7);
}
Bytes16 LowBytes(Bytes16 a, Bytes16 b) {
  return __builtin_shufflevector(a, b, 0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23);
}
Bytes16 HighBytes(Bytes16 a, Bytes16 b) {
  return __builtin_shufflevector(a, b, 8, 24, 9, 25, 10, 26, 11, 27, 12, 28, 13, 29, 14, 30, 15,
                                 31);
}
// Stores the pairs of two registers in turns.
void StorePairs(std::uint8_t* target, Bytes16 a, Bytes16 b) {
  const auto first = reinterpret_cast<Pairs16>(a), second = reinterpret_cast<Pairs16>(b);
  const Pairs16 low = __builtin_shufflevector(first, second, 0, 8, 1, 9, 2, 10, 3, 11);
  const Pairs16 high = __builtin_shufflevector(first, second, 4, 12, 5, 13, 6, 14, 7, 15);
  std::memcpy(target, &low, sizeof low);
  std::memcpy(target + sizeof low, &high, sizeof high);
}

void PackFull(const std::uint8_t* y, const std::uint8_t* u, const std::uint8_t* v,
              std::uint8_t* packed, int width) {
  for (int x = 0; x < width; ++x) {
    packed[4 * x] = y[x];
    packed[4 * x + 1] = u[x];
    packed[4 * x + 2] = v[x];
    packed[4 * x + 3] = 255;
  }
}

// Two pixels have the same chroma.
void PackHalf(const std::uint8_t* y, const std::uint8_t* u, const std::uint8_t* v,
              std::uint8_t* packed, int width) {
  const Bytes16 unused = ~Bytes16{};
  int x = 0;
  for (; x + 16 <= width; x += 16) {
    const Bytes16 luma = Load16(y + x);
    const Bytes16 blue = LoadTwice8(u + x / 2), red = LoadTwice8(v + x / 2);
    StorePairs(packed + 4 * x, LowBytes(luma, blue), LowBytes(red, unused));
    StorePairs(packed + 4 * x + 32, HighBytes(luma, blue), HighBytes(red, unused));
  }
  for (; x < width; ++x) {
    packed[4 * x] = y[x];
    packed[4 * x + 1] = u[x / 2];
    packed[4 * x + 2] = v[x / 2];
    packed[4 * x + 3] = 255;
  }
}

template <int shift>
void PackPairs(const std::uint8_t* y, const std::uint8_t* u, const std::uint8_t* v,
               std::uint8_t* packed, int width) {
  const auto shared = [](const std::uint8_t* chroma, int x) {
    return static_cast<std::uint8_t>(shift == 1 ? chroma[x / 2]
                                                : (chroma[x] + chroma[x + 1] + 1) / 2);
  };
  for (int x = 0; x < width; x += 2) {
    packed[2 * x] = shared(u, x);
    packed[2 * x + 1] = y[x];
    packed[2 * x + 2] = shared(v, x);
    packed[2 * x + 3] = y[x + 1];
  }
}

using PackRowOf = void(const std::uint8_t*, const std::uint8_t*, const std::uint8_t*, std::uint8_t*,
                       int);

const std::uint8_t* Row(const AVFrame& picture, int plane, int y) {
  return picture.data[plane] + static_cast<std::ptrdiff_t>(y) * picture.linesize[plane];
}

std::uint8_t* Row(AVFrame& picture, int plane, int y) {
  return picture.data[plane] + static_cast<std::ptrdiff_t>(y) * picture.linesize[plane];
}

// `forFull` takes rows whose chroma is as wide as luma, `forHalf` those where it is half.
void Pack(const AVFrame& planes, AVFrame& packed, PackRowOf forFull, PackRowOf forHalf) {
  const auto format = static_cast<AVPixelFormat>(planes.format);
  const int down = format == AV_PIX_FMT_YUV420P || format == AV_PIX_FMT_YUVJ420P ? 1 : 0;
  const bool isFull = format == AV_PIX_FMT_YUV444P || format == AV_PIX_FMT_YUVJ444P;
  for (int y = 0; y < packed.height; ++y)
    (isFull ? forFull : forHalf)(Row(planes, 0, y), Row(planes, 1, y >> down),
                                 Row(planes, 2, y >> down), Row(packed, 0, y), packed.width);
}

}  // namespace

AVPixelFormat PlanarFormatFor(const AVFrame& picture) {
  const AVPixFmtDescriptor* descriptor =
      av_pix_fmt_desc_get(static_cast<AVPixelFormat>(picture.format));
  if (!descriptor || descriptor->flags & AV_PIX_FMT_FLAG_RGB || descriptor->log2_chroma_w != 1)
    return AV_PIX_FMT_YUV444P;
  return descriptor->log2_chroma_h == 1 ? AV_PIX_FMT_YUV420P : AV_PIX_FMT_YUV422P;
}

void PackYuv(const AVFrame& planes, AVFrame& packed) {
  Pack(planes, packed, PackFull, PackHalf);
}

void PackUyvy(const AVFrame& planes, AVFrame& packed) {
  Pack(planes, packed, PackPairs<0>, PackPairs<1>);
}

const AVFrame& CUnpacker::Unpack(const AVFrame& picture) {
  if (PixelFormatOf(picture) != ZTLIB_YUV) return picture;
  if (!planes || planes->width != picture.width || planes->height != picture.height)
    planes = NewFrame(AV_PIX_FMT_YUV444P, picture.width, picture.height);
  // A video encoder may still hold the picture of the call before.
  AvCheck(av_frame_make_writable(planes.get()), "cannot allocate a picture");
  for (int y = 0; y < picture.height; ++y) {
    const std::uint8_t* source = Row(picture, 0, y);
    std::uint8_t* targets[] = {Row(*planes, 0, y), Row(*planes, 1, y), Row(*planes, 2, y)};
    for (int x = 0; x < picture.width; ++x)
      for (int plane = 0; plane < 3; ++plane)
        targets[plane][x] = source[4 * x + plane];
  }
  planes->color_range = AVCOL_RANGE_JPEG;
  planes->colorspace = AVCOL_SPC_BT470BG;
  return *planes;
}
