#include "client/console.h"
#include "client/picture_forms.h"
#include "client/picture_sink.h"
#include "client/text.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>

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
  CY4mOutput(const std::string& target, double framesPerSecond)
      : path(target), rate(RateText(framesPerSecond)) {
    if (path == "-") {
      file = Output();
      return;
    }
    own.reset(std::fopen(path.c_str(), "wb"));
    file = own.get();
    if (!file) throw CError(path + ": cannot write: " + std::strerror(errno));
  }

  void Write(const CFrame& picture, std::int64_t) override {
    if (!maker) {
      maker = NewPlaneMaker(picture);
      const std::string header = Text("YUV4MPEG2 W%d H%d F%s Ip A1:1 C%s XCOLORRANGE=FULL\n",
                                      picture.width, picture.height, rate.c_str(), maker->Layout());
      Put(header.data(), header.size());
    }
    const std::span<const CPlane> planes = maker->Make(picture);
    Put("FRAME\n", 6);
    for (const CPlane& plane : planes)
      for (int y = 0; y < plane.rows; ++y)
        Put(plane.data + y * plane.stride, static_cast<std::size_t>(plane.columns));
  }

  void Close() override {
    if (std::fflush(file) != 0) throw CError(path + ": cannot write: " + std::strerror(errno));
  }

 private:
  struct CClose {
    void operator()(std::FILE* opened) const { std::fclose(opened); }
  };

  void Put(const void* bytes, std::size_t size) {
    if (std::fwrite(bytes, 1, size, file) != size)
      throw CError(path + ": cannot write: " + std::strerror(errno));
  }

  std::string path;
  std::string rate;
  std::unique_ptr<std::FILE, CClose> own;
  std::FILE* file = nullptr;
  std::unique_ptr<IPlaneMaker> maker;
};

}  // namespace

std::unique_ptr<IPictureSink> NewY4mOutput(const std::string& path, double framesPerSecond) {
  return std::make_unique<CY4mOutput>(path, framesPerSecond);
}
