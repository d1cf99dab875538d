#include "bench/row_kernel_shapes.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <random>
#include <string>

extern "C" {
#include <libswscale/swscale.h>
}

#include <benchmark/benchmark.h>
#include <libyuv.h>

// Measures the pixel conversions, one frame a round, beside libyuv and swscale if they have the
// pair. Their arithmetic differs, and they do not interpolate chroma, so only speed can be
// compared. libyuv has no four-byte YUV, for which planes of full size are used. The memcpy touches
// as many bytes as the conversion does, which reads four-byte targets to keep their fourth bytes.

namespace {

constexpr int width = 1920;
constexpr int height = 1080;
constexpr std::size_t pixels = std::size_t{width} * height;

struct alignas(64) Picture {
  std::array<std::uint8_t, 6 * pixels> bytes = {};
};
using Peer = void (*)(std::uint8_t* target, const std::uint8_t* source);

struct Conversion {
  const char* name;
  RowKernels::Row RowKernels::*row;
  Peer libyuv = nullptr;
  AVPixelFormat swscaleSource = AV_PIX_FMT_NONE;
  AVPixelFormat swscaleTarget = AV_PIX_FMT_NONE;

  [[nodiscard]] const RowKernelShape& Shape() const {
    return *std::find_if(std::begin(rowKernelShapes), std::end(rowKernelShapes),
                         [this](const RowKernelShape& shape) { return shape.row == row; });
  }
};
// Returns the bytes of a picture or row, whose width is a multiple of all samples.
std::size_t SourceBytes(const RowKernelShape& shape, std::size_t ofPixels) {
  return ofPixels / shape.pixels * shape.sourceBytes;
}
std::size_t TargetBytes(const RowKernelShape& shape, std::size_t ofPixels) {
  return ofPixels / shape.pixels * shape.targetBytes;
}

template <auto Function, int SourceStride, int TargetStride>
void Libyuv(std::uint8_t* target, const std::uint8_t* source) {
  Function(source, SourceStride, target, TargetStride, width, height);
}
constexpr auto yuyvToUyvyByShuffle = [](std::uint8_t* target, const std::uint8_t* source) {
  static constexpr std::uint8_t order[16] = {1, 0, 3, 2, 5, 4, 7, 6, 9, 8, 11, 10, 13, 12, 15, 14};
  libyuv::ARGBShuffle(source, 2 * width, target, 2 * width, order, width / 2, height);
};
constexpr auto rgbToPlanes = [](std::uint8_t* target, const std::uint8_t* source) {
  libyuv::ARGBToI444(source, 4 * width, target, width, target + pixels, width, target + 2 * pixels,
                     width, width, height);
};
constexpr auto planesToRgb = [](std::uint8_t* target, const std::uint8_t* source) {
  libyuv::J444ToARGB(source, width, source + pixels, width, source + 2 * pixels, width, target,
                     4 * width, width, height);
};
constexpr int w1 = width;
constexpr int w2 = 2 * width;
constexpr int w4 = 4 * width;
#define KERNEL(name) &RowKernels::name
const Conversion conversions[] = {
    {"bool_to_gray", KERNEL(boolToGray)},
    {"gray_to_bool", KERNEL(grayToBool)},
    {"bool_to_rgb", KERNEL(boolToRgb)},
    {"gray_to_rgb", KERNEL(grayToRgb), Libyuv<libyuv::J400ToARGB, w1, w4>, AV_PIX_FMT_GRAY8,
     AV_PIX_FMT_BGR0},
    {"gray_to_yuv", KERNEL(grayToYuv)},
    {"gray_to_yuyv", KERNEL(grayToYuyv), nullptr, AV_PIX_FMT_GRAY8, AV_PIX_FMT_YUYV422},
    {"gray_to_uyvy", KERNEL(grayToUyvy), nullptr, AV_PIX_FMT_GRAY8, AV_PIX_FMT_UYVY422},
    {"rgb_to_gray", KERNEL(rgbToGray), Libyuv<libyuv::ARGBToJ400, w4, w1>, AV_PIX_FMT_BGR0,
     AV_PIX_FMT_GRAY8},
    {"rgb_to_yuv", KERNEL(rgbToYuv), rgbToPlanes},
    {"rgb_to_yuyv", KERNEL(rgbToYuyv), Libyuv<libyuv::ARGBToYUY2, w4, w2>, AV_PIX_FMT_BGR0,
     AV_PIX_FMT_YUYV422},
    {"rgb_to_uyvy", KERNEL(rgbToUyvy), Libyuv<libyuv::ARGBToUYVY, w4, w2>, AV_PIX_FMT_BGR0,
     AV_PIX_FMT_UYVY422},
    {"yuv_to_gray", KERNEL(yuvToGray)},
    {"yuv_to_rgb", KERNEL(yuvToRgb), planesToRgb},
    {"yuv_to_yuyv", KERNEL(yuvToYuyv)},
    {"yuv_to_uyvy", KERNEL(yuvToUyvy)},
    {"yuyv_to_gray", KERNEL(yuyvToGray), Libyuv<libyuv::YUY2ToY, w2, w1>, AV_PIX_FMT_YUYV422,
     AV_PIX_FMT_GRAY8},
    {"yuyv_to_rgb", KERNEL(yuyvToRgb), Libyuv<libyuv::YUY2ToARGB, w2, w4>, AV_PIX_FMT_YUYV422,
     AV_PIX_FMT_BGR0},
    {"yuyv_to_yuv", KERNEL(yuyvToYuv)},
    {"yuyv_to_uyvy", KERNEL(yuyvToUyvy), yuyvToUyvyByShuffle, AV_PIX_FMT_YUYV422,
     AV_PIX_FMT_UYVY422},
    {"uyvy_to_gray", KERNEL(uyvyToGray), Libyuv<libyuv::UYVYToY, w2, w1>, AV_PIX_FMT_UYVY422,
     AV_PIX_FMT_GRAY8},
    {"uyvy_to_rgb", KERNEL(uyvyToRgb), Libyuv<libyuv::UYVYToARGB, w2, w4>, AV_PIX_FMT_UYVY422,
     AV_PIX_FMT_BGR0},
    {"uyvy_to_yuv", KERNEL(uyvyToYuv)},
    {"uyvy_to_yuyv", KERNEL(uyvyToYuyv), nullptr, AV_PIX_FMT_UYVY422, AV_PIX_FMT_YUYV422},
};

template <class Work>
void Register(const Conversion& conversion, const char* implementation, Work work) {
  const std::string name =
      "convert_" + std::string(conversion.name) + "/1080p/" + std::string(implementation);
  benchmark::RegisterBenchmark(name.c_str(), [&conversion, work](benchmark::State& state) {
    // The pictures are aligned like frames.
    const std::unique_ptr<Picture> source(new Picture);
    const std::unique_ptr<Picture> target(new Picture);
    std::mt19937 random;
    for (auto& byte : source->bytes)
      byte = static_cast<std::uint8_t>(random());
    for (auto _ : state) {
      work(target->bytes.data(), source->bytes.data());
      benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(pixels));
  })->Unit(benchmark::kMicrosecond);
}

void RegisterKernel(const Conversion& conversion, const char* implementation,
                    const RowKernels& rows) {
  const RowKernelShape& shape = conversion.Shape();
  const RowKernels::Row row = rows.*conversion.row;
  Register(conversion, implementation,
           [&shape, row](std::uint8_t* target, const std::uint8_t* source) {
             for (std::size_t y = 0; y < height; ++y)
               row(target + y * TargetBytes(shape, width), source + y * SourceBytes(shape, width),
                   width / shape.pixels);
           });
}

// For our kernels without AVX2: libyuv's without it.
void RegisterLibyuvBaseline(const Conversion& conversion) {
  static const int flags = libyuv::InitCpuFlags();
  constexpr int wide = libyuv::kCpuHasAVX2 | libyuv::kCpuHasAVX512BW | libyuv::kCpuHasAVX512VL;
  Register(conversion, "libyuv_baseline",
           [peer = conversion.libyuv](std::uint8_t* target, const std::uint8_t* source) {
             libyuv::SetCpuFlags(flags & ~wide);
             peer(target, source);
             libyuv::SetCpuFlags(flags);
           });
}

void RegisterSwscale(const Conversion& conversion) {
  const std::shared_ptr<SwsContext> context(
      sws_getContext(width, height, conversion.swscaleSource, width, height,
                     conversion.swscaleTarget, SWS_POINT, nullptr, nullptr, nullptr),
      sws_freeContext);
  const int sourceStride = static_cast<int>(SourceBytes(conversion.Shape(), width));
  const int targetStride = static_cast<int>(TargetBytes(conversion.Shape(), width));
  Register(conversion, "swscale",
           [context, sourceStride, targetStride](std::uint8_t* target, const std::uint8_t* source) {
             sws_scale(context.get(), &source, &sourceStride, 0, height, &target, &targetStride);
           });
}

const bool registered = [] {
  for (const Conversion& conversion : conversions) {
    RegisterKernel(conversion, "ztlib", KernelsFor<RowKernels>());
    RegisterKernel(conversion, "ztlib_baseline", RowKernels::baseline);
    if (conversion.libyuv) {
      Register(conversion, "libyuv", conversion.libyuv);
      RegisterLibyuvBaseline(conversion);
    }
    if (conversion.swscaleSource != AV_PIX_FMT_NONE) RegisterSwscale(conversion);
    const std::size_t written = TargetBytes(conversion.Shape(), pixels);
    const std::size_t kept = written == 4 * pixels ? written : 0;
    const std::size_t size = (SourceBytes(conversion.Shape(), pixels) + kept + written) / 2;
    Register(conversion, "memcpy", [size](std::uint8_t* target, const std::uint8_t* source) {
      std::memcpy(target, source, size);
    });
  }
  return true;
}();

}  // namespace
