#include "client/console.h"

#include "client/text.h"

#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#include <windows.h>
#else
#include <unistd.h>
#endif

namespace {

std::FILE* output = stdout;

#if defined(_WIN32)
constexpr char nowhere[] = "NUL";
std::FILE* CopyOf(std::FILE* file) {
  const int copy = _dup(_fileno(file));
  // Without this a video would get a carriage return before each byte that looks like a newline.
  return copy < 0 || _setmode(copy, _O_BINARY) < 0 ? nullptr : _fdopen(copy, "wb");
}
#else
constexpr char nowhere[] = "/dev/null";
std::FILE* CopyOf(std::FILE* file) {
  const int copy = dup(fileno(file));
  return copy < 0 ? nullptr : fdopen(copy, "wb");
}
#endif

}  // namespace

std::FILE* Output() {
  return output;
}

void SplitOutput() {
  std::FILE* own = CopyOf(stdout);
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

bool IsErrorTerminal() {
#if defined(_WIN32)
  const HANDLE console = GetStdHandle(STD_ERROR_HANDLE);
  DWORD mode = 0;
  return GetConsoleMode(console, &mode) != 0 &&
         SetConsoleMode(console, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0;
#else
  return isatty(fileno(stderr)) == 1;
#endif
}

void Complain(const std::string& text) {
  std::fprintf(stderr, "ztclient: %s\n", text.c_str());
}
