#include "client/progress_bar.h"

#include "client/platform.h"
#include "client/text.h"

#include <algorithm>
#include <cinttypes>
#include <cmath>

CProgressBar::CProgressBar(std::string text, std::size_t inputCount)
    : label(std::move(text)), isTerminal(IsErrorTerminal()), inputs(inputCount) {}

void CProgressBar::Show(std::int64_t frames, double share, std::size_t input) {
  if (!isTerminal) return;
  const std::lock_guard lock(mutex);
  inputs[input] = {frames, share};
  const Clock::time_point now = Clock::now();
  if (now < next) return;
  next = now + std::chrono::milliseconds(100);
  ShowStatus(Line(std::chrono::duration<double>(now - start).count()));
}

void CProgressBar::End(std::size_t input) {
  const std::lock_guard lock(mutex);
  inputs[input].share = 1;
  ++done;
}

std::string CProgressBar::Line(double seconds) const {
  std::int64_t frames = 0;
  double share = 0;
  for (const CInput& input : inputs) {
    frames += input.frames;
    share = share < 0 || input.share < 0 ? -1 : share + input.share / double(inputs.size());
  }
  std::string text = CountText(frames, "frame");
  if (seconds > 0) text += Text("  %.0f frames/s", double(frames) / seconds);
  if (share > 0) {
    const auto left = static_cast<std::int64_t>(std::ceil(seconds * (1 - share) / share));
    text += Text("  %" PRId64 ":%02" PRId64 " left", left / 60, left % 60);
  }
  std::string line = label + "  ";
  if (inputs.size() > 1) line += Text("%zu of %zu  ", done, inputs.size());
  // A terminal goes to the next line when the last column is filled.
  const auto columns = static_cast<std::size_t>(std::max(1, ErrorTerminalWidth()) - 1);
  if (share >= 0) {
    share = std::min(share, 1.0);
    const std::string percent = Text("%3.0f %%  ", share * 100);
    // The bar takes what the texts leave, and goes where that is too little to see.
    constexpr std::size_t mostCells = 30, leastCells = 5;
    const std::size_t taken = line.size() + percent.size() + text.size() + 3;
    const std::size_t cells = std::min(mostCells, columns - std::min(columns, taken));
    const auto full = static_cast<std::size_t>(std::lround(share * double(cells)));
    if (cells >= leastCells)
      line += "[" + std::string(full, '#') + std::string(cells - full, '.') + "] ";
    line += percent;
  }
  return (line + text).substr(0, columns);
}
