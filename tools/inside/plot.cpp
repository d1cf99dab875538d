#include "tools/inside/plot.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>

namespace {

constexpr int width = 720, height = 480;
constexpr float left = 90, right = 700, top = 20, bottom = 440;
constexpr CPaint paper{{255, 255, 255}}, ink{{40, 40, 40}}, grid{{215, 215, 215}},
    blue{{45, 105, 170}};

constexpr float digitWidth = 6, digitHeight = 11, digitStep = 9.5F;

// Draws digits as displays show them, of seven strokes.
void DrawDigit(CCanvas& canvas, int digit, CPoint corner) {
  constexpr std::array<unsigned, 10> strokes{0x3F, 0x06, 0x5B, 0x4F, 0x66,
                                             0x6D, 0x7D, 0x07, 0x7F, 0x6F};
  constexpr float middle = digitHeight / 2;
  constexpr std::array<std::array<CPoint, 2>, 7> places{
      {{{{0, 0}, {digitWidth, 0}}},
       {{{digitWidth, 0}, {digitWidth, middle}}},
       {{{digitWidth, middle}, {digitWidth, digitHeight}}},
       {{{0, digitHeight}, {digitWidth, digitHeight}}},
       {{{0, middle}, {0, digitHeight}}},
       {{{0, 0}, {0, middle}}},
       {{{0, middle}, {digitWidth, middle}}}}};
  for (std::size_t i = 0; i < places.size(); ++i)
    if ((strokes[static_cast<std::size_t>(digit)] >> i & 1) != 0)
      canvas.DrawLine({corner.x + places[i][0].x, corner.y + places[i][0].y},
                      {corner.x + places[i][1].x, corner.y + places[i][1].y}, 1.6F, ink);
}

float NumberWidth(const std::string& digits) {
  return static_cast<float>(digits.size()) * digitStep - (digitStep - digitWidth);
}

// `corner` is the top left one of the first digit.
void DrawNumber(CCanvas& canvas, const std::string& digits, CPoint corner) {
  for (const char digit : digits) {
    DrawDigit(canvas, digit - '0', corner);
    corner.x += digitStep;
  }
}

// 1, 2 or 5 times a power of ten, so that at most five of them reach `most`.
std::int64_t StepFor(std::int64_t most) {
  for (std::int64_t power = 1;; power *= 10)
    for (const int factor : {1, 2, 5})
      if (most / (factor * power) <= 5) return factor * power;
}

}  // namespace

CCanvas PlotBars(std::span<const int> bars) {
  CCanvas canvas(width, height);
  canvas.FillRectangle({0, 0}, {width, height}, 0, paper);
  const std::int64_t tallest = std::max(1, *std::ranges::max_element(bars));
  const float perPixel = (bottom - top) / static_cast<float>(tallest);
  const std::int64_t step = StepFor(tallest);
  for (std::int64_t value = 0; value <= tallest; value += step) {
    const float y = bottom - static_cast<float>(value) * perPixel;
    canvas.DrawLine({left - 5, y}, {right, y}, 1, grid);
    const std::string digits = std::to_string(value);
    DrawNumber(canvas, digits, {left - 12 - NumberWidth(digits), y - digitHeight / 2});
  }
  const float barWidth = (right - left) / static_cast<float>(bars.size());
  for (std::size_t i = 0; i < bars.size(); ++i) {
    const float x = left + static_cast<float>(i) * barWidth;
    if (bars[i] > 0)
      canvas.FillRectangle({x, bottom - static_cast<float>(bars[i]) * perPixel},
                           {x + barWidth, bottom}, 0, blue);
  }
  canvas.DrawLine({left, top}, {left, bottom}, 1.5F, ink);
  canvas.DrawLine({left, bottom}, {right, bottom}, 1.5F, ink);
  for (std::size_t value = 0; value <= bars.size(); value += 32) {
    const std::size_t shown = std::min(value, bars.size() - 1);
    const float x = left + (static_cast<float>(shown) + 0.5F) * barWidth;
    canvas.DrawLine({x, bottom}, {x, bottom + 6}, 1.5F, ink);
    const std::string digits = std::to_string(shown);
    DrawNumber(canvas, digits, {x - NumberWidth(digits) / 2, bottom + 14});
  }
  return canvas;
}
