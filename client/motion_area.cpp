#include "client/motion_area.h"

#include <algorithm>
#include <cstddef>

std::vector<CPixelPlace> CornersOf(const std::vector<std::int16_t>& polygon, int width,
                                   int height) {
  // Half a unit rounds away from zero, and what is below it is outside anyway.
  const auto pixel = [&](std::int16_t at, int end) {
    return std::clamp<std::int64_t>((std::int64_t{at} * width + 8192) >> 14, 0, end - 1);
  };
  std::vector<CPixelPlace> corners;
  for (std::size_t i = 0; i + 1 < polygon.size(); i += 2)
    corners.push_back({pixel(polygon[i], width), pixel(polygon[i + 1], height)});
  return corners;
}

std::vector<bool> CountedPixels(const CDetectorSettings& detector, int width, int height) {
  const auto columns = static_cast<std::size_t>(width);
  const std::size_t size = columns * static_cast<std::size_t>(height);
  std::vector<bool> counted(size, detector.polygons.empty());
  for (const std::vector<std::int16_t>& polygon : detector.polygons) {
    const std::vector<CPixelPlace> corners = CornersOf(polygon, width, height);
    if (corners.size() < 3) continue;
    // An edge changes sides at one place of each row that it crosses.
    std::vector<bool> changes(size);
    for (std::size_t i = 0; i < corners.size(); ++i) {
      const CPixelPlace &a = corners[i], &b = corners[(i + 1) % corners.size()];
      if (a.y == b.y) continue;
      const float slope = float(a.x - b.x) / float(a.y - b.y);
      const float start = float(slope > 0 ? std::min(a.x, b.x) : std::max(a.x, b.x));
      const std::int64_t top = std::min(a.y, b.y);
      for (std::int64_t y = top; y < std::max(a.y, b.y); ++y) {
        const double x = double{float(y - top) * slope + start} + 0.5;
        const std::size_t at = static_cast<std::size_t>(y) * columns + static_cast<std::size_t>(x);
        changes[at] = !changes[at];
      }
    }
    bool isInside = false;
    for (std::size_t i = 0; i < size; ++i) {
      if (i % columns == 0) isInside = false;
      isInside = isInside != changes[i];
      if (isInside) counted[i] = true;
    }
  }
  // A mask that leaves out no more than the last row and column is none.
  const std::int64_t most = (std::int64_t{width} - 1) * (std::int64_t{height} - 1);
  if (std::count(counted.begin(), counted.end(), true) == most) counted.assign(size, true);
  return counted;
}
