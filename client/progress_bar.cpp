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
  std::string line = label + "  ";
  if (share >= 0) {
    constexpr int cells = 30;
    share = std::min(share, 1.0);
    const auto full = static_cast<std::size_t>(std::lround(share * cells));
    line += "[" + std::string(full, '#') + std::string(cells - full, '.') + "]" +
            Text(" %3.0f %%  ", share * 100);
  }
  line += CountText(frames, "frame");
  if (seconds > 0) line += Text("  %.0f frames/s", double(frames) / seconds);
  if (share > 0) {
    const auto left = static_cast<std::int64_t>(std::ceil(seconds * (1 - share) / share));
    line += Text("  %" PRId64 ":%02" PRId64 " left", left / 60, left % 60);
  }
  std::fprintf(stderr, "\r%s\x1b[K", line.c_str());
  std::fflush(stderr);
  isShown = true;
}

void CProgressBar::Wipe() {
  if (isShown) std::fputs("\r\x1b[K", stderr);
  std::fflush(stderr);
  isShown = false;
}
