#pragma once

#include <string>

// Throws CError with the reason.
[[nodiscard]] std::string ReadWholeFile(const std::string& path);
