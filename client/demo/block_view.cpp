#include "client/demo/block_view.h"

#include "client/block_list.h"
#include "client/frame_header.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstring>

namespace {

constexpr int blockSide = 16;
constexpr std::int64_t wantedBlocks = 100;
// Of the page's picture of a strip, which is folded.
constexpr int stripBlocksPerLine = 40, stripGap = 3;

using Color = std::array<double, 3>;  // as in ZTLIB_RGB: blue, green, red
constexpr Color outline{20, 150, 255};
constexpr std::array<Color, 4> heatColors{
    {{150, 60, 30}, {150, 40, 160}, {40, 110, 245}, {90, 240, 255}}};

std::uint8_t* Pixel(AVFrame& picture, int x, int y) {
  return picture.data[0] + std::ptrdiff_t{y} * picture.linesize[0] + std::ptrdiff_t{4} * x;
}

FramePtr Copy(const AVFrame& picture) {
  FramePtr copy = NewFrame(AV_PIX_FMT_BGR0, picture.width, picture.height);
  AvCheck(av_frame_copy(copy.get(), &picture), "cannot show a picture");
  return copy;
}

double Gray(const std::uint8_t* pixel) {
  return 0.114 * pixel[0] + 0.587 * pixel[1] + 0.299 * pixel[2];
}

// `change` gets each pixel of a picture and its place.
template <class Change>
void ForEachPixel(AVFrame& picture, Change&& change) {
  for (int y = 0; y < picture.height; ++y)
    for (int x = 0; x < picture.width; ++x)
      change(Pixel(picture, x, y), x, y);
}

// The number of the block at a place of a picture.
std::size_t BlockAt(const AVFrame& picture, int x, int y) {
  return std::size_t(y / blockSide) * std::size_t(picture.width / blockSide) +
         std::size_t(x / blockSide);
}

void Blend(std::uint8_t* pixel, const Color& under, const Color& over, double share) {
  for (std::size_t i = 0; i < 3; ++i)
    pixel[i] = static_cast<std::uint8_t>(under[i] + (over[i] - under[i]) * share);
}

Color HeatOf(double share) {
  const double place = share * (heatColors.size() - 1);
  const std::size_t index = std::min<std::size_t>(heatColors.size() - 2, std::size_t(place));
  Color color{};
  for (std::size_t i = 0; i < 3; ++i)
    color[i] = std::lerp(heatColors[index][i], heatColors[index + 1][i], place - double(index));
  return color;
}

}  // namespace

void CBlockView::Add(std::int64_t index, std::span<const std::uint8_t> frame,
                     const AVFrame& decoded) {
  // A last line of half a block is in key frames only, but has its place here.
  sent.resize(BlockAt(decoded, decoded.width - 1, decoded.height - 1) + 1);
  if (!ReadFrameHeader(frame).IsDifferential()) return;
  ++differentialFrames;
  std::vector<std::uint64_t> blocks = ReadBlockList(PartsOf(frame).list);
  for (const std::uint64_t block : blocks)
    if (block < sent.size()) ++sent[static_cast<std::size_t>(block)];
  const auto distance = [](const std::vector<std::uint64_t>& list) {
    return std::abs(static_cast<std::int64_t>(list.size()) - wantedBlocks);
  };
  if (blocks.empty() || (shownPicture && distance(blocks) >= distance(shownBlocks))) return;
  shownIndex = index;
  shownFrame.assign(frame.begin(), frame.end());
  shownBlocks = std::move(blocks);
  shownPicture = Copy(decoded);
}

// What was not sent is dimmed.
std::string CBlockView::Marked() {
  const FramePtr picture = Copy(*shownPicture);
  std::vector<bool> isSent(sent.size());
  for (const std::uint64_t block : shownBlocks)
    if (block < isSent.size()) isSent[static_cast<std::size_t>(block)] = true;
  const auto isSentAt = [&](int x, int y) {
    return x >= 0 && y >= 0 && x < picture->width && y < picture->height &&
           isSent[BlockAt(*picture, x, y)];
  };
  ForEachPixel(*picture, [&](std::uint8_t* pixel, int x, int y) {
    if (!isSentAt(x, y)) {
      const double gray = 0.5 * Gray(pixel);
      Blend(pixel, {gray, gray, gray}, {}, 0);
      return;
    }
    constexpr int thickness = 2;
    const bool isAtEdge = !isSentAt(x - thickness, y) || !isSentAt(x + thickness, y) ||
                          !isSentAt(x, y - thickness) || !isSentAt(x, y + thickness);
    const bool isInGrid = x % blockSide == 0 || y % blockSide == 0;
    const Color present{double(pixel[0]), double(pixel[1]), double(pixel[2])};
    Blend(pixel, present, outline, isAtEdge ? 0.9 : isInGrid ? 0.35 : 0);
  });
  return pictures.Overview(*picture);
}

std::string CBlockView::Strip() {
  std::vector<std::uint8_t> wrapped = ztlib::WrapJpeg(PartsOf(shownFrame).strip);
  ztlib::Decoder decoder;
  const AVFrame& strip = FrameOf(decoder.Decode(wrapped));
  const int blocks = strip.width / blockSide;
  const int perLine = std::min(blocks, stripBlocksPerLine);
  const int lines = (blocks + perLine - 1) / perLine;
  const FramePtr folded =
      NewFrame(AV_PIX_FMT_BGR0, perLine * blockSide, lines * (blockSide + stripGap) - stripGap);
  for (int y = 0; y < folded->height; ++y)
    std::memset(Pixel(*folded, 0, y), 0, std::size_t{4} * std::size_t(folded->width));
  for (int block = 0; block < blocks; ++block)
    for (int y = 0; y < std::min(blockSide, strip.height); ++y)
      std::memcpy(
          Pixel(*folded, block % perLine * blockSide, block / perLine * (blockSide + stripGap) + y),
          strip.data[0] + std::ptrdiff_t{y} * strip.linesize[0] +
              std::ptrdiff_t{4} * block * blockSide,
          std::size_t{4} * blockSide);
  return pictures.Png(*folded);
}

std::string CBlockView::Heat() {
  const FramePtr picture = Copy(*shownPicture);
  const double most = *std::max_element(sent.begin(), sent.end());
  ForEachPixel(*picture, [&](std::uint8_t* pixel, int x, int y) {
    // The root lets rare blocks show beside the busy ones.
    const double heat = std::sqrt(sent[BlockAt(*picture, x, y)] / most);
    const double gray = 0.55 * Gray(pixel);
    Blend(pixel, {gray, gray, gray}, HeatOf(heat), heat > 0 ? 0.3 + 0.4 * heat : 0);
  });
  return pictures.Overview(*picture);
}

std::optional<CBlockPictures> CBlockView::Finish() {
  if (!shownPicture) return std::nullopt;
  const CDifferentialParts parts = PartsOf(shownFrame);
  CBlockPictures result;
  result.index = shownIndex;
  result.typeName = ReadFrameHeader(shownFrame).TypeName();
  result.blocks = shownBlocks.size();
  result.allBlocks = sent.size();
  result.listBytes = parts.list.size();
  result.stripBytes = parts.strip.size();
  result.markedJpeg = Marked();
  result.decodedJpeg = pictures.Overview(*shownPicture);
  result.stripPng = Strip();
  result.heatJpeg = Heat();
  result.highestShare =
      double(*std::max_element(sent.begin(), sent.end())) / double(differentialFrames);
  return result;
}
