#include "client/heat_map.h"

#include "client/interrupt.h"
#include "client/text.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr int maxSide = 4096, comfortableSide = 640;

// From dark blue over green to yellow, for 0 to 1.
CColor Heat(float share) {
  static constexpr CColor stops[] = {
      {68, 1, 84}, {59, 82, 139}, {33, 145, 140}, {94, 201, 98}, {253, 231, 37}};
  constexpr int last = std::size(stops) - 1;
  const float place = std::clamp(share, 0.0F, 1.0F) * float(last);
  const int below = std::min(static_cast<int>(place), last - 1);
  const float part = place - float(below);
  const auto mix = [part](float a, float b) { return a + (b - a) * part; };
  const CColor &a = stops[below], &b = stops[below + 1];
  return {mix(a.red, b.red), mix(a.green, b.green), mix(a.blue, b.blue)};
}

int Side(std::int64_t first, std::int64_t end) {
  if (end <= first || end - first > maxSide)
    throw CError(Text("--rect: a picture has 1 to %d pixels on each side", maxSide));
  return static_cast<int>(end - first);
}

}  // namespace

CHeatMap::CHeatMap(const CFrameBox& box, const Estimate& estimate)
    : frame(box), columns(Side(box[0], box[2])), rows(Side(box[1], box[3])) {
  factor = std::max(1, comfortableSide / std::max(columns, rows));
  field.reserve(std::size_t(columns) * std::size_t(rows));
  for (int y = 0; y < rows; ++y) {
    // A map with half of its estimates would show a wrong field.
    ThrowIfInterrupted();
    for (int x = 0; x < columns; ++x)
      field.push_back(estimate(frame[0] + x, frame[1] + y));
  }
  for (const float value : field)
    if (std::isfinite(value)) {
      least = std::min(least, value);
      most = std::max(most, value);
    }
}

std::string CHeatMap::Range() const {
  return least <= most ? Text("%g to %g", double(least), double(most)) : "no number at all";
}

CCanvas CHeatMap::Paint() const {
  CCanvas canvas(columns * factor, rows * factor);
  const float range = most > least ? most - least : 1;
  for (int y = 0; y < canvas.Height(); ++y)
    for (int x = 0; x < canvas.Width(); ++x) {
      const float value =
          field[std::size_t(y / factor) * std::size_t(columns) + std::size_t(x / factor)];
      canvas.At(x, y).color =
          std::isfinite(value) ? Heat((value - least) / range) : CColor{128, 128, 128};
    }
  return canvas;
}

CPoint CHeatMap::Place(std::int64_t x, std::int64_t y) const {
  const auto at = [this](std::int64_t value, std::int32_t origin) {
    return (float(value - origin) + 0.5F) * float(factor);
  };
  return {at(x, frame[0]), at(y, frame[1])};
}

void CHeatMap::DrawPoint(CCanvas& canvas, const CScatteredPoint& point, EPoint size) const {
  const CPoint place = Place(point.x, point.y);
  const bool isLarge = size == EPoint::large;
  if (isLarge) canvas.FillEllipse(place, 5, 5, {{255, 255, 255}});
  const float radius = isLarge ? 3.6F : 1.6F;
  canvas.FillEllipse(place, radius, radius, {{20, 20, 20}});
}
