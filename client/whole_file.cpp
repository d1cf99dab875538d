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
