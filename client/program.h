#pragma once

#include "client/command_line.h"

#include <string>

// What a program's main function does: parses the line, runs the command, reports what stops it,
// want of memory too. The exit status.
[[nodiscard]] int RunProgram(CProgram (*describe)(), int count, char** values);

// For a handler that catches all: tells what is wrong and which recordings of this thread stay
// unfinished. `about` stands before what does not name its file itself. The exit status.
[[nodiscard]] int ReportFailure(const std::string& about = "");
