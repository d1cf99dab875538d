#include "client/demo/svg_plot.h"

#include "client/text.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double width = 1000, height = 260;
constexpr double left = 64, right = 988, top = 14, bottom = 226;

// 1, 2 or 5 times a power of ten, about `count` of them in the range.
double NiceStep(double range, double count) {
  const double raw = range / count;
  const double power = std::pow(10, std::floor(std::log10(raw)));
  for (const double factor : {1.0, 2.0, 5.0})
    if (raw <= factor * power) return factor * power;
  return 10 * power;
}

// Not more points than the picture has room for: a long video shows the extremes of each piece.
std::vector<std::pair<double, double>> Points(const std::vector<double>& values) {
  constexpr std::size_t maxPieces = 700;
  std::vector<std::pair<double, double>> points;
  if (values.size() <= 2 * maxPieces) {
    for (std::size_t i = 0; i < values.size(); ++i)
      points.emplace_back(i, values[i]);
    return points;
  }
  for (std::size_t piece = 0; piece < maxPieces; ++piece) {
    const auto begin = values.begin() + std::ptrdiff_t(piece * values.size() / maxPieces);
    const auto end = values.begin() + std::ptrdiff_t((piece + 1) * values.size() / maxPieces);
    auto [low, high] = std::minmax_element(begin, end);
    if (high < low) std::swap(low, high);
    for (const auto& value : {low, high})
      points.emplace_back(value - values.begin(), *value);
  }
  return points;
}

}  // namespace

std::string HtmlText(const std::string& text) {
  std::string html;
  for (const char c : text)
    switch (c) {
      case '&':
        html += "&amp;";
        break;
      case '<':
        html += "&lt;";
        break;
      case '>':
        html += "&gt;";
        break;
      case '"':
        html += "&quot;";
        break;
      default:
        html += c;
    }
  return html;
}

std::string SvgPlot(std::span<const CSeries> series, const CPlotGround& ground) {
  double low = 1e300, high = -1e300;
  std::size_t frames = 1;
  for (const CSeries& line : series) {
    for (const double value : line.values) {
      low = std::min(low, value);
      high = std::max(high, value);
    }
    frames = std::max(frames, line.values.size());
    if (line.kind == EPlot::bars) low = 0;
  }
  if (high - low < 1) high = low + 1;
  const double step = NiceStep(high - low, 4);
  low = std::floor(low / step) * step;
  high = std::ceil(high / step) * step;
  const double last = std::max<double>(1, double(frames) - 1);
  const auto xOf = [&](double frame) { return left + (right - left) * frame / last; };
  const auto yOf = [&](double value) {
    return bottom - (bottom - top) * (value - low) / (high - low);
  };

  std::string svg =
      Text("<svg class=\"plot\" viewBox=\"0 0 %.0f %.0f\" role=\"img\">\n", width, height);
  const int digits = step < 1 ? 1 : 0;
  for (int i = 0; i <= std::lround((high - low) / step); ++i) {
    const double value = low + i * step;
    svg += Text(
        "<line class=\"grid\" x1=\"%.0f\" y1=\"%.1f\" x2=\"%.0f\" y2=\"%.1f\"/>"
        "<text class=\"tick\" x=\"%.0f\" y=\"%.1f\" text-anchor=\"end\">%.*f</text>\n",
        left, yOf(value), right, yOf(value), left - 8, yOf(value) + 4, digits, value);
  }
  const double end = last * ground.unitsPerFrame;
  const double mark = std::max(1.0, NiceStep(end, 8));
  for (int i = 0; i * mark <= end; ++i)
    svg += Text("<text class=\"tick\" x=\"%.1f\" y=\"%.0f\" text-anchor=\"middle\">%.0f</text>\n",
                xOf(i * mark / ground.unitsPerFrame), bottom + 20, i * mark);
  for (const CPlotSpan& part : ground.spans) {
    const double from = xOf(part.from), to = xOf(part.to);
    svg += Text("<rect class=\"span\" x=\"%.1f\" y=\"%.0f\" width=\"%.1f\" height=\"%.0f\"/>", from,
                top, to - from, bottom - top);
    std::string edges = Text("M%.1f %.0fV%.0f", from, top, bottom);
    if (!part.isOpen) edges += Text("M%.1f %.0fV%.0f", to, top, bottom);
    svg += "<path class=\"edge\" d=\"" + edges + "\"/>\n";
  }
  for (const CSeries& line : series) {
    std::string path;
    if (line.kind == EPlot::bars) {
      for (const auto& [frame, value] : Points(line.values))
        if (value > 0) path += Text("M%.1f %.1fV%.1f", xOf(frame), bottom, yOf(value));
      svg +=
          Text("<path class=\"bar %s\" stroke-width=\"%.2f\" d=\"%s\"><title>%s</title></path>\n",
               line.cssClass.c_str(), std::clamp(0.8 * (right - left) / last, 1.0, 12.0),
               path.c_str(), HtmlText(line.name).c_str());
      continue;
    }
    for (const auto& [frame, value] : Points(line.values))
      path += Text("%c%.1f %.1f", path.empty() ? 'M' : 'L', xOf(frame), yOf(value));
    // One frame has a line too.
    if (line.values.size() == 1) path += Text("L%.1f %.1f", right, yOf(line.values[0]));
    svg += Text("<path class=\"line %s\" d=\"%s\"><title>%s</title></path>\n",
                line.cssClass.c_str(), path.c_str(), HtmlText(line.name).c_str());
  }
  return svg + "</svg>\n";
}
