#pragma once

#include "ztlib.hpp"

#include <cstdint>
#include <vector>

// An area of moving pixels that hang together, in pixels of the plane that was watched.
struct CMotionBlob {
  int left = 0, top = 0, width = 0, height = 0;
  std::int64_t pixels = 0;
};

// How far the first of the detectors is from the first frame to the signal, 0 to 100.
[[nodiscard]] double Progress(const ztlib::MotionResult& result);

// The moving pixels of a detector that count, joined where gaps are narrower than a few pixels; the
// largest comes first.
[[nodiscard]] std::vector<CMotionBlob> FindBlobs(const ztlib::MotionAreaResult& detector,
                                                 const std::vector<bool>& counted, int width,
                                                 int height);
