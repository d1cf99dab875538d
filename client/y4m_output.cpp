#include "client/picture_forms.h"
#include "client/picture_sink.h"
#include "client/text.h"

#include <cmath>
#include <optional>

namespace {

// "25:2" for 12.5: the first denominator that gives the rate, those of broadcasting included.
std::string RateText(double framesPerSecond) {
  int denominator = 1;
  const auto rest = [&] {
    const double frames = framesPerSecond * denominator;
    return std::abs(frames - std::round(frames));
  };
  while (denominator < 1001 && rest() > 1e-4)
    ++denominator;
  return Text("%.0f:%d", std::round(framesPerSecond * denominator), denominator);
}

class CY4mOutput : public IPictureSink {
 public:
  CY4mOutput(COutputs& outputs, const std::string& path, double framesPerSecond)
      : rate(RateText(framesPerSecond)), file(outputs.Open(path)) {}

  void Write(const AVFrame& picture, std::int64_t) override {
    if (!maker) {
      maker.emplace(picture);
      const std::string header = Text("YUV4MPEG2 W%d H%d F%s Ip A1:1 C%s XCOLORRANGE=FULL\n",
                                      picture.width, picture.height, rate.c_str(), maker->Layout());
      file->Write(header);
    }
    const std::span<const CPlane> planes = maker->Make(picture);
    file->Write("FRAME\n");
    for (const CPlane& plane : planes)
      for (int y = 0; y < plane.rows; ++y)
        file->Write(
            std::span(plane.data + y * plane.stride, static_cast<std::size_t>(plane.columns)));
  }

  void Close() override { file->Close(); }

 private:
  std::string rate;
  std::shared_ptr<COutputFile> file;
  std::optional<CPlaneMaker> maker;
};

}  // namespace

std::unique_ptr<IPictureSink> NewY4mOutput(COutputs& outputs, const std::string& path,
                                           double framesPerSecond) {
  return std::make_unique<CY4mOutput>(outputs, path, framesPerSecond);
}
