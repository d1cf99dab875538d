#pragma once

#include "client/command_line.h"

// What a program's main function does: parses the line, runs the command, reports what stops it,
// want of memory too. The exit status.
[[nodiscard]] int RunProgram(CProgram (*describe)(), int count, char** values);
