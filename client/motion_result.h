#pragma once

#include "client/motion_settings.h"

#include <cstdint>
#include <span>
#include <vector>

// An area of moving pixels that hang together, in pixels of the plane that was watched.
struct CMotionBlob {
  int left = 0, top = 0, width = 0, height = 0;
  std::int64_t pixels = 0;
};

struct CDetectorResult {
  double detectPercent = 0;  // moving pixels, of the picture
  double alarmPercent = 0;   // 0 to 100 on the way to the signal, and 1 in it
  // Bit i % 8 of byte i / 8 is pixel i, row by row; empty if there is no bitmap.
  std::vector<std::uint8_t> bits;

  [[nodiscard]] bool IsMoving(std::size_t pixel) const {
    return pixel / 8 < bits.size() && (bits[pixel / 8] >> pixel % 8 & 1) != 0;
  }
};

// What ztlib_simplemotion_detect found in a picture.
struct CMotionResult {
  bool isSignal = false;
  bool isConfigured = false;  // there is a result at all
  // Whether there is more than the signal: a configuration can leave the figures out.
  bool hasFigures = false;
  double detectPercent = 0;  // the largest of the detectors
  int width = 0, height = 0;
  std::vector<CDetectorResult> detectors;

  // From the first frame to the signal, 0 to 100.
  [[nodiscard]] double Progress() const;
};

// Reads a result block; what is missing in it stays as it is by default.
[[nodiscard]] CMotionResult ReadMotionResult(std::span<const std::uint8_t> block, bool isSignal);

// The moving pixels of a detector that count, joined where gaps are narrower than a few pixels; the
// largest comes first.
[[nodiscard]] std::vector<CMotionBlob> FindBlobs(const CDetectorResult& detector,
                                                 const std::vector<bool>& counted, int width,
                                                 int height);
