#include "client/whole_file.h"

#include "client/text.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>

std::string ReadWholeFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  // An empty file has nothing to insert, which counts as a failure of `text`.
  if (file && file.peek() != std::ifstream::traits_type::eof()) text << file.rdbuf();
  if (!file || !text) throw CError(path.string() + ": cannot read: " + std::strerror(errno));
  return std::move(text).str();
}

void WriteWholeFile(const std::filesystem::path& path, const std::string& text) {
  WriteWholeFile(path, std::span(reinterpret_cast<const std::uint8_t*>(text.data()), text.size()));
}

void WriteWholeFile(const std::filesystem::path& path, std::span<const std::uint8_t> bytes) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file.write(reinterpret_cast<const char*>(bytes.data()),
             static_cast<std::streamsize>(bytes.size()));
  file.close();
  if (!file) throw CError(path.string() + ": cannot write: " + std::strerror(errno));
}
