#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>
#include <string>

// What stands for the standard input or output in place of a file.
inline constexpr char standardName[] = "-";

// A file that a command reads from its start on, or the standard input. Failures throw CError.
class CInputFile {
 public:
  explicit CInputFile(const std::string& name);

  // Reads as many bytes as there is room for; fewer at the end and when the user has enough.
  [[nodiscard]] std::size_t Read(std::span<std::uint8_t> target);

 private:
  struct CClose {
    void operator()(std::FILE* stream) const {
      if (stream != stdin) std::fclose(stream);
    }
  };

  std::string path;
  std::unique_ptr<std::FILE, CClose> file;
};
