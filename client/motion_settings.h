#pragma once

#include "ztlib.hpp"

#include <cstdint>
#include <string>
#include <vector>

// One detector as the library will understand its configuration.
struct CDetectorSettings {
  double signalPercent = 0.2;  // of the picture; from here on it counts as motion
  double restorePercent = 0.2 * 0.66667;
  // x and y in turn; 16384 is the width of the picture on both axes. None watches all of it.
  std::vector<std::vector<std::int16_t>> polygons;
};

struct CMotionSettings {
  ztlib::Bytes block;  // as ztlib::Motion takes it
  std::int64_t violationMs = 0;
  std::vector<CDetectorSettings> detectors;  // never empty
};

// Reads a configuration, JSON with the keys of the tree; an empty path gives the defaults. Throws
// CError for what is no tree, and complains of keys that the library does not look at.
[[nodiscard]] CMotionSettings ReadMotionSettings(const std::string& path);

// The same of a text; `name` is for messages.
[[nodiscard]] CMotionSettings ParseMotionSettings(const std::string& text, const std::string& name);
