#include "main/lib/calib/triangle_grid.h"

#include <algorithm>

namespace ztlib {

namespace {

constexpr std::size_t cellsPerTriangle = 8, maxCells = 4096, maxEntries = 8;

// Whether a triangle may hold a pixel of the box. It cannot if all corners of the box lie beyond
// the same side.
bool Reaches(const CTriangleSides& triangle, const CTriangleGrid::CBox& box) {
  bool below[3] = {}, above[3] = {};
  for (const std::int64_t x : {box.left, box.right})
    for (const std::int64_t y : {box.top, box.bottom}) {
      int i = 0;
      for (const CEdgeFunction& side : {triangle.ab, triangle.bc, triangle.ca}) {
        const auto value = static_cast<std::int32_t>(
            side.At(static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y)));
        below[i] |= value <= 0;
        above[i] |= value >= 0;
        ++i;
      }
    }
  return (below[0] && below[1] && below[2]) || (above[0] && above[1] && above[2]);
}

}  // namespace

void CTriangleGrid::Clear() {
  frame = {0, 0, -1, -1};
}

template <class Visit>
void CTriangleGrid::ForEachCell(const CArea& triangle, Visit&& visit) const {
  const auto start = [](std::int64_t at, std::int64_t origin, int shift) {
    return origin + ((at - origin) >> shift << shift);
  };
  const std::int64_t width = std::int64_t{1} << shiftX, height = std::int64_t{1} << shiftY;
  for (std::int64_t y = start(triangle.box.top, frame.top, shiftY); y <= triangle.box.bottom;
       y += height)
    for (std::int64_t x = start(triangle.box.left, frame.left, shiftX); x <= triangle.box.right;
         x += width) {
      const CBox cell{x, y, std::min(x + width - 1, frame.right),
                      std::min(y + height - 1, frame.bottom)};
      if (Reaches(triangle.sides, cell)) visit(CellOf(x, y));
    }
}

void CTriangleGrid::Divide() {
  columns = static_cast<std::size_t>((frame.right - frame.left) >> shiftX) + 1;
  rows = static_cast<std::size_t>((frame.bottom - frame.top) >> shiftY) + 1;
}

std::size_t CTriangleGrid::Count(std::span<const CArea> triangles) {
  starts.assign(columns * rows + 1, 0);
  std::size_t count = 0;
  for (const CArea& triangle : triangles)
    ForEachCell(triangle, [&](std::size_t cell) {
      ++starts[cell + 1];
      ++count;
    });
  return count;
}

void CTriangleGrid::Build(const CBox& newFrame, std::span<const CArea> triangles) {
  frame = newFrame;
  shiftX = shiftY = 0;
  const std::size_t wanted = std::min(cellsPerTriangle * triangles.size(), maxCells);
  for (Divide(); columns * rows > wanted; Divide())
    ++(columns > rows ? shiftX : shiftY);
  // Long triangles reach into many cells. Larger cells keep the lists in proportion to the mesh.
  std::size_t count = Count(triangles);
  while (count > maxEntries * (wanted + triangles.size()) && columns * rows > 1) {
    ++(columns > rows ? shiftX : shiftY);
    Divide();
    count = Count(triangles);
  }
  for (std::size_t cell = 0; cell < columns * rows; ++cell)
    starts[cell + 1] += starts[cell];
  entries.resize(count);
  std::vector<std::size_t> next(starts.begin(), starts.end() - 1);
  for (std::size_t i = 0; i < triangles.size(); ++i)
    ForEachCell(triangles[i],
                [&](std::size_t cell) { entries[next[cell]++] = static_cast<std::uint32_t>(i); });
}

}  // namespace ztlib
