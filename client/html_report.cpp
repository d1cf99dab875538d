#include "client/html_report.h"

#include "client/svg_plot.h"
#include "client/text.h"

#include <algorithm>
#include <cinttypes>
#include <numeric>

extern "C" {
#include <libavutil/base64.h>
}

namespace {

constexpr const char* styleSheet = R"css(
:root { color-scheme: light dark;
  --page: #f5f6f8; --card: #ffffff; --ink: #1b2330; --soft: #667085; --rule: #e4e7ec;
  --first: #2563eb; --second: #d97706; --bar: #dbe6fd; }
@media (prefers-color-scheme: dark) { :root {
  --page: #0f1319; --card: #181e27; --ink: #e6eaf0; --soft: #94a0b2; --rule: #2a3340;
  --first: #6ea1ff; --second: #f2b04c; --bar: #24375c; } }
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
.tile span { color: var(--soft); font-size: 13px; }
.pair { display: grid; grid-template-columns: 1fr 1fr; gap: 12px; }
.details { display: grid; grid-template-columns: repeat(3, 1fr); gap: 12px; margin-top: 12px; }
.moment + .moment { margin-top: 26px; padding-top: 22px; border-top: 1px solid var(--rule); }
figure { margin: 0; min-width: 0; }
figure img { display: block; width: 100%; height: auto; border-radius: 7px; background: #000; }
.details img { image-rendering: pixelated; }
figcaption { color: var(--soft); font-size: 13px; margin-top: 5px; }
.plot { display: block; width: 100%; height: auto; }
.plot .grid { stroke: var(--rule); }
.plot .tick { fill: var(--soft); font-size: 12px; }
.plot .line { fill: none; stroke-width: 1.8; stroke-linejoin: round; }
.plot .area { opacity: 0.16; stroke: none; }
.line.first { stroke: var(--first); } .line.second { stroke: var(--second); }
.area.first { fill: var(--first); } .area.second { fill: var(--second); }
.key { display: inline-block; width: 14px; height: 3px; border-radius: 2px; vertical-align: 4px;
  margin: 0 5px 0 14px; }
.key.first { background: var(--first); margin-left: 0; } .key.second { background: var(--second); }
table { width: 100%; border-collapse: collapse; font-variant-numeric: tabular-nums; }
th { text-align: left; font-weight: 500; color: var(--soft); font-size: 13px; }
th, td { padding: 7px 10px 7px 0; border-bottom: 1px solid var(--rule); white-space: nowrap; }
tr:last-child td { border-bottom: 0; }
td.n, th.n { text-align: right; }
td.b { width: 52%; padding-left: 18px; }
td.b i { display: block; height: 13px; min-width: 2px; border-radius: 3px;
  background: var(--first); }
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

struct CSizes {
  std::uint64_t bytes;
  double ratio, bitsPerPixel;
};

CSizes SizesOf(const CReport& report) {
  const std::uint64_t bytes = std::accumulate(
      report.frames.begin(), report.frames.end(), std::uint64_t{0},
      [](std::uint64_t sum, const CFrameFigures& frame) { return sum + frame.bytes; });
  const double pixels = double(report.frames.size()) * report.width * report.height;
  return {bytes, 3 * pixels / double(bytes), 8 * double(bytes) / pixels};
}

std::string Tiles(const CReport& report) {
  const CSizes sizes = SizesOf(report);
  return "<div class=\"tiles\">\n" + Tile(Text("1 : %.1f", sizes.ratio), "of 24-bit pixels") +
         Tile(Text("%.2f", sizes.bitsPerPixel), "bits per pixel") +
         Tile(ByteText(sizes.bytes / report.frames.size()), "per frame") +
         Tile(Text("%.1f dB", report.error.luma.Psnr()), "PSNR of luma") +
         Tile(Text("%.0f /s", report.encodesPerSecond), "frames encoded") +
         Tile(Text("%.0f /s", report.decodesPerSecond), "frames decoded") + "</div>\n";
}

std::string Moments(const CReport& report) {
  std::string html =
      "<section><h2>Source and decoded picture</h2>\n<p class=\"note\">Below each pair, enlarged: "
      "the detail that lost most, and its difference " +
      Text("amplified %d times.", differenceGain) + "</p>\n";
  for (const CMoment& moment : report.moments)
    html += "<div class=\"moment\"><div class=\"pair\">\n" +
            Image("jpeg", moment.sourceJpeg, Text("Source, frame %" PRId64, moment.index)) +
            Image("jpeg", moment.decodedJpeg, Text("Decoded, frame %" PRId64, moment.index)) +
            "</div>\n<div class=\"details\">\n" +
            Image("png", moment.sourceDetailPng, "Source, detail") +
            Image("png", moment.decodedDetailPng, "Decoded, detail") +
            Image("png", moment.differenceDetailPng, Text("Difference, %d times", differenceGain)) +
            "</div></div>\n";
  return html + "</section>\n";
}

std::string Plots(const CReport& report) {
  CSeries size{"kB per frame", "first", {}}, luma{"luma", "first", {}},
      chroma{"chroma", "second", {}};
  for (const CFrameFigures& frame : report.frames) {
    size.values.push_back(frame.bytes / 1000.0);
    luma.values.push_back(frame.lumaPsnr);
    chroma.values.push_back(frame.chromaPsnr);
  }
  const CSeries quality[] = {luma, chroma};
  return "<section><h2>Bytes per frame</h2><p class=\"note\">kB over frame number, headers "
         "included</p>\n" +
         SvgPlot({&size, 1}, EPlot::area) +
         "</section>\n<section><h2>PSNR per frame</h2><p class=\"note\">dB over frame number, "
         "decoded picture against the encoder's input: "
         "<span class=\"key first\"></span>luma (Y)"
         "<span class=\"key second\"></span>chroma (Cb and Cr, stored at half the resolution)"
         "</p>\n" +
         SvgPlot(quality, EPlot::lines) + "</section>\n";
}

std::string Stages(const CReport& report) {
  double slowest = 0;
  for (const CStage& stage : report.stages)
    slowest = std::max(slowest, stage.SecondsPerRun());
  std::string html =
      "<section><h2>Time per stage</h2><p class=\"note\">mean over all frames, one thread</p>\n"
      "<table><tr><th>stage</th><th class=\"n\">ms per frame</th><th class=\"n\">frames/s</th>"
      "<th></th></tr>\n";
  for (const CStage& stage : report.stages)
    html += Text(
        "<tr><td>%s</td><td class=\"n\">%.2f</td><td class=\"n\">%.0f</td>"
        "<td class=\"b\"><i style=\"width:%.1f%%\"></i></td></tr>\n",
        HtmlText(stage.Name()).c_str(), stage.SecondsPerRun() * 1000, stage.RunsPerSecond(),
        slowest > 0 ? 100 * stage.SecondsPerRun() / slowest : 0);
  return html + "</table></section>\n";
}

}  // namespace

std::string ReportSummary(const CReport& report) {
  const CSizes sizes = SizesOf(report);
  return CountText(static_cast<std::int64_t>(report.frames.size()), "frame") +
         Text(
             " of %dx%d at quality %d: %s, 1 : %.1f of 24-bit pixels, luma PSNR %.1f dB, encoded "
             "at %.0f and decoded at %.0f frames/s",
             report.width, report.height, report.quality, ByteText(sizes.bytes).c_str(),
             sizes.ratio, report.error.luma.Psnr(), report.encodesPerSecond,
             report.decodesPerSecond);
}

std::string HtmlReport(const CReport& report) {
  const std::string name = HtmlText(report.name);
  return "<!doctype html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">\n"
         "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<title>" +
         name + " - ztlib report</title>\n<style>" + styleSheet +
         "</style></head>\n<body><main>\n<h1>Recorded and played back: " + name +
         "</h1>\n<p class=\"summary\">" + ReportSummary(report) + "</p>\n" + Tiles(report) +
         Moments(report) + Plots(report) + Stages(report) + "</main></body></html>\n";
}
