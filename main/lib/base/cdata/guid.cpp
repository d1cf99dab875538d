#include "main/lib/base/cdata/guid.h"

#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <exception>
#include <random>

namespace ztlib {

bool CGuid::IsEmpty() const {
  return *this == CGuid{};
}

CGuid CGuid::Generate() {
  CGuid guid;
  std::array<std::uint32_t, 4> words;
  try {
    std::random_device device;
    for (std::uint32_t& word : words)
      word = device();
  } catch (const std::exception&) {
    // No source of randomness: at least no two of this process are the same.
    static std::atomic<std::uint32_t> counter{0};
    const auto now = std::chrono::system_clock::now().time_since_epoch().count();
    const auto ticks = std::chrono::steady_clock::now().time_since_epoch().count();
    const auto place = reinterpret_cast<std::uintptr_t>(&guid);
    words = {static_cast<std::uint32_t>(now), static_cast<std::uint32_t>(ticks),
             static_cast<std::uint32_t>(place), counter++};
  }
  std::memcpy(guid.bytes, words.data(), sizeof guid.bytes);
  guid.bytes[6] = static_cast<std::uint8_t>((guid.bytes[6] & 0x0F) | 0x40);
  guid.bytes[8] = static_cast<std::uint8_t>((guid.bytes[8] & 0x3F) | 0x80);
  return guid;
}

bool CGuid::Parse(const char* text, CGuid& out) {
  CGuid read;
  std::uint8_t* b = read.bytes;
  if (text == nullptr ||
      std::sscanf(text,
                  "%02hhx%02hhx%02hhx%02hhx-%02hhx%02hhx-%02hhX%02hhx-%02hhx%02hhx-"
                  "%02hhx%02hhx%02hhx%02hhx%02hhx%02hhx",
                  b, b + 1, b + 2, b + 3, b + 4, b + 5, b + 6, b + 7, b + 8, b + 9, b + 10, b + 11,
                  b + 12, b + 13, b + 14, b + 15) != 16)
    return false;
  out = read;
  return true;
}

std::string CGuid::ToString() const {
  static constexpr char digits[] = "0123456789ABCDEF";
  std::string text = "{";
  for (int i = 0; i < 16; ++i) {
    if (i == 4 || i == 6 || i == 8 || i == 10) text += '-';
    text += digits[bytes[i] >> 4];
    text += digits[bytes[i] & 15];
  }
  return text += '}';
}

}  // namespace ztlib
