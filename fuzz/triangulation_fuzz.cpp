#include "fuzz/require.h"
#include "include/ztlib.h"
#include "tests/support/triangulation_model.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

namespace {

// What is left of the input; zeros behind its end.
class Input {
 public:
  explicit Input(std::span<const std::uint8_t> bytes) : rest(bytes) {}
  [[nodiscard]] bool IsEmpty() const { return rest.empty(); }
  std::uint8_t Byte() {
    std::uint8_t value = 0;
    Take(value);
    return value;
  }
  std::int32_t Int() {
    std::int32_t value = 0;
    Take(value);
    return value;
  }

 private:
  template <class T>
  void Take(T& value) {
    const std::size_t size = std::min(sizeof(value), rest.size());
    std::memcpy(&value, rest.data(), size);
    rest = rest.subspan(size);
  }

  std::span<const std::uint8_t> rest;
};

}  // namespace

// Calls in any order, of which the model beside the library makes the same. Each is a byte, then
// its 32-bit coordinates and, in bytes, a signed number of dimensions, a number of values with the
// values, or a number of floats to estimate.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > 4096) return 0;
  Input input({data, size});
  void* const handle = ztlib_triangulation_create();
  TriangulationModel model;
  while (!input.IsEmpty()) {
    const int call = input.Byte() % 4;
    if (call == 2) {
      ztlib_triangulation_finalize(handle);
      static_cast<void>(model.Finalize());
      continue;
    }
    const std::int32_t x = input.Int(), y = input.Int();
    if (call == 0) {
      const std::int32_t right = input.Int(), bottom = input.Int();
      const auto dimensions = static_cast<std::int8_t>(input.Byte());
      ztlib_triangulation_init(handle, x, y, right, bottom, dimensions);
      model.Init(x, y, right, bottom, dimensions);
    } else if (call == 1) {
      std::vector<float> values(input.Byte() % 8);
      for (float& value : values)
        value = static_cast<float>(input.Byte()) - 100;
      ztlib_triangulation_addPoint(handle, x, y, values.data(),
                                   static_cast<std::int32_t>(values.size()));
      model.AddPoint(x, y, values);
    } else {
      const std::int32_t count = input.Byte() % 16 - 2;
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
