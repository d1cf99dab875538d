#pragma once

#include <string>

// Decodes all frames of a .zts file and prints a checksum of each picture in ZTLIB_RGB, in the form
// of FFmpeg's framemd5 for 25 frames a second; two systems can compare them line by line. The exit
// status.
[[nodiscard]] int PrintFrameChecksums(const std::string& path);
