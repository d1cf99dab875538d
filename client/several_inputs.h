#pragma once

#include "client/command_line.h"
#include "client/progress_bar.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

// Commands that take several inputs do the same to each, on as many threads as are wanted. One that
// fails does not keep the others from theirs.

// The option --threads.
[[nodiscard]] COption ThreadsOption(int& threads);

// The inputs that words on the command line name.
[[nodiscard]] std::vector<std::string> InputsNamedBy(const std::vector<std::string>& words);

// The name of an output for each of the inputs: "{}" in the pattern stands for what the input is
// called, without its folder and ending. Throws CError if two of them would have the same name.
[[nodiscard]] std::vector<std::string> NamesFor(const std::string& pattern,
                                                const std::vector<std::string>& inputs);

// What the work on one input came to.
struct CDone {
  int status = 0;
  std::int64_t frames = 0;
  std::string summary{};    // for people; empty if there is nothing to be told
  std::FILE* to = nullptr;  // where that is printed
};
using InputWork = std::function<CDone(std::size_t input, CProgressBar& progress)>;

// Runs the work and prints the summaries in the order of the inputs, and one of all behind those of
// several. The exit status, 1 if any of them failed. `threads` is at least 1, or 0 for as many as
// there are cores.
[[nodiscard]] int ForEachInput(const std::vector<std::string>& inputs, int threads,
                               const char* label, const InputWork& work);
