#pragma once

#include "tests/support/common.h"
#include "tests/support/test_frames.h"

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

inline constexpr const char* formatNames[] = {
    "bool8", "gray", "rgb", "yuv", "yuyv", "uyvy", "rgbbayer", "yuvbayerblock", "yuv420block"};

// The client's frames; pictures start as zeros, so that bytes that stay unwritten are equal too.
using Frame = CTestFrames::Frame;
inline std::span<std::uint8_t> PictureOf(const Frame& frame) {
  return {frame.data, CTestFrames::PictureSize(frame.width, frame.height, frame.format)};
}

// The unused byte of four-byte pixels is nobody's result.
inline void MixPicture(const Frame& frame) {
  Mix(frame.width);
  Mix(frame.height);
  Mix(frame.format);
  Bytes picture(PictureOf(frame).begin(), PictureOf(frame).end());
  if (frame.format == 2 || frame.format == 3)
    for (std::size_t i = 3; i < picture.size(); i += 4)
      picture[i] = 0;
  Mix(std::span(picture));
}
