#pragma once

#include <cstdint>

namespace ztlib {

// In pixels.
struct Size {
  std::int64_t width = 0;
  std::int64_t height = 0;
};

// One plane of bytes that somebody else keeps alive; rows are `stride` bytes apart.
struct GrayView {
  std::int64_t width = 0;
  std::int64_t height = 0;
  const std::uint8_t* data = nullptr;
  std::int64_t stride = 0;
};

}  // namespace ztlib
