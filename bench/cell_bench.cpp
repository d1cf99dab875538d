#include "main/target/windll/image_convert/image_convert.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

using namespace ztlib;

// Measures the conversions of sensor pictures, groups and tiles, one frame a round. OpenCV
// demosaics to three-byte BGR by the same bilinear rule as ours to RGB. The memcpy touches as many
// bytes as the conversion does, which reads four-byte targets to keep their fourth bytes.

namespace {

constexpr int width = 1920;
constexpr int height = 1088;
constexpr std::int64_t pixels = std::int64_t{width} * height;

// A picture with its memory, which is aligned like a frame.
template <class T>
struct Picture {
  using Traits = PixelTraits<T>;

  Picture() : memory(new (std::align_val_t{64}) std::uint8_t[bytes]) {
    view.dx = view.scanline = width / Traits::sampleDx;
    view.dy = height / Traits::sampleDy;
    view.data = reinterpret_cast<T*>(memory.get());
    std::mt19937 random;
    std::generate_n(memory.get(), bytes, [&] { return static_cast<std::uint8_t>(random()); });
  }

  static constexpr std::size_t bytes = pixels / (Traits::sampleDx * Traits::sampleDy) * sizeof(T);
  struct Free {
    void operator()(std::uint8_t* p) const { ::operator delete[](p, std::align_val_t{64}); }
  };
  std::unique_ptr<std::uint8_t[], Free> memory;
  TCImageView<T> view;
};

template <class Work>
void Register(const std::string& name, Work work) {
  benchmark::RegisterBenchmark(name.c_str(), [work](benchmark::State& state) {
    work(state);
    state.SetItemsProcessed(state.iterations() * pixels);
  })->Unit(benchmark::kMicrosecond);
}

template <class TargetView, class SourceView>
std::string RegisterConversion(const std::string& formats) {
  using Target = Picture<typename TargetView::Pixel>;
  using Source = Picture<typename SourceView::Pixel>;
  const std::string name = "convert_" + formats + "/1088p/";
  Register(name + "ztlib", [](benchmark::State& state) {
    const Source source;
    Target target;
    for (auto _ : state) {
      Convert(target.view, source.view);
      benchmark::ClobberMemory();
    }
  });
  Register(name + "memcpy", [](benchmark::State& state) {
    constexpr bool keepsBytes =
        std::is_same_v<TargetView, RgbImageView> || std::is_same_v<TargetView, YuvImageView>;
    constexpr std::size_t size =
        (Source::bytes + Target::bytes + (keepsBytes ? Target::bytes : 0)) / 2;
    const std::vector<std::uint8_t> source(size, 1);
    std::vector<std::uint8_t> target(size);
    for (auto _ : state) {
      std::memcpy(target.data(), source.data(), size);
      benchmark::ClobberMemory();
    }
  });
  return name;
}

void RegisterOpenCv(const std::string& name) {
  Register(name + "opencv", [](benchmark::State& state) {
    cv::setNumThreads(1);
    const Picture<TTRGBBayer<unsigned char>> source;
    const cv::Mat mosaic(height, width, CV_8UC1, source.memory.get());
    cv::Mat bgr;
    for (auto _ : state) {
      cv::demosaicing(mosaic, bgr, cv::COLOR_BayerGB2BGR);
      benchmark::ClobberMemory();
    }
  });
}

const bool registered = [] {
  RegisterOpenCv(RegisterConversion<RgbImageView, BayerImageView>("rgbbayer_to_rgb"));
  RegisterOpenCv(RegisterConversion<YuyvImageView, BayerImageView>("rgbbayer_to_yuyv"));
  RegisterConversion<GrayImageView, BayerBlockImageView>("yuvbayerblock_to_gray");
  RegisterConversion<RgbImageView, BayerBlockImageView>("yuvbayerblock_to_rgb");
  RegisterConversion<YuvImageView, BayerBlockImageView>("yuvbayerblock_to_yuv");
  RegisterConversion<GrayImageView, Yuv420ImageView>("yuv420block_to_gray");
  RegisterConversion<RgbImageView, Yuv420ImageView>("yuv420block_to_rgb");
  RegisterConversion<YuvImageView, Yuv420ImageView>("yuv420block_to_yuv");
  RegisterConversion<YuyvImageView, Yuv420ImageView>("yuv420block_to_yuyv");
  RegisterConversion<UyvyImageView, Yuv420ImageView>("yuv420block_to_uyvy");
  RegisterConversion<Yuv420ImageView, YuvImageView>("yuv_to_yuv420block");
  RegisterConversion<Yuv420ImageView, YuyvImageView>("yuyv_to_yuv420block");
  return true;
}();

}  // namespace
