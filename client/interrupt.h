#pragma once

#include "client/text.h"

#include <cstddef>
#include <filesystem>
#include <string>

// Ctrl-C, and what else asks a program to end. The first time, loops stop behind their present
// frame and the command completes what it has. The second time the program ends at once.

inline constexpr int interruptedStatus = 130;

// From here on; called once.
void WatchInterrupts();
[[nodiscard]] bool Interrupted();

// Ends a command that has nothing to complete. It needs no words: the user knows.
class CInterrupted : public CError {
 public:
  CInterrupted() : CError("interrupted") {}
};
void ThrowIfInterrupted();

// Ends the program without its destructors: a line on standard error, and no unfinished file.
[[noreturn]] void EndAtOnceWith(const char* complaint) noexcept;

// A file that goes when the program ends at once.
class CDoomedFile {
 public:
  explicit CDoomedFile(std::filesystem::path file);
  ~CDoomedFile();
  CDoomedFile(const CDoomedFile&) = delete;
  CDoomedFile& operator=(const CDoomedFile&) = delete;

  // Once the file is there: another's file of that name is not doomed.
  void Arm();
  // It stays instead, and this line on standard error tells of it.
  void Keep(const std::string& line);

 private:
  std::filesystem::path path;
  std::size_t place = 0;
};
