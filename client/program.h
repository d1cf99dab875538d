#pragma once

#include "client/command_line.h"

// What a program's main function does: parses the line, runs the command, reports what stops it.
// The exit status.
[[nodiscard]] int RunProgram(const CProgram& program, int count, char** values);
