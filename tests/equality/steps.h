#pragma once

#include "tests/support/common.h"

#include <cstdio>
#include <span>

// What the programs of this folder share. They print one line per step with a hash of what the
// library made; every system and instruction set has to print the same lines.

inline std::uint64_t hash = 0;  // of the present step

// FNV-1a. `values` have no padding.
template <class T, std::size_t extent>
void Mix(std::span<T, extent> values) {
  for (const std::byte byte : std::as_bytes(values))
    hash = (hash ^ static_cast<std::uint8_t>(byte)) * 0x100000001b3;
}
template <class T>
void Mix(const T& value) {
  Mix(std::span(&value, 1));
}
inline void Mix(const char* text) {
  Mix(std::span(text, std::strlen(text) + 1));
}

template <class Work>
void Step(const std::string& name, Work&& work) {
  hash = 0xcbf29ce484222325;
  work();
  std::printf("%-40s %016llx\n", name.c_str(), static_cast<unsigned long long>(hash));
}
