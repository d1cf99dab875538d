#pragma once

#include "tests/kit/image.h"

#include <cstdio>
#include <cstring>
#include <random>
#include <string>

// The programs of this folder share this header. They print one line per step with a hash of what
// the library made; every system and instruction set has to print the same lines.

using kit::Bytes;

inline std::uint64_t hash = 0;  // of the present step

// Adds values without padding to the hash, which is FNV-1a.
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

// The stack of every step begins so many times 16 bytes lower, as calls may come from anywhere.
inline std::size_t stackShift = 0;
// Reads it from the arguments of the program.
inline void ReadStackShift(int count, char** arguments) {
  if (count > 1) stackShift = std::stoul(arguments[1]);
}

template <class Work>
[[gnu::noinline]] void RunOnLowerStack(Work&& work) {
  auto* const room = static_cast<volatile char*>(__builtin_alloca(16 * (stackShift + 1)));
  room[0] = 0;
  work();
}

template <class Work>
void Step(const std::string& name, Work&& work) {
  hash = 0xcbf29ce484222325;
  RunOnLowerStack(work);
  std::printf("%-40s %016llx\n", name.c_str(), static_cast<unsigned long long>(hash));
}

inline Bytes Noise(std::size_t size, std::uint32_t seed) {
  Bytes bytes(size);
  for (auto& byte : bytes) {
    seed = seed * 1664525 + 1013904223;
    byte = static_cast<std::uint8_t>(seed >> 24);
  }
  return bytes;
}

inline constexpr const char* formatNames[] = {
    "bool8", "gray", "rgb", "yuv", "yuyv", "uyvy", "rgbbayer", "yuvbayerblock", "yuv420block"};

template <class Image>
void MixRows(const Image& image) {
  for (auto y = image.GetDy(); y-- > 0;)
    Mix(std::span(image.GetPtr() + y * image.GetScanline(),
                  static_cast<std::size_t>(image.GetDx())));
}

// Adds a picture to the hash without the unused bytes of four-byte pixels.
inline void MixPicture(const kit::Frame& frame) {
  Mix(frame.width);
  Mix(frame.height);
  Mix(frame.format);
  Bytes picture(frame.Picture().begin(), frame.Picture().end());
  if (frame.format == ZTLIB_RGB || frame.format == ZTLIB_YUV)
    for (std::size_t i = 3; i < picture.size(); i += 4)
      picture[i] = 0;
  Mix(std::span(picture));
}
inline void MixImage(const kit::Image& image) {
  if (const kit::Frame* const frame = kit::FrameOf(image)) MixPicture(*frame);
}
inline void MixFloat(float value) {
  // The compiler chooses the bits of NaN, so all of them count as one number.
  Mix(value == value ? value : -12345.0F);
}

// Draws random numbers of 32 bits, which are the same everywhere.
class Draw {
 public:
  explicit Draw(std::uint32_t seed) : random(seed) {}
  std::uint32_t operator()() { return static_cast<std::uint32_t>(random()); }
  std::uint32_t Below(std::uint32_t limit) { return (*this)() % limit; }
  int Between(int low, int high) {
    return low + static_cast<int>(Below(static_cast<std::uint32_t>(high - low + 1)));
  }

 private:
  std::mt19937 random;
};

// What both exports tell of a frame.
void FrameInformation(const Bytes& coded);

// The steps of a subject that has a file of its own.
void Calibrations();
void ConversionSizes();
void LayeredPictures();
void MotionModels();
void Triangulations();
void DifferentialVideo();
void CodedFrames();
void Masks();
void Histograms();
void Trees();
void Pictures();
void MotionDetectors();
