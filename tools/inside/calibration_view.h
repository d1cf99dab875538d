#pragma once

#include "client/canvas.h"
#include "client/tree_json.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

// A calibrated picture, in which it measures and draws what the calibration makes of it. Points are
// pixels. No export reaches what it uses, so it needs the static library.
class CCalibrationView {
 public:
  // Complaints name the configuration `name`, and so does the CError for one that is no tree. What
  // the calibrator refuses is in Log.
  CCalibrationView(const Json& configuration, const std::string& name, int width, int height);
  ~CCalibrationView();
  CCalibrationView(const CCalibrationView&) = delete;
  CCalibrationView& operator=(const CCalibrationView&) = delete;

  [[nodiscard]] bool HasGround() const;
  [[nodiscard]] bool HasHeight() const;
  [[nodiscard]] const std::vector<std::string>& Log() const { return log; }

  // Returns meters.
  [[nodiscard]] std::optional<float> Height(CPoint foot, CPoint head) const;

  // Draws the ground as a grid, which also covers the rectangle's neighbourhood, the horizon, the
  // reference segments, squares of one meter, and poles of two meters with a notch at every half.
  void Draw(CCanvas& canvas) const;

 private:
  struct CInside;
  std::unique_ptr<CInside> inside;
  std::vector<std::string> log;
};
