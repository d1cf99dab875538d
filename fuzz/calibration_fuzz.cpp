#include "fuzz/require.h"
#include "main/lib/calib/calibrator3d.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>

namespace {

void RequireSound(const CAssignTable& table) {
  for (const std::vector<float>* samples : {&table.keys, &table.values}) {
    Require(samples->size() >= 2 && samples->size() == table.keys.size());
    Require(std::isfinite(samples->front()) && std::isfinite(samples->back()));
    Require(std::adjacent_find(samples->begin(), samples->end(), std::greater_equal<>()) ==
            samples->end());
  }
}

// Any answer is good, but one that is given is a number and within the table.
void Measure(CCalibrator3D& calibrator, CPointF point) {
  CPointF ground, back;
  float meters = 0;
  if (calibrator.GetGround(point, ground)) {
    Require(calibrator.IsConfigured() && std::isfinite(ground.x) && std::isfinite(ground.y));
    Require(calibrator.Distance(point, point, meters) && meters == 0);
    (void)calibrator.ImagePosition(ground.x, ground.y, back);
  }
  if (calibrator.Height(point, {point.x, point.y - 900}, meters)) {
    Require(calibrator.IsThreeDReady() && std::isfinite(meters) && meters >= 0);
    (void)calibrator.Head(point, meters, back);
  }
}

}  // namespace

// A point, the corners and the length of a table, then a tree: the calibrator is configured with it
// twice, and a second one with what the first gives out.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  float numbers[5];
  std::int32_t corners[8];
  if (size < sizeof numbers + sizeof corners) return 0;
  std::memcpy(numbers, data, sizeof numbers);
  std::memcpy(corners, data + sizeof numbers, sizeof corners);
  C1DCalibrator::CMyAssignTable table;
  const auto& [c0, c1, c2, c3, c4, c5, c6, c7] = corners;
  // Coordinates within some pictures: the many samples of larger ones only cost time.
  const auto place = [](std::int32_t value) { return value % 65536; };
  if (table.Configure(place(c0), place(c1), place(c2), place(c3), place(c4), place(c5), place(c6),
                      place(c7), numbers[2], 88.7F, numbers[3], numbers[4]))
    RequireSound(table);

  CData tree;
  Require(ParseTagged(tree, data + sizeof numbers + sizeof corners,
                      size - sizeof numbers - sizeof corners));
  CCalibrator3D calibrator, second;
  calibrator.Configure(tree);
  const bool isConfigured = calibrator.IsConfigured(), isReady = calibrator.IsThreeDReady();
  Require(isConfigured || !isReady);
  calibrator.Configure(tree);
  Require(calibrator.IsConfigured() == isConfigured && calibrator.IsThreeDReady() == isReady);
  if (isConfigured) {
    second.Configure(calibrator.GetConfig());
    Require(second.IsConfigured() && second.IsThreeDReady() == isReady);
  }
  for (const CPointF point : {CPointF{numbers[0], numbers[1]}, {8192, 12000}, {1e-30F, -3e38F}})
    Measure(calibrator, point);
  return 0;
}
