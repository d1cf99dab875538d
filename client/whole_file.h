#pragma once

#include <filesystem>
#include <string>

// Both throw CError with the reason.
[[nodiscard]] std::string ReadWholeFile(const std::filesystem::path& path);
void WriteWholeFile(const std::filesystem::path& path, const std::string& text);
