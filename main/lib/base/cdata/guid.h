#pragma once

#include <cstdint>
#include <string>

namespace ztlib {

// A globally unique identifier, its bytes in the order of its text.
struct CGuid {
  std::uint8_t bytes[16] = {};
  [[nodiscard]] bool IsEmpty() const;
  [[nodiscard]] static CGuid Generate();
  // Reads the text without braces. Text behind the last digit is ignored; on failure `out` stays.
  [[nodiscard]] static bool Parse(const char* text, CGuid& out);
  // "{8-4-4-4-12}", upper case, bytes in order of memory.
  [[nodiscard]] std::string ToString() const;
  bool operator==(const CGuid&) const = default;
};

}  // namespace ztlib
