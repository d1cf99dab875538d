#include "main/lib/imgproc/histogram.h"

#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

using namespace ztlib;

// Measures histograms of a plane beside OpenCV's calcHist on one thread. The plane has noise, a
// smooth picture, or one gray value, for which each count has to wait for the one before. A mask
// leaves half of it.

namespace {

enum Content { noise, smooth, flat };

class Scene {
 public:
  Scene(int width, int height, Content content) : image(width, height) {
    std::mt19937 random(3);
    std::uint8_t* pixel = image.GetWritePtr();
    for (int y = 0; y < height; ++y)
      for (int x = 0; x < image.GetScanline(); ++x)
        *pixel++ = static_cast<std::uint8_t>(content == noise    ? random()
                                             : content == smooth ? (x + y) / 12 + random() % 3
                                                                 : 90);
    mask.SetPolygons(width, height,
                     {{{width / 2, 0}, {width, height / 2}, {width / 2, height}, {0, height / 2}}});
    bytes = cv::Mat::zeros(height, width, CV_8UC1);
    for (int y = 0; y < height; ++y)
      for (const CMaskRun& run : mask.GetRow(y))
        std::memset(bytes.ptr(y) + run.start, 255, static_cast<std::size_t>(run.end - run.start));
    plane = cv::Mat(height, width, CV_8UC1, image.GetWritePtr(),
                    static_cast<std::size_t>(image.GetScanline()));
  }

  ByteImage image;
  CMask mask;
  cv::Mat plane, bytes;
};

void Ours(benchmark::State& state, const Scene& scene, bool masked) {
  CHistogram histogram;
  for (auto _ : state) {
    if (masked)
      histogram.Make(scene.image, scene.mask);
    else
      histogram.Make(scene.image);
    benchmark::DoNotOptimize(histogram.bins);
  }
  state.SetItemsProcessed(state.iterations() * histogram.img_pixel_num_);
}

void Peer(benchmark::State& state, const Scene& scene, bool masked) {
  cv::setNumThreads(1);
  const int channels[] = {0}, sizes[] = {256};
  const float range[] = {0, 256};
  const float* ranges[] = {range};
  cv::Mat bins;
  for (auto _ : state)
    cv::calcHist(&scene.plane, 1, channels, masked ? scene.bytes : cv::Mat(), bins, 1, sizes,
                 ranges);
  state.SetItemsProcessed(state.iterations() *
                          (masked ? cv::countNonZero(scene.bytes) : int(scene.plane.total())));
}

void Register() {
  for (const Content content : {noise, smooth, flat})
    for (const bool masked : {false, true}) {
      const char* const kinds[] = {"noise", "smooth", "flat"};
      const std::string name =
          std::string(masked ? "histogram_masked/1080p_" : "histogram/1080p_") + kinds[content];
      const auto add = [&](const std::string& implementation, auto run) {
        benchmark::RegisterBenchmark((name + implementation).c_str(), [=](auto& state) {
          run(state, Scene(1920, 1080, content), masked);
        })->Unit(benchmark::kMicrosecond);
      };
      add("/ztlib", Ours);
      add("/OpenCV", Peer);
    }
}
[[maybe_unused]] const bool registered = (Register(), true);

}  // namespace
