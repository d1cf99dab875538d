#include "client/picture_forms.h"
#include "client/picture_sink.h"
#include "client/platform.h"
#include "client/text.h"

#include <cinttypes>
#include <filesystem>

namespace {

class CPngOutput : public IPictureSink {
 public:
  CPngOutput(COutputs& commandOutputs, const std::string& path)
      : outputs(commandOutputs), folder(PathOf(path)) {
    outputs.CheckNumbered(path);
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error) throw CError(path + ": cannot make the folder: " + error.message());
  }

  void Write(const AVFrame& picture, std::int64_t index) override {
    outputs.Write((folder / Text("%06" PRId64 ".png", index)).string(), coder.Code(picture));
    outputs.Publish();
  }

  void Close() override {}

 private:
  COutputs& outputs;
  std::filesystem::path folder;
  CPngCoder coder;
};

}  // namespace

std::unique_ptr<IPictureSink> NewPngOutput(COutputs& outputs, const std::string& folder) {
  return std::make_unique<CPngOutput>(outputs, folder);
}
