#include "client/picture_io.h"
#include "client/picture_sink.h"
#include "client/text.h"

#include <cinttypes>
#include <filesystem>

namespace {

class CPngOutput : public IPictureSink {
 public:
  explicit CPngOutput(const std::string& path) : folder(path) {
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error) throw CError(path + ": cannot make the folder: " + error.message());
  }

  void Write(const CFrame& picture, std::int64_t index) override {
    WritePng((folder / Text("%06" PRId64 ".png", index)).string(), picture, *coder);
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
