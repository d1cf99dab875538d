#include "client/motion_overlay.h"

#include "client/motion_area.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>

namespace {

constexpr CColor tint{255, 48, 32};
constexpr float countedShare = 0.6F, otherShare = 0.2F;
// One for each detector.
constexpr std::array<CColor, 8> outlineColors{{{64, 224, 255},
                                               {255, 216, 64},
                                               {128, 255, 96},
                                               {255, 144, 224},
                                               {160, 160, 255},
                                               {255, 176, 96},
                                               {96, 255, 208},
                                               {232, 232, 232}}};

void Blend(std::uint8_t* pixel, const CColor& color, float share) {
  const float channels[] = {color.blue, color.green, color.red};
  for (int i = 0; i < 3; ++i)
    pixel[i] = static_cast<std::uint8_t>(float(pixel[i]) + (channels[i] - float(pixel[i])) * share);
}

}  // namespace

void CMotionOverlay::Outline(const CMotionSettings& settings, int width, int height) {
  lines.emplace(width, height);
  const float thickness = std::max(1.5F, float(width) / 320);
  for (std::size_t i = 0; i < settings.detectors.size(); ++i)
    for (const std::vector<std::int16_t>& polygon : settings.detectors[i].polygons) {
      const std::vector<CPixelPlace> corners = CornersOf(polygon, width, height);
      for (std::size_t k = 0; k < corners.size(); ++k) {
        const CPixelPlace &a = corners[k], &b = corners[(k + 1) % corners.size()];
        lines->DrawLine({float(a.x) + 0.5F, float(a.y) + 0.5F},
                        {float(b.x) + 0.5F, float(b.y) + 0.5F}, thickness,
                        {outlineColors[i % outlineColors.size()], 1});
      }
    }
}

const AVFrame& CMotionOverlay::Draw(const AVFrame& picture, const CMotionWatch& watch,
                                    const ztlib::MotionResult& result) {
  const int width = picture.width, height = picture.height;
  shown = CFramePool::New(width, height, ZTLIB_RGB);
  const AVFrame& plain = scaler.Convert(picture, AV_PIX_FMT_BGR0, width, height);
  if (!lines || lines->Width() != width || lines->Height() != height)
    Outline(watch.Settings(), width, height);

  // How each pixel of the plane is tinted.
  std::vector<float> shares(std::size_t(watch.Width()) * std::size_t(watch.Height()));
  for (std::size_t i = 0; i < result.areas.size(); ++i)
    for (std::size_t at = 0; at < shares.size(); ++at)
      if (result.areas[i].IsMoving(at))
        shares[at] = std::max(shares[at], watch.Counted()[i][at] ? countedShare : otherShare);

  const int border = result.isSignal ? std::max(2, width / 160) : 0;
  for (int y = 0; y < height; ++y) {
    std::uint8_t* row = shown->data[0] + std::ptrdiff_t{y} * shown->linesize[0];
    std::memcpy(row, plain.data[0] + std::ptrdiff_t{y} * plain.linesize[0],
                std::size_t{4} * std::size_t(width));
    const float* tints = &shares[std::size_t(std::int64_t{y} * watch.Height() / height) *
                                 std::size_t(watch.Width())];
    for (int x = 0; x < width; ++x) {
      std::uint8_t* pixel = row + std::ptrdiff_t{4} * x;
      const float share = tints[std::int64_t{x} * watch.Width() / width];
      if (share > 0) Blend(pixel, tint, share);
      // The colour of the lines is mixed with black already where they end.
      const CCanvas::CPixel& line = lines->At(x, y);
      if (line.glow > 0)
        Blend(
            pixel,
            {line.color.red / line.glow, line.color.green / line.glow, line.color.blue / line.glow},
            line.glow);
      if (std::min({x, y, width - 1 - x, height - 1 - y}) < border) Blend(pixel, tint, 1);
    }
  }
  return *shown;
}
