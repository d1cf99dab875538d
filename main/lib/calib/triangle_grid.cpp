#include "main/lib/calib/triangle_grid.h"

#include <algorithm>

namespace {

constexpr std::int64_t maxCells = 64;  // on each axis

}  // namespace

void CTriangleGrid::Clear() {
  frame = {0, 0, -1, -1};
}

template <class Visit>
void CTriangleGrid::ForEachCell(const CBox& box, Visit&& visit) const {
  const std::size_t width = CellOf(box.right, box.top) - CellOf(box.left, box.top);
  for (std::size_t first = CellOf(box.left, box.top); first <= CellOf(box.left, box.bottom);
       first += columns)
    for (std::size_t cell = first; cell <= first + width; ++cell)
      visit(cell);
}

// Leaves the number of entries of each cell in `starts`, one place further on.
std::size_t CTriangleGrid::CountEntries(std::span<const CBox> boxes) {
  columns = static_cast<std::size_t>((frame.right - frame.left) >> shiftX) + 1;
  rows = static_cast<std::size_t>((frame.bottom - frame.top) >> shiftY) + 1;
  starts.assign(columns * rows + 1, 0);
  std::size_t count = 0;
  for (const CBox& box : boxes)
    ForEachCell(box, [&](std::size_t cell) {
      ++starts[cell + 1];
      ++count;
    });
  return count;
}

void CTriangleGrid::Build(const CBox& newFrame, std::span<const CBox> boxes) {
  frame = newFrame;
  shiftX = shiftY = 0;
  while ((frame.right - frame.left) >> shiftX >= maxCells)
    ++shiftX;
  while ((frame.bottom - frame.top) >> shiftY >= maxCells)
    ++shiftY;
  // Long triangles touch many cells: larger cells keep the lists in proportion to the mesh.
  std::size_t count = CountEntries(boxes);
  while (count > 32 * boxes.size() && columns * rows > 1) {
    ++shiftX;
    ++shiftY;
    count = CountEntries(boxes);
  }
  for (std::size_t cell = 0; cell < columns * rows; ++cell)
    starts[cell + 1] += starts[cell];
  entries.resize(count);
  std::vector<std::uint32_t> next(starts.begin(), starts.end() - 1);
  for (std::size_t i = 0; i < boxes.size(); ++i)
    ForEachCell(boxes[i],
                [&](std::size_t cell) { entries[next[cell]++] = static_cast<std::uint32_t>(i); });
}
