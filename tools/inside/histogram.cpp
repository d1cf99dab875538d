#include "main/lib/imgproc/histogram.h"

#include "client/console.h"
#include "client/input_files.h"
#include "client/option_values.h"
#include "client/picture_io.h"
#include "client/platform.h"
#include "main/lib/base/cdata/HAData.h"
#include "main/lib/base/exceptions.h"
#include "main/lib/imgproc/mask.h"
#include "tools/inside/commands.h"
#include "tools/inside/plot.h"

#include <algorithm>
#include <fstream>
#include <limits>
#include <memory>

#include <nlohmann/json.hpp>

using namespace ztlib;

namespace {

struct CHistogramOptions {
  std::string picture;
  std::string mask, png;  // empty: none
};

// The file has a list of polygons, each a list of virtual coordinates, x and y in turn, or an
// object with such a list under "Masks".
CMask ReadMask(const std::string& path, const Size& size) {
  std::ifstream file(PathOf(path));
  if (!file) throw CError(path + ": cannot open");
  const nlohmann::json json = nlohmann::json::parse(file, nullptr, false);
  const nlohmann::json& list = json.is_object() && json.contains("Masks") ? json.at("Masks") : json;
  const auto isCoordinate = [](const nlohmann::json& value) {
    using Limits = std::numeric_limits<std::int16_t>;
    return value.is_number_integer() && value >= Limits::min() && value <= Limits::max();
  };
  const auto isPolygon = [&](const nlohmann::json& polygon) {
    return polygon.is_array() && polygon.size() % 2 == 0 &&
           std::all_of(polygon.begin(), polygon.end(), isCoordinate);
  };
  if (!list.is_array() || !std::all_of(list.begin(), list.end(), isPolygon))
    throw CError(path + ": is no list of polygons like [[0, 0, 16384, 0, 8192, 9216]]");
  CData polygons;
  for (const nlohmann::json& polygon : list)
    polygons.AddShortArray(Tok::Empty, polygon.get<std::vector<std::int16_t>>());
  CMask mask;
  mask.BuildFromData(polygons, size);
  return mask;
}

ByteImage PlaneOf(const AVFrame& picture) {
  ByteImage plane(picture.width, picture.height);
  std::uint8_t* row = plane.GetWritePtr();
  for (int y = 0; y < picture.height; ++y, row += plane.GetScanline())
    std::copy_n(picture.data[0] + std::ptrdiff_t{y} * picture.linesize[0], picture.width, row);
  return plane;
}

// Returns a bar for every eight gray values.
std::string Bars(const CHistogram& histogram) {
  constexpr int width = 8, cells = 60, bars = 256 / width;
  std::int64_t pixels[bars] = {};
  for (int i = 0; i < 256; ++i)
    pixels[i / width] += histogram.bins[i];
  const std::int64_t tallest = std::max<std::int64_t>(*std::max_element(pixels, pixels + bars), 1);
  std::string text;
  for (int i = 0; i < bars; ++i) {
    const auto length = static_cast<std::size_t>((pixels[i] * cells + tallest - 1) / tallest);
    text += Text("%3d to %3d %10lld%s%s\n", i * width, (i + 1) * width - 1,
                 static_cast<long long>(pixels[i]), length > 0 ? "  " : "",
                 std::string(length, '#').c_str());
  }
  return text;
}

int Histogram(const CHistogramOptions& options) {
  std::vector<std::string> inputs = FilesOf(options.picture);
  inputs.push_back(options.mask);
  COutputs outputs(inputs, {options.png});
  const PoolFramePtr picture = ReadPicture(options.picture, ZTLIB_GRAY);
  const ByteImage plane = PlaneOf(*picture);
  CHistogram histogram;
  if (options.mask.empty())
    histogram.Make(plane);
  else
    histogram.Make(plane, ReadMask(options.mask, {plane.GetDx(), plane.GetDy()}));
  if (!options.png.empty())
    WritePng(outputs, options.png, *PictureOf(PlotBars({histogram.bins, 256})));

  int low = 0, high = 0, mean = 0;
  constexpr int eightyPercent = 80;  // in steps of 5/1024 on either side
  histogram.GetRange(low, high, mean, eightyPercent);
  const std::string summary =
      Text("%s: %s of %dx%d, mean %d, median %d, four fifths in %d to %d\n",
           options.picture.c_str(), CountText(histogram.img_pixel_num_, "pixel").c_str(),
           picture->width, picture->height, mean, histogram.Median(), low, high) +
      Bars(histogram);
  outputs.Publish();
  Print(outputs.Texts(), summary);
  return 0;
}

}  // namespace

CCommand HistogramCommand() {
  const auto options = std::make_shared<CHistogramOptions>();
  return {
      .name = "histogram",
      .help = "Plot the gray values of a picture",
      .options = {{.name = "picture",
                   .value = &options->picture,
                   .help = "Anything that FFmpeg reads",
                   .isRequired = true},
                  {.name = "--mask",
                   .value = &options->mask,
                   .help =
                       "Count inside of these polygons: JSON lists of x and y in turn, 16384 being "
                       "the picture's width on both axes",
                   .form = "FILE.json"},
                  {.name = "--png",
                   .value = &options->png,
                   .help = "Draw how many pixels have which of the 256 values",
                   .form = "FILE"}},
      .run = [=] { return Histogram(*options); }};
}
