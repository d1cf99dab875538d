#include "client/console.h"

#include "client/platform.h"
#include "client/text.h"

namespace {

std::FILE* output = stdout;
const char* programName = "";
bool isVerboseProgram = false;

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
  std::fprintf(stderr, "%s: %s\n", programName, text.c_str());
  std::fflush(stderr);
}
