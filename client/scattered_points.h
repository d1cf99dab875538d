#pragma once

#include "client/command_line.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

// Points with values, between which a triangulation estimates.
struct CScatteredPoint {
  std::int32_t x = 0, y = 0;
  std::vector<float> values;
};

// Left, top, right and bottom; the last two lie outside.
using CFrameBox = std::array<std::int32_t, 4>;

// Lines of x, y and values; empty lines and those that begin with # do not count. At least one
// point, and the first one has a value.
[[nodiscard]] std::vector<CScatteredPoint> ReadPoints(const std::string& path);

// Both are required.
[[nodiscard]] COption PointsOption(std::string& path);
[[nodiscard]] COption FrameOption(CFrameBox& frame);
