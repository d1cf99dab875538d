#pragma once

#include "client/mesh.h"
#include "client/record_settings.h"

#include <array>
#include <string>
#include <vector>

// Each command returns the exit status; what stops it is thrown as CError.

struct CRecordOptions {
  std::string input, output;
  CRecordSettings settings;
};
int Record(const CRecordOptions& options);

struct CPlayOptions {
  std::string input;
  int scale = 1;
  int pixels = ZTLIB_RGB;
  double framesPerSecond = 25;
  std::string pngFolder, y4m, video;
  int dropType = -1;  // an EFrameType; -1: none
  std::int64_t dropEvery = 1;
};
int Play(const CPlayOptions& options);

struct CInfoOptions {
  std::string input;
  bool isJson = false;
};
int Info(const CInfoOptions& options);

struct CDemoOptions {
  std::string input;  // empty: the synthetic scene
  std::string folder = "demo";
  std::string motionConfig;  // as for motion; the synthetic scene has its own
  CRecordSettings settings;
};
int Demo(const CDemoOptions& options);

struct CHistogramOptions {
  std::string picture;
  std::string mask, png;  // empty: none
};
int Histogram(const CHistogramOptions& options);

struct CMotionOptions {
  std::string input;
  std::string config;  // empty: one detector with the library's defaults
  int width = 320;     // at most, of what the detectors get
  std::int64_t frames = 0;
  double framesPerSecond = 25;  // of a .zts file
  std::string json, pngFolder, video;
};
int Motion(const CMotionOptions& options);

struct CTreeOptions {
  std::string input;
  bool isCompact = false;
};
int Tree(const CTreeOptions& options);

struct CCalibrateOptions {
  std::string picture, configuration, picturePng;
};
int Calibrate(const CCalibrateOptions& options);

struct CTriangulateOptions {
  std::string points;
  CFrameBox frame{};
  std::vector<std::array<std::int32_t, 2>> places;
  std::string png;  // empty: none
};
int Triangulate(const CTriangulateOptions& options);
