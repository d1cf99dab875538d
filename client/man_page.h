#pragma once

#include "client/command_line.h"

#include <string>

// The program's manual page (troff with the macros of man), made of the same tables as its help.
[[nodiscard]] std::string ManPage(const CProgram& program);
