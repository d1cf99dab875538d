#pragma once

#include "tests/kit/bytes.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <initializer_list>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

// Tests of all kinds use these.

using kit::Bytes;

// Returns the text of the exception that a call throws, which must be of this class.
template <class Exception = std::exception, class Call>
std::string TextOf(Call&& call) {
  try {
    call();
  } catch (const Exception& e) {
    return e.what();
  }
  return "no exception";
}
// Returns the message of a text "Exception [source:line] - message".
template <class Exception = std::exception, class Call>
std::string MessageOf(Call&& call) {
  const std::string text = TextOf<Exception>(call);
  const std::size_t place = text.find("] - ");
  return place == std::string::npos ? text : text.substr(place + 4);
}

// Writes a little-endian field, for which it makes room.
template <class T>
void Put(Bytes& bytes, std::size_t at, T value) {
  bytes.resize(std::max(bytes.size(), at + sizeof value));
  std::memcpy(&bytes[at], &value, sizeof value);
}
template <class T>
T Get(const Bytes& bytes, std::size_t at) {
  T value;
  std::memcpy(&value, &bytes.at(at + sizeof value - 1) - (sizeof value - 1), sizeof value);
  return value;
}

// Returns 32-bit words one after the other, then zeros up to the size.
inline Bytes Words(std::size_t size, std::initializer_list<std::int64_t> words) {
  Bytes bytes(size);
  std::size_t at = 0;
  for (const std::int64_t word : words) {
    std::memcpy(&bytes.at(at), &word, 4);
    at += 4;
  }
  return bytes;
}

inline Bytes NoiseBytes(std::size_t size, unsigned seed = 1) {
  std::mt19937 random(seed);
  Bytes bytes(size);
  for (std::uint8_t& byte : bytes)
    byte = static_cast<std::uint8_t>(random());
  return bytes;
}

// Returns random bytes with many values at the ends and around the middle, where rounding shows.
inline Bytes EdgyBytes(std::size_t size) {
  static std::mt19937 random(20);
  constexpr std::uint8_t edges[] = {0, 1, 126, 127, 128, 129, 254, 255};
  Bytes bytes(size);
  for (auto& byte : bytes) {
    const auto value = static_cast<std::uint32_t>(random());
    byte = value & 0x100 ? edges[value & 7] : static_cast<std::uint8_t>(value);
  }
  return bytes;
}

// Returns the FNV-1a hash, for results that are recorded as a number.
inline std::uint64_t HashOf(const Bytes& bytes) {
  std::uint64_t hash = 0xcbf29ce484222325;
  for (const std::uint8_t byte : bytes)
    hash = (hash ^ byte) * 0x100000001b3;
  return hash;
}

// Calls `work` with 0 to 3 on four threads at once; returns how many calls returned false.
template <class Work>
int FailuresOnThreads(Work work) {
  std::atomic<int> failures = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([&, t] { failures += work(t) ? 0 : 1; });
  for (std::thread& thread : threads)
    thread.join();
  return failures;
}
