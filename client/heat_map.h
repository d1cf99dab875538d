#pragma once

#include "client/canvas.h"
#include "client/scattered_points.h"

#include <functional>
#include <limits>
#include <string>
#include <vector>

// A value over a frame as a picture: from dark blue over green to yellow, gray where there is no
// number. Small frames are enlarged.
class CHeatMap {
 public:
  using Estimate = std::function<float(std::int32_t x, std::int32_t y)>;

  // Throws CError if the frame is none that makes a picture.
  CHeatMap(const CFrameBox& box, const Estimate& estimate);

  [[nodiscard]] std::string Range() const;
  [[nodiscard]] CCanvas Paint() const;

  // The middle of a pixel of the frame, in the picture.
  [[nodiscard]] CPoint Place(std::int64_t x, std::int64_t y) const;
  enum class EPoint { small, large };
  void DrawPoint(CCanvas& canvas, const CScatteredPoint& point, EPoint size) const;

 private:
  CFrameBox frame;
  int columns, rows, factor = 1;
  std::vector<float> field;
  float least = std::numeric_limits<float>::infinity(), most = -least;
};
