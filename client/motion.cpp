#include "client/coded_input.h"
#include "client/commands.h"
#include "client/console.h"
#include "client/input_files.h"
#include "client/media_input.h"
#include "client/motion_events.h"
#include "client/motion_overlay.h"
#include "client/motion_watch.h"
#include "client/picture_io.h"
#include "client/picture_sink.h"
#include "client/platform.h"
#include "client/progress_bar.h"
#include "client/tree_json.h"

#include <cinttypes>

namespace {

std::unique_ptr<IPictureSource> OpenSource(const CMotionOptions& options) {
  if (PathOf(options.input).extension() == ".zts")
    return std::make_unique<CCodedInput>(options.input, options.framesPerSecond);
  return std::make_unique<CMediaInput>(options.input);
}

std::vector<std::vector<CMotionBlob>> BlobsOf(const ztlib::MotionResult& result,
                                              const CMotionWatch& watch) {
  std::vector<std::vector<CMotionBlob>> blobs;
  for (std::size_t i = 0; i < result.areas.size(); ++i)
    blobs.push_back(FindBlobs(result.areas[i], watch.Counted()[i], watch.Width(), watch.Height()));
  return blobs;
}

std::string FrameText(std::int64_t index, std::int64_t timeMs, const ztlib::MotionResult& result,
                      const std::vector<std::vector<CMotionBlob>>& blobs) {
  std::string line = Text("%9" PRId64 "  %11s  ", index, TimeText(timeMs).c_str());
  const std::string alarm = result.isSignal ? "ALARM" : Text("%.0f %%", Progress(result));
  if (!result.hasMetadata) return line + Text("%9s  %6s\n", "-", result.isSignal ? "ALARM" : "-");
  std::size_t count = 0;
  const CMotionBlob* largest = nullptr;
  for (const std::vector<CMotionBlob>& list : blobs) {
    count += list.size();
    if (!list.empty() && (!largest || list[0].pixels > largest->pixels)) largest = &list[0];
  }
  line += Text("%9.3f  %6s  %5zu", result.detectPercent, alarm.c_str(), count);
  if (largest)
    line += Text("  %dx%d at %d,%d", largest->width, largest->height, largest->left, largest->top);
  return line + "\n";
}

Json EventJson(const CMotionEvent& event) {
  return {{"startMs", event.startMs},
          {"endMs", event.isOpen ? Json() : Json(event.endMs)},
          {"lengthMs", event.LengthMs()},
          {"frames", event.frames},
          {"highestPercent", event.highestPercent},
          {"highestMs", event.highestMs},
          {"meanPercent", event.MeanPercent()}};
}

// Written frame by frame: a camera may run for days.
class CJsonOutput {
 public:
  explicit CJsonOutput(std::shared_ptr<COutputFile> output) : file(std::move(output)) {}

  void Begin(const CMotionOptions& options, const CMotionWatch& watch) {
    Json detectors = Json::array();
    for (const CDetectorSettings& detector : watch.Settings().detectors)
      detectors.push_back({{"signalPercent", detector.signalPercent},
                           {"restorePercent", detector.restorePercent},
                           {"polygons", detector.polygons}});
    Field("input", options.input);
    Field("width", watch.Width());
    Field("height", watch.Height());
    Field("violationTimeMs", watch.Settings().violationMs);
    Field("detectors", detectors);
    file->Write(",\n\"frames\": [");
  }

  void Add(std::int64_t index, std::int64_t timeMs, const ztlib::MotionResult& result,
           const std::vector<std::vector<CMotionBlob>>& blobs) {
    Json frame{{"index", index}, {"timeMs", timeMs}, {"signal", result.isSignal}};
    if (result.hasMetadata) {
      frame["percent"] = result.detectPercent;
      frame["progress"] = Progress(result);
      Json& detectors = frame["detectors"] = Json::array();
      for (std::size_t i = 0; i < blobs.size(); ++i) {
        Json areas = Json::array();
        for (const CMotionBlob& blob : blobs[i])
          areas.push_back({{"x", blob.left},
                           {"y", blob.top},
                           {"width", blob.width},
                           {"height", blob.height},
                           {"pixels", blob.pixels}});
        detectors.push_back({{"detectPercent", result.areas[i].detectPercent},
                             {"alarmPercent", result.areas[i].alarmPercent},
                             {"blobs", std::move(areas)}});
      }
    }
    file->Write((isFirstFrame ? "\n" : ",\n") + frame.dump());
    isFirstFrame = false;
  }

  void End(const CMotionEvents& events) {
    Json list = Json::array();
    for (const CMotionEvent& event : events.Events())
      list.push_back(EventJson(event));
    file->Write("\n]");
    Field("events", list);
    file->Write("\n}\n");
    file->Close();
  }

 private:
  void Field(const char* name, const Json& value) {
    file->Write((isFirstField ? "{\n\"" : ",\n\"") + std::string(name) +
                "\": " + value.dump(-1, ' ', false, Json::error_handler_t::replace));
    isFirstField = false;
  }

  std::shared_ptr<COutputFile> file;
  bool isFirstField = true, isFirstFrame = true;
};

std::string EventText(const CMotionEvent& event, std::size_t number) {
  return Text("alarm %zu: from %s %s %s, %s long, highest %.2f %% at %s, mean %.2f %%\n", number,
              TimeText(event.startMs).c_str(), event.isOpen ? "beyond the end at" : "to",
              TimeText(event.endMs).c_str(), TimeText(event.LengthMs()).c_str(),
              event.highestPercent, TimeText(event.highestMs).c_str(), event.MeanPercent());
}

// Prints alarms as they end, and each picture if that is wanted.
class CMotionPrinter {
 public:
  CMotionPrinter(COutputs& commandOutputs, double expectedFrames)
      : outputs(commandOutputs), expected(expectedFrames) {}

  void Add(std::int64_t index, std::int64_t timeMs, const ztlib::MotionResult& result,
           const std::vector<std::vector<CMotionBlob>>& blobs, const CMotionEvents& events) {
    std::string text;
    if (IsVerbose() && index == 0)
      text = "    frame         time  percent %   alarm  blobs  largest\n";
    if (IsVerbose()) text += FrameText(index, timeMs, result, blobs);
    const auto all = events.Events();
    if (told < all.size() && !all[told].isOpen) {
      text += EventText(all[told], told + 1);
      ++told;
    }
    if (!text.empty()) Show(text);
    progress.Show(index + 1, expected > 0 ? double(index + 1) / expected : -1);
  }
  void End(const CMotionEvents& events) {
    for (const auto all = events.Events(); told < all.size(); ++told)
      Show(EventText(all[told], told + 1));
  }

 private:
  // Whoever reads along sees an alarm when it is over.
  void Show(const std::string& text) {
    Print(outputs.Texts(), text);
    Flush(outputs.Texts());
  }

  COutputs& outputs;
  double expected;
  CProgressBar progress{"motion"};
  std::size_t told = 0;
};

}  // namespace

int Motion(const CMotionOptions& options) {
  std::vector<std::string> inputs = FilesOf(options.input);
  inputs.push_back(options.config);
  COutputs outputs(inputs, {options.video, options.json});
  const std::unique_ptr<IPictureSource> source = OpenSource(options);
  CMotionWatch watch(ReadMotionSettings(options.config), options.width);
  std::vector<std::unique_ptr<IPictureSink>> sinks;
  if (!options.pngFolder.empty()) sinks.push_back(NewPngOutput(outputs, options.pngFolder));
  if (!options.video.empty())
    sinks.push_back(
        NewVideoOutput(outputs, options.video, av_q2d(source->FrameRate()), EUnfinished::dropped));
  std::optional<CJsonOutput> json;
  if (!options.json.empty()) json.emplace(outputs.Open(options.json));

  const FramePtr picture = NewFrame();
  CMotionOverlay overlay;
  CMotionEvents events;
  std::optional<CMotionPrinter> printer;
  printer.emplace(outputs, double(options.frames > 0 ? options.frames : source->Count()));
  std::int64_t frames = 0;
  while (!Interrupted() && (options.frames == 0 || frames < options.frames) &&
         source->Next(*picture)) {
    const std::int64_t timeMs = source->TimeMs();
    const ztlib::MotionResult& result = watch.Look(*picture, timeMs);
    const auto blobs = BlobsOf(result, watch);
    events.Add(result, timeMs);
    if (frames == 0 && json) json->Begin(options, watch);
    printer->Add(frames, timeMs, result, blobs, events);
    if (json) json->Add(frames, timeMs, result, blobs);
    if (!sinks.empty()) {
      const AVFrame& shown = overlay.Draw(*picture, watch, result);
      for (const auto& sink : sinks)
        sink->Write(shown, frames);
    }
    ++frames;
  }
  printer->End(events);
  printer.reset();
  const std::string damage = source->Damage();
  if (frames == 0) {
    ThrowIfInterrupted();
    throw CError(options.input + ": " + (damage.empty() ? "no picture in it" : damage));
  }
  for (const auto& sink : sinks)
    sink->Close();
  if (json) json->End(events);
  const std::string summary =
      Text("%s: %s watched at %dx%d, %s, %s in all, detected at %.0f frames/s\n",
           options.input.c_str(), CountText(frames, "frame").c_str(), watch.Width(), watch.Height(),
           CountText(std::int64_t(events.Events().size()), "alarm").c_str(),
           TimeText(events.LengthMs()).c_str(), watch.detect.RunsPerSecond());
  const std::string complaint = options.input + ": " + damage;
  outputs.Publish();
  Print(outputs.Texts(), summary);
  if (damage.empty()) return 0;
  Complain(complaint);
  return 1;
}
