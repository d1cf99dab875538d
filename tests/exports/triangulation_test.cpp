#include "tests/support/export_fixture.h"

namespace {

using TriangulationExports = ExportTest;

// What the calls do beyond that is checked beside the model.
TEST_F(TriangulationExports, NullArguments) {
  void* const handle = ztlib_triangulation_create();
  float value = 5;
  ztlib_triangulation_destroy(nullptr);
  ztlib_triangulation_init(handle, 0, 0, 9, 9, 1);
  constexpr char api[] = "main/target/windll/imgproc_api";
  constexpr char inside[] = "main/lib/calib/triangulation";
  const std::tuple<const char*, const char*, std::function<void()>> calls[] = {
      {"init", api, [] { ztlib_triangulation_init(nullptr, 0, 0, 9, 9, 1); }},
      {"addPoint", api, [&] { ztlib_triangulation_addPoint(nullptr, 1, 1, &value, 1); }},
      {"finalize", api, [] { ztlib_triangulation_finalize(nullptr); }},
      {"estimate", api, [&] { ztlib_triangulation_estimate(nullptr, 1, 1, &value, 1); }},
      {"addPoint", inside, [&] { ztlib_triangulation_addPoint(handle, 1, 1, nullptr, 1); }},
      {"estimate", inside, [&] { ztlib_triangulation_estimate(handle, 1, 1, nullptr, 1); }}};
  for (const auto& [name, source, call] : calls) {
    call();
    ExpectFailure(std::string("ztlib_triangulation_") + name, source, "Using null-pointer");
  }
  ztlib_triangulation_addPoint(handle, 1, 1, nullptr, 0);
  ztlib_triangulation_addPoint(handle, 2, 1, nullptr, -1);
  ztlib_triangulation_estimate(handle, 1, 1, nullptr, 0);
  EXPECT_EQ(value, 5);
  ztlib_triangulation_destroy(handle);
  ExpectNoFailure();
}

}  // namespace
