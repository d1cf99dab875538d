#pragma once

#include "client/demo/circumstances.h"
#include "client/demo/svg_plot.h"
#include "client/motion_events.h"
#include "client/motion_settings.h"
#include "client/statistics.h"
#include "ztlib.hpp"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

struct CFrameFigures {
  std::uint32_t bytes = 0, blocks = 0;
  std::int32_t type = 0;                // a ztlib::CodedFrameType
  double lumaPsnr = 0, chromaPsnr = 0;  // in dB
};

// Places in CCoding::stages.
enum EStage : std::size_t { stageConvert, stageEncode, stageDecodeRgb, stageDecodeYuv };

// The clip in one video format.
struct CCoding {
  std::string name, settings{};  // the latter where it is not the library's
  int width = 0, height = 0;
  std::vector<CFrameFigures> frames{};
  CPictureError error{};         // of all frames together
  std::vector<CStage> stages{};  // one for each EStage

  [[nodiscard]] std::uint64_t Bytes() const;
  [[nodiscard]] double Seconds(EStage stage) const { return stages[stage].SecondsPerRun(); }
};

// One frame to look at: image files of the whole pictures and of the detail that lost most in
// differential video.
struct CMoment {
  std::int64_t index = 0;
  std::string typeName;  // of the differential frame
  std::string sourceJpeg, decodedJpeg;
  std::string sourceDetailPng, plainDetailPng, decodedDetailPng, differenceDetailPng;
};

// What differential video did: a frame of it, and how often each block was sent.
struct CBlockPictures {
  std::int64_t index = 0;
  std::string typeName;
  std::size_t blocks = 0, allBlocks = 0, listBytes = 0, stripBytes = 0;
  std::string markedJpeg, decodedJpeg, stripPng;
  std::string heatJpeg;
  double highestShare = 0;  // of the differential frames, of the block that was sent most
};

// Layered video: a frame cut to its first layers, and decoded at the factors 8, 4, 2 and 1 that
// need as many of them.
struct CLayerPictures {
  struct CCut {
    std::size_t bytes = 0;  // of the frame
    double share = 0;       // of the clip's bytes
    double lumaPsnr = 0;    // of the clip, in dB
    std::string jpeg;
  };
  struct CScale {
    int width = 0, height = 0;
    double seconds = 0;  // to decode a frame
    std::string jpeg;
  };
  std::int64_t index = 0;
  CCoding coding;  // of the whole frames
  std::array<CCut, 4> cuts;
  std::array<CScale, 4> scales;
};

struct CMotionPicture {
  std::size_t alarm = 0;  // which one
  std::string jpeg;       // its frame with most motion
};

// What motion detection found in a video.
struct CMotionReport {
  std::string title;  // what was watched
  CMotionSettings settings;
  int width = 0, height = 0;  // as the detectors saw it
  double secondsPerFrame = 0;
  double framesPerSecond = 0;              // of the detection
  std::vector<double> percents, progress;  // per frame
  std::vector<CMotionEvent> events;
  std::vector<CPlotSpan> alarms;  // the same in frames
  std::vector<CMotionPicture> pictures;
};

// The ground of a scene whose camera is known, calibrated by what a user would mark in the picture.
struct CGroundPicture {
  struct CPerson {
    double truth = 0, measured = 0;  // heights in meters
  };
  std::int64_t index = 0;
  double width = 0, depth = 0, mark = 0;  // of what was marked, in meters
  std::string drawnJpeg;
  std::vector<CPerson> people;
};

struct CReport {
  std::string name;                 // of the input
  ztlib::EncoderSettings settings;  // of differential video
  double framesPerSecond = 0;
  CStage input{"input"};
  CCoding plain, differential;
  std::optional<CCoding> yardstick;  // none if FFmpeg refused
  std::vector<CMoment> moments;
  std::optional<CBlockPictures> blocks;  // none if no frame had any
  std::optional<CGroundPicture> ground;  // of the synthetic scene
  std::optional<CLayerPictures> layers;  // none if the pictures are too small
  CMotionReport motion;
  std::vector<CCircumstance> circumstances;
};

// How much stronger than they are the differences of the detail are shown.
inline constexpr int differenceGain = 8;

// One HTML page with everything in it.
[[nodiscard]] std::string HtmlReport(const CReport& report);

// The first line of the page.
[[nodiscard]] std::string ReportSummary(const CReport& report);
