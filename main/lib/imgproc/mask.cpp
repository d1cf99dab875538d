#include "main/lib/imgproc/mask.h"

#include "main/lib/base/debug.h"
#include "main/lib/imgproc/virtual_coordinates.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <limits>
#include <new>
#include <utility>

namespace {

constexpr char source[] = "main/lib/imgproc/mask";

// A picture of bits with one column more than the mask has, for the ends of runs. Where an edge of
// a polygon crosses a row, a bit is toggled; every pixel behind an odd number of toggles is inside.
class CPolygonFiller {
 public:
  CPolygonFiller(std::int32_t width, std::int32_t height)
      : width(width),
        height(height),
        rowWords(static_cast<std::size_t>(width) / wordBits + 1),
        toggles(rowWords * static_cast<std::size_t>(height)),
        inside(toggles.size()) {}

  // Adds the pixels of a polygon whose points are moved to the nearest pixel. Filling a fan of
  // triangles around the first point gives the same: its inner edges are crossed twice.
  void Fill(const CMaskPolygon& polygon) {
    if (polygon.size() < 3) return;
    firstRow = firstWord = std::numeric_limits<std::size_t>::max();
    endRow = endWord = 0;
    CMaskPoint previous = Clamp(polygon.back());
    for (const CMaskPoint& point : polygon) {
      const CMaskPoint current = Clamp(point);
      ToggleEdge(previous, current);
      previous = current;
    }
    for (std::size_t row = firstRow; row < endRow; ++row)
      UniteRow(row);
  }

  [[nodiscard]] CMask::Row RunsOf(std::size_t y) const {
    CMask::Row runs;
    CMaskRun run{};
    bool open = false;
    Word carry = 0;
    for (std::size_t i = 0; i < rowWords; ++i) {
      const Word word = inside[y * rowWords + i];
      for (Word changes = word ^ (word << 1 | carry); changes != 0; changes &= changes - 1) {
        const auto x = static_cast<std::int32_t>(i * wordBits) + std::countr_zero(changes);
        open = !open;
        (open ? run.start : run.end) = x;
        if (!open) runs.push_back(run);
      }
      carry = word >> (wordBits - 1);
    }
    return runs;
  }

 private:
  using Word = std::uint64_t;
  static constexpr int wordBits = 64;

  [[nodiscard]] CMaskPoint Clamp(const CMaskPoint& point) const {
    return {std::clamp<std::int64_t>(point.x, 0, width - 1),
            std::clamp<std::int64_t>(point.y, 0, height - 1)};
  }

  void ToggleEdge(const CMaskPoint& a, const CMaskPoint& b) {
    const std::int64_t top = std::min(a.y, b.y);
    const std::int64_t count = std::max(a.y, b.y) - top;
    if (count == 0) return;
    const float slope = static_cast<float>(a.x - b.x) / static_cast<float>(a.y - b.y);
    const auto start = static_cast<float>(slope > 0 ? std::min(a.x, b.x) : std::max(a.x, b.x));
    // The line in float, its rounding in double. From 2^24 columns on, the float may lie outside.
    const auto crossing = [&](std::int64_t i) {
      const double x = static_cast<double>(static_cast<float>(i) * slope + start) + 0.5;
      return static_cast<std::size_t>(
          std::clamp<std::int64_t>(static_cast<std::int64_t>(x), 0, width));
    };
    Word* row = &toggles[static_cast<std::size_t>(top) * rowWords];
    for (std::int64_t i = 0; i < count; ++i, row += rowWords) {
      const std::size_t x = crossing(i);
      row[x / wordBits] ^= Word{1} << (x % wordBits);
    }
    // The crossings of an edge go one way, so its first and last one bound them all.
    const std::size_t first = crossing(0) / wordBits, last = crossing(count - 1) / wordBits;
    firstWord = std::min({firstWord, first, last});
    endWord = std::max({endWord, first + 1, last + 1});
    firstRow = std::min(firstRow, static_cast<std::size_t>(top));
    endRow = std::max(endRow, static_cast<std::size_t>(top + count));
  }

  // A polygon is closed: each row has an even number of toggles, and leaves none behind.
  void UniteRow(std::size_t row) {
    Word carry = 0;
    for (std::size_t i = row * rowWords + firstWord; i < row * rowWords + endWord; ++i) {
      Word word = std::exchange(toggles[i], 0);
      for (int shift = 1; shift < wordBits; shift *= 2)
        word ^= word << shift;
      word ^= carry;
      inside[i] |= word;
      carry = Word{0} - (word >> (wordBits - 1));
    }
  }

  std::int64_t width;
  std::int64_t height;
  std::size_t rowWords;
  std::vector<Word> toggles;
  std::vector<Word> inside;
  // What the edges of the present polygon touch.
  std::size_t firstRow = 0, endRow = 0, firstWord = 0, endWord = 0;
};

template <class F>
void ForEachGap(const CMask::Row& runs, std::int32_t width, F&& visit) {
  std::int32_t from = 0;
  for (const CMaskRun& run : runs) {
    if (run.start > from) visit(CMaskRun{from, run.start});
    from = run.end;
  }
  if (width > from) visit(CMaskRun{from, width});
}

// Appends a run that starts behind all others, which it may overlap or touch.
void AppendMelting(CMask::Row& runs, const CMaskRun& run) {
  if (!runs.empty() && runs.back().end >= run.start)
    runs.back().end = std::max(runs.back().end, run.end);
  else
    runs.push_back(run);
}

template <class Pixel, class Paint>
void PaintRuns(const CMask& mask, TCImageView<Pixel>& image, bool inverse, const char* function,
               Paint paint) {
  if (image.dx != mask.GetWidth() || image.dy != mask.GetHeight())
    ZT_THROW(CException, " CMask: invalid image dimensions for overlay", function, source,
             __LINE__);
  for (std::int32_t y = 0; y < image.dy; ++y) {
    const auto paintRun = [&](const CMaskRun& run) {
      std::for_each(image.PtrAt(run.start, y), image.PtrAt(run.end, y), paint);
    };
    if (inverse)
      ForEachGap(mask.GetRow(y), image.dx, paintRun);
    else
      std::for_each(mask.GetRow(y).begin(), mask.GetRow(y).end(), paintRun);
  }
}

auto GrayPaint(std::uint8_t value) {
  return [=](TTGray<unsigned char>& pixel) { pixel.y = value; };
}

auto YuvPaint(std::uint8_t y, std::uint8_t u, std::uint8_t v) {
  return [=](TTYUV<unsigned char>& pixel) {
    pixel.y = y;
    pixel.u = u;
    pixel.v = v;
  };
}

auto RgbPaint(std::uint8_t b, std::uint8_t g, std::uint8_t r) {
  return [=](TTRGB<unsigned char>& pixel) {
    pixel.b = b;
    pixel.g = g;
    pixel.r = r;
  };
}

void CheckSizes(const CMask& a, const CMask& b, const char* widths, const char* heights,
                const char* function) {
  if (a.GetWidth() != b.GetWidth()) ZT_THROW(CException, widths, function, source, __LINE__);
  if (a.GetHeight() != b.GetHeight()) ZT_THROW(CException, heights, function, source, __LINE__);
}

std::int32_t ToMaskSize(std::int64_t size) {
  using Limits = std::numeric_limits<std::int32_t>;
  if (size < Limits::min() || size > Limits::max()) throw std::bad_alloc();
  return static_cast<std::int32_t>(size);
}

}  // namespace

CMask::CMask() = default;
CMask::CMask(const CMask& other) = default;
CMask::CMask(CMask&& other) noexcept {
  Swap(other);
}
CMask::~CMask() = default;

CMask& CMask::operator=(CMask other) noexcept {
  Swap(other);
  return *this;
}

CMask::CMask(std::int32_t width, std::int32_t height)
    : rows(width > 0 && height > 0 ? static_cast<std::size_t>(height) : 0),
      height(height),
      width(width) {}

void CMask::Swap(CMask& other) noexcept {
  rows.swap(other.rows);
  std::swap(height, other.height);
  std::swap(width, other.width);
  std::swap(area, other.area);
  std::swap(left, other.left);
  std::swap(top, other.top);
  std::swap(right, other.right);
  std::swap(bottom, other.bottom);
}

void CMask::Measure() {
  std::uint32_t sum = 0;
  left = top = right = bottom = 0;
  for (std::size_t y = 0; y < rows.size(); ++y) {
    if (rows[y].empty()) continue;
    for (const CMaskRun& run : rows[y])
      sum += static_cast<std::uint32_t>(run.end - run.start);
    const bool first = bottom == 0;
    if (first) top = static_cast<std::int64_t>(y);
    left = first ? rows[y].front().start : std::min<std::int64_t>(left, rows[y].front().start);
    right = std::max<std::int64_t>(right, rows[y].back().end);
    bottom = static_cast<std::int64_t>(y) + 1;
  }
  area = static_cast<std::int32_t>(sum);
}

const CMask::Row& CMask::GetRow(int y) const {
  static const Row none;
  return y >= 0 && static_cast<std::size_t>(y) < rows.size() ? rows[static_cast<std::size_t>(y)]
                                                             : none;
}

void CMask::BuildFromData(const CData& masks, const Size& size) {
  *this = CMask(width, height);
  const std::int32_t newWidth = ToMaskSize(size.width);
  const std::int32_t newHeight = ToMaskSize(size.height);
  PolygonList polygons;
  for (std::uint64_t i = 0; i < masks.Count(); ++i) {
    const std::vector<std::int16_t>* coordinates = masks.ShortArrayAt(i);
    if (!coordinates || coordinates->size() < 2) continue;
    CMaskPolygon& polygon = polygons.emplace_back(coordinates->size() / 2);
    for (std::size_t at = 0; at < polygon.size(); ++at)
      polygon[at] = {PixelByVirtual((*coordinates)[2 * at], newWidth),
                     PixelByVirtual((*coordinates)[2 * at + 1], newWidth)};
  }
  if (polygons.empty()) {
    const std::int64_t x = size.width - 1, y = size.height - 1;
    polygons.push_back({{0, 0}, {x, 0}, {x, y}, {0, y}});
  }
  SetPolygons(newWidth, newHeight, polygons);
}

void CMask::SetPolygons(int newWidth, int newHeight, const PolygonList& polygons) {
  CMask built(newWidth, newHeight);
  const bool full = std::all_of(polygons.begin(), polygons.end(),
                                [](const CMaskPolygon& polygon) { return polygon.empty(); });
  if (full) {
    std::fill(built.rows.begin(), built.rows.end(), Row{{0, newWidth}});
  } else if (!built.rows.empty()) {
    CPolygonFiller filler(newWidth, newHeight);
    for (const CMaskPolygon& polygon : polygons)
      filler.Fill(polygon);
    for (std::size_t y = 0; y < built.rows.size(); ++y)
      built.rows[y] = filler.RunsOf(y);
  }
  built.Measure();
  Swap(built);
}

void CMask::SetPolygonsFromArrays(int newWidth, int newHeight,
                                  const std::vector<std::vector<short>>& arrays) {
  PolygonList polygons;
  for (const std::vector<short>& data : arrays) {
    ZT_ASSERT(data.size() % 2 == 0, source, __LINE__);
    CMaskPolygon& polygon = polygons.emplace_back(data.size() / 2);
    for (std::size_t i = 0; i < polygon.size(); ++i)
      polygon[i] = {data[2 * i], data[2 * i + 1]};
  }
  SetPolygons(newWidth, newHeight, polygons);
}

void CMask::Invert(const CMask& in, CMask& out) {
  if (in.height <= 0)
    ZT_THROW(CException, "CMask::Invert: input mask is empty", "Invert", source, __LINE__);
  CMask result(in.width, in.height);
  for (std::size_t y = 0; y < result.rows.size(); ++y)
    ForEachGap(in.rows[y], in.width, [&](const CMaskRun& gap) { result.rows[y].push_back(gap); });
  result.Measure();
  out.Swap(result);
}

void CMask::Intersect(const CMask& a, const CMask& b, CMask& out) {
  CheckSizes(a, b, "CMask::Intersect: input mask widths mismatch",
             "CMask::Intersect: input mask rowcounts mismatch", "Intersect");
  CMask result(a.width, a.height);
  for (std::size_t y = 0; y < result.rows.size(); ++y) {
    const Row& first = a.rows[y];
    const Row& second = b.rows[y];
    for (std::size_t i = 0, j = 0; i < first.size() && j < second.size();) {
      const CMaskRun common = {std::max(first[i].start, second[j].start),
                               std::min(first[i].end, second[j].end)};
      if (common.start < common.end) result.rows[y].push_back(common);
      ++(first[i].end < second[j].end ? i : j);
    }
  }
  result.Measure();
  out.Swap(result);
}

void CMask::Unite(const CMask& a, const CMask& b, CMask& out) {
  CheckSizes(a, b, "CMask::Unite: input mask widths mismatch",
             "CMask::Unite: input mask rowcounts mismatch", "Unite");
  CMask result(a.width, a.height);
  for (std::size_t y = 0; y < result.rows.size(); ++y) {
    const Row& first = a.rows[y];
    const Row& second = b.rows[y];
    for (std::size_t i = 0, j = 0; i < first.size() || j < second.size();) {
      const bool takeFirst =
          j == second.size() || (i < first.size() && first[i].start < second[j].start);
      AppendMelting(result.rows[y], takeFirst ? first[i++] : second[j++]);
    }
  }
  result.Measure();
  out.Swap(result);
}

void CMask::Overlay(TCImageView<TTGray<unsigned char>>& image, std::uint8_t value) const {
  PaintRuns(*this, image, false, "Overlay", GrayPaint(value));
}

void CMask::Overlay(TCImageView<TTYUV<unsigned char>>& image, std::uint8_t y, std::uint8_t u,
                    std::uint8_t v) const {
  PaintRuns(*this, image, false, "Overlay", YuvPaint(y, u, v));
}

void CMask::Overlay(TCImageView<TTRGB<unsigned char>>& image, std::uint8_t b, std::uint8_t g,
                    std::uint8_t r) const {
  PaintRuns(*this, image, false, "Overlay", RgbPaint(b, g, r));
}

void CMask::OverlayInverse(TCImageView<TTGray<unsigned char>>& image, std::uint8_t value) const {
  PaintRuns(*this, image, true, "OverlayInverse", GrayPaint(value));
}

void CMask::OverlayInverse(TCImageView<TTYUV<unsigned char>>& image, std::uint8_t y, std::uint8_t u,
                           std::uint8_t v) const {
  PaintRuns(*this, image, true, "OverlayInverse", YuvPaint(y, u, v));
}

void CMask::OverlayInverse(TCImageView<TTRGB<unsigned char>>& image, std::uint8_t b, std::uint8_t g,
                           std::uint8_t r) const {
  PaintRuns(*this, image, true, "OverlayInverse", RgbPaint(b, g, r));
}
