#include "main/lib/calib/calibration.h"

#include "main/lib/base/logger.h"

#include <chrono>
#include <utility>

namespace ztlib {

namespace {

constexpr char source[] = "main/lib/calib/calibration";

const struct Load {
  Load() { RegisterCalibration(); }
} load;

}  // namespace

void CCalibration::Calibrate(const CData& config) {
  using Clock = std::chrono::steady_clock;
  ZT_LOG(3, source, 20, "[CALIB] Calibrating camera...");
  const Clock::time_point begin = Clock::now();
  auto calibrated = std::make_shared<CCalibrator3D>();
  calibrated->Configure(config);
  {
    const CAutoLock hold(&lock);
    calibrator.swap(calibrated);
  }
  // Other threads may still use the former calibrator. If none does, it is destroyed here, outside
  // of the lock.
  calibrated.reset();
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - begin);
  ZT_LOG(3, source, 32, "[CALIB] Calibration finished! (%llds)",
         static_cast<long long>(seconds.count()));
}

std::shared_ptr<CCalibrator3D> CCalibration::GetCalibrator() const {
  const CAutoLock hold(&lock);
  return calibrator;
}

// RegisterDeviceComponents calls this too: from a static archive the linker takes only objects that
// something refers to, and nothing else refers to this one.
void RegisterCalibration() {
  static const ComponentRegistration<CCalibration, CCalibration> registration("CCalibration");
}

}  // namespace ztlib
