#pragma once

#include "include/ztlib.hpp"

namespace kit {

using Bytes = ztlib::Bytes;

// A ztlib_output that keeps the last block that it was handed; `user` is a Bytes.
inline void Collect(void* user, const void* data, std::uint32_t size) {
  const auto* const bytes = static_cast<const std::uint8_t*>(data);
  static_cast<Bytes*>(user)->assign(bytes, bytes + size);
}

}  // namespace kit
