#include "main/lib/imgproc/math_helper.h"

#include "main/lib/base/logger.h"
#include "main/lib/calib/disc_grid.h"
#include "main/lib/calib/triangulation.h"
#include "tests/support/common.h"

#include <algorithm>
#include <limits>
#include <random>

using namespace ztlib;

namespace {

// The tolerance is 1e-6 as a float; the other number is the float before it.
constexpr float limit = 1e-6f;
const float belowLimit = std::nextafter(limit, 0.0f);

std::vector<float> Coefficients(const CLine& line) {
  return {line.a, line.b, line.c, line.epsilon};
}

TEST(Geometry, LinesAndCrossings) {
  const std::tuple<CPointF, CPointF, std::vector<float>> cases[] = {
      {{1, 2}, {4, 8}, {-6, 3, 0, limit}},
      {{3, 5}, {3, 9}, {1, 0, -3, limit}},
      // A line is vertical strictly below the tolerance, and then goes through the first point.
      {{belowLimit, 5}, {0, 6}, {1, 0, -belowLimit, limit}},
      {{limit, 5}, {0, 6}, {-1, -limit, limit + 5 * limit, limit}},
  };
  for (const auto& [p, q, expected] : cases) {
    CLine line;
    LineThrough(line, p, q);
    EXPECT_EQ(Coefficients(line), expected);
  }
  CLine line, floats, column, slanted;
  LineThrough(floats, CPointF{-2147483648.0f, 16777216.0f}, CPointF{5, -9});
  LineThrough(line, CPointI{-2147483647, 16777217}, CPointI{5, -9}, 0.5f);
  EXPECT_EQ(line.c, floats.c);
  LineParallelThrough(line, line, {1, 2});
  EXPECT_EQ(Coefficients(line),
            (std::vector<float>{floats.a, floats.b, -floats.a - floats.b * 2, 0.5f}));
  column.epsilon = slanted.epsilon = 9;
  Bisector(column, {4, 2}, {4, 10});
  EXPECT_EQ(Coefficients(column), (std::vector<float>{0, -1, 6, 9}));
  Bisector(slanted, {0, 0}, {4, 2});
  EXPECT_EQ(Coefficients(slanted), (std::vector<float>{4, 2, -10, 9}));
  CPointF out{77, 78};
  ASSERT_TRUE(Intersect(out, column, slanted));
  // Parallel lines leave `out` as it is. The determinant has to reach the tolerance.
  EXPECT_FALSE(Intersect(out, slanted, {8, 4, 1, 0}));
  EXPECT_FALSE(Intersect(out, {belowLimit, 0, 0, 0}, {0, 1, -1, 0}));
  EXPECT_FALSE(Intersect(out, {3, 0, 0, 0}, {0, 1, -1, 0}, 4));
  EXPECT_TRUE(out.x == -0.5f && out.y == 6);
  EXPECT_TRUE(Intersect(out, {limit, 0, 0, 0}, {0, 1, -1, 0}));
}

TEST(Geometry, DistancesAndSides) {
  CLine line;
  LineThrough(line, CPointF{0, 1}, CPointF{4, 4});
  EXPECT_FLOAT_EQ(DistanceSquared(line, 3, -3), 25);
  EXPECT_TRUE(std::isnan(DistanceSquared({}, 1, 1)));

  constexpr std::int32_t low = std::numeric_limits<std::int32_t>::min();
  constexpr std::int32_t high = std::numeric_limits<std::int32_t>::max();
  const std::tuple<CPointI, CPointI, CPointI, bool, bool> cases[] = {
      {{0, 5}, {10, 5}, {5, 4}, true, true},
      {{0, 0}, {10, 0}, {20, 0}, false, false},
      {{2, 7}, {2, -7}, {1, 0}, true, true},
      // 2^16 * 2^15 is beyond 31 bits, so the integer is negative and the float positive.
      {{0, 0}, {65536, 0}, {0, 32768}, true, false},
      {{low, low}, {high, high}, {low, high}, false, false},
  };
  for (const auto& [p, q, r, integers, floats] : cases) {
    const auto point = [](CPointI i) { return CPointF{float(i.x), float(i.y)}; };
    EXPECT_EQ(SideOf(p, q, r), integers) << q.x << ' ' << r.y;
    EXPECT_EQ(SideOf(point(p), point(q), point(r)), floats) << q.x << ' ' << r.y;
  }
}

TEST(Geometry, PointsOnSegments) {
  static std::string logged;
  Logger().AddStream(new CFunctionLogStream(
      [](int level, const char* text) { logged += std::to_string(level) + text; }));
  // Each case has the ends of a segment, a point, what is printed, and the foot if there is one.
  const std::tuple<CPointF, CPointF, CPointF, const char*, CPointF> cases[] = {
      {{0, 0}, {10, 0}, {4, 2.5f}, "1Nincs rajta 0 d = 2.500!\n", {77, 78}},
      {{0, 0}, {10, 0}, {-1, 0}, "1Nincs rajta 1!\n", {77, 78}},
      {{0, 0}, {10, 0}, {11, 0}, "1Nincs rajta 2!\n", {10, 0}},
      {{5, 9}, {5, 1}, {5, 9}, "", {5, 9}},
      {{1, 1}, {5, 4}, {5, 4}, "", {5, 4}},
      {{5, 5}, {5, 5}, {5, 4}, "1Nincs rajta 1!\n", {77, 78}}};
  for (const auto& [a, b, p, text, foot] : cases) {
    logged.clear();
    CPointF out{77, 78};
    EXPECT_EQ(PointOnSegment(a, b, p, out), foot.x != 77);
    EXPECT_EQ(logged, text);
    EXPECT_TRUE(out.x == foot.x && out.y == foot.y) << p.x << ' ' << p.y;
  }
  CPointF out;
  EXPECT_TRUE(PointOnSegment({0, 0}, {10, 0}, {4, 2.5f}, out, 2.5f));
}

TEST(Triangulation, DiscsAreFoundFromEveryPlaceThatTheyHold) {
  constexpr float inf = std::numeric_limits<float>::infinity();
  std::mt19937 random(1);
  CDiscGrid grid;
  grid.Start({0, -50, 90, 40}, 50);
  std::vector<CDiscGrid::CDisc> discs = {{inf, 0, inf}, {0, NAN, NAN}, {1e30F, 0, 1}, {3, 4, inf}};
  while (discs.size() < 600) {
    const auto anywhere = [&] { return static_cast<float>(random() % 4000) / 16 - 100; };
    discs.push_back(
        {anywhere(), anywhere(), std::ldexp(1.0F, static_cast<int>(random() % 32) - 20)});
  }
  for (std::uint32_t i = 0; i < discs.size(); ++i)
    grid.Add(i, discs[i]);
  EXPECT_TRUE(grid.IsCrowded());
  for (float y = -50; y < 40; y += 3)
    for (float x = 0; x < 90; ++x) {
      std::vector<std::uint32_t> expected, found;
      for (std::uint32_t i = 0; i < discs.size(); ++i)
        if (discs[i].Holds({x, y})) expected.push_back(i);
      grid.ForEachAt({x, y}, [&](std::uint32_t i) { found.push_back(i); });
      std::sort(found.begin(), found.end());
      EXPECT_EQ(found, expected);
    }
}

// The fuzz target would not find a fault here, because its model would have it as well.
TEST(Triangulation, ValuesArePlanes) {
  CTriangulation mesh;
  EXPECT_FALSE(mesh.Finalize());
  mesh.Init(0, 0, 12, 12, 2);
  for (int i = 0; i < 144; i += 3) {
    const float values[] = {float(i % 12), float(2 * (i % 12) - i / 12)};
    mesh.AddPoint(i % 12, i / 12, values, 2);
  }
  EXPECT_TRUE(mesh.Finalize());
  float values[2];
  mesh.Estimate(4, 5, values, 2);
  EXPECT_NEAR(values[0], 4, 1e-5);
  EXPECT_NEAR(values[1], 3, 1e-5);
}

}  // namespace
