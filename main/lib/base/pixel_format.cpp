#include "main/lib/base/pixel_format.h"

#include "main/lib/base/debug.h"

#include <array>

namespace ztlib {

namespace {

constexpr char source[] = "main/lib/base/pixel_format";

// The tenth row belongs to no format; the range test lets it through on purpose.
constexpr std::array<int, 10> sampleDx = {1, 1, 1, 1, 2, 2, 1, 2, 16, 0};
constexpr std::array<int, 10> sampleDy = {1, 1, 1, 1, 1, 1, 1, 2, 16, 0};

int Lookup(const std::array<int, 10>& table, PixelFormat format, const char* function, int line) {
  const auto row = static_cast<std::uint32_t>(format);
  if (row >= table.size()) ZT_THROW(CException, "Invalid range", function, source, line);
  return table[row];
}

}  // namespace

int GetSampleDx(PixelFormat format) {
  return Lookup(sampleDx, format, "GetSampleDx", 507);
}
int GetSampleDy(PixelFormat format) {
  return Lookup(sampleDy, format, "GetSampleDy", 516);
}

}  // namespace ztlib
