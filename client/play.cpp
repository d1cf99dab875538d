#include "client/commands.h"
#include "client/console.h"
#include "client/frame_player.h"
#include "client/picture_sink.h"
#include "client/several_inputs.h"

#include <cinttypes>
#include <memory>

namespace {

struct CPlayOptions {
  std::vector<std::string> inputs;
  int threads = 0;  // 0: as many as there are cores
  int scale = 1;
  int pixels = ZTLIB_RGB;
  double framesPerSecond = 25;
  std::string pngFolder, y4m, video;  // patterns for NamesFor
  int dropType = -1;                  // a ztlib::CodedFrameType; -1: none
  std::int64_t dropEvery = 1;
  std::int64_t from = 0, frames = 0;  // the first to be shown, and how many; 0: all
};

const CWords pixelNames{{"rgb", ZTLIB_RGB},
                        {"yuv", ZTLIB_YUV},
                        {"yuyv", ZTLIB_YUYV},
                        {"uyvy", ZTLIB_UYVY},
                        {"gray", ZTLIB_GRAY}};
const CWords typeNames{{"plain", ztlib::plainFrame},
                       {"difference", ztlib::differenceFrame},
                       {"reference", ztlib::referenceFrame},
                       {"key", ztlib::keyFrame}};

using SinkPtr = std::unique_ptr<IPictureSink>;

std::vector<SinkPtr> OpenSinks(COutputs& outputs, const CPlayOptions& options) {
  const double rate = options.framesPerSecond;
  std::vector<SinkPtr> sinks;
  if (!options.pngFolder.empty()) sinks.push_back(NewPngOutput(outputs, options.pngFolder));
  if (!options.y4m.empty()) sinks.push_back(NewY4mOutput(outputs, options.y4m, rate));
  if (!options.video.empty())
    sinks.push_back(NewVideoOutput(outputs, options.video, rate, EUnfinished::kept));
  return sinks;
}

// Plays a line on which frames get lost.
class CLoss {
 public:
  explicit CLoss(const CPlayOptions& options)
      : type(options.dropType), interval(options.dropEvery) {}

  bool Takes(const CFrameHeader& header) {
    const int present = header.IsDifferential() && header.frameType == ztlib::untoldFrame
                            ? int{ztlib::plainFrame}
                            : header.frameType;
    if (present != type || ++seen % interval != 0) return false;
    ++lost;
    return true;
  }
  [[nodiscard]] std::int64_t Lost() const { return lost; }

 private:
  int type;
  std::int64_t interval, seen = 0, lost = 0;
};

CDone PlayOne(const CPlayOptions& options, std::size_t index, CProgressBar& progress) {
  const std::string& input = options.inputs[index];
  CFramePlayer player(input, {static_cast<ztlib_pixel_format>(options.pixels), options.scale});
  COutputs outputs(options.inputs, {options.y4m, options.video});
  const std::vector<SinkPtr> sinks = OpenSinks(outputs, options);
  CLoss loss(options);
  int width = 0, height = 0;
  while (options.frames == 0 || player.Pictures() < options.frames) {
    const std::optional<CCodedFrame> frame = player.Next();
    if (!frame) break;
    progress.Show(player.Frames(), player.Share(), index);
    const CFrameHeader header = ReadFrameHeader(frame->bytes);
    if (options.pixels == ZTLIB_GRAY && header.videoFormat != ZTLIB_VIDEO_MJPEG &&
        IsVideoFormat(header.videoFormat))
      throw CError(input +
                   ": differential and layered video have no gray pictures, use rgb or yuv");
    if (loss.Takes(header)) continue;
    if (frame->index < options.from) {
      player.Skip(*frame, header);
      continue;
    }
    const AVFrame* const picture = player.Decode(*frame, header);
    if (!picture) continue;
    width = picture->width;
    height = picture->height;
    for (const SinkPtr& sink : sinks)
      sink->Write(*picture, frame->index);
  }
  player.Close();
  if (player.Frames() <= options.from && !player.IsDamaged() && !Interrupted())
    throw CError(Text("%s: frame %" PRId64 " is behind its end, %s", input.c_str(), options.from,
                      CountText(player.Frames(), "frame").c_str()));
  const std::int64_t played = player.Pictures();
  if (played > 0)
    for (const SinkPtr& sink : sinks)
      sink->Close();

  std::string summary = Text("%s: %s", input.c_str(), CountText(played, "frame").c_str());
  if (played > 0)
    summary +=
        Text(" of %dx%d, decoded at %.0f frames/s", width, height, player.DecodedPerSecond());
  if (loss.Lost() > 0) summary += Text(", %" PRId64 " dropped", loss.Lost());
  if (player.DamagedFrames() > 0) summary += Text(", %" PRId64 " damaged", player.DamagedFrames());
  summary += "\n";
  // Without a picture nothing takes the place of what is there.
  if (played > 0) outputs.Publish();
  return {.status = player.IsDamaged() ? 1 : 0,
          .frames = played,
          .summary = std::move(summary),
          .to = outputs.Texts()};
}

int Play(const CPlayOptions& options) {
  const std::vector<std::string> folders = NamesFor(options.pngFolder, options.inputs),
                                 streams = NamesFor(options.y4m, options.inputs),
                                 videos = NamesFor(options.video, options.inputs);
  std::vector<std::string> all = streams;
  all.insert(all.end(), videos.begin(), videos.end());
  // What is written of one input is no other one, either.
  const COutputs checked(options.inputs, all);
  return ForEachInput(options.inputs, options.threads, "play",
                      [&](std::size_t index, CProgressBar& progress) {
                        CPlayOptions one = options;
                        one.pngFolder = folders[index];
                        one.y4m = streams[index];
                        one.video = videos[index];
                        return PlayOne(one, index, progress);
                      });
}

}  // namespace

CCommand PlayCommand() {
  const auto options = std::make_shared<CPlayOptions>();
  return {.name = "play",
          .help = "Decode .zts files",
          .options = {{.name = "input",
                       .value = &options->inputs,
                       .help = "Coded frames (.zts), of one recording or of several",
                       .form = "NAME...",
                       .isRequired = true},
                      ThreadsOption(options->threads),
                      {.name = "--scale",
                       .value = &options->scale,
                       .help = "Divide width and height",
                       .allowed = std::vector{1, 2, 4, 8},
                       .showsDefault = true},
                      {.name = "--pixels",
                       .value = &options->pixels,
                       .help = "Pixel format to decode to",
                       .allowed = pixelNames,
                       .showsDefault = true},
                      {.name = "--from",
                       .value = &options->from,
                       .help = "The first frame to show, counted from 0",
                       .allowed = CLimits{0, 1000000000}},
                      {.name = "--frames",
                       .value = &options->frames,
                       .help = "Stop after so many frames",
                       .allowed = CPositive{}},
                      {.name = "--drop",
                       .value = &options->dropType,
                       .help = "Lose the frames of this type",
                       .allowed = typeNames},
                      {.name = "--drop-every",
                       .value = &options->dropEvery,
                       .help = "Lose only every Nth of them",
                       .allowed = CPositive{},
                       .showsDefault = true,
                       .needs = "--drop"},
                      {.name = "--fps",
                       .value = &options->framesPerSecond,
                       .help = "Frame rate of the written video",
                       .allowed = CLimits{0.01, 1000.0},
                       .showsDefault = true},
                      {.name = "--png",
                       .value = &options->pngFolder,
                       .help = "Write numbered PNG files; {} in DIR is the name of the input",
                       .form = "DIR"},
                      {.name = "--y4m",
                       .value = &options->y4m,
                       .help = "Write YUV4MPEG2, - for standard output; {} as for --png",
                       .form = "FILE|-"},
                      {.name = "--video",
                       .value = &options->video,
                       .help = "Write a video, lossless in .mkv; {} as for --png",
                       .form = "FILE"}},
          .run = [=] {
            options->inputs = InputsNamedBy(options->inputs);
            return Play(*options);
          }};
}
