#include "client/picture_forms.h"
#include "client/picture_sink.h"
#include "client/text.h"

#include <cerrno>
#include <cinttypes>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace {

class CPngOutput : public IPictureSink {
 public:
  explicit CPngOutput(const std::string& path) : folder(path) {
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error) throw CError(path + ": cannot make the folder: " + error.message());
  }

  void Write(const CFrame& picture, std::int64_t index) override {
    const std::filesystem::path path = folder / Text("%06" PRId64 ".png", index);
    const std::span<const std::uint8_t> bytes = coder->Code(picture);
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
    file.close();
    if (!file) throw CError(path.string() + ": cannot write: " + std::strerror(errno));
  }

  void Close() override {}

 private:
  std::filesystem::path folder;
  std::unique_ptr<IPngCoder> coder = NewPngCoder();
};

}  // namespace

std::unique_ptr<IPictureSink> NewPngOutput(const std::string& folder) {
  return std::make_unique<CPngOutput>(folder);
}
