#include "client/console.h"

#include "client/platform.h"
#include "client/text.h"

#include <mutex>
#include <utility>

namespace {

std::FILE* output = stdout;
const char* programName = "";
bool isVerboseProgram = false;

std::mutex statusMutex;  // of the terminal's last line
bool isStatusShown = false;

void WipeLocked() {
  if (!std::exchange(isStatusShown, false)) return;
  std::fputs("\r\x1b[K", stderr);
  std::fflush(stderr);
}

}  // namespace

std::FILE* Output() {
  return output;
}

void SplitOutput() {
  std::FILE* own = BinaryCopyOf(stdout);
  if (!own || !std::freopen(nowhere, "wb", stdout))
    throw CError("cannot set up the standard output");
  output = own;
}

void Print(std::FILE* file, const std::string& text) {
  WipeStatus();
  if (std::fwrite(text.data(), 1, text.size(), file) != text.size())
    throw CError("cannot write to the standard output");
}

void Flush(std::FILE* file) {
  if (std::fflush(file) != 0) throw CError("cannot write to the standard output");
}

void SetProgramName(const char* name) {
  programName = name;
}

const char* ProgramName() {
  return programName;
}

void SetVerbose(bool isVerbose) {
  isVerboseProgram = isVerbose;
}

bool IsVerbose() {
  return isVerboseProgram;
}

void Complain(const std::string& text) {
  const std::lock_guard lock(statusMutex);
  WipeLocked();
  std::fprintf(stderr, "%s: %s\n", programName, text.c_str());
  std::fflush(stderr);
}

void ShowStatus(const std::string& line) {
  const std::lock_guard lock(statusMutex);
  std::fprintf(stderr, "\r%s\x1b[K", line.c_str());
  std::fflush(stderr);
  isStatusShown = true;
}

void WipeStatus() {
  const std::lock_guard lock(statusMutex);
  WipeLocked();
}
