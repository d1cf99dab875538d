#pragma once

#include "main/lib/base/component_repository.h"
#include "main/lib/calib/calibrator3d.h"

#include <memory>

namespace ztlib {

// The service that holds the camera's calibrator. Any thread may calibrate while others measure:
// they finish with the calibrator that they got.
class CCalibration : public IComponent {
 public:
  // Puts a new calibrator with this configuration in the place of the former one.
  void Calibrate(const CData& config);
  // Null before the first calibration.
  [[nodiscard]] std::shared_ptr<CCalibrator3D> GetCalibrator() const;

 private:
  mutable CMutex lock{CMutex::Kind::Normal};
  std::shared_ptr<CCalibrator3D> calibrator;
};

// Registers the component, so that Get<CCalibration> works. Calling it again does no harm.
void RegisterCalibration();

}  // namespace ztlib
