#include "tests/support/export_fixture.h"

#include <array>

namespace {

using TriangulationExports = ExportTest;
constexpr char api[] = "main/target/windll/imgproc_api";
constexpr char null[] = "Using null-pointer";

TEST_F(TriangulationExports, NullArguments) {
  void* const handle = ztlib_triangulation_create();
  float value = 5;
  ztlib_triangulation_destroy(nullptr);
  ztlib_triangulation_init(nullptr, 0, 0, 9, 9, 1);
  ExpectFailure("ztlib_triangulation_init", api, null);
  ztlib_triangulation_addPoint(nullptr, 1, 1, &value, 1);
  ExpectFailure("ztlib_triangulation_addPoint", api, null);
  ztlib_triangulation_finalize(nullptr);
  ExpectFailure("ztlib_triangulation_finalize", api, null);
  ztlib_triangulation_estimate(nullptr, 1, 1, &value, 1);
  ExpectFailure("ztlib_triangulation_estimate", api, null);

  constexpr char inside[] = "main/lib/calib/triangulation";
  ztlib_triangulation_init(handle, 0, 0, 9, 9, 1);
  ztlib_triangulation_addPoint(handle, 1, 1, nullptr, 1);
  ExpectFailure("ztlib_triangulation_addPoint", inside, null);
  ztlib_triangulation_estimate(handle, 1, 1, nullptr, 1);
  ExpectFailure("ztlib_triangulation_estimate", inside, null);
  ztlib_triangulation_addPoint(handle, 1, 1, nullptr, 0);
  ztlib_triangulation_addPoint(handle, 2, 1, nullptr, -1);
  ztlib_triangulation_estimate(handle, 1, 1, nullptr, 0);
  EXPECT_EQ(value, 5);
  ztlib_triangulation_destroy(handle);
  ExpectNoFailure();
}

TEST_F(TriangulationExports, EstimatesFollowTheOrderOfCalls) {
  void* const handle = ztlib_triangulation_create();
  const auto estimate = [&](int count) {
    std::array<float, 4> out{-7, -7, -7, -7};
    ztlib_triangulation_estimate(handle, 4, 5, out.data(), count);
    return out;
  };
  using Four = std::array<float, 4>;
  EXPECT_EQ(estimate(2), (Four{-7, -7, -7, -7}));  // not before init
  ztlib_triangulation_init(handle, 0, 0, 12, 12, 3);
  ztlib_triangulation_finalize(handle);
  EXPECT_EQ(estimate(2), (Four{0, 0, -7, -7}));  // the frame alone
  for (int i = 0; i < 144; i += 3) {
    const float values[] = {7, float(i % 12), float(i / 12)};
    ztlib_triangulation_addPoint(handle, i % 12, i / 12, values, 3);
  }
  const Four early = estimate(3);
  EXPECT_NEAR(early[0], 7, 1e-5);
  EXPECT_NEAR(early[1], 4, 1e-5);
  EXPECT_NEAR(early[2], 5, 1e-5);
  ztlib_triangulation_finalize(handle);
  EXPECT_EQ(estimate(3), early);
  EXPECT_EQ(estimate(1), (Four{early[0], -7, -7, -7}));
  EXPECT_EQ(estimate(4), Four{});
  ztlib_triangulation_init(handle, 0, 0, 12, 12, 3);
  EXPECT_EQ(estimate(3), (Four{0, 0, 0, -7}));
  ztlib_triangulation_destroy(handle);
  ExpectNoFailure();
}

}  // namespace
