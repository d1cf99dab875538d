#include "fuzz/input.h"
#include "fuzz/require.h"
#include "include/ztlib.h"
#include "tests/support/triangulation_model.h"

#include <iterator>

// The input has calls in any order, after which library and model must agree. A call is a byte,
// then 32-bit coordinates and, in bytes, a signed number of dimensions, a number of values with the
// values, or a number of floats to estimate. One kind of call adds a point close to the centre of a
// triangle, where it joins the mesh; its coordinates are the triangle's number and a distance.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > 4096) return 0;
  Input in{{data, size}};
  void* const handle = ztlib_triangulation_create();
  TriangulationModel model;
  while (!in.rest.empty()) {
    const int call = in.Byte() % 5;
    if (call == 2) {
      ztlib_triangulation_finalize(handle);
      static_cast<void>(model.Finalize());
      continue;
    }
    std::int32_t x = in.Take<std::int32_t>(), y = in.Take<std::int32_t>();
    if (call == 4 && model.initialised) {
      const auto& near = *std::next(model.triangles.begin(),
                                    static_cast<std::uint32_t>(x) % model.triangles.size());
      x = static_cast<std::int32_t>(std::clamp(near.second.x, -2e9f, 2e9f)) + y % 2;
      y = static_cast<std::int32_t>(std::clamp(near.second.y, -2e9f, 2e9f));
    }
    if (call == 0) {
      const std::int32_t right = in.Take<std::int32_t>(), bottom = in.Take<std::int32_t>();
      const auto dimensions = static_cast<std::int8_t>(in.Byte());
      ztlib_triangulation_init(handle, x, y, right, bottom, dimensions);
      model.Init(x, y, right, bottom, dimensions);
    } else if (call != 3) {
      std::vector<float> values(in.Byte() % 8);
      for (float& value : values)
        value = static_cast<float>(in.Byte()) - 100;
      ztlib_triangulation_addPoint(handle, x, y, values.data(),
                                   static_cast<std::int32_t>(values.size()));
      model.AddPoint(x, y, values);
    } else {
      const std::int32_t count = in.Byte() % 16 - 2;
      std::vector<float> found(16, -7), expected(16, -7);
      ztlib_triangulation_estimate(handle, x, y, found.data(), count);
      if (const auto estimate = model.Estimate(x, y, count))
        std::copy(estimate->begin(), estimate->end(), expected.begin());
      for (std::size_t i = 0; i < found.size(); ++i)
        Require(found[i] == expected[i] || (found[i] != found[i] && expected[i] != expected[i]));
    }
  }
  ztlib_triangulation_destroy(handle);
  return 0;
}
