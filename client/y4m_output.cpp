#include "client/console.h"
#include "client/picture_sink.h"
#include "client/scaler.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace {

struct CLayout {
  AVPixelFormat format;
  const char* name;
};

CLayout LayoutFor(const AVFrame& picture) {
  switch (picture.format) {
    case AV_PIX_FMT_GRAY8:
      return {AV_PIX_FMT_GRAY8, "mono"};
    case AV_PIX_FMT_YUYV422:
    case AV_PIX_FMT_UYVY422:
      return {AV_PIX_FMT_YUV422P, "422"};
    case AV_PIX_FMT_YUV444P:
      return {AV_PIX_FMT_YUV444P, "444"};
    default:
      return {AV_PIX_FMT_YUV420P, "420jpeg"};
  }
}

class CY4mOutput : public IPictureSink {
 public:
  CY4mOutput(const std::string& target, AVRational rate) : path(target), frameRate(rate) {
    if (path == "-") {
      file = Output();
      return;
    }
    own.reset(std::fopen(path.c_str(), "wb"));
    file = own.get();
    if (!file) throw CError(path + ": cannot write: " + std::strerror(errno));
  }

  void Write(const AVFrame& picture, std::int64_t) override {
    if (width == 0) {
      layout = LayoutFor(picture);
      width = picture.width;
      height = picture.height;
      const std::string header = Text("YUV4MPEG2 W%d H%d F%d:%d Ip A1:1 C%s XCOLORRANGE=FULL\n",
                                      width, height, frameRate.num, frameRate.den, layout.name);
      Put(header.data(), header.size());
    }
    Put("FRAME\n", 6);
    const AVFrame& shown = scaler.Convert(picture, layout.format, width, height);
    const AVPixFmtDescriptor* descriptor = av_pix_fmt_desc_get(layout.format);
    for (int plane = 0; plane < descriptor->nb_components; ++plane) {
      const int columns = plane ? AV_CEIL_RSHIFT(width, descriptor->log2_chroma_w) : width;
      const int rows = plane ? AV_CEIL_RSHIFT(height, descriptor->log2_chroma_h) : height;
      for (int y = 0; y < rows; ++y)
        Put(shown.data[plane] + static_cast<std::ptrdiff_t>(y) * shown.linesize[plane],
            static_cast<std::size_t>(columns));
    }
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
  AVRational frameRate;
  std::unique_ptr<std::FILE, CClose> own;
  std::FILE* file = nullptr;
  CLayout layout{};
  int width = 0, height = 0;
  CScaler scaler;
};

}  // namespace

std::unique_ptr<IPictureSink> NewY4mOutput(const std::string& path, AVRational frameRate) {
  return std::make_unique<CY4mOutput>(path, frameRate);
}
