#include "fuzz/input.h"
#include "fuzz/require.h"
#include "include/ztlib.h"

#include <algorithm>
#include <array>
#include <vector>

// Calls in any order. Each is a byte, then its 32-bit coordinates and, in bytes, a signed number of
// dimensions, a number of values with the values, or a number of floats to estimate.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > 4096) return 0;
  Input in{{data, size}};
  void* const handle = ztlib_triangulation_create();
  while (!in.rest.empty()) {
    const int call = in.Byte() % 4;
    if (call == 2) {
      ztlib_triangulation_finalize(handle);
      continue;
    }
    const std::int32_t x = in.Take<std::int32_t>(), y = in.Take<std::int32_t>();
    if (call == 0) {
      const std::int32_t right = in.Take<std::int32_t>(), bottom = in.Take<std::int32_t>();
      ztlib_triangulation_init(handle, x, y, right, bottom, static_cast<std::int8_t>(in.Byte()));
    } else if (call == 1) {
      std::vector<float> values(in.Byte() % 8);
      for (float& value : values)
        value = static_cast<float>(in.Byte()) - 100;
      ztlib_triangulation_addPoint(handle, x, y, values.data(),
                                   static_cast<std::int32_t>(values.size()));
    } else {
      // The same twice, and nothing behind what was asked for.
      const std::int32_t count = in.Byte() % 16 - 2;
      std::array<float, 16> first, second;
      for (std::array<float, 16>* const found : {&first, &second}) {
        found->fill(-7);
        ztlib_triangulation_estimate(handle, x, y, found->data(), count);
      }
      Require(
          std::ranges::equal(std::as_bytes(std::span(first)), std::as_bytes(std::span(second))));
      Require(std::all_of(first.begin() + std::max(count, 0), first.end(),
                          [](float value) { return value == -7; }));
    }
  }
  ztlib_triangulation_destroy(handle);
  return 0;
}
