#include "client/picture_io.h"
#include "client/picture_sink.h"
#include "client/text.h"

#include <cinttypes>
#include <filesystem>

namespace {

class CPngOutput : public IPictureSink {
 public:
  CPngOutput(COutputs& commandOutputs, const std::string& path)
      : outputs(commandOutputs), folder(path) {
    outputs.CheckNumbered(path);
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error) throw CError(path + ": cannot make the folder: " + error.message());
  }

  void Write(const CFrame& picture, std::int64_t index) override {
    WritePng(outputs, (folder / Text("%06" PRId64 ".png", index)).string(), picture, *coder);
    outputs.Publish();
  }

  void Close() override {}

 private:
  COutputs& outputs;
  std::filesystem::path folder;
  std::unique_ptr<IPngCoder> coder = NewPngCoder();
};

}  // namespace

std::unique_ptr<IPictureSink> NewPngOutput(COutputs& outputs, const std::string& folder) {
  return std::make_unique<CPngOutput>(outputs, folder);
}
