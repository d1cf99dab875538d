#pragma once

#include <filesystem>
#include <string>

// Throws CError with the reason.
[[nodiscard]] std::string ReadWholeFile(const std::filesystem::path& path);
