#include "main/lib/imgproc/polygon_filler.h"

#include <algorithm>
#include <array>
#include <bit>
#include <limits>
#include <utility>

namespace ztlib {

namespace {

// Keeps one of each odd number of equal values of a sorted range; returns the new end.
template <class Iterator>
Iterator CancelPairs(Iterator first, Iterator last) {
  Iterator out = first;
  while (first != last) {
    const Iterator next = std::find_if(first, last, [&](const auto& e) { return e != *first; });
    if ((next - first) % 2 != 0) *out++ = *first;
    first = next;
  }
  return out;
}

}  // namespace

CPolygonFiller::CPolygonFiller(std::int32_t width, std::int32_t height)
    : width(width),
      height(height),
      rowWords(static_cast<std::size_t>(width) / wordBits + 1),
      inside(rowWords * static_cast<std::size_t>(height)),
      solid(rowWords * ((static_cast<std::size_t>(height) - 1) / bandRows + 1)),
      toggles(rowWords * static_cast<std::size_t>(std::min<std::int64_t>(height, bandRows))) {}

void CPolygonFiller::Fill(const PolygonList& polygons) {
  std::size_t points = 0;
  for (const CMaskPolygon& polygon : polygons)
    points += polygon.size();
  std::vector<Edge> edges;
  edges.reserve(points);
  std::vector<std::size_t> ends = {0};
  for (const CMaskPolygon& polygon : polygons) {
    AppendEdges(edges, polygon);
    const auto first = edges.begin() + static_cast<std::ptrdiff_t>(ends.back());
    std::sort(first, edges.end());
    edges.erase(CancelPairs(first, edges.end()), edges.end());
    if (edges.size() != ends.back()) ends.push_back(edges.size());
  }
  std::vector<std::span<const Edge>> shapes;
  shapes.reserve(ends.size());
  for (std::size_t i = 1; i < ends.size(); ++i)
    shapes.push_back(std::span(edges).subspan(ends[i - 1], ends[i] - ends[i - 1]));
  std::sort(shapes.begin(), shapes.end(), [](const auto& a, const auto& b) {
    return std::ranges::lexicographical_compare(a, b);
  });
  for (std::size_t i = 0; i < shapes.size(); ++i)
    if (i == 0 || !std::ranges::equal(shapes[i - 1], shapes[i])) FillShape(shapes[i]);
}

void CPolygonFiller::AppendEdges(std::vector<Edge>& edges, const CMaskPolygon& polygon) const {
  if (polygon.size() < 3) return;
  const auto clamp = [](std::int64_t value, std::int32_t size) {
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(value, 0, size - 1));
  };
  std::int32_t lastX = clamp(polygon.back().x, width), lastY = clamp(polygon.back().y, height);
  for (const CMaskPoint& point : polygon) {
    const std::int32_t x = clamp(point.x, width), y = clamp(point.y, height);
    if (lastY < y) edges.push_back({lastY, y, lastX, x});
    if (lastY > y) edges.push_back({y, lastY, x, lastX});
    lastX = x;
    lastY = y;
  }
}

void CPolygonFiller::FillShape(std::span<const Edge> edges) {
  std::int64_t top = 0;
  for (std::size_t next = 0; next < edges.size() || !active.empty(); top += bandRows) {
    if (active.empty()) top = edges[next].top / bandRows * bandRows;
    const std::int64_t bottom = std::min<std::int64_t>(top + bandRows, height);
    for (; next < edges.size() && edges[next].top < bottom; ++next) {
      const Edge& e = edges[next];
      const float slope = static_cast<float>(std::int64_t{e.bottomX} - e.topX) /
                          static_cast<float>(e.bottom - e.top);
      const std::int32_t start =
          slope > 0 ? std::min(e.topX, e.bottomX) : std::max(e.topX, e.bottomX);
      active.push_back({e.top, e.bottom, slope, static_cast<float>(start)});
    }
    FillBand(top, bottom);
    std::erase_if(active, [=](const Line& line) { return line.bottom <= bottom; });
  }
}

// The crossing is computed in float and rounded in double. From 2^24 columns on the float may lie
// outside of the picture, so it is clamped.
std::int32_t CPolygonFiller::Line::CrossingOf(std::int32_t row, std::int32_t width) const {
  const double x = static_cast<double>(static_cast<float>(row - top) * slope + start) + 0.5;
  return static_cast<std::int32_t>(std::clamp<double>(x, 0, width));
}

void CPolygonFiller::Line::GetCrossings(std::int32_t* crossings, std::int32_t first,
                                        std::int32_t count, std::int32_t width) const {
  // Up to here the float is off by less than a pixel, so that it lies within the picture and the
  // column behind it; rounding the exact rest in float gives the same and is twice as fast.
  constexpr std::int32_t widestInFloat = 1 << 22;
  if (width > widestInFloat) {
    for (std::int32_t i = 0; i < count; ++i)
      crossings[i] = CrossingOf(first + i, width);
    return;
  }
  for (std::int32_t i = 0; i < count; ++i) {
    const float x = static_cast<float>(first + i - top) * slope + start;
    const auto whole = static_cast<std::int32_t>(x);
    crossings[i] = whole + (x - static_cast<float>(whole) >= 0.5F ? 1 : 0);
  }
}

void CPolygonFiller::FillBand(std::int64_t top, std::int64_t bottom) {
  const Extent extent = Measure(top, bottom);
  if (IsSolid(extent)) return;
  for (const Line& line : active)
    Toggle(line, top, bottom);
  const auto firstWord = static_cast<std::size_t>(extent.left / wordBits);
  const auto endWord = static_cast<std::size_t>(extent.right / wordBits) + 1;
  for (std::int64_t row = extent.top; row < extent.bottom; ++row)
    UniteRow(row, firstWord, endWord);
  RenewSolid(top, firstWord, endWord);
}

CPolygonFiller::Extent CPolygonFiller::Measure(std::int64_t top, std::int64_t bottom) const {
  Extent extent{bottom, top, width, 0};
  for (const Line& line : active) {
    const auto first = static_cast<std::int32_t>(std::max<std::int64_t>(top, line.top));
    const auto end = static_cast<std::int32_t>(std::min<std::int64_t>(bottom, line.bottom));
    // The crossings of a line go one way, so its first and last one bound them all.
    const std::int32_t a = line.CrossingOf(first, width), b = line.CrossingOf(end - 1, width);
    extent.top = std::min<std::int64_t>(extent.top, first);
    extent.bottom = std::max<std::int64_t>(extent.bottom, end);
    extent.left = std::min({extent.left, a, b});
    extent.right = std::max({extent.right, a, b});
  }
  return extent;
}

bool CPolygonFiller::IsSolid(const Extent& extent) const {
  const Word* const band = &solid[static_cast<std::size_t>(extent.top / bandRows) * rowWords];
  const std::int32_t first = extent.left / wordBits, last = extent.right / wordBits;
  for (std::int32_t i = first; i <= last; ++i) {
    Word missing = ~band[i];
    if (i == first) missing &= ~Word{0} << (extent.left % wordBits);
    if (i == last) missing &= ~(~Word{0} << (extent.right % wordBits));
    if (missing != 0) return false;
  }
  return true;
}

void CPolygonFiller::Toggle(const Line& line, std::int64_t top, std::int64_t bottom) {
  const auto first = static_cast<std::int32_t>(std::max<std::int64_t>(top, line.top));
  const auto end = static_cast<std::int32_t>(std::min<std::int64_t>(bottom, line.bottom));
  const std::int32_t count = end - first;
  std::array<std::int32_t, bandRows> crossings;
  line.GetCrossings(crossings.data(), first, count, width);
  Word* row = &toggles[static_cast<std::size_t>(first - top) * rowWords];
  for (std::int32_t i = 0; i < count; ++i, row += rowWords) {
    const auto x = static_cast<std::uint32_t>(crossings[static_cast<std::size_t>(i)]);
    row[x / wordBits] ^= Word{1} << (x % wordBits);
  }
  crossingCount += static_cast<std::uint64_t>(count);
}

// A polygon is closed: each row has an even number of toggles, and leaves none behind.
void CPolygonFiller::UniteRow(std::int64_t row, std::size_t firstWord, std::size_t endWord) {
  Word* const toggled = &toggles[static_cast<std::size_t>(row % bandRows) * rowWords];
  Word* const pixels = &inside[static_cast<std::size_t>(row) * rowWords];
  Word carry = 0;
  for (std::size_t i = firstWord; i < endWord; ++i) {
    if (toggled[i] == 0) {
      pixels[i] |= carry;
      continue;
    }
    Word word = std::exchange(toggled[i], 0);
    for (int shift = 1; shift < wordBits; shift *= 2)
      word ^= word << shift;
    word ^= carry;
    pixels[i] |= word;
    carry = Word{0} - (word >> (wordBits - 1));
  }
}

void CPolygonFiller::RenewSolid(std::int64_t top, std::size_t firstWord, std::size_t endWord) {
  const std::int64_t bottom = std::min<std::int64_t>(top + bandRows, height);
  Word* const band = &solid[static_cast<std::size_t>(top / bandRows) * rowWords];
  std::fill(band + firstWord, band + endWord, ~Word{0});
  for (std::int64_t row = top; row < bottom; ++row) {
    const Word* const pixels = &inside[static_cast<std::size_t>(row) * rowWords];
    for (std::size_t i = firstWord; i < endWord; ++i)
      band[i] &= pixels[i];
  }
}

CMask::Row CPolygonFiller::RunsOf(std::size_t y) const {
  const Word* const pixels = &inside[y * rowWords];
  // Set where a pixel differs from the one before it.
  const auto changesAt = [&](std::size_t i) {
    return pixels[i] ^ (pixels[i] << 1 | (i == 0 ? 0 : pixels[i - 1] >> (wordBits - 1)));
  };
  std::size_t changeCount = 0;
  for (std::size_t i = 0; i < rowWords; ++i)
    changeCount += static_cast<std::size_t>(std::popcount(changesAt(i)));
  CMask::Row runs;
  runs.reserve(changeCount / 2);
  CMaskRun run{};
  bool open = false;
  for (std::size_t i = 0; i < rowWords; ++i) {
    for (Word changes = changesAt(i); changes != 0; changes &= changes - 1) {
      const auto x = static_cast<std::int32_t>(i * wordBits) + std::countr_zero(changes);
      open = !open;
      (open ? run.start : run.end) = x;
      if (!open) runs.push_back(run);
    }
  }
  return runs;
}

}  // namespace ztlib
