#include "client/whole_file.h"

#include "client/platform.h"
#include "client/text.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>

std::string ReadWholeFile(const std::string& path) {
  std::ifstream file(PathOf(path), std::ios::binary);
  std::ostringstream text;
  // An empty file has nothing to insert, which counts as a failure of `text`.
  if (file && file.peek() != std::ifstream::traits_type::eof()) text << file.rdbuf();
  if (!file || !text) throw CError(path + ": cannot read: " + std::strerror(errno));
  return std::move(text).str();
}
