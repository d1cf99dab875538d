#include "tests/equality/steps.h"

#include <array>

namespace {

// Points join a mesh close to the centres of its triangles, so in a small frame many join.
void AnyCalls(Draw& draw) {
  void* const handle = ztlib_triangulation_create();
  int left = 0, top = 0, dimensions = 0;
  std::int64_t side = 0;
  const auto place = [&](int from) {
    const std::int64_t at = std::int64_t{from} + draw.Between(-1, static_cast<int>(side) + 1);
    return static_cast<std::int32_t>(at);
  };
  for (int calls = 0; calls < 80; ++calls) {
    const std::uint32_t call = calls == 0 ? 0 : draw.Below(60);
    if (call == 0) {
      constexpr int corners[] = {0, -7, 30000, -2147483647 - 1, 2147483600, 65000};
      left = corners[draw.Below(6)];
      top = corners[draw.Below(6)];
      side = draw.Between(-1, 45);
      dimensions = draw.Between(-1, 5);
      ztlib_triangulation_init(handle, left, top, static_cast<std::int32_t>(left + side),
                               static_cast<std::int32_t>(top + side), dimensions);
      continue;
    }
    if (call == 1) ztlib_triangulation_finalize(handle);
    const std::int32_t x = place(left), y = place(top);
    if (call < 40) {
      std::array<float, 8> values{};
      for (float& value : values)
        value = static_cast<float>(draw.Between(-100, 155));
      const std::int32_t count = draw.Below(5) == 0 ? draw.Between(0, 7) : dimensions;
      ztlib_triangulation_addPoint(handle, x, y, values.data(), count);
      continue;
    }
    std::array<float, 16> estimate{};
    estimate.fill(-7);
    ztlib_triangulation_estimate(handle, x, y, estimate.data(), draw.Between(-1, 14));
    for (const float value : estimate)
      MixFloat(value);
  }
  ztlib_triangulation_destroy(handle);
}

// Points on the middle line of a long frame, where every triangle is long.
void LongTriangles() {
  constexpr std::int32_t width = 1 << 16;
  void* const handle = ztlib_triangulation_create();
  ztlib_triangulation_init(handle, 0, 0, width, 64, 1);
  for (std::int32_t part = 2; part <= 1024; part *= 2)
    for (std::int32_t at = 1; at < part; at += 2) {
      const auto value = static_cast<float>(at);
      ztlib_triangulation_addPoint(handle, width / part * at, 31, &value, 1);
    }
  ztlib_triangulation_finalize(handle);
  for (std::int32_t x = 0; x < width; x += 77) {
    float estimate = -7;
    ztlib_triangulation_estimate(handle, x, x % 64, &estimate, 1);
    MixFloat(estimate);
  }
  ztlib_triangulation_destroy(handle);
}

// So many that the triangles are searched through a grid.
void ManyTriangles() {
  constexpr int side = 64;
  Draw draw(1);
  void* const handle = ztlib_triangulation_create();
  ztlib_triangulation_init(handle, 0, 0, side, side, 1);
  for (int i = 0; i < 3000; ++i) {
    const auto value = static_cast<float>(i);
    const std::int32_t x = draw.Between(0, side);
    const std::int32_t y = draw.Between(0, side);
    ztlib_triangulation_addPoint(handle, x, y, &value, 1);
  }
  ztlib_triangulation_finalize(handle);
  for (int place = 0; place < side * side; ++place) {
    float estimate = -7;
    ztlib_triangulation_estimate(handle, place % side, place / side, &estimate, 1);
    MixFloat(estimate);
  }
  ztlib_triangulation_destroy(handle);
}

}  // namespace

void Triangulations() {
  for (std::uint32_t seed = 0; seed < 10; ++seed)
    Step("triangulation of any calls " + std::to_string(seed), [seed] {
      Draw draw(seed);
      for (int round = 0; round < 200; ++round)
        AnyCalls(draw);
    });
  Step("triangulation of long triangles", LongTriangles);
  Step("triangulation of many triangles", ManyTriangles);
}
