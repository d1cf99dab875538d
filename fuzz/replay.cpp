#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

// Runs every file of the given folders through a target, without a fuzzing engine.
int main(int argc, char** argv) {
  std::size_t files = 0;
  for (int i = 1; i < argc; ++i) {
    if (!std::filesystem::is_directory(argv[i])) continue;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(argv[i])) {
      if (!entry.is_regular_file()) continue;
      const std::string name = entry.path().string();
      std::ifstream file(name, std::ios::binary);
      const std::vector<char> read((std::istreambuf_iterator<char>(file)),
                                   std::istreambuf_iterator<char>());
      // The block has exactly this size, so that a sanitizer sees an access behind it.
      const auto bytes = std::make_unique<std::uint8_t[]>(read.size());
      std::copy(read.begin(), read.end(), bytes.get());
      // The name comes before the run, because a crash does not tell it.
      std::printf("%s\n", name.c_str());
      std::fflush(stdout);
      LLVMFuzzerTestOneInput(bytes.get(), read.size());
      ++files;
    }
  }
  std::printf("%zu files\n", files);
  return files != 0 ? 0 : 1;
}
