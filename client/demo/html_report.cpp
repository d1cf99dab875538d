#include "client/demo/html_report.h"

#include "client/demo/page_template.h"
#include "client/demo/report_page.h"
#include "client/demo/svg_plot.h"
#include "client/frame_header.h"
#include "client/text.h"

#include <algorithm>
#include <cinttypes>
#include <numeric>
#include <set>

extern "C" {
#include <libavutil/base64.h>
}

// The values of report.html, under the names that they have there.

namespace {

struct CShownType {
  std::int32_t type;
  const char *name, *about;
};
constexpr CShownType shownTypes[] = {
    {ztlib::keyFrame, "key", "the whole picture"},
    {ztlib::referenceFrame, "reference", "changed blocks, on which later frames build"},
    {ztlib::plainFrame, "plain", "changed blocks; nothing builds on them"},
    {ztlib::differenceFrame, "difference",
     "how blocks differ from the last key or reference frame; nothing builds on them"}};

Json Figure(const char* type, const std::string& file, const std::string& caption) {
  std::string code(AV_BASE64_SIZE(file.size()), '\0');
  av_base64_encode(code.data(), static_cast<int>(code.size()),
                   reinterpret_cast<const std::uint8_t*>(file.data()),
                   static_cast<int>(file.size()));
  code.pop_back();
  return {{"type", type}, {"code", std::move(code)}, {"caption", caption}};
}

// "0.28"; the second of the first.
std::string RatioText(double first, double second) {
  return second > 0 ? Text("%.2f", first / second) : "-";
}

double Rate(double seconds) {
  return seconds > 0 ? 1 / seconds : 0;
}

double PerPixel(const CCoding& coding) {
  return 8 * double(coding.Bytes()) / (double(coding.frames.size()) * coding.width * coding.height);
}

double BitsPerSecond(const CReport& report, const CCoding& coding) {
  return 8 * double(coding.Bytes()) / double(coding.frames.size()) * report.framesPerSecond;
}

std::string MillisecondsText(double seconds) {
  return Text("%.*f", seconds < 1e-4 ? 3 : 2, 1000 * seconds);
}

struct CShownCoding {
  const CCoding* coding;
  const char *color, *about;
};

// With their colours, which the page has.
std::vector<CShownCoding> Codings(const CReport& report) {
  std::vector<CShownCoding> codings{
      {&report.plain, "first", "each picture by itself, as JPEG"},
      {&report.differential, "second",
       "JPEG, too, but most frames hold only the blocks of 16 by 16 pixels that changed"}};
  if (report.layers)
    codings.push_back({&report.layers->coding, "third",
                       "the format of older cameras: each picture in four layers, from coarse to "
                       "fine"});
  if (report.yardstick)
    codings.push_back({&*report.yardstick, "fourth", report.yardstick->settings.c_str()});
  return codings;
}

Json CodingNames(const CReport& report) {
  Json names = Json::array();
  for (const auto& [coding, color, about] : Codings(report)) {
    std::string text = about;
    if (coding->width != report.plain.width || coding->height != report.plain.height)
      text += Text("; in %dx%d", coding->width, coding->height);
    names.push_back({{"coding", coding->name}, {"color", color}, {"about", text}});
  }
  return names;
}

Json Figures(const CReport& report) {
  Json rows = Json::array();
  // `value` and `ratio` make texts, the latter of a coding and of the first one.
  const auto row = [&](const std::string& label, auto value, auto ratio) {
    Json cells = Json::array();
    for (const auto& [coding, color, about] : Codings(report))
      cells.push_back({{"value", value(*coding)},
                       {"ratio", coding == &report.plain ? "" : ratio(*coding, report.plain)}});
    rows.push_back({{"label", label}, {"cells", std::move(cells)}});
  };
  const auto bytesRatio = [](const CCoding& a, const CCoding& b) {
    return RatioText(PerPixel(a), PerPixel(b));
  };
  row(
      "bytes", [](const CCoding& a) { return ByteText(a.Bytes()); }, bytesRatio);
  row(
      Text("Mbit/s at %.4g frames/s", report.framesPerSecond),
      [&](const CCoding& a) { return Text("%.2f", BitsPerSecond(report, a) / 1e6); }, bytesRatio);
  row(
      "bits per pixel", [](const CCoding& a) { return Text("%.3f", PerPixel(a)); }, bytesRatio);
  for (const auto& [label, part] : {std::pair{"PSNR of luma, dB", &CPictureError::luma},
                                    {"PSNR of chroma, dB", &CPictureError::chroma}}) {
    const auto psnr = [member = part](const CCoding& a) { return (a.error.*member).Psnr(); };
    row(
        label, [&](const CCoding& a) { return Text("%.2f", psnr(a)); },
        [&](const CCoding& a, const CCoding& b) { return Text("%+.2f", psnr(a) - psnr(b)); });
  }
  for (const auto& [label, stage] : {std::pair{"convert the source, ms", stageConvert},
                                     {"encode, ms", stageEncode},
                                     {"decode to YUV, ms", stageDecodeYuv}}) {
    const auto time = [place = stage](const CCoding& a) { return a.Seconds(place); };
    row(
        label, [&](const CCoding& a) { return MillisecondsText(time(a)); },
        [&](const CCoding& a, const CCoding& b) { return RatioText(time(a), time(b)); });
  }
  return rows;
}

Json Moments(const CReport& report) {
  Json moments = Json::array();
  for (const CMoment& moment : report.moments)
    moments.push_back(
        {{"pair",
          {Figure("jpeg", moment.sourceJpeg, Text("Source, frame %" PRId64, moment.index)),
           Figure("jpeg", moment.decodedJpeg,
                  Text("Differential, decoded: a %s frame", moment.typeName.c_str()))}},
         {"details",
          {Figure("png", moment.sourceDetailPng, "Source, detail"),
           Figure("png", moment.plainDetailPng, "MJPEG, detail"),
           Figure("png", moment.decodedDetailPng, "Differential, detail"),
           Figure("png", moment.differenceDetailPng,
                  Text("Difference, %d times", differenceGain))}}});
  return moments;
}

std::string TypeText(const CShownType& type, const ztlib::EncoderSettings& settings) {
  std::string text = type.about;
  if (type.type == ztlib::keyFrame) {
    text += Text(", every %d frames", settings.keyInterval);
    if (settings.hasOverflowKeys) text += " and when more than 40 % of the blocks changed";
  }
  return text;
}

Json Types(const CReport& report) {
  Json rows = Json::array();
  for (const CShownType& type : shownTypes) {
    std::uint64_t frames = 0, bytes = 0, blocks = 0;
    for (const CFrameFigures& frame : report.differential.frames)
      if (frame.type == type.type) {
        ++frames;
        bytes += frame.bytes;
        blocks += frame.blocks;
      }
    if (frames == 0) continue;
    rows.push_back(
        {{"color", Text("type%d", type.type)},
         {"type", type.name},
         {"about", TypeText(type, report.settings)},
         {"frames", Text("%" PRIu64, frames)},
         {"meanBlocks",
          type.type == ztlib::keyFrame ? "all" : Text("%.0f", double(blocks) / double(frames))},
         {"bytes", ByteText(bytes / frames)},
         {"share", Text("%.0f %%", 100 * double(bytes) / double(report.differential.Bytes()))}});
  }
  return rows;
}

Json Blocks(const CReport& report) {
  if (!report.blocks) return nullptr;
  const CBlockPictures& blocks = *report.blocks;
  return {
      {"frame", Text("Frame %" PRId64 ", a %s frame: %zu of the %zu blocks of 16 by 16 pixels",
                     blocks.index, blocks.typeName.c_str(), blocks.blocks, blocks.allBlocks)},
      {"marked", Figure("jpeg", blocks.markedJpeg,
                        "Its blocks; the rest comes from the last key or reference frame")},
      {"whole", Figure("jpeg", blocks.decodedJpeg, "The decoded picture")},
      {"strip", Figure("png", blocks.stripPng,
                       Text("The blocks as they are sent, side by side as one JPEG picture (folded "
                            "here): %s, and %zu bytes for the list of their places",
                            ByteText(blocks.stripBytes).c_str(), blocks.listBytes))},
      {"highestShare", Text("%.0f %%", 100 * blocks.highestShare)},
      {"heat", Figure("jpeg", blocks.heatJpeg,
                      "The colours follow the square root, so that rare blocks show")},
      {"types", Types(report)}};
}

Json Layers(const CReport& report) {
  if (!report.layers) return nullptr;
  const CLayerPictures& layers = *report.layers;
  Json cuts = Json::array(), scales = Json::array();
  for (std::size_t i = 0; i < layers.cuts.size(); ++i) {
    const CLayerPictures::CCut& cut = layers.cuts[i];
    const CLayerPictures::CScale& scale = layers.scales[i];
    const std::string kept = CountText(static_cast<std::int64_t>(i) + 1, "layer");
    cuts.push_back(
        Figure("jpeg", cut.jpeg,
               Text("%s: %s, %.0f %% of the clip's bytes, luma PSNR %.1f dB", kept.c_str(),
                    ByteText(cut.bytes).c_str(), 100 * cut.share, cut.lumaPsnr)));
    scales.push_back(
        Figure("jpeg", scale.jpeg,
               Text("1/%d: %dx%d of %s, %s, decoded in %.2f ms", 8 >> i, scale.width, scale.height,
                    kept.c_str(), ByteText(cut.bytes).c_str(), 1000 * scale.seconds)));
  }
  return {{"index", Text("%" PRId64, layers.index)},
          {"cuts", std::move(cuts)},
          {"scales", std::move(scales)}};
}

Json Ground(const CReport& report) {
  if (!report.ground) return nullptr;
  const CGroundPicture& ground = *report.ground;
  Json people = Json::array();
  for (const CGroundPicture::CPerson& person : ground.people)
    people.push_back({{"number", Text("%zu", people.size() + 1)},
                      {"truth", Text("%.2f m", person.truth)},
                      {"measured", Text("%.2f m", person.measured)},
                      {"error", Text("%+.1f cm", 100 * (person.measured - person.truth))}});
  return {{"marks", Text("a rectangle of %.1f by %.1f m on the roadway and two marks of %.0f m, "
                         "each given by its points in frame %" PRId64,
                         ground.width, ground.depth, ground.mark, ground.index)},
          {"drawn", Figure("jpeg", ground.drawnJpeg,
                           "The ground in meters (yellow: the rectangle), the marks blue, squares "
                           "of 1 m green, poles of 2 m orange")},
          {"people", std::move(people)}};
}

Json SizePlot(const CReport& report) {
  CPlot plot{"Bytes per frame", "kB", 1, {}};
  for (const CShownType& type : shownTypes) {
    CSeries bars{type.name, Text("type%d", type.type), {}, EPlot::bars};
    for (const CFrameFigures& frame : report.differential.frames)
      bars.values.push_back(frame.type == type.type ? frame.bytes / 1000.0 : 0);
    plot.series.push_back(std::move(bars));
  }
  CSeries whole{"MJPEG, every frame", "first", {}};
  for (const CFrameFigures& frame : report.plain.frames)
    whole.values.push_back(frame.bytes / 1000.0);
  plot.series.push_back(std::move(whole));
  return PlotValues(plot);
}

Json QualityPlot(const CReport& report) {
  CPlot plot{"PSNR per frame", "dB", 2, {}};
  for (const auto& [coding, color] :
       {std::pair{&report.plain, "first"}, {&report.differential, "second"}}) {
    CSeries luma{coding->name + ", luma", color, {}}, chroma{coding->name + ", chroma", {}, {}};
    chroma.cssClass = std::string(color) + " thin";
    for (const CFrameFigures& frame : coding->frames) {
      luma.values.push_back(frame.lumaPsnr);
      chroma.values.push_back(frame.chromaPsnr);
    }
    plot.series.insert(plot.series.end(), {std::move(luma), std::move(chroma)});
  }
  return PlotValues(plot);
}

std::string DetectorText(const CMotionReport& motion) {
  std::string text = CountText(std::int64_t(motion.settings.detectors.size()), "detector") +
                     Text(" on pictures of %dx%d, %.0f frames/s", motion.width, motion.height,
                          motion.framesPerSecond);
  if (motion.settings.violationMs > 0)
    text +=
        Text("; an alarm comes after %.1f s of motion", double(motion.settings.violationMs) / 1000);
  return text + ". An alarm ends 3 s after the motion.";
}

Json Alarms(const CMotionReport& motion) {
  if (motion.events.empty()) return nullptr;
  constexpr std::size_t maxRows = 40;
  Json rows = Json::array();
  for (std::size_t i = 0; i < std::min(maxRows, motion.events.size()); ++i) {
    const CMotionEvent& event = motion.events[i];
    rows.push_back({{"number", Text("%zu", i + 1)},
                    {"from", TimeText(event.startMs)},
                    {"to", event.isOpen ? "(end)" : TimeText(event.endMs)},
                    {"length", Text("%.1f s", double(event.LengthMs()) / 1000)},
                    {"most", Text("%.2f %%", event.highestPercent)},
                    {"at", TimeText(event.highestMs)},
                    {"mean", Text("%.2f %%", event.MeanPercent())}});
  }
  Json more;
  if (motion.events.size() > maxRows)
    more["text"] = CountText(std::int64_t(motion.events.size() - maxRows), "more alarm");
  return {{"rows", std::move(rows)}, {"more", std::move(more)}};
}

Json AlarmPictures(const CMotionReport& motion) {
  if (motion.pictures.empty()) return nullptr;
  Json pictures = Json::array();
  for (const CMotionPicture& picture : motion.pictures)
    pictures.push_back(Figure("jpeg", picture.jpeg,
                              Text("Alarm %zu, at %s", picture.alarm + 1,
                                   TimeText(motion.events[picture.alarm].highestMs).c_str())));
  const std::size_t count = pictures.size();
  return {{"which", count < motion.events.size() ? "the strongest alarms" : "each alarm"},
          {"columns", count == 1   ? "single"
                      : count == 3 ? "pair three"
                                   : "pair"},
          {"pictures", std::move(pictures)}};
}

Json MotionPlots(const CMotionReport& motion) {
  CPlot percents{"Moving pixels over time", "% of the picture", 2, {}};
  percents.series.push_back({"moving pixels that count", "first", motion.percents});
  percents.frameUnit = "s";
  percents.unitsPerFrame = motion.secondsPerFrame > 0 ? motion.secondsPerFrame : 1;
  percents.spans = motion.alarms;
  CPlot progress = percents;
  std::set<std::pair<double, double>> thresholds;
  for (const CDetectorSettings& detector : motion.settings.detectors)
    thresholds.emplace(detector.signalPercent, detector.restorePercent);
  for (const auto& [signal, restore] : thresholds) {
    percents.levels.push_back({"type0", signal});
    percents.levels.push_back({"type3", restore});
  }
  progress.label = "Way to the alarm over time";
  progress.unit = "% of the way to the alarm";
  progress.digits = 0;
  progress.levels = {{"type0", 100}};
  progress.series = {{"way to the alarm, 100 % in it", "second", motion.progress}};
  const Json first = PlotValues(percents);
  if (first.is_null()) return nullptr;
  return {{"percents", first}, {"progress", PlotValues(progress)}};
}

Json Motion(const CMotionReport& motion) {
  return {{"title", HtmlText(motion.title)},
          {"detectors", DetectorText(motion)},
          {"isQuiet", motion.events.empty()},
          // A single picture has the table beside it.
          {"layout", motion.pictures.size() == 1 ? "pair" : "below"},
          {"shown", AlarmPictures(motion)},
          {"alarms", Alarms(motion)},
          {"overTime", MotionPlots(motion)}};
}

Json Circumstances(const CReport& report) {
  Json rows = Json::array();
  for (const CCircumstance& row : report.circumstances)
    rows.push_back({{"name", row.name}, {"value", HtmlText(row.value)}});
  return rows;
}

Json Stages(const CReport& report) {
  const auto codings = Codings(report);
  double slowest = 0;
  for (const auto& [coding, color, about] : codings)
    for (const CStage& stage : coding->stages)
      slowest = std::max(slowest, stage.SecondsPerRun());
  Json rows = Json::array();
  for (std::size_t i = 0; i < report.plain.stages.size(); ++i) {
    Json cells = Json::array(), bars = Json::array();
    for (const auto& [coding, color, about] : codings) {
      const double seconds = coding->stages[i].SecondsPerRun();
      cells.push_back({{"value", seconds > 0 ? MillisecondsText(seconds) : "-"}});
      if (seconds > 0)
        bars.push_back({{"color", color}, {"width", Text("%.1f", 100 * seconds / slowest)}});
    }
    rows.push_back({{"stage", report.plain.stages[i].Name()},
                    {"cells", std::move(cells)},
                    {"bars", std::move(bars)}});
  }
  return rows;
}

}  // namespace

std::uint64_t CCoding::Bytes() const {
  return std::accumulate(
      frames.begin(), frames.end(), std::uint64_t{0},
      [](std::uint64_t sum, const CFrameFigures& frame) { return sum + frame.bytes; });
}

std::string ReportSummary(const CReport& report) {
  const CCoding& plain = report.plain;
  const CCoding& differential = report.differential;
  return CountText(static_cast<std::int64_t>(plain.frames.size()), "frame") +
         Text(
             " of %dx%d at quality %d: MJPEG %s with a luma PSNR of %.1f dB, differential %s (%s "
             "times) with %.1f dB, converted and encoded at %.0f and decoded at %.0f frames/s",
             plain.width, plain.height, report.settings.quality, ByteText(plain.Bytes()).c_str(),
             plain.error.luma.Psnr(), ByteText(differential.Bytes()).c_str(),
             RatioText(double(differential.Bytes()), double(plain.Bytes())).c_str(),
             differential.error.luma.Psnr(),
             Rate(differential.Seconds(stageConvert) + differential.Seconds(stageEncode)),
             Rate(differential.Seconds(stageDecodeRgb)));
}

std::string HtmlReport(const CReport& report) {
  const CCoding& plain = report.plain;
  const CCoding& differential = report.differential;
  const Json page{
      {"name", HtmlText(report.name)},
      {"summary", ReportSummary(report)},
      {"bytesOfPlain", Text("%.0f %%", 100 * double(differential.Bytes()) / double(plain.Bytes()))},
      {"bytesOfPixels", Text("1 : %.0f", 24 / PerPixel(differential))},
      {"bitRate", Text("%.2f Mbit/s", BitsPerSecond(report, differential) / 1e6)},
      {"frameRate", Text("%.4g", report.framesPerSecond)},
      {"lumaPsnr", Text("%.1f dB", differential.error.luma.Psnr())},
      {"converted", MillisecondsText(differential.Seconds(stageConvert))},
      {"encoded", MillisecondsText(differential.Seconds(stageEncode))},
      {"decoded", MillisecondsText(differential.Seconds(stageDecodeRgb))},
      {"motionRate", Text("%.0f /s", report.motion.framesPerSecond)},
      {"input", MillisecondsText(report.input.SecondsPerRun())},
      {"codings", CodingNames(report)},
      {"quality", Text("%d", report.settings.quality)},
      {"figures", Figures(report)},
      {"blocks", Blocks(report)},
      {"ground", Ground(report)},
      {"layers", Layers(report)},
      {"sizePlot", SizePlot(report)},
      {"qualityPlot", QualityPlot(report)},
      {"gain", Text("%d", differenceGain)},
      {"moments", Moments(report)},
      {"motion", Motion(report.motion)},
      {"stages", Stages(report)},
      {"circumstances", Circumstances(report)}};
  return FillPage(reportPage, page);
}
