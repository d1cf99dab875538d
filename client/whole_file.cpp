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
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file << text;
  file.close();
  if (!file) throw CError(path.string() + ": cannot write: " + std::strerror(errno));
}
