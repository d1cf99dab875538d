#pragma once

#include "client/motion_settings.h"

#include <cstdint>
#include <vector>

// Which pixels of a plane count for a detector, row by row: those inside any of its polygons by the
// even-odd rule, all if there is none. The library comes to the same pixels.
[[nodiscard]] std::vector<bool> CountedPixels(const CDetectorSettings& detector, int width,
                                              int height);

// A corner in pixels of a picture of that size; corners outside move to its edge.
struct CPixelPlace {
  std::int64_t x = 0, y = 0;
};
[[nodiscard]] std::vector<CPixelPlace> CornersOf(const std::vector<std::int16_t>& polygon,
                                                 int width, int height);
