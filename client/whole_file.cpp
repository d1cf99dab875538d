#include "client/whole_file.h"

#include "client/input_file.h"

#include <array>

std::string ReadWholeFile(const std::string& path) {
  CInputFile file(path);
  std::string text;
  std::array<std::uint8_t, 1 << 16> bytes;
  for (std::size_t size = bytes.size(); size == bytes.size();) {
    size = file.Read(bytes);
    text.append(reinterpret_cast<const char*>(bytes.data()), size);
  }
  return text;
}
