// A fixed calibration, which the exports do not reach. What else they reach in part or not at all,
// the conversion matrix, the data tree and the statistics behind motion, stands beside models in
// tests that every system runs.
#include "main/lib/base/cdata/HAData.h"
#include "main/lib/calib/calibrator3d.h"
#include "tests/equality/steps.h"
#include "tests/support/calibration_tree.h"

int main() {
  Step("calibration", [] {
    CCalibrator3D calibrator;
    calibrator.Configure(MarkedTree({}, {{4000, 8000, 4090, 6000}, {8000, 8000, 8090, 6000}}));
    const CBinData block = ToTagged(calibrator.GetConfig());
    Mix(std::span(block.Data(), block.Size()));
    for (float x = 0; x < 16384; x += 300)
      for (float y = 0; y < 16384; y += 300) {
        CPointF ground;
        float meters = 0;
        Mix(calibrator.GetGround({x, y}, ground));
        Mix(calibrator.Height({x, y}, {x, y - 1000}, meters));
        for (const float value : {ground.x, ground.y, meters})
          Mix(value);
      }
  });
}
