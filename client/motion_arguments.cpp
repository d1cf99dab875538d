#include "client/commands.h"
#include "client/option_values.h"

#include <memory>

CCommand MotionCommand() {
  const auto options = std::make_shared<CMotionOptions>();
  return {
      .name = "motion",
      .help = "Watch a video or a .zts file for motion",
      .options = {{.name = "input",
                   .value = &options->input,
                   .help = "As for record, or coded frames (.zts)",
                   .isRequired = true},
                  {.name = "--config",
                   .value = &options->config,
                   .help = "Configuration of the detectors as JSON; one with defaults if not given",
                   .form = "FILE"},
                  {.name = "--width",
                   .value = &options->width,
                   .help = "Columns at most of the pictures that the detectors get",
                   .allowed = CLimits{1, maxJpegSide},
                   .showsDefault = true},
                  {.name = "--frames",
                   .value = &options->frames,
                   .help = "Stop after so many frames",
                   .allowed = CPositive{}},
                  {.name = "--fps",
                   .value = &options->framesPerSecond,
                   .help = "Frame rate of a .zts file",
                   .allowed = CLimits{0.01, 1000.0},
                   .showsDefault = true},
                  {.name = "--json",
                   .value = &options->json,
                   .help = "Write all results as JSON",
                   .form = "FILE"},
                  {.name = "--png",
                   .value = &options->pngFolder,
                   .help = "Write pictures with the motion in them",
                   .form = "DIR"},
                  {.name = "--video",
                   .value = &options->video,
                   .help = "Write them as a video, lossless in .mkv",
                   .form = "FILE"}},
      .run = [=] { return Motion(*options); }};
}
