#include "client/demo/html_report.h"

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

namespace {

constexpr const char* styleSheet = R"css(
:root { color-scheme: light dark;
  --page: #f5f6f8; --card: #ffffff; --ink: #1b2330; --soft: #667085; --rule: #e4e7ec;
  --first: #2563eb; --second: #d97706;
  --type0: #dc2626; --type3: #0d9488; --type4: #7c3aed; --type5: #d97706; }
@media (prefers-color-scheme: dark) { :root {
  --page: #0f1319; --card: #181e27; --ink: #e6eaf0; --soft: #94a0b2; --rule: #2a3340;
  --first: #6ea1ff; --second: #f2b04c;
  --type0: #f87171; --type3: #2dd4bf; --type4: #a78bfa; --type5: #f2b04c; } }
* { box-sizing: border-box; }
body { margin: 0; background: var(--page); color: var(--ink);
  font: 15px/1.5 system-ui, -apple-system, "Segoe UI", Roboto, "Helvetica Neue", sans-serif; }
main { max-width: 1120px; margin: 0 auto; padding: 40px 24px 56px; }
h1 { font-size: 27px; line-height: 1.2; margin: 0 0 6px; letter-spacing: -0.015em; }
h2 { font-size: 16px; margin: 0 0 2px; letter-spacing: -0.005em; }
p { margin: 0; }
.summary { font-size: 14.5px; color: var(--soft); margin-bottom: 26px; }
.note { color: var(--soft); font-size: 13px; margin-bottom: 12px; }
section { background: var(--card); border: 1px solid var(--rule); border-radius: 12px;
  padding: 20px 22px; margin-top: 18px; }
.tiles { display: grid; grid-template-columns: repeat(auto-fit, minmax(160px, 1fr)); gap: 14px; }
.tile { background: var(--card); border: 1px solid var(--rule); border-radius: 12px;
  padding: 14px 18px; }
.tile b { display: block; font-size: 25px; line-height: 1.25; font-weight: 650;
  letter-spacing: -0.02em; font-variant-numeric: tabular-nums; }
.tile span { color: var(--soft); font-size: 12.5px; }
.pair { display: grid; grid-template-columns: 1fr 1fr; gap: 12px; }
.strip { margin-top: 12px; }
.details { display: grid; grid-template-columns: repeat(4, 1fr); gap: 12px; margin-top: 12px; }
.moment + .moment { margin-top: 26px; padding-top: 22px; border-top: 1px solid var(--rule); }
figure { margin: 0; min-width: 0; }
figure img { display: block; width: 100%; height: auto; border-radius: 7px; background: #000; }
.details img, .strip img { image-rendering: pixelated; }
figcaption { color: var(--soft); font-size: 13px; margin-top: 5px; }
.plot { display: block; width: 100%; height: auto; }
.plot .grid { stroke: var(--rule); }
.plot .tick { fill: var(--soft); font-size: 12px; }
.plot .line { fill: none; stroke-width: 1.8; stroke-linejoin: round; }
.plot .line.thin { stroke-width: 0.9; opacity: 0.75; }
.plot .bar { fill: none; }
.plot .span { fill: var(--type0); opacity: 0.12; }
.plot .edge { fill: none; stroke: var(--type0); stroke-width: 1.4; }
.plot .line.dashed { stroke-width: 1.2; stroke-dasharray: 7 5; }
.line.first { stroke: var(--first); } .line.second { stroke: var(--second); }
.bar.type0, .line.type0 { stroke: var(--type0); } .bar.type3, .line.type3 { stroke: var(--type3); }
.bar.type4 { stroke: var(--type4); } .bar.type5 { stroke: var(--type5); }
.entry { white-space: nowrap; } .entry + .entry { margin-left: 14px; }
.key { display: inline-block; width: 14px; height: 3px; border-radius: 2px; vertical-align: 4px;
  margin-right: 5px; }
.key.first { background: var(--first); } .key.second { background: var(--second); }
.key.type0 { background: var(--type0); } .key.type3 { background: var(--type3); }
.key.type4 { background: var(--type4); } .key.type5 { background: var(--type5); }
.key[class*=type] { width: 10px; height: 10px; vertical-align: -1px; }
.heat { display: inline-block; width: 120px; height: 10px; border-radius: 5px; margin: 0 4px;
  background: linear-gradient(90deg, #1e3c96, #a02896, #f56e28, #fff05a); vertical-align: -1px; }
.pair .types, .pair .people { align-self: start; }
table { width: 100%; border-collapse: collapse; font-variant-numeric: tabular-nums; }
th { text-align: left; font-weight: 500; color: var(--soft); font-size: 13px; }
th, td { padding: 7px 10px 7px 0; border-bottom: 1px solid var(--rule); white-space: nowrap; }
tr:last-child td { border-bottom: 0; }
td.n, th.n { text-align: right; }
td.b { width: 52%; padding-left: 18px; }
td.b i { display: block; height: 7px; min-width: 2px; border-radius: 3px; }
td.b i + i { margin-top: 2px; }
td.b .first { background: var(--first); } td.b .second { background: var(--second); }
@media (max-width: 640px) { .pair { grid-template-columns: 1fr; } td.b { width: 24%; } }
)css";

std::string Image(const char* type, const std::string& file, const std::string& caption) {
  std::string code(AV_BASE64_SIZE(file.size()), '\0');
  av_base64_encode(code.data(), static_cast<int>(code.size()),
                   reinterpret_cast<const std::uint8_t*>(file.data()),
                   static_cast<int>(file.size()));
  code.pop_back();
  return "<figure><img alt=\"" + caption + "\" src=\"data:image/" + type + ";base64," + code +
         "\"><figcaption>" + caption + "</figcaption></figure>\n";
}

std::string Tile(const std::string& value, const std::string& label) {
  return "<div class=\"tile\"><b>" + value + "</b><span>" + label + "</span></div>\n";
}

// "0.28"; the second of the first.
std::string RatioText(double first, double second) {
  return second > 0 ? Text("%.2f", first / second) : "-";
}

double PerPixel(const CReport& report, const CCoding& coding) {
  return 8 * double(coding.Bytes()) / (double(coding.frames.size()) * report.width * report.height);
}

std::string Tiles(const CReport& report) {
  const CCoding& plain = report.plain;
  const CCoding& differential = report.differential;
  return "<div class=\"tiles\">\n" +
         Tile(Text("%.0f %%", 100 * double(differential.Bytes()) / double(plain.Bytes())),
              "of MJPEG's bytes") +
         Tile(Text("1 : %.0f", 24 / PerPixel(report, differential)), "of 24-bit pixels") +
         Tile(ByteText(differential.Bytes() / differential.frames.size()), "per frame") +
         Tile(Text("%.1f dB", differential.error.luma.Psnr()), "PSNR of luma") +
         Tile(Text("%.0f /s", differential.encodesPerSecond), "frames encoded") +
         Tile(Text("%.0f /s", differential.decodesPerSecond), "frames decoded") + "</div>\n";
}

std::string Comparison(const CReport& report) {
  const CCoding& a = report.plain;
  const CCoding& b = report.differential;
  std::string html =
      "<section><h2>Both formats side by side</h2>\n<p class=\"note\">the same pictures at the "
      "same "
      "quality</p>\n<table class=\"figures\"><tr><th></th><th class=\"n\">" +
      a.name + "</th><th class=\"n\">" + b.name + "</th><th class=\"n\">ratio</th></tr>\n";
  const auto row = [&](const char* label, const std::string& first, const std::string& second,
                       const std::string& ratio) {
    html += std::string("<tr><td>") + label + "</td><td class=\"n\">" + first +
            "</td><td class=\"n\">" + second + "</td><td class=\"n\">" + ratio + "</td></tr>\n";
  };
  row("bytes", ByteText(a.Bytes()), ByteText(b.Bytes()),
      RatioText(double(b.Bytes()), double(a.Bytes())));
  row("bits per pixel", Text("%.3f", PerPixel(report, a)), Text("%.3f", PerPixel(report, b)),
      RatioText(PerPixel(report, b), PerPixel(report, a)));
  for (const auto& [label, error] : {std::pair{"PSNR of luma", &CPictureError::luma},
                                     {"PSNR of chroma", &CPictureError::chroma}}) {
    const double first = (a.error.*error).Psnr(), second = (b.error.*error).Psnr();
    row(label, Text("%.2f dB", first), Text("%.2f dB", second), Text("%+.2f dB", second - first));
  }
  for (const auto& [label, rate] : {std::pair{"time to encode", &CCoding::encodesPerSecond},
                                    {"time to decode", &CCoding::decodesPerSecond}})
    row(label, Text("%.2f ms", 1000 / a.*rate), Text("%.2f ms", 1000 / b.*rate),
        RatioText(a.*rate, b.*rate));
  return html + "</table></section>\n";
}

std::string Moments(const CReport& report) {
  std::string html =
      "<section><h2>Source and decoded picture</h2>\n<p class=\"note\">Below each pair, enlarged: "
      "the detail that lost most in differential video, and its difference " +
      Text("amplified %d times.", differenceGain) + "</p>\n";
  for (const CMoment& moment : report.moments)
    html += "<div class=\"moment\"><div class=\"pair\">\n" +
            Image("jpeg", moment.sourceJpeg, Text("Source, frame %" PRId64, moment.index)) +
            Image("jpeg", moment.decodedJpeg,
                  Text("Differential, decoded, frame %" PRId64, moment.index)) +
            "</div>\n<div class=\"details\">\n" +
            Image("png", moment.sourceDetailPng, "Source, detail") +
            Image("png", moment.plainDetailPng, "MJPEG, detail") +
            Image("png", moment.decodedDetailPng, "Differential, detail") +
            Image("png", moment.differenceDetailPng, Text("Difference, %d times", differenceGain)) +
            "</div></div>\n";
  return html + "</section>\n";
}

struct CShownType {
  std::int32_t type;
  const char* name;
};
constexpr CShownType shownTypes[] = {{frameTypeKey, "key"},
                                     {frameTypeReference, "reference"},
                                     {frameTypePlain, "plain"},
                                     {frameTypeDifference, "difference"}};

// An entry of a plot's legend.
std::string Key(const std::string& color, const std::string& name) {
  return "<span class=\"entry\"><span class=\"key " + color + "\"></span>" + name + "</span>";
}

std::string TypeTable(const CReport& report) {
  std::string html =
      "<table class=\"types\"><tr><th>frames of type</th><th class=\"n\">number</th>"
      "<th class=\"n\">blocks</th><th class=\"n\">bytes</th><th class=\"n\">of all bytes</th>"
      "</tr>\n";
  for (const CShownType& type : shownTypes) {
    std::uint64_t frames = 0, bytes = 0, blocks = 0;
    for (const CFrameFigures& frame : report.differential.frames)
      if (frame.type == type.type) {
        ++frames;
        bytes += frame.bytes;
        blocks += frame.blocks;
      }
    if (frames == 0) continue;
    html += "<tr><td>" + Key(Text("type%d", type.type), type.name) +
            Text("</td><td class=\"n\">%" PRIu64 "</td><td class=\"n\">", frames) +
            (type.type == frameTypeKey ? "all" : Text("%.0f", double(blocks) / double(frames))) +
            Text("</td><td class=\"n\">%s</td><td class=\"n\">%.0f %%</td></tr>\n",
                 ByteText(bytes / frames).c_str(),
                 100 * double(bytes) / double(report.differential.Bytes()));
  }
  return html + "</table>";
}

std::string Blocks(const CReport& report) {
  if (!report.blocks) return {};
  const CBlockPictures& blocks = *report.blocks;
  return "<section><h2>What a differential frame holds</h2>\n<p class=\"note\">" +
         Text("Frame %" PRId64 ", a %s frame: %zu of %zu blocks", blocks.index,
              blocks.typeName.c_str(), blocks.blocks, blocks.allBlocks) +
         "</p>\n<div class=\"pair\">\n" +
         Image("jpeg", blocks.markedJpeg, "Its blocks; the rest comes from the reference") +
         Image("jpeg", blocks.decodedJpeg, "The decoded picture") +
         "</div>\n<div class=\"strip\">" +
         Image("png", blocks.stripPng,
               Text("The blocks as they are sent, side by side as one JPEG picture (folded here): "
                    "%s, and %zu bytes for the list of their places",
                    ByteText(blocks.stripBytes).c_str(), blocks.listBytes)) +
         "</div></section>\n<section><h2>How often each block was sent</h2>\n<p class=\"note\">in "
         "differential frames: never <span class=\"heat\"></span> " +
         Text("in %.0f %% of them", 100 * blocks.highestShare) + "</p>\n<div class=\"pair\">\n" +
         Image("jpeg", blocks.heatJpeg,
               "The colours follow the square root, so that rare blocks show") +
         TypeTable(report) + "</div></section>\n";
}

std::string Layers(const CReport& report) {
  if (!report.layers) return {};
  const CLayerPictures& layers = *report.layers;
  std::string cuts, scales;
  for (std::size_t i = 0; i < layers.cuts.size(); ++i) {
    const CLayerPictures::CCut& cut = layers.cuts[i];
    const CLayerPictures::CScale& scale = layers.scales[i];
    const std::string kept = CountText(static_cast<std::int64_t>(i) + 1, "layer");
    cuts += Image("jpeg", cut.jpeg,
                  Text("%s: %s, %.0f %% of the clip's bytes, luma PSNR %.1f dB", kept.c_str(),
                       ByteText(cut.bytes).c_str(), 100 * cut.share, cut.lumaPsnr));
    scales +=
        Image("jpeg", scale.jpeg,
              Text("1/%d: %dx%d of %s, %s, decoded in %.2f ms", 8 >> i, scale.width, scale.height,
                   kept.c_str(), ByteText(cut.bytes).c_str(), 1000 * scale.seconds));
  }
  return "<section><h2>Layered video</h2>\n<p class=\"note\">" +
         Text("Frame %" PRId64
              " of the clip in the format of older cameras, cut to its first one, "
              "two, three layers, and whole",
              layers.index) +
         "</p>\n<div class=\"pair\">\n" + cuts +
         "</div>\n<p class=\"note strip\">The same frame at an eighth, a quarter, half and all of "
         "its "
         "width, with no more layers than that takes</p>\n<div class=\"details\">\n" +
         scales + "</div></section>\n";
}

std::string Ground(const CReport& report) {
  if (!report.ground) return {};
  const CGroundPicture& ground = *report.ground;
  std::string html =
      "<section><h2>Meters in the picture</h2>\n<p class=\"note\">Calibrated by " +
      Text(
          "a rectangle of %.1f by %.1f m on the roadway and two marks of %.0f m, each given by "
          "its points in frame %" PRId64,
          ground.width, ground.depth, ground.mark, ground.index) +
      "</p>\n<div class=\"pair\">\n" +
      Image("jpeg", ground.drawnJpeg,
            "The ground in meters (yellow: the rectangle), the marks blue, squares of 1 m green, "
            "poles of 2 m orange") +
      "<table class=\"people\"><tr><th>person</th><th class=\"n\">true height</th><th "
      "class=\"n\">measured</th><th class=\"n\">error</th></tr>\n";
  int number = 0;
  for (const CGroundPicture::CPerson& person : ground.people)
    html += Text(
        "<tr><td>%d</td><td class=\"n\">%.2f m</td><td class=\"n\">%.2f m</td><td "
        "class=\"n\">%+.1f cm</td></tr>\n",
        ++number, person.truth, person.measured, 100 * (person.measured - person.truth));
  return html +
         "<tr><th colspan=\"4\">From far to near; foot and head are marked in whole "
         "pixels</th></tr></table></div></section>\n";
}

std::string Plots(const CReport& report) {
  std::vector<CSeries> sizes;
  std::string key;
  for (const CShownType& type : shownTypes) {
    CSeries bars{type.name, Text("type%d", type.type), {}, EPlot::bars};
    for (const CFrameFigures& frame : report.differential.frames)
      bars.values.push_back(frame.type == type.type ? frame.bytes / 1000.0 : 0);
    if (std::all_of(bars.values.begin(), bars.values.end(), [](double v) { return v == 0; }))
      continue;
    key += Key(bars.cssClass, type.name);
    sizes.push_back(std::move(bars));
  }
  std::vector<CSeries> qualities;
  CSeries whole{"MJPEG", "first", {}};
  for (const auto& [coding, color] :
       {std::pair{&report.plain, "first"}, {&report.differential, "second"}}) {
    CSeries luma{coding->name + ", luma", color, {}}, chroma{coding->name + ", chroma", {}, {}};
    chroma.cssClass = std::string(color) + " thin";
    for (const CFrameFigures& frame : coding->frames) {
      luma.values.push_back(frame.lumaPsnr);
      chroma.values.push_back(frame.chromaPsnr);
    }
    qualities.insert(qualities.end(), {std::move(luma), std::move(chroma)});
  }
  for (const CFrameFigures& frame : report.plain.frames)
    whole.values.push_back(frame.bytes / 1000.0);
  sizes.push_back(std::move(whole));
  return "<section><h2>Bytes per frame</h2><p class=\"note\">kB over frame number, headers "
         "included: " +
         key + Key("first", "MJPEG, every frame") + "</p>\n" + SvgPlot(sizes) +
         "</section>\n<section><h2>PSNR per frame</h2><p class=\"note\">dB over frame number, "
         "decoded picture against the source in full range: " +
         Key("first", "MJPEG") + Key("second", "Differential") +
         "; thin lines are chroma (Cb and Cr, stored at half the resolution)</p>\n" +
         SvgPlot(qualities) + "</section>\n";
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

std::string AlarmTable(const CMotionReport& motion) {
  constexpr std::size_t maxRows = 40;
  std::string html =
      "<table class=\"alarms\"><tr><th>alarm</th><th class=\"n\">from</th><th class=\"n\">to</th>"
      "<th class=\"n\">length</th><th class=\"n\">most motion</th><th class=\"n\">at</th>"
      "<th class=\"n\">on average</th></tr>\n";
  const auto cell = [](const std::string& text) { return "<td class=\"n\">" + text + "</td>"; };
  for (std::size_t i = 0; i < std::min(maxRows, motion.events.size()); ++i) {
    const CMotionEvent& event = motion.events[i];
    html += Text("<tr><td>%zu</td>", i + 1) + cell(TimeText(event.startMs)) +
            cell(event.isOpen ? "(end)" : TimeText(event.endMs)) +
            cell(Text("%.1f s", double(event.LengthMs()) / 1000)) +
            cell(Text("%.2f %%", event.highestPercent)) + cell(TimeText(event.highestMs)) +
            cell(Text("%.2f %%", event.MeanPercent())) + "</tr>\n";
  }
  html += "</table>\n";
  if (motion.events.size() > maxRows)
    html += "<p class=\"note\">and " +
            CountText(std::int64_t(motion.events.size() - maxRows), "more alarm") + "</p>\n";
  return html;
}

std::string Motion(const CMotionReport& motion) {
  const std::size_t frames = motion.percents.size();
  std::vector<CSeries> percents{{"moving pixels", "first", motion.percents}};
  std::set<std::pair<double, double>> thresholds;
  for (const CDetectorSettings& detector : motion.settings.detectors)
    thresholds.emplace(detector.signalPercent, detector.restorePercent);
  for (const auto& [signal, restore] : thresholds) {
    percents.push_back({"threshold of the alarm", "type0 dashed", std::vector(frames, signal)});
    percents.push_back({"threshold of its end", "type3 dashed", std::vector(frames, restore)});
  }
  const CSeries progress{"way to the alarm", "second", motion.progress};
  const CPlotGround ground{motion.secondsPerFrame > 0 ? motion.secondsPerFrame : 1, motion.alarms};
  std::string html = "<section><h2>Motion</h2>\n<p class=\"note\">" + HtmlText(motion.title) +
                     ": " + DetectorText(motion) + "</p>\n";
  if (motion.events.empty()) html += "<p class=\"note\">No alarm.</p>\n";
  if (!motion.pictures.empty()) {
    html += "<p class=\"note\">The moment of most motion in " +
            std::string(motion.pictures.size() < motion.events.size() ? "the strongest alarms"
                                                                      : "each alarm") +
            ": moving pixels are red, faintly so outside of the outlined areas</p>\n"
            "<div class=\"pair\">\n";
    for (const CMotionPicture& picture : motion.pictures)
      html += Image("jpeg", picture.jpeg,
                    Text("Alarm %zu, at %s", picture.alarm + 1,
                         TimeText(motion.events[picture.alarm].highestMs).c_str()));
    html += "</div>\n";
  }
  if (!motion.events.empty()) html += AlarmTable(motion);
  return html + "</section>\n<section><h2>Motion over time</h2><p class=\"note\">percent of the " +
         "picture over seconds: " + Key("first", "moving pixels that count") +
         Key("type0", "alarm from here, and alarms") + Key("type3", "ends below") + "</p>\n" +
         SvgPlot(percents, ground) +
         "<p class=\"note\">percent of the way to the alarm over seconds, 100 in the alarm</p>\n" +
         SvgPlot({&progress, 1}, ground) + "</section>\n";
}

std::string Stages(const CReport& report) {
  double slowest = report.input.SecondsPerRun();
  for (const CCoding* coding : {&report.plain, &report.differential})
    for (const CStage& stage : coding->stages)
      slowest = std::max(slowest, stage.SecondsPerRun());
  const auto cell = [](const CStage* stage) {
    return stage ? Text("<td class=\"n\">%.2f</td>", stage->SecondsPerRun() * 1000)
                 : "<td class=\"n\"></td>";
  };
  const auto bar = [&](const CStage* stage, const char* color) {
    return stage ? Text("<i class=\"%s\" style=\"width:%.1f%%\"></i>", color,
                        slowest > 0 ? 100 * stage->SecondsPerRun() / slowest : 0)
                 : "";
  };
  std::string html =
      "<section><h2>Time per stage</h2><p class=\"note\">mean over all frames, one thread, in ms "
      "per frame</p>\n<table><tr><th>stage</th><th class=\"n\">" +
      report.plain.name + "</th><th class=\"n\">" + report.differential.name +
      "</th><th></th></tr>\n";
  const auto row = [&](const CStage& first, const CStage* second) {
    html += "<tr><td>" + first.Name() + "</td>" + cell(&first) + cell(second) + "<td class=\"b\">" +
            bar(&first, "first") + bar(second, "second") + "</td></tr>\n";
  };
  row(report.input, nullptr);
  for (std::size_t i = 0; i < report.plain.stages.size(); ++i)
    row(report.plain.stages[i], &report.differential.stages[i]);
  return html + "</table></section>\n";
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
             "times) with %.1f dB, encoded at %.0f and decoded at %.0f frames/s",
             report.width, report.height, report.quality, ByteText(plain.Bytes()).c_str(),
             plain.error.luma.Psnr(), ByteText(differential.Bytes()).c_str(),
             RatioText(double(differential.Bytes()), double(plain.Bytes())).c_str(),
             differential.error.luma.Psnr(), differential.encodesPerSecond,
             differential.decodesPerSecond);
}

std::string HtmlReport(const CReport& report) {
  const std::string name = HtmlText(report.name);
  return "<!doctype html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">\n"
         "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<title>" +
         name + " - ztlib report</title>\n<style>" + styleSheet +
         "</style></head>\n<body><main>\n<h1>Recorded and played back: " + name +
         "</h1>\n<p class=\"summary\">" + ReportSummary(report) + "</p>\n" + Tiles(report) +
         Comparison(report) + Blocks(report) + Ground(report) + Layers(report) + Plots(report) +
         Moments(report) + Motion(report.motion) + Stages(report) + "</main></body></html>\n";
}
