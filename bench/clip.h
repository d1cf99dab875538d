#pragma once

#include "tests/kit/bytes.h"

#include <string>
#include <vector>

// A real clip for the benchmarks: the first pictures of the video that ZTLIB_BENCH_CLIP names,
// scaled to 1920 by 1080 in full range, as bytes of ZTLIB_UYVY.
struct CClip {
  std::string name;  // of the file, without folder and extension
  std::vector<kit::Bytes> pictures{};
};

// Null if the environment names no video. Throws CError if it cannot be read.
[[nodiscard]] const CClip* TheClip();
