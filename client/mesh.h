#pragma once

#include <array>
#include <cstdint>
#include <vector>

// The triangles of a triangulation as the library makes them. The exports give estimates alone, so
// this comes from the inside.

struct CScatteredPoint {
  std::int32_t x = 0, y = 0;
  std::vector<float> values;
};

// Left, top, right and bottom; the last two lie outside.
using CFrameBox = std::array<std::int32_t, 4>;

struct CMeshLine {
  std::int64_t x0, y0, x1, y1;
};

// The sides of all triangles, each triangle's from corner to corner.
[[nodiscard]] std::vector<CMeshLine> MeshOf(const CFrameBox& frame,
                                            const std::vector<CScatteredPoint>& points);
