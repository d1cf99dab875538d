#include "client/console.h"
#include "client/input_files.h"
#include "client/option_values.h"
#include "client/picture_io.h"
#include "client/whole_file.h"
#include "tools/inside/calibration_view.h"
#include "tools/inside/commands.h"

#include <memory>

namespace {

struct CCalibrateOptions {
  std::string picture, configuration, picturePng;
  std::vector<std::array<std::int32_t, 4>> heights;  // x and y of a foot and of the head above it
  std::string json;                                  // empty: none
};

void ShowHeights(COutputs& outputs, const CCalibrateOptions& options,
                 const CCalibrationView& view) {
  Json heights = Json::array();
  for (const auto& [footX, footY, headX, headY] : options.heights) {
    const std::optional<float> meters =
        view.Height({float(footX), float(footY)}, {float(headX), float(headY)});
    heights.push_back(meters ? Json(*meters) : Json());
    Print(Output(), Text("%d,%d,%d,%d: ", footX, footY, headX, headY) +
                        (meters ? Text("%.2f m\n", double(*meters)) : "no height\n"));
  }
  const std::string json = Json{{"heights", heights}}.dump(2) + "\n";
  if (!options.json.empty())
    outputs.Write(options.json,
                  std::span(reinterpret_cast<const std::uint8_t*>(json.data()), json.size()));
}

int Calibrate(const CCalibrateOptions& options) {
  std::vector<std::string> inputs = FilesOf(options.picture);
  inputs.push_back(options.configuration);
  COutputs outputs(inputs, {options.picturePng, options.json});
  const Json json = ParseJson(ReadWholeFile(options.configuration), options.configuration);
  const PoolFramePtr picture = ReadPicture(options.picture, ZTLIB_RGB);
  CCanvas canvas = CanvasOf(*picture);
  const CCalibrationView view(json, options.configuration, canvas.Width(), canvas.Height());
  if (!view.HasGround()) {
    std::string reasons;
    for (const std::string& line : view.Log())
      reasons += " " + line;
    throw CError(options.configuration + ": gives no calibration." + reasons);
  }
  for (const std::string& line : view.Log())
    if (line.starts_with("CCalibrator3D:")) Complain(options.configuration + ": " + line);
  view.Draw(canvas);
  WritePng(outputs, options.picturePng, *PictureOf(canvas));
  Print(Output(),
        options.picturePng +
            ": ground grid yellow and, around, gray; horizon red; squares of 1 m green; " +
            (view.HasHeight() ? "reference segments blue; poles of 2 m orange\n"
                              : "no heights: reference segments are missing or tell nothing\n"));
  ShowHeights(outputs, options, view);
  outputs.Publish();
  return 0;
}

}  // namespace

CCommand CalibrateCommand() {
  const auto options = std::make_shared<CCalibrateOptions>();
  return {
      .name = "calibrate",
      .help = "Draw what a calibration makes of a picture, and measure in it",
      .options = {{.name = "picture",
                   .value = &options->picture,
                   .help = "Anything that FFmpeg reads",
                   .isRequired = true},
                  {.name = "--config",
                   .value = &options->configuration,
                   .help = "The calibration as JSON, its names being the keys of the tree",
                   .form = "FILE.json",
                   .isRequired = true},
                  {.name = "--out",
                   .value = &options->picturePng,
                   .help = "The picture with the drawing",
                   .form = "FILE.png",
                   .isRequired = true},
                  {.name = "--height",
                   .value = COption::ParseAll{[=](const std::vector<std::string>& texts) {
                     for (const std::string& text : texts)
                       ParseNumbers("--height", text, options->heights.emplace_back());
                   }},
                   .help = "Print the meters between these pixels, a foot and the head above it",
                   .form = "X,Y,X,Y ..."},
                  {.name = "--json",
                   .value = &options->json,
                   .help = "Write those heights as JSON",
                   .form = "FILE"}},
      .run = [=] { return Calibrate(*options); }};
}
