#include "client/commands.h"
#include "client/console.h"
#include "client/frame_file.h"
#include "client/html_report.h"
#include "client/media_input.h"
#include "client/moment.h"
#include "client/progress_bar.h"
#include "client/synthetic_scene.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace {

constexpr int sceneWidth = 640, sceneHeight = 480;
constexpr std::int64_t sceneFrames = 120;

std::unique_ptr<IPictureSource> OpenSource(const CDemoOptions& options) {
  if (!options.input.empty()) return std::make_unique<CMediaInput>(options.input);
  const CRecordSettings& settings = options.settings;
  return std::make_unique<CSyntheticScene>(settings.width ? settings.width : sceneWidth,
                                           settings.height ? settings.height : sceneHeight,
                                           settings.frames ? settings.frames : sceneFrames);
}

// The report shows an early, a middle and a late frame. The first one stands in as long as it is
// not known whether the input really has as many frames as expected.
constexpr std::size_t momentCount = 3;

bool IsShown(std::int64_t index, std::int64_t expected) {
  return index == 0 || index == expected / 6 || index == expected / 2 || index == expected * 5 / 6;
}

void WriteFile(const std::filesystem::path& path, const std::string& text) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file << text;
  file.close();
  if (!file) throw CError(path.string() + ": cannot write: " + std::strerror(errno));
}

}  // namespace

int Demo(const CDemoOptions& options) {
  const std::unique_ptr<IPictureSource> source = OpenSource(options);
  const std::filesystem::path folder = options.folder;
  std::error_code error;
  std::filesystem::create_directories(folder, error);
  if (error) throw CError(options.folder + ": cannot make the folder: " + error.message());

  CRecorder recorder(*source, options.settings);
  CFrameFileWriter file((folder / "demo.zts").string());
  // One decoder for the eye and one for the figures.
  CDecoder toRgb(1, ZTLIB_RGB), toYuv(1, ZTLIB_YUV);
  CStage decodeRgb("decode to RGB"), decodeYuv("decode to YUV");
  CMomentMaker momentMaker;
  CReport report;
  report.name = options.input.empty() ? source->Name()
                                      : std::filesystem::path(options.input).filename().string();
  report.quality = options.settings.quality;
  {
    CProgressBar progress("demo");
    while (recorder.Step()) {
      file.Write(recorder.Coded());
      const AVFrame& rgb =
          decodeRgb.Run([&]() -> const AVFrame& { return toRgb.Decode(recorder.Coded()); });
      const AVFrame& yuv =
          decodeYuv.Run([&]() -> const AVFrame& { return toYuv.Decode(recorder.Coded()); });
      const CPictureError loss = Compare(recorder.EncoderInput(), yuv);
      report.error.luma += loss.luma;
      report.error.chroma += loss.chroma;
      report.frames.push_back({static_cast<std::uint32_t>(recorder.Coded().size()),
                               loss.luma.Psnr(), loss.chroma.Psnr()});
      const std::int64_t index = recorder.Frames() - 1;
      if (IsShown(index, recorder.Expected()))
        report.moments.push_back(momentMaker.Make(index, recorder.Source(), rgb));
      progress.Show(recorder.Frames(), recorder.Share());
    }
  }
  if (recorder.Frames() == 0) throw CError(source->Name() + ": no picture in it");
  file.Close();
  if (report.moments.size() > momentCount) report.moments.erase(report.moments.begin());
  report.width = recorder.Width();
  report.height = recorder.Height();
  report.encodesPerSecond = recorder.encode.RunsPerSecond();
  report.decodesPerSecond = decodeRgb.RunsPerSecond();
  report.stages = {recorder.decodeInput, recorder.convert, recorder.encode, decodeRgb, decodeYuv};
  const std::filesystem::path page = folder / "report.html";
  WriteFile(page, HtmlReport(report));
  Print(Output(), ReportSummary(report) + "\n" + page.string() + "\n");
  return 0;
}
