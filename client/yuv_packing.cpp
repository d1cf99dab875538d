#include "client/yuv_packing.h"

#include "ztlib.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace {

void PackFull(const std::uint8_t* y, const std::uint8_t* u, const std::uint8_t* v,
              std::uint8_t* packed, int width) {
  for (int x = 0; x < width; ++x) {
    packed[4 * x] = y[x];
    packed[4 * x + 1] = u[x];
    packed[4 * x + 2] = v[x];
    packed[4 * x + 3] = 255;
  }
}

// Two pixels with the same chroma are put together in a register, the lowest byte first.
void PackHalf(const std::uint8_t* y, const std::uint8_t* u, const std::uint8_t* v,
              std::uint8_t* packed, int width) {
  const auto chromaOf = [=](int i) {
    return 0xFF000000U | std::uint32_t{v[i]} << 16 | std::uint32_t{u[i]} << 8;
  };
  for (int i = 0; i < width / 2; ++i) {
    const std::uint64_t chroma = chromaOf(i);
    const std::uint64_t pixels =
        (chroma | chroma << 32) | y[2 * i] | std::uint64_t{y[2 * i + 1]} << 32;
    std::memcpy(packed + 8 * i, &pixels, sizeof pixels);
  }
  if (width % 2 == 0) return;
  const std::uint32_t last = chromaOf(width / 2) | y[width - 1];
  std::memcpy(packed + 4 * (width - 1), &last, sizeof last);
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
