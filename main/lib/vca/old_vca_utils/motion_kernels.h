#pragma once

#include "main/lib/base/processor.h"

#include <cstddef>
#include <cstdint>

namespace ztlib {

// What the background model does with one frame.
struct MotionStep {
  float threshold;     // factor on the variance that bounds the background
  float ceiling;       // of the stored variance
  float minDeviation;  // squared gray difference that is never motion
  float fastRate;      // at which the variance of the background follows
  float slowRate;      // at which all else follows
};

struct MotionCounts {
  std::int64_t motion = 0;
  std::int64_t bigChange = 0;
  std::int64_t highVariance = 0;
};

// The work of the background model on rows, which may lie at any address.
struct MotionKernels {
  using Classify = void (*)(float* mean, float* variance, std::uint8_t* motion,
                            const std::uint8_t* gray, std::size_t count, const MotionStep& step,
                            MotionCounts& counts);

  // Adds frame number `frame`, counted from 1, to the running sums.
  void (*learn)(float* mean, float* variance, const std::uint8_t* gray, std::size_t count,
                float frame);
  void (*scale)(float* values, std::size_t count, float factor);

  // Classify `count` pixels, update their statistics and add to the counts. A motion byte is 0 for
  // background, and for motion 255 or the distance from the threshold.
  Classify classifyBinary;
  Classify classifyGraded;

  // Clears the bytes of a row that are set and have no set neighbour among all eight, except for
  // the first and the last. Gives the number cleared. Such a byte is nobody's neighbour, so rows
  // may be done in any order and in place.
  std::int64_t (*despeckle)(std::uint8_t* row, std::ptrdiff_t stride, std::size_t width);

  // The number of bytes that are not 0.
  std::int64_t (*countSet)(const std::uint8_t* bytes, std::size_t count);

  // One bit for each byte that is not 0, lowest bit first, the last bits of a part byte 0.
  void (*packBits)(std::uint8_t* bits, const std::uint8_t* bytes, std::size_t count);

  ZT_KERNEL_TABLES(MotionKernels);
};

}  // namespace ztlib
