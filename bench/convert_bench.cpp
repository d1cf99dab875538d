#include "main/target/windll/image_convert/row_kernels_variants.h"

#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

extern "C" {
#include <libswscale/swscale.h>
}

#include <benchmark/benchmark.h>
#include <libyuv.h>

// The pixel conversions, one frame a round, beside libyuv and swscale where those have the pair.
// Their arithmetic differs (and they do not interpolate chroma): yardsticks of speed, not of
// results. libyuv has no four-byte YUV; planes of full size stand in for it. The memcpy moves as
// many bytes as the conversion reads and writes.

namespace {

constexpr int width = 1920;
constexpr int height = 1080;
constexpr std::size_t pixels = std::size_t{width} * height;

using Bytes = std::vector<std::uint8_t>;
using Peer = void (*)(std::uint8_t* target, const std::uint8_t* source);

struct Conversion {
  const char* name;
  RowKernels::Row RowKernels::*row;
  int pixelsPerCount;
  std::size_t sourceBytes;  // of two pixels
  std::size_t targetBytes;
  Peer libyuv = nullptr;
  AVPixelFormat swscaleSource = AV_PIX_FMT_NONE;
  AVPixelFormat swscaleTarget = AV_PIX_FMT_NONE;
};

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
constexpr auto yuyvToPlanes = [](std::uint8_t* target, const std::uint8_t* source) {
  libyuv::YUY2ToI422(source, 2 * width, target, width, target + pixels, width / 2,
                     target + 2 * pixels, width / 2, width, height);
};
constexpr auto uyvyToPlanes = [](std::uint8_t* target, const std::uint8_t* source) {
  libyuv::UYVYToI422(source, 2 * width, target, width, target + pixels, width / 2,
                     target + 2 * pixels, width / 2, width, height);
};

constexpr int w1 = width;
constexpr int w2 = 2 * width;
constexpr int w4 = 4 * width;
#define KERNEL(name) &RowKernels::name
const Conversion conversions[] = {
    {"bool_to_gray", KERNEL(boolToGray), 1, 2, 2},
    {"gray_to_bool", KERNEL(grayToBool), 1, 2, 2},
    {"bool_to_rgb", KERNEL(boolToRgb), 1, 2, 8},
    {"gray_to_rgb", KERNEL(grayToRgb), 1, 2, 8, Libyuv<libyuv::J400ToARGB, w1, w4>,
     AV_PIX_FMT_GRAY8, AV_PIX_FMT_BGR0},
    {"gray_to_yuv", KERNEL(grayToYuv), 1, 2, 8},
    {"gray_to_yuyv", KERNEL(grayToYuyv), 2, 2, 4, nullptr, AV_PIX_FMT_GRAY8, AV_PIX_FMT_YUYV422},
    {"gray_to_uyvy", KERNEL(grayToUyvy), 2, 2, 4, nullptr, AV_PIX_FMT_GRAY8, AV_PIX_FMT_UYVY422},
    {"rgb_to_gray", KERNEL(rgbToGray), 1, 8, 2, Libyuv<libyuv::ARGBToJ400, w4, w1>, AV_PIX_FMT_BGR0,
     AV_PIX_FMT_GRAY8},
    {"rgb_to_yuv", KERNEL(rgbToYuv), 1, 8, 8, rgbToPlanes},
    {"rgb_to_yuyv", KERNEL(rgbToYuyv), 2, 8, 4, Libyuv<libyuv::ARGBToYUY2, w4, w2>, AV_PIX_FMT_BGR0,
     AV_PIX_FMT_YUYV422},
    {"rgb_to_uyvy", KERNEL(rgbToUyvy), 2, 8, 4, Libyuv<libyuv::ARGBToUYVY, w4, w2>, AV_PIX_FMT_BGR0,
     AV_PIX_FMT_UYVY422},
    {"yuv_to_gray", KERNEL(yuvToGray), 1, 8, 2},
    {"yuv_to_rgb", KERNEL(yuvToRgb), 1, 8, 8, planesToRgb},
    {"yuv_to_yuyv", KERNEL(yuvToYuyv), 2, 8, 4},
    {"yuv_to_uyvy", KERNEL(yuvToUyvy), 2, 8, 4},
    {"yuyv_to_gray", KERNEL(yuyvToGray), 2, 4, 2, Libyuv<libyuv::YUY2ToY, w2, w1>,
     AV_PIX_FMT_YUYV422, AV_PIX_FMT_GRAY8},
    {"yuyv_to_rgb", KERNEL(yuyvToRgb), 2, 4, 8, Libyuv<libyuv::YUY2ToARGB, w2, w4>,
     AV_PIX_FMT_YUYV422, AV_PIX_FMT_BGR0},
    {"yuyv_to_yuv", KERNEL(yuyvToYuv), 2, 4, 8, yuyvToPlanes},
    {"yuyv_to_uyvy", KERNEL(yuyvToUyvy), 2, 4, 4, yuyvToUyvyByShuffle, AV_PIX_FMT_YUYV422,
     AV_PIX_FMT_UYVY422},
    {"uyvy_to_gray", KERNEL(uyvyToGray), 2, 4, 2, Libyuv<libyuv::UYVYToY, w2, w1>,
     AV_PIX_FMT_UYVY422, AV_PIX_FMT_GRAY8},
    {"uyvy_to_rgb", KERNEL(uyvyToRgb), 2, 4, 8, Libyuv<libyuv::UYVYToARGB, w2, w4>,
     AV_PIX_FMT_UYVY422, AV_PIX_FMT_BGR0},
    {"uyvy_to_yuv", KERNEL(uyvyToYuv), 2, 4, 8, uyvyToPlanes},
    {"uyvy_to_yuyv", KERNEL(uyvyToYuyv), 2, 4, 4, nullptr, AV_PIX_FMT_UYVY422, AV_PIX_FMT_YUYV422},
};

template <class Work>
void Register(const Conversion& conversion, const char* implementation, Work work) {
  const std::string name =
      "convert_" + std::string(conversion.name) + "/1080p/" + std::string(implementation);
  benchmark::RegisterBenchmark(name.c_str(), [&conversion, work](benchmark::State& state) {
    Bytes source(4 * pixels);
    Bytes target(4 * pixels);
    std::mt19937 random;
    for (auto& byte : source)
      byte = static_cast<std::uint8_t>(random());
    for (auto _ : state) {
      work(target.data(), source.data());
      benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(pixels));
  })->Unit(benchmark::kMicrosecond);
}

void RegisterKernel(const Conversion& conversion, const char* implementation,
                    const RowKernels& rows) {
  const RowKernels::Row row = rows.*conversion.row;
  Register(conversion, implementation,
           [&conversion, row](std::uint8_t* target, const std::uint8_t* source) {
             for (std::size_t y = 0; y < height; ++y)
               row(target + y * width / 2 * conversion.targetBytes,
                   source + y * width / 2 * conversion.sourceBytes,
                   static_cast<std::size_t>(width / conversion.pixelsPerCount));
           });
}

void RegisterSwscale(const Conversion& conversion) {
  const std::shared_ptr<SwsContext> context(
      sws_getContext(width, height, conversion.swscaleSource, width, height,
                     conversion.swscaleTarget, SWS_POINT, nullptr, nullptr, nullptr),
      sws_freeContext);
  const int sourceStride = static_cast<int>(conversion.sourceBytes) * width / 2;
  const int targetStride = static_cast<int>(conversion.targetBytes) * width / 2;
  Register(conversion, "swscale",
           [context, sourceStride, targetStride](std::uint8_t* target, const std::uint8_t* source) {
             sws_scale(context.get(), &source, &sourceStride, 0, height, &target, &targetStride);
           });
}

const bool registered = [] {
  for (const Conversion& conversion : conversions) {
    RegisterKernel(conversion, "ztlib", Rows());
    RegisterKernel(conversion, "ztlib_baseline", baselineRows);
    if (conversion.libyuv) Register(conversion, "libyuv", conversion.libyuv);
    if (conversion.swscaleSource != AV_PIX_FMT_NONE) RegisterSwscale(conversion);
    const std::size_t size = (conversion.sourceBytes + conversion.targetBytes) * pixels / 4;
    Register(conversion, "memcpy", [size](std::uint8_t* target, const std::uint8_t* source) {
      std::memcpy(target, source, size);
    });
  }
  return true;
}();

}  // namespace
