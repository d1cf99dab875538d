#pragma once

#include "client/console.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

// One line on standard error with share, rate and time left, if that is a terminal; nothing
// otherwise. The line is wiped at the end. Several inputs may be worked on beside each other.
class CProgressBar {
 public:
  explicit CProgressBar(std::string label, std::size_t inputCount = 1);
  ~CProgressBar() { WipeStatus(); }
  CProgressBar(const CProgressBar&) = delete;
  CProgressBar& operator=(const CProgressBar&) = delete;

  // `share` is 0 to 1, negative if the whole is not known.
  void Show(std::int64_t frames, double share, std::size_t input = 0);
  // Of several inputs, one is done.
  void End(std::size_t input);

 private:
  using Clock = std::chrono::steady_clock;
  struct CInput {
    std::int64_t frames = 0;
    double share = 0;
  };

  [[nodiscard]] std::string Line(double seconds) const;

  std::string label;
  bool isTerminal;
  std::mutex mutex;  // of all below
  std::vector<CInput> inputs;
  std::size_t done = 0;
  Clock::time_point start = Clock::now();
  Clock::time_point next = start;
};
