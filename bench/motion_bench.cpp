#include "bench/decoding.h"
#include "main/lib/imgproc/mask.h"

#include <cstdint>
#include <cstring>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <opencv2/video/background_segm.hpp>

using namespace ztlib;

// Measures motion detection from the picture to the result block. The peers are OpenCV's background
// subtractors on one thread, which end at the foreground plane, and a copy of as many bytes as a
// model has to touch. Two threads with a context each are compared with one. A mask of many
// triangles is compared with OpenCV's filling of each triangle.

namespace {

// Pictures of a still scene with sensor noise, through which some blocks move.
class Clip {
 public:
  static constexpr int length = 8;

  Clip(int width, int height) : width(width), height(height) {
    std::mt19937 random(3);
    for (int number = 0; number < length; ++number) {
      kit::Frame* const frame = kit::FramePool::Make(width, height, ZTLIB_GRAY);
      for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
          frame->data[static_cast<std::size_t>(y) * width + x] =
              static_cast<std::uint8_t>(60 + (x * 3 + y * 5) % 120 + random() % 7);
      for (int block = 0; block < 4; ++block) {
        const int left = (width / 5 * block + width / 40 * number) % (width - width / 10);
        for (int y = height / 5 * block; y < height / 5 * (block + 1); ++y)
          std::memset(&frame->data[static_cast<std::size_t>(y) * width + left], 240,
                      static_cast<std::size_t>(width) / 10);
      }
      frame->lineSize = width;
      images.emplace_back(ztlib_ztimage_create_avframe(ZTLIB_GRAY, frame));
    }
  }

  [[nodiscard]] const void* Image(std::int64_t number) const {
    return images[number % length].get();
  }
  [[nodiscard]] cv::Mat Plane(std::int64_t number) const {
    return {height, width, CV_8UC1, kit::FrameOf(images[number % length])->data};
  }

  const int width;
  const int height;

 private:
  std::vector<kit::Image> images;
};

const Clip& ClipOf(int width, int height) {
  static std::mutex mutex;
  static std::vector<std::unique_ptr<Clip>> clips;
  const std::lock_guard lock(mutex);
  for (const auto& clip : clips)
    if (clip->width == width && clip->height == height) return *clip;
  return *clips.emplace_back(std::make_unique<Clip>(width, height));
}

// Returns a context with `detectors` areas, each of which has a triangle of its own if `masked`.
std::shared_ptr<void> NewContext(const Clip& clip, int detectors, bool masked) {
  kit::Config detectorList;
  for (int i = 0; i < detectors; ++i) {
    const auto top = static_cast<std::int16_t>(i * 1000);
    kit::Config detector;
    if (masked) detector.Child("Masks", kit::Config().Shorts("", {0, top, 16000, 100, 8000, 9000}));
    detectorList.Child("", detector);
  }
  std::shared_ptr<void> context(ztlib_simplemotion_create(), ztlib_simplemotion_destroy);
  kit::Apply(kit::Config().Child("Configs", detectorList), ztlib_simplemotion_configure,
             context.get(), clip.width, clip.height);
  return context;
}

void Detect(benchmark::State& state, int width, int height, int detectors, bool masked) {
  const Clip& clip = ClipOf(width, height);
  const auto context = NewContext(clip, detectors, masked);
  std::int64_t number = 0;
  const auto detect = [&] {
    ++number;
    ztlib_simplemotion_detect(
        context.get(), nullptr,
        [](void*, const void* data, std::uint32_t) { benchmark::DoNotOptimize(data); },
        clip.Image(number), number * 40);
  };
  while (number < 100)  // four seconds: learned and warm
    detect();
  for (auto _ : state)
    detect();
}

template <class Create>
void Peer(benchmark::State& state, int width, int height, Create create) {
  cv::setNumThreads(1);
  const Clip& clip = ClipOf(width, height);
  const auto subtractor = create();
  cv::Mat foreground;
  std::int64_t number = 0;
  while (number < 100)
    subtractor->apply(clip.Plane(++number), foreground);
  for (auto _ : state)
    subtractor->apply(clip.Plane(++number), foreground);
}

void Copy(benchmark::State& state, int width, int height) {
  const std::size_t size = static_cast<std::size_t>(width) * height * 18;
  const std::vector<std::uint8_t> source(size, 1);
  std::vector<std::uint8_t> target(size);
  for (auto _ : state) {
    std::memcpy(target.data(), source.data(), size);
    benchmark::ClobberMemory();
  }
}

constexpr int maskWidth = 1920;
constexpr int maskHeight = 1080;

// Returns 10,000 triangles somewhere in the picture, or as many copies of one.
PolygonList Triangles(bool repeated) {
  std::mt19937 random(3);
  PolygonList polygons;
  for (int number = 0; number < 10000; ++number) {
    CMaskPolygon triangle(3);
    for (CMaskPoint& point : triangle)
      point = {static_cast<std::int64_t>(random() % maskWidth),
               static_cast<std::int64_t>(random() % maskHeight)};
    polygons.push_back(repeated && number > 0 ? polygons.front() : triangle);
  }
  return polygons;
}

void FillMask(benchmark::State& state, bool repeated) {
  const PolygonList polygons = Triangles(repeated);
  CMask mask;
  for (auto _ : state)
    mask.SetPolygons(maskWidth, maskHeight, polygons);
}

void FillPeer(benchmark::State& state, bool repeated) {
  cv::setNumThreads(1);
  std::vector<std::vector<cv::Point>> triangles;
  for (const CMaskPolygon& polygon : Triangles(repeated))
    for (auto* triangle = &triangles.emplace_back(); const CMaskPoint& point : polygon)
      triangle->emplace_back(static_cast<int>(point.x), static_cast<int>(point.y));
  cv::Mat mask(maskHeight, maskWidth, CV_8UC1);
  for (auto _ : state) {
    mask.setTo(0);
    for (const auto& triangle : triangles)
      cv::fillConvexPoly(mask, triangle, 255);
  }
}

void Register() {
  for (const auto& [variant, repeated] : {std::pair{"random", false}, {"repeated", true}}) {
    const std::string name = std::string("mask/") + variant + "_triangles";
    benchmark::RegisterBenchmark((name + "/ztlib").c_str(), FillMask, repeated)
        ->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark((name + "/fillConvexPoly").c_str(), FillPeer, repeated)
        ->Unit(benchmark::kMicrosecond);
  }
  constexpr struct {
    const char* name;
    int width, height;
  } sizes[] = {{"160x120", 160, 120},
               {"640x480", 640, 480},
               {"854x480", 854, 480},
               {"1920x1080", 1920, 1080}};
  for (const auto& size : sizes) {
    const std::string name = std::string("motion/") + size.name;
    const int w = size.width;
    const int h = size.height;
    const auto add = [](const std::string& label, auto run) {
      return benchmark::RegisterBenchmark(label.c_str(), run)->Unit(benchmark::kMicrosecond);
    };
    add(name + "/ztlib", [=](auto& state) { Detect(state, w, h, 1, false); });
    add(name + "/MOG2", [=](auto& state) {
      Peer(state, w, h, [] { return cv::createBackgroundSubtractorMOG2(500, 16, false); });
    });
    add(name + "/KNN", [=](auto& state) {
      Peer(state, w, h, [] { return cv::createBackgroundSubtractorKNN(500, 400, false); });
    });
    add(name + "/memcpy", [=](auto& state) { Copy(state, w, h); });
    add(name + "_masked/ztlib", [=](auto& state) { Detect(state, w, h, 1, true); });
    add(name + "_8_detectors/ztlib", [=](auto& state) { Detect(state, w, h, 8, false); });
    add(name + "_8_masked/ztlib", [=](auto& state) { Detect(state, w, h, 8, true); });
    // The time is that on the clock for each frame: two threads should need little more than half.
    for (const auto& [implementation, threads] : {std::pair{"ztlib", 2}, {"one_thread", 1}})
      add(name + "_two_threads/" + implementation,
          [=](auto& state) { Detect(state, w, h, 1, false); })
          ->Threads(threads)
          ->UseRealTime();
  }
}
[[maybe_unused]] const bool registered = (Register(), true);

}  // namespace
