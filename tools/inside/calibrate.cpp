#include "client/commands.h"
#include "client/console.h"
#include "client/option_values.h"
#include "client/picture_io.h"
#include "client/whole_file.h"
#include "tools/inside/calibration_view.h"

#include <memory>

namespace {

struct CCalibrateOptions {
  std::string picture, configuration, picturePng;
};

int Calibrate(const CCalibrateOptions& options) {
  std::vector<std::string> inputs = FilesOf(options.picture);
  inputs.push_back(options.configuration);
  COutputs outputs(inputs, {options.picturePng});
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
  WritePng(outputs, options.picturePng, *PictureOf(canvas), *NewPngCoder());
  outputs.Publish();
  Print(Output(),
        options.picturePng +
            ": ground grid yellow and, around, gray; horizon red; squares of 1 m green; " +
            (view.HasHeight() ? "reference segments blue; poles of 2 m orange\n"
                              : "no heights: reference segments are missing or tell nothing\n"));
  return 0;
}

}  // namespace

CCommand CalibrateCommand() {
  const auto options = std::make_shared<CCalibrateOptions>();
  return {
      .name = "calibrate",
      .help =
          "Draw what a calibration makes of a picture (no export: by the library's static twin)",
      .options =
          {{.name = "picture", .value = &options->picture, .help = pictureHelp, .isRequired = true},
           {.name = "--config",
            .value = &options->configuration,
            .help = "The calibration as JSON, its names being the keys of the tree",
            .form = "FILE.json",
            .isRequired = true},
           {.name = "--out",
            .value = &options->picturePng,
            .help = "The picture with the drawing",
            .form = "FILE.png",
            .isRequired = true}},
      .run = [=] { return Calibrate(*options); }};
}
