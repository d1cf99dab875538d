#pragma once

#include "client/demo/html_report.h"
#include "client/demo/moment.h"

#include <cstdint>
#include <span>
#include <vector>

// Watches differential video and shows what was sent of it.
class CBlockView {
 public:
  explicit CBlockView(CMomentMaker& momentMaker) : pictures(momentMaker) {}

  // `decoded` is the frame's picture as ZTLIB_RGB.
  void Add(std::int64_t index, std::span<const std::uint8_t> frame, const AVFrame& decoded);

  // Nothing if no frame had blocks.
  [[nodiscard]] std::optional<CBlockPictures> Finish();

 private:
  [[nodiscard]] std::string Marked();
  [[nodiscard]] std::string Strip();
  [[nodiscard]] std::string Heat();

  CMomentMaker& pictures;
  std::vector<std::uint32_t> sent;  // per block, how many frames had it
  std::int64_t differentialFrames = 0;
  // The frame to look at: its strip fills a few lines.
  std::int64_t shownIndex = 0;
  std::vector<std::uint8_t> shownFrame;
  std::vector<std::uint64_t> shownBlocks;
  FramePtr shownPicture;
};
