#pragma once

#include "client/console.h"
#include "client/progress_bar.h"
#include "client/text.h"

#include <cstdint>
#include <string>

// Names each damaged frame, up to a number that a reader still reads.
class CDamageReport {
 public:
  explicit CDamageReport(std::string path) : file(std::move(path)) {}

  void Add(const std::string& text, CProgressBar& progress) {
    if (++count > maxLines) return;
    progress.Wipe();
    Complain(file + ": " + text);
  }
  void Close() const {
    if (count > maxLines)
      Complain(file + ": and " + CountText(count - maxLines, "more damaged frame"));
  }
  [[nodiscard]] std::int64_t Count() const { return count; }

 private:
  static constexpr std::int64_t maxLines = 10;
  std::string file;
  std::int64_t count = 0;
};
