#include "main/lib/calib/calibrator3d.h"
#include "tests/support/calibration_tree.h"

#include <vector>

#include <benchmark/benchmark.h>
#include <opencv2/core.hpp>

using namespace ztlib;

namespace {

CData Configuration(bool hasMarks) {
  return hasMarks ? MarkedTree({}, {{4000, 8000, 4000, 6000}, {8000, 8000, 8000, 6000}}) : CData();
}

void Configure(benchmark::State& state, bool hasMarks) {
  const CData tree = Configuration(hasMarks);
  for (auto _ : state) {
    CCalibrator3D calibrator;
    calibrator.Configure(tree);
    benchmark::DoNotOptimize(calibrator.IsConfigured());
  }
}
BENCHMARK_CAPTURE(Configure, ground, false)
    ->Name("calibrate/ground/ztlib")
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Configure, height, true)
    ->Name("calibrate/ground_and_height/ztlib")
    ->Unit(benchmark::kMicrosecond);

constexpr int queries = 1000;

// Returns a place that the default rectangle covers.
CPointF Place(int i) {
  return {static_cast<float>(3000 + i * 37 % 6000), static_cast<float>(5500 + i * 53 % 3500)};
}

template <class Query>
void Measure(benchmark::State& state, Query query) {
  CCalibrator3D calibrator;
  calibrator.Configure(Configuration(true));
  for (auto _ : state) {
    int answers = 0;
    for (int i = 0; i < queries; ++i)
      answers += query(calibrator, Place(i));
    if (answers == 0) state.SkipWithError("nothing measured");
  }
}

void Ground(benchmark::State& state) {
  Measure(state, [](CCalibrator3D& calibrator, CPointF point) {
    CPointF ground;
    const bool isFound = calibrator.GetGround(point, ground);
    benchmark::DoNotOptimize(ground);
    return isFound;
  });
}
BENCHMARK(Ground)->Name("measure/1000_places/ztlib")->Unit(benchmark::kMicrosecond);

void Height(benchmark::State& state) {
  Measure(state, [](CCalibrator3D& calibrator, CPointF point) {
    float meters = 0;
    const bool isFound = calibrator.Height(point, {point.x, point.y - 800}, meters);
    benchmark::DoNotOptimize(meters);
    return isFound;
  });
}
BENCHMARK(Height)->Name("measure/1000_heights/ztlib")->Unit(benchmark::kMicrosecond);

// Transforms all places at once by a matrix that is known already. It has no table and no lock, and
// refuses nothing.
void Homography(benchmark::State& state) {
  const cv::Matx33d matrix(1.2, 0.1, 30, 0.05, 0.9, 12, 1e-5, 2e-5, 1);
  std::vector<cv::Point2f> from, to;
  for (int i = 0; i < queries; ++i)
    from.emplace_back(Place(i).x, Place(i).y);
  for (auto _ : state) {
    cv::perspectiveTransform(from, to, matrix);
    benchmark::DoNotOptimize(to.data());
  }
}
BENCHMARK(Homography)->Name("measure/1000_places/opencv_matrix")->Unit(benchmark::kMicrosecond);

}  // namespace
