#include "main/lib/calib/disc_grid.h"

#include <algorithm>
#include <cmath>

namespace ztlib {

void CDiscGrid::Start(const CFrame& newFrame, std::size_t expectedDiscs) {
  frame = newFrame;
  side = minSide;
  while (side < maxSide && side * side < expectedDiscs)
    side *= 2;
  scaleX = static_cast<double>(side) / std::max(frame.right - frame.left, 1.0);
  scaleY = static_cast<double>(side) / std::max(frame.bottom - frame.top, 1.0);
  cells.assign(side * side + 1, none);
  entries.clear();
  entries.reserve(cells.size());
}

void CDiscGrid::Append(std::size_t cell, std::uint32_t number, const CDisc& disc) {
  entries.push_back({disc, number, cells[cell]});
  cells[cell] = static_cast<std::uint32_t>(entries.size() - 1);
}

void CDiscGrid::Add(std::uint32_t number, const CDisc& disc) {
  if (!(disc.squaredRadius > 0)) return;
  // A place in the disc is no further from its middle than this, in each direction. The margin is
  // many times what rounding in single precision, or to zero, can hide.
  const double reach = std::sqrt(static_cast<double>(disc.squaredRadius)) * 1.00001 + 1e-6;
  const std::size_t left = Column(disc.x - reach), right = Column(disc.x + reach);
  const std::size_t top = Row(disc.y - reach), bottom = Row(disc.y + reach);
  if ((right - left + 1) * (bottom - top + 1) > maxCellsPerDisc) {
    Append(cells.size() - 1, number, disc);
    return;
  }
  for (std::size_t row = top; row <= bottom; ++row)
    for (std::size_t column = left; column <= right; ++column)
      Append(row * side + column, number, disc);
}

}  // namespace ztlib
