#pragma once

#include <functional>

// Reads the command line. `run` is the chosen command, empty if the line asked for help or was
// wrong; then `status` is the exit status.
struct CArguments {
  std::function<int()> run;
  bool isVerbose = false;
  int status = 0;
};
[[nodiscard]] CArguments ParseArguments(int count, char** values);
