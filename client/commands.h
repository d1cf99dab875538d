#pragma once

#include "client/command_line.h"
#include "client/record_settings.h"

#include <string>
#include <vector>

// The commands of ztclient. What one does returns the exit status; what stops it is thrown as
// CError.

[[nodiscard]] CCommand RecordCommand();
[[nodiscard]] CCommand PlayCommand();
[[nodiscard]] CCommand LayersCommand();
[[nodiscard]] CCommand InfoCommand();
[[nodiscard]] CCommand DemoCommand();
[[nodiscard]] CCommand TriangulateCommand();
[[nodiscard]] CCommand MotionCommand();
[[nodiscard]] CCommand TreeCommand();

struct CRecordOptions {
  std::vector<std::string> inputs;
  std::string output;  // a pattern for NamesFor
  int threads = 0;     // 0: as many as there are cores
  int videoFormat = ZTLIB_VIDEO_MJPEG;
  bool hasPsnr = false;  // play each frame back and measure it
  CRecordSettings settings;
};
int Record(const CRecordOptions& options);

struct CDemoOptions {
  std::string input;  // empty: the synthetic scene
  std::string folder = "demo";
  std::string motionConfig;  // as for motion; the synthetic scene has its own
  CRecordSettings settings;
};
int Demo(const CDemoOptions& options);

struct CMotionOptions {
  std::string input;
  std::string config;  // empty: one detector with the library's defaults
  int width = 320;     // at most, of what the detectors get
  std::int64_t frames = 0;
  double framesPerSecond = 25;  // of a .zts file
  std::string json, pngFolder, video;
};
int Motion(const CMotionOptions& options);
