#pragma once

#include <chrono>
#include <cstdint>
#include <string>

// One line on standard error with share, rate and time left, if that is a terminal; nothing
// otherwise. The line is wiped at the end.
class CProgressBar {
 public:
  explicit CProgressBar(std::string label);
  ~CProgressBar() { Wipe(); }
  CProgressBar(const CProgressBar&) = delete;
  CProgressBar& operator=(const CProgressBar&) = delete;

  // `share` is 0 to 1, negative if the whole is not known.
  void Show(std::int64_t frames, double share);
  // To be called before other text goes to the terminal.
  void Wipe();

 private:
  using Clock = std::chrono::steady_clock;

  std::string label;
  bool isTerminal;
  bool isShown = false;
  Clock::time_point start = Clock::now();
  Clock::time_point next = start;
};
