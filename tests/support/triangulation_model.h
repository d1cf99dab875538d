#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <list>
#include <map>
#include <optional>
#include <vector>

// The triangulation in its simplest form: triangles are in a map by number, every search goes from
// the first to the last, and an early estimate finalizes a copy.
struct TriangulationModel {
  using Corners = std::array<int, 3>;
  struct Triangle {
    Corners corners;
    float x, y, radius;
  };

  bool initialised = false;
  std::array<std::int64_t, 4> rect{};
  std::int64_t dimensions = 0;
  std::vector<std::array<std::int64_t, 2>> points;
  std::vector<std::vector<float>> values;
  std::map<std::int64_t, Triangle> triangles;
  std::int64_t lastId = 0;

  void Insert(int a, int b, int c) {
    const auto bisector = [&](int i, int j) {
      const float x1 = float(points[i][0]), y1 = float(points[i][1]);
      const float x2 = float(points[j][0]), y2 = float(points[j][1]);
      const bool column = std::fabs(x1 - x2) < 1e-6f;
      const float p = column ? 0 : x2 - x1, q = column ? -1 : y2 - y1;
      const float mx = (x2 - x1) * 0.5f + x1, my = (y2 - y1) * 0.5f + y1;
      return std::array{p, q, -(p * mx + q * my)};
    };
    const auto l = bisector(a, b), m = bisector(b, c);
    const float det = m[1] * l[0] - m[0] * l[1];
    float x = 0, y = 0;
    if (!(std::fabs(det) < 1e-6f)) {
      x = (l[1] * m[2] - m[1] * l[2]) / det;
      y = (m[0] * l[2] - m[2] * l[0]) / det;
    }
    const float dx = float(points[a][0]) - x, dy = float(points[a][1]) - y;
    triangles[++lastId] = {{a, b, c}, x, y, std::sqrt(dx * dx + dy * dy)};
  }

  void Init(std::int32_t x0, std::int32_t y0, std::int32_t x1, std::int32_t y1, std::int32_t size) {
    *this = {};
    initialised = true;
    dimensions = size;
    rect = {x0, y0, x1, y1};
    points = {{rect[0] - 1, rect[1] - 1}, {x1, rect[1] - 1}, {x1, y1}, {rect[0] - 1, y1}};
    values.resize(4);
    Insert(0, 2, 3);
    Insert(0, 1, 2);
  }

  void AddPoint(std::int32_t x, std::int32_t y, const std::vector<float>& vector) {
    if (!initialised || x < rect[0] || x >= rect[2] || y < rect[1] || y >= rect[3]) return;
    if (std::find(points.begin(), points.end(), std::array<std::int64_t, 2>{x, y}) != points.end())
      return;
    const int added = int(points.size());
    points.push_back({x, y});
    values.push_back(vector);
    std::list<std::array<int, 2>> edges;
    for (auto it = triangles.begin(); it != triangles.end();) {
      const Triangle& t = it->second;
      const float dx = float(x) - t.x, dy = float(y) - t.y;
      if (!(std::sqrt(t.radius) > dx * dx + dy * dy)) {
        ++it;
        continue;
      }
      const auto [a, b, c] = t.corners;
      for (const auto& [p, q] : {std::array{a, b}, std::array{a, c}, std::array{c, b}}) {
        const std::array forth{p, q}, back{q, p};
        if (edges.remove(forth) + edges.remove(back) == 0) edges.push_back(forth);
      }
      it = triangles.erase(it);
    }
    for (const auto& [p, q] : edges)
      Insert(added, p, q);
  }

  [[nodiscard]] bool IsFull(const Corners& corners) const {
    return std::all_of(corners.begin(), corners.end(), [&](int corner) {
      return std::int64_t(values[corner].size()) == dimensions;
    });
  }

  struct Place {
    std::uint32_t x, y;
  };
  [[nodiscard]] Place At(int i) const {
    return {std::uint32_t(points[i][0]), std::uint32_t(points[i][1])};
  }

  [[nodiscard]] std::vector<float> Interpolate(const Corners& corners, Place p) const {
    const auto [p0, p1, p2] = std::array{At(corners[0]), At(corners[1]), At(corners[2])};
    const auto [x0, y0] = p0;
    const auto [x1, y1] = p1;
    const auto [x2, y2] = p2;
    const auto real = [](std::uint32_t bits) { return float(std::int32_t(bits)); };
    const float det = real((y2 - y1) * x0 + x1 * y0 - x2 * y0 - y2 * x1 + x2 * y1);
    const float wA = real((y2 - y1) * p.x + (x1 - x2) * p.y + (x2 * y1 - y2 * x1));
    const float wB = real((x2 - x0) * p.y + (y0 - y2) * p.x - (x2 * y0 - y2 * x0));
    const float wC = real((y1 - y0) * p.x - (x1 - x0) * p.y + (x1 * y0 - x0 * y1));
    std::vector<float> result;
    for (std::int64_t i = 0; i < dimensions; ++i)
      result.push_back(det == 0 ? 0
                                : (wA * values[corners[0]][i] + wB * values[corners[1]][i] +
                                   wC * values[corners[2]][i]) /
                                      det);
    return result;
  }

  bool Finalize() {
    if (!initialised || triangles.size() < 3) return false;
    for (std::size_t i = 0; i < points.size(); ++i) {
      if (std::int64_t(values[i].size()) == dimensions) continue;
      values[i].clear();
      const Corners* source = nullptr;
      std::int32_t nearest = 0;
      for (const auto& [id, t] : triangles) {
        if (!IsFull(t.corners)) continue;
        for (const int corner : t.corners) {
          const std::uint32_t dx = At(corner).x - At(int(i)).x, dy = At(corner).y - At(int(i)).y;
          const auto distance = std::int32_t(dx * dx + dy * dy);
          if (source && distance >= nearest) continue;
          source = &t.corners;
          nearest = distance;
        }
      }
      if (!source) return false;
      values[i] = Interpolate(*source, At(int(i)));
    }
    return true;
  }

  // Returns nothing if the call leaves the output as it is.
  [[nodiscard]] std::optional<std::vector<float>> Estimate(std::int32_t x, std::int32_t y,
                                                           std::int32_t count) const {
    if (!initialised || count <= 0) return std::nullopt;
    const Place p{std::uint32_t(x), std::uint32_t(y)};
    const auto holds = [&](const Corners& corners) {
      bool isPositive = true, isNegative = true;
      for (int i = 0; i < 3; ++i) {
        const Place from = At(corners[i]), to = At(corners[(i + 1) % 3]);
        const auto side = std::int32_t((from.y - to.y) * p.x + (to.x - from.x) * p.y +
                                       (from.x * to.y - to.x * from.y));
        isPositive &= side >= 0;
        isNegative &= side <= 0;
      }
      return isPositive || isNegative;
    };
    std::vector<float> result;
    for (const auto& [id, t] : triangles)
      if (holds(t.corners)) {
        TriangulationModel finalized = *this;
        if (IsFull(t.corners) || finalized.Finalize())
          result = (IsFull(t.corners) ? *this : finalized).Interpolate(t.corners, p);
        break;
      }
    if (count > std::int64_t(result.size())) return std::vector<float>(std::size_t(count));
    result.resize(std::size_t(count));
    return result;
  }
};
