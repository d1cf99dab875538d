#include "main/lib/calib/triangulation.h"

#include "main/lib/base/exceptions.h"
#include "tests/support/common.h"
#include "tests/support/triangulation_model.h"

using namespace ztlib;

namespace {

constexpr std::int32_t low = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t high = std::numeric_limits<std::int32_t>::max();

// A triangulation and its model, told the same.
struct Pair {
  CTriangulation mesh;
  TriangulationModel model;

  void Init(std::int32_t x0, std::int32_t y0, std::int32_t x1, std::int32_t y1, int dimensions) {
    mesh.Init(x0, y0, x1, y1, dimensions);
    model.Init(x0, y0, x1, y1, dimensions);
  }
  void AddPoint(std::int32_t x, std::int32_t y, const std::vector<float>& values) {
    mesh.AddPoint(x, y, values.data(), static_cast<std::int32_t>(values.size()));
    model.AddPoint(x, y, values);
  }
  void Finalize() { EXPECT_EQ(mesh.Finalize(), model.Finalize()); }

  [[nodiscard]] std::vector<float> Estimate(std::int32_t x, std::int32_t y, std::int32_t count) {
    std::vector<float> out(static_cast<std::size_t>(std::max(count, 0)) + 1, -7);
    mesh.Estimate(x, y, out.data(), count);
    std::vector<float> expected = model.Estimate(x, y, count).value_or(std::vector<float>{});
    expected.resize(out.size(), -7);
    EXPECT_EQ(std::memcmp(out.data(), expected.data(), out.size() * sizeof(float)), 0)
        << x << ' ' << y << " n " << count << ": " << out[0] << " for " << expected[0];
    return out;
  }
  void ExpectSameState() const {
    ASSERT_EQ(mesh.GetTriangles().size(), model.triangles.size());
    auto expected = model.triangles.begin();
    for (const CTriangulation::CTriangle& t : mesh.GetTriangles())
      EXPECT_EQ((TriangulationModel::Corners{t.a, t.b, t.c}), (expected++)->second.corners);
    ASSERT_EQ(mesh.GetVertices().size(), model.points.size());
    for (std::size_t i = 0; i < model.points.size(); ++i)
      EXPECT_EQ(mesh.GetVertices()[i].values, model.values[i]) << i;
  }
};

TEST(Triangulation, EqualsItsModel) {
  std::mt19937 random(1);
  const std::array<std::int32_t, 4> frames[] = {
      {0, 0, 20, 20},        {-9, 4, 6, 30},         {0, 0, 640, 480},
      {100, 100, 1000, 103}, {low, low, high, high}, {0, 0, 70000, 70000},
      {5, 5, 5, 5},          {9, 9, 2, 2},           {high - 9, low, high, low + 9}};
  std::size_t largest = 0;
  for (const auto& [x0, y0, x1, y1] : frames)
    for (int round = 0; round < 12; ++round) {
      Pair pair;
      const int dimensions = round % 4 == 3 ? round % 3 - 1 : 2;
      pair.Init(x0, y0, x1, y1, dimensions);
      const auto between = [&](std::int64_t first, std::int64_t last) {
        return static_cast<std::int32_t>(std::uniform_int_distribution<std::int64_t>(
            std::min(first, last), std::max(first, last))(random));
      };
      for (int i = 0; i < 60; ++i) {
        std::int32_t x = between(x0, x1), y = between(y0, y1);
        if (round % 2 == 0) {  // close to where it joins the mesh
          auto it = pair.model.triangles.begin();
          std::advance(it, random() % pair.model.triangles.size());
          const auto near = [&](float center, std::int32_t other) {
            return std::fabs(center) < 2e9f ? static_cast<std::int32_t>(std::lround(center))
                                            : other;
          };
          x = near(it->second.x, x);
          y = near(it->second.y, y);
        }
        std::vector<float> values(round % 3 == 0 && i % 4 == 0 ? 1 : 2);
        for (float& value : values)
          value = std::uniform_real_distribution<float>(-100, 100)(random);
        pair.AddPoint(x, y, values);
        static_cast<void>(pair.Estimate(between(x0, x1), between(y0, y1), i % 4));
        if (i == 40 && round % 3 == 1) pair.Finalize();
      }
      pair.ExpectSameState();
      largest = std::max(largest, pair.model.triangles.size());
      for (int i = 0; i < 400; ++i) {
        if (i == 100) pair.Finalize();
        static_cast<void>(pair.Estimate(between(std::max<std::int64_t>(low, x0 - 5ll), x1),
                                        between(y0, std::min<std::int64_t>(high, y1 + 5ll)), 2));
      }
      pair.ExpectSameState();
      if (HasFailure()) FAIL() << "frame " << x0 << ' ' << y0 << ' ' << x1 << ' ' << y1;
    }
  EXPECT_GT(largest, 60U);
}

TEST(Triangulation, CallsWithoutEffect) {
  Pair pair;
  pair.AddPoint(1, 1, {1});
  pair.Finalize();
  EXPECT_EQ(pair.Estimate(1, 1, 2)[0], -7);
  pair.mesh.Estimate(1, 1, nullptr, 1);
  pair.ExpectSameState();

  pair.Init(0, 0, 12, 12, 2);
  pair.Finalize();
  EXPECT_EQ(pair.Estimate(5, 5, 2)[0], 0);
  pair.mesh.AddPoint(12, 5, nullptr, 1);  // refused before its values are looked at
  EXPECT_THROW(pair.mesh.AddPoint(4, 4, nullptr, 1), CException);
  EXPECT_THROW(pair.mesh.Estimate(4, 4, nullptr, 1), CException);
  pair.mesh.Estimate(4, 4, nullptr, 0);
  // Right and bottom edge, before the left edge, twice the same place; the left edge fits.
  for (const auto& [x, y] : {std::pair{12, 5}, {5, 12}, {-1, 5}, {5, -1}, {6, 6}, {6, 6}, {0, 0}})
    pair.AddPoint(x, y, {float(x), float(y)});
  EXPECT_EQ(pair.mesh.GetVertices().size(), 6U);
  EXPECT_EQ(pair.mesh.GetVertices()[4].values, (std::vector<float>{6, 6}));
  pair.ExpectSameState();
}

// The model too.
TEST(Triangulation, ValuesArePlanes) {
  Pair pair;
  pair.Init(0, 0, 12, 12, 2);
  for (int i = 0; i < 144; i += 3)
    pair.AddPoint(i % 12, i / 12, {float(i % 12), float(2 * (i % 12) - i / 12)});
  for (const float value : {pair.Estimate(4, 4, 2)[0], pair.Estimate(4, 4, 2)[1]})
    EXPECT_NEAR(value, 4, 1e-5);
}

}  // namespace
