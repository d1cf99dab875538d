#pragma once

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>

// All throw CError with the reason.
[[nodiscard]] std::string ReadWholeFile(const std::filesystem::path& path);
void WriteWholeFile(const std::filesystem::path& path, const std::string& text);
void WriteWholeFile(const std::filesystem::path& path, std::span<const std::uint8_t> bytes);
