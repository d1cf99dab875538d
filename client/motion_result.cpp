#include "client/motion_result.h"

#include <algorithm>
#include <cstddef>

namespace {

// Blobs are joined over cells of that many pixels each way.
constexpr int cellSide = 4;

}  // namespace

double Progress(const ztlib::MotionResult& result) {
  double progress = 0;
  for (const ztlib::MotionAreaResult& area : result.areas)
    progress = std::max(progress, area.alarmPercent);
  return result.isSignal ? 100 : progress;
}

std::vector<CMotionBlob> FindBlobs(const ztlib::MotionAreaResult& detector,
                                   const std::vector<bool>& counted, int width, int height) {
  const int columns = (width + cellSide - 1) / cellSide, rows = (height + cellSide - 1) / cellSide;
  struct CCell {
    int left, top, right, bottom;
    std::int64_t pixels;
  };
  std::vector<CCell> cells(std::size_t(columns) * std::size_t(rows), {width, height, 0, 0, 0});
  const auto join = [](CCell& into, const CCell& other) {
    into = {std::min(into.left, other.left), std::min(into.top, other.top),
            std::max(into.right, other.right), std::max(into.bottom, other.bottom),
            into.pixels + other.pixels};
  };
  std::size_t pixel = 0;
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x, ++pixel)
      if (detector.IsMoving(pixel) && counted[pixel])
        join(cells[std::size_t(y / cellSide) * std::size_t(columns) + std::size_t(x / cellSide)],
             {x, y, x + 1, y + 1, 1});

  std::vector<CMotionBlob> blobs;
  std::vector<std::size_t> open;
  for (std::size_t first = 0; first < cells.size(); ++first) {
    if (cells[first].pixels == 0) continue;
    CCell blob{width, height, 0, 0, 0};
    const auto take = [&](std::size_t cell) {
      join(blob, cells[cell]);
      cells[cell].pixels = 0;
      open.push_back(cell);
    };
    for (take(first); !open.empty();) {
      const int column = static_cast<int>(open.back() % std::size_t(columns));
      const int row = static_cast<int>(open.back() / std::size_t(columns));
      open.pop_back();
      for (int y = std::max(0, row - 1); y <= std::min(rows - 1, row + 1); ++y)
        for (int x = std::max(0, column - 1); x <= std::min(columns - 1, column + 1); ++x) {
          const std::size_t next = std::size_t(y) * std::size_t(columns) + std::size_t(x);
          if (cells[next].pixels > 0) take(next);
        }
    }
    blobs.push_back(
        {blob.left, blob.top, blob.right - blob.left, blob.bottom - blob.top, blob.pixels});
  }
  std::stable_sort(blobs.begin(), blobs.end(),
                   [](const CMotionBlob& a, const CMotionBlob& b) { return a.pixels > b.pixels; });
  return blobs;
}
