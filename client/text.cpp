#include "client/text.h"

#include <array>
#include <cinttypes>
#include <cstdarg>
#include <cstdio>

std::string Text(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): it is, one line above
  const int length = std::vsnprintf(nullptr, 0, format, arguments);
  va_end(arguments);
  std::string text(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
  va_start(arguments, format);
  std::vsnprintf(text.data(), text.size() + 1, format, arguments);
  va_end(arguments);
  return text;
}

std::string ByteText(std::uint64_t bytes) {
  static constexpr std::array units{"kB", "MB", "GB", "TB"};
  if (bytes < 1000) return Text("%" PRIu64 " B", bytes);
  double value = static_cast<double>(bytes) / 1000;
  std::size_t unit = 0;
  for (; value >= 999.95 && unit + 1 < units.size(); ++unit)
    value /= 1000;
  return Text("%.1f %s", value, units[unit]);
}

std::string CountText(std::int64_t count, std::string_view noun) {
  return Text("%" PRId64 " %.*s%s", count, static_cast<int>(noun.size()), noun.data(),
              count == 1 ? "" : "s");
}
