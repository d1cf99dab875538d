#pragma once

#include "client/command_line.h"

#include <cstdint>
#include <span>
#include <string>

// What several options have in common. The functions throw CError about a text that is no such
// value.

inline constexpr int maxJpegSide = 65500;

// The formats that record makes and all commands read.
[[nodiscard]] const CWords& VideoFormatNames();

// "640x480".
[[nodiscard]] COption::Parse SizeParser(int& width, int& height);

// Whole numbers with commas between them, as many as there is room for.
void ParseNumbers(const std::string& option, const std::string& text,
                  std::span<std::int32_t> numbers);
