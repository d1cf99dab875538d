#pragma once

#include "client/statistics.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

struct CFrameFigures {
  std::uint32_t bytes = 0;
  double lumaPsnr = 0, chromaPsnr = 0;  // in dB
};

// One frame to look at: image files of the whole pictures and of the detail that lost most.
struct CMoment {
  std::int64_t index = 0;
  std::string sourceJpeg, decodedJpeg;
  std::string sourceDetailPng, decodedDetailPng, differenceDetailPng;
};

struct CReport {
  std::string name;  // of the input
  int width = 0, height = 0, quality = 0;
  std::vector<CFrameFigures> frames;
  CPictureError error;  // of all frames together
  std::vector<CMoment> moments;
  std::vector<CStage> stages;
  double encodesPerSecond = 0, decodesPerSecond = 0;
};

// How much stronger than they are the differences of the detail are shown.
inline constexpr int differenceGain = 8;

// One HTML page with everything in it.
[[nodiscard]] std::string HtmlReport(const CReport& report);

// The first line of the page.
[[nodiscard]] std::string ReportSummary(const CReport& report);
