#pragma once

#include "client/canvas.h"
#include "client/tree_json.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

// A calibrated picture: measures in it and shows what the calibration makes of it. Points are
// pixels. What it uses no export reaches; it belongs to the part that is linked with the library's
// static twin.
class CCalibrationView {
 public:
  // `name` of the configuration stands in complaints and in the CError about what is no tree. What
  // the calibrator refuses stands in Log.
  CCalibrationView(const Json& configuration, const std::string& name, int width, int height);
  ~CCalibrationView();
  CCalibrationView(const CCalibrationView&) = delete;
  CCalibrationView& operator=(const CCalibrationView&) = delete;

  [[nodiscard]] bool HasGround() const;
  [[nodiscard]] bool HasHeight() const;
  [[nodiscard]] const std::vector<std::string>& Log() const { return log; }

  // In meters.
  [[nodiscard]] std::optional<float> Height(CPoint foot, CPoint head) const;

  // The ground as a grid, which also covers the rectangle's neighbourhood, the horizon, the
  // reference segments, squares of one meter, and poles of two with a notch at every half.
  void Draw(CCanvas& canvas) const;

 private:
  struct CInside;
  std::unique_ptr<CInside> inside;
  std::vector<std::string> log;
};
