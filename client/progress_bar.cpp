#include "client/progress_bar.h"

#include "client/platform.h"
#include "client/text.h"

#include <algorithm>
#include <cinttypes>
#include <cmath>
#include <cstdio>

CProgressBar::CProgressBar(std::string text)
    : label(std::move(text)), isTerminal(IsErrorTerminal()) {}

void CProgressBar::Show(std::int64_t frames, double share) {
  if (!isTerminal) return;
  const Clock::time_point now = Clock::now();
  if (now < next) return;
  next = now + std::chrono::milliseconds(100);
  const double seconds = std::chrono::duration<double>(now - start).count();
  std::string text = CountText(frames, "frame");
  if (seconds > 0) text += Text("  %.0f frames/s", double(frames) / seconds);
  if (share > 0) {
    const auto left = static_cast<std::int64_t>(std::ceil(seconds * (1 - share) / share));
    text += Text("  %" PRId64 ":%02" PRId64 " left", left / 60, left % 60);
  }
  std::string line = label + "  ";
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
  line = (line + text).substr(0, columns);
  std::fprintf(stderr, "\r%s\x1b[K", line.c_str());
  std::fflush(stderr);
  isShown = true;
}

void CProgressBar::Wipe() {
  if (isShown) std::fputs("\r\x1b[K", stderr);
  std::fflush(stderr);
  isShown = false;
}
