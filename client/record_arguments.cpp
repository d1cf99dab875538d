#include "client/commands.h"
#include "client/option_values.h"
#include "client/several_inputs.h"
#include "client/text.h"

#include <memory>

namespace {

// The options of a command, and behind them those of all that record.
std::vector<COption> WithRecordSettings(std::vector<COption> options, CRecordSettings& settings) {
  constexpr const char* group = "Differential video";
  const COption shared[] = {
      {.name = "--quality",
       .value = &settings.quality,
       .help = "JPEG quality",
       .allowed = CLimits{1, 100},
       .showsDefault = true},
      {.name = "--size",
       .value = SizeParser(settings.width, settings.height),
       .help = "Size of the coded pictures; that of the input if not given",
       .form = "WxH"},
      {.name = "--from",
       .value = &settings.from,
       .help = "The first picture to code, counted from 0",
       .allowed = CLimits{0, 1000000000}},
      {.name = "--frames",
       .value = &settings.frames,
       .help = "Stop after so many frames",
       .allowed = CPositive{}},
      {.name = "--key-interval",
       .value = &settings.keyInterval,
       .help = "Frames between key frames",
       .allowed = CPositive{},
       .showsDefault = true,
       .group = group},
      {.name = "--reference-interval",
       .value = &settings.referenceInterval,
       .help = "Frames between reference frames",
       .allowed = CPositive{},
       .showsDefault = true,
       .group = group},
      {.name = "--sensitivity",
       .value = &settings.sensitivity,
       .help = "How small a change is sent: 0 only large ones, 20 all",
       .allowed = CLimits{0, 20},
       .showsDefault = true,
       .group = group},
      {.name = "--advanced",
       .value = &settings.isAdvanced,
       .help = "Difference frames in place of plain ones",
       .group = group},
      {.name = "--bits",
       .value = &settings.listBits,
       .help = "Bits per entry in the list of blocks",
       .allowed = CLimits{0, 31},
       .showsDefault = true,
       .group = group},
      {.name = "!--no-overflow-keys",
       .value = &settings.hasOverflowKeys,
       .help = "No key frame when more than 40 % of the blocks changed",
       .group = group},
  };
  options.insert(options.end(), std::begin(shared), std::end(shared));
  return options;
}

// An option that would have no effect is a mistake.
void CheckDifferential(const CCommand::IsGiven& isGiven, int videoFormat) {
  if (videoFormat == ZTLIB_VIDEO_MJPEGDIFF) return;
  const auto refuse = [&](const char* name, const char* formats) {
    if (isGiven(name)) throw CError(std::string(name) + " needs --format " + formats);
  };
  for (const char* name : {"--reference-interval", "--advanced"})
    refuse(name, "mjpegdiff");
  if (videoFormat == ZTLIB_VIDEO_LAYEREDDIFF) return;
  for (const char* name : {"--key-interval", "--sensitivity", "--bits", "--no-overflow-keys"})
    refuse(name, "mjpegdiff or layereddiff");
}

}  // namespace

CCommand RecordCommand() {
  const auto options = std::make_shared<CRecordOptions>();
  const COption::ParseAll takeNames{[=](const std::vector<std::string>& names) {
    if (names.size() < 2) throw CError("record needs an input and an output");
    options->inputs = InputsNamedBy({names.begin(), names.end() - 1});
    options->output = names.back();
  }};
  return {.name = "record",
          .help = "Code videos, camera streams or pictures",
          .options = WithRecordSettings({{.name = "names",
                                          .value = takeNames,
                                          .help = "Inputs, which are anything that FFmpeg reads, "
                                                  "and last the output (.zts), where {} stands "
                                                  "for the name of the input",
                                          .form = "input... output",
                                          .isRequired = true},
                                         ThreadsOption(options->threads),
                                         {.name = "--format",
                                          .value = &options->videoFormat,
                                          .help = "Video format",
                                          .allowed = VideoFormatNames(),
                                          .showsDefault = true},
                                         {.name = "--psnr",
                                          .value = &options->hasPsnr,
                                          .help = "Play each frame back and measure its PSNR"}},
                                        options->settings),
          .run =
              [=] {
                options->settings.videoFormat =
                    static_cast<ztlib_video_format>(options->videoFormat);
                return Record(*options);
              },
          .check =
              [=](const CCommand::IsGiven& isGiven) {
                CheckDifferential(isGiven, options->videoFormat);
              }};
}

CCommand DemoCommand() {
  const auto options = std::make_shared<CDemoOptions>();
  return {.name = "demo",
          .help = "Record in both formats, play back and write report.html",
          .options = WithRecordSettings(
              {{.name = "input",
                .value = &options->input,
                .help = "As for record; a drawn street scene if not given"},
               {.name = "--out",
                .value = &options->folder,
                .help = "Folder for the results",
                .form = "DIR",
                .showsDefault = true},
               {.name = "--config",
                .value = &options->motionConfig,
                .help = "Configuration of the motion detectors for the input, as for motion",
                .form = "FILE",
                .needs = "input"}},
              options->settings),
          .run = [=] { return Demo(*options); }};
}
