#include "main/lib/imgproc/math_helper.h"

#include "main/lib/base/logger.h"
#include "tests/support/common.h"

#include <optional>

using namespace ztlib;

namespace {

using LogLine = std::pair<int, std::string>;
std::vector<LogLine> logLines;

// 1e-6 as a float, and the float before it.
constexpr float limit = 1e-6f;
const float belowLimit = std::nextafter(limit, 0.0f);

std::vector<float> Coefficients(const CLine& line) {
  return {line.a, line.b, line.c, line.epsilon};
}

TEST(Geometry, LinesThroughPoints) {
  const struct {
    CPointF p, q;
    std::vector<float> expected;
  } cases[] = {
      {{1, 2}, {4, 8}, {-6, 3, 0, limit}},
      {{3, 5}, {7, 5}, {0, 4, -20, limit}},
      {{3, 5}, {3, 9}, {1, 0, -3, limit}},
      {{3, 5}, {3, 5}, {1, 0, -3, limit}},
      // A line counts as vertical strictly below the tolerance, and then stands at the first point.
      {{belowLimit, 5}, {0, 6}, {1, 0, -belowLimit, limit}},
      {{limit, 5}, {0, 6}, {-1, -limit, limit + 5 * limit, limit}},
  };
  for (const auto& [p, q, expected] : cases) {
    CLine line;
    LineThrough(line, p, q);
    EXPECT_EQ(Coefficients(line), expected);
  }

  CLine integers, floats;
  LineThrough(integers, CPointI{-2147483647, 16777217}, CPointI{5, -9}, 0.5f);
  LineThrough(floats, CPointF{-2147483648.0f, 16777216.0f}, CPointF{5, -9}, 0.5f);
  EXPECT_EQ(Coefficients(integers), Coefficients(floats));
  EXPECT_EQ(integers.epsilon, 0.5f);

  LineParallelThrough(integers, integers, {1, 2});
  EXPECT_EQ(Coefficients(integers),
            (std::vector<float>{floats.a, floats.b, -floats.a - floats.b * 2, 0.5f}));
}

TEST(Geometry, BisectorsAndCrossings) {
  CLine column, slanted;
  column.epsilon = slanted.epsilon = 9;
  Bisector(column, {4, 2}, {4, 10});
  EXPECT_EQ(Coefficients(column), (std::vector<float>{0, -1, 6, 9}));
  Bisector(slanted, {0, 0}, {4, 2});
  EXPECT_EQ(Coefficients(slanted), (std::vector<float>{4, 2, -10, 9}));

  CPointF out{77, 78};
  ASSERT_TRUE(Intersect(out, column, slanted));
  EXPECT_EQ(out.x, -0.5f);
  EXPECT_EQ(out.y, 6);
  // Parallel, the same, and not a line at all: the last crossing stays.
  const CLine parallel{8, 4, 1, 0}, none{};
  for (const CLine* other : {&parallel, static_cast<const CLine*>(&slanted), &none}) {
    EXPECT_FALSE(Intersect(out, slanted, *other));
    EXPECT_EQ(out.x, -0.5f);
  }
  // The determinant has to reach the tolerance.
  const CLine flat{0, 1, -1, 0};
  EXPECT_FALSE(Intersect(out, {belowLimit, 0, 0, 0}, flat));
  EXPECT_TRUE(Intersect(out, {limit, 0, 0, 0}, flat));
  EXPECT_FALSE(Intersect(out, {3, 0, 0, 0}, flat, 4));
}

TEST(Geometry, DistancesAndSides) {
  CLine line;
  LineThrough(line, CPointF{0, 1}, CPointF{4, 4});
  EXPECT_FLOAT_EQ(DistanceSquared(line, 3, -3), 25);
  EXPECT_NEAR(DistanceSquared(line, 8, 7), 0, 1e-10);
  EXPECT_TRUE(std::isnan(DistanceSquared({}, 1, 1)));

  constexpr std::int32_t low = std::numeric_limits<std::int32_t>::min();
  constexpr std::int32_t high = std::numeric_limits<std::int32_t>::max();
  const struct {
    CPointI p, q, r;
    bool integers, floats;
  } cases[] = {
      {{0, 0}, {10, 0}, {5, -1}, true, true},
      {{0, 5}, {10, 5}, {5, 4}, true, true},
      {{0, 0}, {10, 0}, {5, 1}, false, false},
      {{0, 0}, {10, 0}, {20, 0}, false, false},
      {{3, 3}, {3, 3}, {5, 9}, false, false},
      {{2, 7}, {2, -7}, {1, 0}, true, true},
      // 2^16 * 2^15 is beyond 31 bits: what is positive in float has the sign bit here.
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
  Logger().AddStream(new CFunctionLogStream(
      [](int level, const char* text) { logLines.emplace_back(level, text); }));
  // The ends of a segment, a point, how it is told to be off, and the foot if there is one.
  const std::tuple<CPointF, CPointF, CPointF, const char*, std::optional<CPointF>> cases[] = {
      {{0, 0}, {10, 0}, {4, 0}, "", CPointF{4, 0}},
      {{0, 0}, {10, 0}, {4, 2.5f}, "Nincs rajta 0 d = 2.500!\n", {}},
      {{0, 0}, {10, 0}, {-1, 0}, "Nincs rajta 1!\n", {}},
      {{0, 0}, {10, 0}, {11, 0}, "Nincs rajta 2!\n", CPointF{10, 0}},
      {{5, 9}, {5, 1}, {5, 0}, "Nincs rajta 2!\n", CPointF{5, 1}},
      {{5, 9}, {5, 1}, {5, 9}, "", CPointF{5, 9}},
      {{5, 5}, {5, 5}, {5, 5}, "", CPointF{5, 5}},
      {{5, 5}, {5, 5}, {5, 4}, "Nincs rajta 1!\n", {}}};
  for (const auto& [a, b, p, text, foot] : cases) {
    logLines.clear();
    CPointF out{77, 78};
    EXPECT_EQ(PointOnSegment(a, b, p, out), foot.has_value());
    EXPECT_EQ(logLines, std::vector<LogLine>(*text ? 1 : 0, LogLine(1, text)));
    EXPECT_EQ(out.x, foot ? foot->x : 77);
    EXPECT_EQ(out.y, foot ? foot->y : 78);
  }
  CPointF out;
  EXPECT_TRUE(PointOnSegment({0, 0}, {10, 0}, {4, 2.5f}, out, 2.5f));
}

}  // namespace
