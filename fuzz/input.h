#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

// Reads an input as little-endian numbers and blocks; behind its end there are zeros.
struct Input {
  std::span<const std::uint8_t> rest;

  template <class T>
  T Take() {
    T value{};
    const std::size_t count = std::min(sizeof value, rest.size());
    if (count > 0) std::memcpy(&value, rest.data(), count);
    rest = rest.subspan(count);
    return value;
  }
  std::uint8_t Byte() { return Take<std::uint8_t>(); }
  std::size_t Short() { return Take<std::uint16_t>(); }
  // Returns as many bytes as the next two bytes say.
  std::vector<std::uint8_t> Block() {
    const std::size_t wanted = Short();
    const auto block = rest.first(std::min(wanted, rest.size()));
    rest = rest.subspan(block.size());
    return {block.begin(), block.end()};
  }
};
