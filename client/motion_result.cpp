#include "client/motion_result.h"

#include "client/tagged_reader.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::size_t bitmapHeader = 32;
constexpr std::uint32_t bitmapVersion = 1;
// Blobs are joined over cells of that many pixels each way.
constexpr int cellSide = 4;

int IntOf(Bytes node, std::string_view name) {
  const auto element = Find(node, name, 'I');
  return element ? static_cast<std::int32_t>(UnsignedOf(element->value)) : 0;
}

// A picture of one row has no percentage that is a number.
double PercentOf(Bytes node, std::string_view name) {
  const auto element = Find(node, name, 'F');
  return element && std::isfinite(DoubleOf(*element)) ? DoubleOf(*element) : 0;
}

// The bits of a bitmap of that size.
Bytes BitsOf(Bytes bitmap, int width, int height) {
  const auto field = [&](std::size_t at) { return UnsignedOf(bitmap.subspan(at, 4)); };
  const std::uint64_t bytes =
      (static_cast<std::uint64_t>(width) * static_cast<std::uint64_t>(height) + 7) / 8;
  if (width <= 0 || height <= 0 || bitmap.size() < bitmapHeader + bytes ||
      field(0) != bitmapVersion || field(20) != static_cast<std::uint32_t>(width) ||
      field(24) != static_cast<std::uint32_t>(height))
    return {};
  return bitmap.subspan(bitmapHeader, static_cast<std::size_t>(bytes));
}

}  // namespace

double CMotionResult::Progress() const {
  double progress = 0;
  for (const CDetectorResult& detector : detectors)
    progress = std::max(progress, detector.alarmPercent);
  return isSignal ? 100 : progress;
}

CMotionResult ReadMotionResult(Bytes block, bool isSignal) {
  CMotionResult result;
  result.isSignal = isSignal;
  const auto motions = Find(block, "Motions", '@');
  result.isConfigured = motions.has_value();
  const auto resolution = Find(block, "Resolution", '@');
  result.hasFigures = motions && resolution;
  if (!result.hasFigures) return result;
  result.detectPercent = PercentOf(block, "DetectPercent");
  result.width = IntOf(resolution->value, "Width");
  result.height = IntOf(resolution->value, "Height");
  CTaggedReader reader(motions->value);
  while (const auto motion = reader.Next()) {
    if (motion->tag != '@') continue;
    CDetectorResult& detector = result.detectors.emplace_back();
    detector.detectPercent = PercentOf(motion->value, "DetectPercent");
    detector.alarmPercent = PercentOf(motion->value, "AlarmPercent");
    if (const auto bitmap = Find(motion->value, "Motion", 'X')) {
      const Bytes bits = BitsOf(bitmap->value, result.width, result.height);
      detector.bits.assign(bits.begin(), bits.end());
    }
  }
  return result;
}

std::vector<CMotionBlob> FindBlobs(const CDetectorResult& detector,
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
