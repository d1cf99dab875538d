#include "fuzz/require.h"
#include "main/lib/calib/calibrator3d.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

using namespace ztlib;

namespace {

// A place may have no answer, but every answer must be a number inside the table.
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

// The input is a point and a tree. Configuring again with the tree, or with the one that the
// calibrator gives out, changes nothing.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  float point[2];
  if (size < sizeof point) return 0;
  std::memcpy(point, data, sizeof point);
  CData tree;
  Require(ParseTagged(tree, data + sizeof point, size - sizeof point));
  CCalibrator3D calibrator;
  calibrator.Configure(tree);
  const bool isConfigured = calibrator.IsConfigured(), isReady = calibrator.IsThreeDReady();
  Require(isConfigured || !isReady);
  calibrator.Configure(tree);
  if (isConfigured) calibrator.Configure(calibrator.GetConfig());
  Require(calibrator.IsConfigured() == isConfigured && calibrator.IsThreeDReady() == isReady);
  for (const CPointF at : {CPointF{point[0], point[1]}, {8192, 12000}, {1e-30F, -3e38F}})
    Measure(calibrator, at);
  return 0;
}
