#include "main/lib/imgproc/mask.h"

#include "main/lib/base/debug.h"
#include "main/lib/imgproc/polygon_filler.h"
#include "main/lib/imgproc/virtual_coordinates.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <new>
#include <utility>

namespace ztlib {

namespace {

constexpr char source[] = "main/lib/imgproc/mask";

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
    ZT_THROW(CException, " CMask: invalid image dimensions for overlay", function, source, 40);
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
  if (a.GetWidth() != b.GetWidth()) ZT_THROW(CException, widths, function, source, 74);
  if (a.GetHeight() != b.GetHeight()) ZT_THROW(CException, heights, function, source, 75);
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
    filler.Fill(polygons);
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
    ZT_ASSERT(data.size() % 2 == 0, source, 176);
    CMaskPolygon& polygon = polygons.emplace_back(data.size() / 2);
    for (std::size_t i = 0; i < polygon.size(); ++i)
      polygon[i] = {data[2 * i], data[2 * i + 1]};
  }
  SetPolygons(newWidth, newHeight, polygons);
}

void CMask::Invert(const CMask& in, CMask& out) {
  if (in.height <= 0)
    ZT_THROW(CException, "CMask::Invert: input mask is empty", "Invert", source, 186);
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

}  // namespace ztlib
