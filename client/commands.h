#pragma once

#include "client/record_settings.h"

#include <string>

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

struct CConvertOptions {
  std::string input, output;  // no output: a name made of the input's
  int from = -1, to = -1;     // of ztlib_pixel_format
  int width = 0, height = 0;  // of raw input
};
int Convert(const CConvertOptions& options);

struct CDemoOptions {
  std::string input;  // empty: the synthetic scene
  std::string folder = "demo";
  CRecordSettings settings;
};
int Demo(const CDemoOptions& options);
