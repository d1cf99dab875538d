#include "client/console.h"
#include "client/frame.h"
#include "client/input_files.h"
#include "client/option_values.h"
#include "client/picture_io.h"
#include "client/platform.h"
#include "client/text.h"
#include "main/lib/base/exceptions.h"
#include "main/target/windll/image/ztimage_impl.h"
#include "tools/inside/commands.h"

#include <array>
#include <cerrno>
#include <cinttypes>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>

using namespace ztlib;

namespace {

struct CConvertOptions {
  std::string input, output;  // no output: a name made of the input's
  int from = -1, to = -1;     // of ztlib_pixel_format
  int width = 0, height = 0;  // of raw input
};

constexpr std::array<const char*, 9> names{
    "bool8", "gray", "rgb", "yuv", "yuyv", "uyvy", "rgbbayer", "yuvbayerblock", "yuv420block"};
const char* NameOf(int pixelFormat) {
  return names.at(static_cast<std::size_t>(pixelFormat));
}

bool IsPng(const std::string& path) {
  return PathOf(path).extension() == ".png";
}

std::size_t RowsOf(const AVFrame& frame, int pixelFormat) {
  return static_cast<std::size_t>(frame.height / ShapeOf(pixelFormat)->height);
}
std::size_t BytesOf(const AVFrame& frame, int pixelFormat) {
  return static_cast<std::size_t>(frame.linesize[0]) * RowsOf(frame, pixelFormat);
}

// A sensor's mosaic and bools are stored as gray pictures.
PoolFramePtr ReadPng(const CConvertOptions& options) {
  const bool isSingle =
      options.from == ZTLIB_GRAY || options.from == ZTLIB_BOOL8 || options.from == ZTLIB_RGBBAYER;
  if (!isSingle && options.from != ZTLIB_RGB)
    throw CError(Text("%s: a PNG file has pixels of bool8, gray, rgb or rgbbayer, not of %s",
                      options.input.c_str(), NameOf(options.from)));
  if (options.width > 0) throw CError("--size is for raw input, a PNG file has its own");
  PoolFramePtr frame =
      ReadPicture(options.input, isSingle ? ZTLIB_GRAY : ZTLIB_RGB, EColour::refused);
  if (options.from == ZTLIB_BOOL8)
    for (std::size_t i = 0; i < BytesOf(*frame, ZTLIB_GRAY); ++i)
      frame->data[0][i] = frame->data[0][i] != 0;
  return frame;
}

PoolFramePtr ReadRaw(const CConvertOptions& options) {
  const SampleShape& shape = *ShapeOf(options.from);
  if (options.width == 0) throw CError("raw input needs its --size");
  if (options.width % shape.width != 0 || options.height % shape.height != 0)
    throw CError(Text("--size: %dx%d is not made of whole samples of %s (%dx%d pixels)",
                      options.width, options.height, NameOf(options.from), shape.width,
                      shape.height));
  PoolFramePtr frame =
      CFramePool::New(options.width, options.height, static_cast<ztlib_pixel_format>(options.from));
  const std::size_t size = BytesOf(*frame, options.from);
  std::ifstream file(PathOf(options.input), std::ios::binary);
  if (!file) throw CError(options.input + ": cannot open: " + std::strerror(errno));
  std::error_code error;
  const std::uintmax_t present = std::filesystem::file_size(PathOf(options.input), error);
  if (error) throw CError(options.input + ": cannot read: " + error.message());
  if (present != size)
    throw CError(Text("%s: %" PRIuMAX " bytes, but %s of %dx%d is %zu", options.input.c_str(),
                      present, NameOf(options.from), options.width, options.height, size));
  if (!file.read(reinterpret_cast<char*>(frame->data[0]), static_cast<std::streamsize>(size)))
    throw CError(options.input + ": cannot read: " + std::strerror(errno));
  return frame;
}

using Picture = std::shared_ptr<const CZTImageImplBase>;

// Returns null if the picture has no whole sample of its format.
const AVFrame* FrameOf(const Picture& picture) {
  return static_cast<const AVFrame*>(picture->GetFrame());
}

Picture Wrap(PoolFramePtr frame, int pixelFormat) {
  Picture picture = CreateNewImageBase(static_cast<PixelFormat>(pixelFormat), frame.get());
  static_cast<void>(frame.release());
  return picture;
}

Picture ConvertFor(const Picture& source, const CConvertOptions& options) {
  try {
    return source->ConvertToNew(static_cast<PixelFormat>(options.to));
  } catch (const CException& failure) {
    throw CError(Text("%s: %s does not become %s: %s", options.input.c_str(), NameOf(options.from),
                      NameOf(options.to), failure.what()));
  }
}

// Returns the format in which a picture of this format can be shown.
int ShownFormat(int pixelFormat) {
  return pixelFormat == ZTLIB_BOOL8 || pixelFormat == ZTLIB_GRAY ? ZTLIB_GRAY : ZTLIB_RGB;
}

std::string OutputName(const CConvertOptions& options) {
  if (!options.output.empty()) return options.output;
  const std::filesystem::path input = PathOf(options.input);
  const bool isPicture = options.to <= ZTLIB_RGB;
  return (input.parent_path() /
          PathOf(input.stem().string() + "-" + NameOf(options.to) + (isPicture ? ".png" : ".raw")))
      .string();
}

int Convert(const CConvertOptions& options) {
  const std::string output = OutputName(options);
  COutputs outputs(IsPng(options.input) ? FilesOf(options.input) : std::vector{options.input},
                   {output});
  const Picture source =
      Wrap(IsPng(options.input) ? ReadPng(options) : ReadRaw(options), options.from);
  const Picture converted = ConvertFor(source, options);
  const AVFrame* const frame = FrameOf(converted);
  if (!frame)
    throw CError(
        Text("%s: too small for a sample of %s", options.input.c_str(), NameOf(options.to)));
  if (IsPng(output)) {
    const int shown = ShownFormat(options.to);
    const Picture picture = converted->ConvertToNew(static_cast<PixelFormat>(shown));
    WritePng(outputs, output, *FrameOf(picture));
  } else {
    outputs.Write(output, std::span(frame->data[0], BytesOf(*frame, options.to)));
  }
  const AVFrame& before = *FrameOf(source);
  const std::string summary = Text("%s: %s of %dx%d\n%s: %s of %dx%d\n", options.input.c_str(),
                                   NameOf(options.from), before.width, before.height,
                                   output.c_str(), NameOf(options.to), frame->width, frame->height);
  outputs.Publish();
  Print(outputs.Texts(), summary);
  return 0;
}

}  // namespace

CCommand ConvertCommand() {
  const auto options = std::make_shared<CConvertOptions>();
  const auto format = [](const char* name, int& value, const char* help) {
    CWords words;
    for (std::size_t i = 0; i < names.size(); ++i)
      words.emplace_back(names[i], static_cast<int>(i));
    return COption{.name = name,
                   .value = &value,
                   .help = help,
                   .allowed = std::move(words),
                   .isRequired = true};
  };
  return {.name = "convert",
          .help = "Convert a picture between pixel formats",
          .options = {{.name = "input",
                       .value = &options->input,
                       .help = "A .png file, anything else is raw samples",
                       .isRequired = true},
                      format("--from", options->from, "Pixel format of the input"),
                      format("--to", options->to, "Pixel format to convert to"),
                      {.name = "--size",
                       .value = SizeParser(options->width, options->height),
                       .help = "Size of raw input in pixels",
                       .form = "WxH"},
                      {.name = "--out",
                       .value = &options->output,
                       .help = "A .png file shows the result, anything else gets its samples",
                       .form = "FILE"}},
          .run = [=] { return Convert(*options); }};
}
