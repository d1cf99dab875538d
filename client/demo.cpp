#include "client/commands.h"
#include "client/console.h"
#include "client/demo/block_view.h"
#include "client/demo/circumstances.h"
#include "client/demo/html_report.h"
#include "client/demo/layer_view.h"
#include "client/demo/moment.h"
#include "client/demo/moment_choice.h"
#include "client/demo/motion_view.h"
#include "client/demo/playback.h"
#include "client/demo/scene_ground.h"
#include "client/demo/synthetic_scene.h"
#include "client/demo/yardstick.h"
#include "client/input_files.h"
#include "client/media_input.h"
#include "client/picture_io.h"
#include "client/platform.h"
#include "client/progress_bar.h"

#include <algorithm>
#include <bit>
#include <filesystem>
#include <limits>

namespace {

constexpr int sceneWidth = 640, sceneHeight = 480;
constexpr std::int64_t sceneFrames = 120, motionFrames = 750;

// Of the drawn scene: one detector for the street and one for the pavement before it.
CMotionSettings SceneMotion(int width, int height) {
  // A tall picture ends where 16 bits end.
  const auto virtualAt = [&](float y) {
    return static_cast<int>(
        std::min(32767.0F, y / CSyntheticScene::bottom * float(height) * 16384 / float(width)));
  };
  const int ends[] = {virtualAt(CSyntheticScene::curb), virtualAt(CSyntheticScene::nearCurb),
                      virtualAt(CSyntheticScene::bottom)};
  return ParseMotionSettings(
      Text(R"({"ViolationTimeMs": 400, "Configs": [
               {"MotionPercent": 0.5, "Masks": [[0, %d, 16383, %d, 16383, %d, 0, %d]]},
               {"MotionPercent": 0.2, "Masks": [[0, %d, 16383, %d, 16383, %d, 0, %d]]}]})",
           ends[0], ends[0], ends[1], ends[1], ends[1], ends[1], ends[2], ends[2]),
      "scene");
}

// A street with pauses: in the one that is recorded somebody always moves.
CMotionReport WatchScene(CMomentMaker& momentMaker, const ztlib::EncoderSettings& coded,
                         std::int64_t frames) {
  CSyntheticScene scene(coded.width, coded.height, frames > 0 ? frames : motionFrames,
                        EStreet::quiet);
  CMotionView view(momentMaker, SceneMotion(coded.width, coded.height),
                   "A quiet street, drawn for this section");
  CProgressBar progress("motion");
  const FramePtr picture = NewFrame();
  // The report needs one picture at least.
  for (std::int64_t i = 1; (i == 1 || !Interrupted()) && scene.Next(*picture); ++i) {
    view.Add(*picture, scene.TimeMs());
    progress.Show(i, double(i) / double(scene.Count()));
  }
  return view.Finish();
}

std::unique_ptr<IPictureSource> OpenSource(const CDemoOptions& options) {
  if (!options.input.empty()) return std::make_unique<CMediaInput>(options.input);
  const CRecordSettings& settings = options.settings;
  // Those that are passed over come in addition.
  const std::int64_t passed =
      std::min(settings.from, std::numeric_limits<std::int64_t>::max() - settings.frames);
  return std::make_unique<CSyntheticScene>(
      settings.width ? settings.width : sceneWidth, settings.height ? settings.height : sceneHeight,
      settings.frames ? settings.frames + passed : sceneFrames);
}

}  // namespace

int Demo(const CDemoOptions& options) {
  const std::filesystem::path folder = PathOf(options.folder);
  const std::string plainFile = (folder / "demo.zts").string(),
                    differentialFile = (folder / "demo-diff.zts").string(),
                    layeredFile = (folder / "demo-layered.zts").string(),
                    page = (folder / "report.html").string();
  std::vector<std::string> inputs = FilesOf(options.input);
  inputs.push_back(options.motionConfig);
  COutputs outputs(inputs, {plainFile, differentialFile, layeredFile, page});
  const std::unique_ptr<IPictureSource> source = OpenSource(options);
  std::error_code error;
  std::filesystem::create_directories(folder, error);
  if (error) throw CError(options.folder + ": cannot make the folder: " + error.message());

  // The recorder makes differential video; plain video of the same size goes beside it.
  CRecordSettings settings = options.settings;
  settings.videoFormat = ZTLIB_VIDEO_MJPEGDIFF;
  CRecorder recorder(*source, settings);
  std::optional<CCoder> plainCoder;
  CPlayback plain(outputs, "MJPEG", plainFile);
  CPlayback differential(outputs, "Differential", differentialFile);
  CMomentMaker momentMaker;
  CBlockView blockView(momentMaker);
  std::optional<CLayerView> layerView;
  std::optional<CYardstick> yardstick;
  const std::string shownName = options.input.empty() ? source->Name() : ShownName(options.input);
  std::optional<CMotionView> motionView;
  if (!options.input.empty())
    motionView.emplace(momentMaker, ReadMotionSettings(options.motionConfig), shownName);
  CMomentChoice moments;
  const auto* const scene = dynamic_cast<const CSyntheticScene*>(source.get());
  std::optional<CGroundPicture> ground;
  bool isGroundMissing = false;
  {
    CProgressBar progress("demo");
    while (recorder.Step()) {
      const CCoder& coder = recorder.Coder();
      if (!plainCoder) {
        ztlib::EncoderSettings plainSettings = coder.Settings();
        plainSettings.videoFormat = ZTLIB_VIDEO_MJPEG;
        plainCoder.emplace(plainSettings, coder.Scaled());
        layerView.emplace(momentMaker, outputs, layeredFile, coder);
        yardstick.emplace(coder, source->FrameRate());
      }
      plainCoder->Code(recorder.Source());
      plain.Add(plainCoder->Coded(), plainCoder->Input());
      differential.Add(coder.Coded(), plainCoder->Input());
      yardstick->Add(recorder.Source(), plainCoder->Input(),
                     static_cast<std::uint32_t>(coder.Coded().size()));
      if (motionView) motionView->Add(recorder.Source(), source->TimeMs());
      const std::int64_t index = recorder.Frames() - 1;
      blockView.Add(index, coder.Coded(), differential.Rgb());
      // The last one of these is in the second half, however long the clip is.
      layerView->Add(index, recorder.Source(),
                     index == 0 || std::has_single_bit(static_cast<std::uint64_t>(index)));
      if (scene && index == recorder.Expected() / 6) {
        ground = MeasureGround(*scene, index, plain.Rgb(), momentMaker);
        isGroundMissing = !ground && !Interrupted();
      }
      const CFrameHeader header = ReadFrameHeader(coder.Coded());
      if (moments.Wants(header))
        moments.Keep(header, momentMaker.Make(index, recorder.Source(), coder.Scaled(), plain.Rgb(),
                                              differential.Rgb()));
      progress.Show(recorder.Frames(), recorder.Share());
    }
  }
  recorder.CheckNotEmpty();
  if (isGroundMissing)
    Complain(page + ": without meters in the picture, which need ztinside beside this program");
  const ztlib::EncoderSettings& coded = recorder.Coder().Settings();
  CReport report;
  report.name = shownName;
  report.framesPerSecond = av_q2d(source->FrameRate());
  report.input = recorder.decodeInput;
  report.plain = plain.Finish(*plainCoder);
  report.differential = differential.Finish(recorder.Coder());
  report.settings = coded;
  report.moments = moments.Finish(recorder.Frames());
  report.blocks = blockView.Finish();
  report.ground = std::move(ground);
  report.layers = layerView->Finish();
  report.motion =
      motionView ? motionView->Finish() : WatchScene(momentMaker, coded, options.settings.frames);
  report.circumstances = CircumstancesOf(options, coded);
  report.yardstick = yardstick->Finish();
  const std::string html = HtmlReport(report);
  outputs.Write(page, std::span(reinterpret_cast<const std::uint8_t*>(html.data()), html.size()));
  const std::string summary = ReportSummary(report) + "\n" + page + "\n";
  outputs.Publish();
  Print(Output(), summary);
  return 0;
}
