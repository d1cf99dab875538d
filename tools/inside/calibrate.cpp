#include "client/commands.h"
#include "client/console.h"
#include "client/picture_io.h"
#include "client/whole_file.h"
#include "tools/inside/calibration_view.h"

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
