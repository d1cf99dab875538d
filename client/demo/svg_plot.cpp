#include "client/demo/svg_plot.h"

#include "client/text.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace {

// Of the picture, which the page stretches to its room; texts stand beside it.
constexpr double width = 1000, height = 200;

// 1, 2 or 5 times a power of ten, about `count` of them in the range.
double NiceStep(double range, double count) {
  const double raw = range / count;
  const double power = std::pow(10, std::floor(std::log10(raw)));
  for (const double factor : {1.0, 2.0, 5.0})
    if (raw <= factor * power) return factor * power;
  return 10 * power;
}

// There is no room for more values than this; the extremes of so many pieces stand for them.
constexpr std::size_t maxValues = 1400, maxPieces = 700;

struct CPiece {
  double low = 0, high = 0;
  bool isRising = true;  // the lowest value comes first
};

std::vector<CPiece> PiecesOf(const std::vector<double>& values, std::size_t count) {
  std::vector<CPiece> pieces;
  for (std::size_t piece = 0; piece < count; ++piece) {
    const auto begin = values.begin() + std::ptrdiff_t(piece * values.size() / count);
    const auto end = values.begin() + std::ptrdiff_t((piece + 1) * values.size() / count);
    const auto [low, high] = std::minmax_element(begin, end);
    pieces.push_back({*low, *high, low <= high});
  }
  return pieces;
}

class CPlotMaker {
 public:
  explicit CPlotMaker(const CPlot& wanted) : plot(wanted) {
    for (const CSeries& line : plot.series) {
      frames = std::max(frames, line.values.size());
      for (const double value : line.values)
        Include(value);
      if (line.kind == EPlot::bars) Include(0);
    }
    for (const CPlotLevel& level : plot.levels)
      Include(level.value);
    pieceCount = frames > maxValues ? maxPieces : frames;
  }

  [[nodiscard]] Json Values() {
    if (frames < 2) return nullptr;
    if (high - low < 1) high = low + 1;
    const double step = NiceStep(high - low, 4);
    low = std::floor(low / step) * step;
    high = std::ceil(high / step) * step;
    Json values{{"label", plot.label},
                {"unit", plot.unit},
                {"frameUnit", plot.frameUnit},
                {"grid", Json::array()},
                {"marks", Json::array()},
                {"levels", Json::array()},
                {"spans", Json::array()},
                {"bars", Json::array()},
                {"lines", Json::array()},
                {"legend", Json::array()},
                {"gutter", ""}};
    AddScales(values, step);
    for (const CPlotLevel& level : plot.levels)
      values["levels"].push_back({{"color", level.cssClass}, {"y", Number(YOf(level.value))}});
    for (const CPlotSpan& part : plot.spans) {
      const double from = XOf(part.from), to = XOf(part.to);
      std::string edges = Text("M%.1f 0V%.0f", from, height);
      if (!part.isOpen) edges += Text("M%.1f 0V%.0f", to, height);
      values["spans"].push_back(
          {{"x", Number(from)}, {"width", Number(to - from)}, {"edges", edges}});
    }
    Json data{{"frames", frames},      {"step", plot.unitsPerFrame}, {"unit", plot.unit},
              {"per", plot.frameUnit}, {"digits", plot.digits},      {"series", Json::array()}};
    std::string description = CountText(std::int64_t(frames), "frame");
    for (const CSeries& line : plot.series)
      AddSeries(line, values, data, description);
    values["data"] = HtmlText(data.dump());
    values["description"] = description;
    return values;
  }

 private:
  static std::string Number(double value) { return Text("%.1f", value); }
  void Include(double value) {
    low = std::min(low, value);
    high = std::max(high, value);
  }
  // In the middle of a frame's share of the width.
  [[nodiscard]] double XOf(double frame) const { return width * (frame + 0.5) / double(frames); }
  [[nodiscard]] double YOf(double value) const { return height * (high - value) / (high - low); }

  void AddScales(Json& values, double step) const {
    const int digits = step < 1 ? 1 : 0;
    // Plots below each other begin at the same place.
    std::size_t longest = 3;
    for (int i = 0; i <= std::lround((high - low) / step); ++i) {
      const double value = low + i * step;
      const std::string text = Text("%.*f", digits, value);
      longest = std::max(longest, text.size());
      values["grid"].push_back({{"y", Number(YOf(value))},
                                {"percent", Number(100 * YOf(value) / height)},
                                {"text", text}});
    }
    values["gutter"] = Text("%zu", longest);
    const double end = double(frames - 1) * plot.unitsPerFrame;
    const double mark = std::max(plot.unitsPerFrame < 1 ? 0.01 : 1.0, NiceStep(end, 8));
    const int markDigits = mark < 0.1 ? 2 : mark < 1 ? 1 : 0;
    for (int i = 0; i * mark <= end * (1 + 1e-9); ++i)
      values["marks"].push_back(
          {{"percent", Number(100 * XOf(i * mark / plot.unitsPerFrame) / width)},
           {"text", Text("%.*f", markDigits, i * mark)}});
  }

  [[nodiscard]] Json Rounded(double value) const {
    const double scale = std::pow(10, plot.digits);
    return std::round(value * scale) / scale;
  }

  void AddSeries(const CSeries& line, Json& values, Json& data, std::string& description) const {
    const std::vector<CPiece> pieces = PiecesOf(line.values, pieceCount);
    const bool isBars = line.kind == EPlot::bars;
    const double framesPerPiece = double(frames) / double(pieceCount);
    std::string path;
    Json lowest = Json::array(), highest = Json::array();
    std::optional<CPiece> range;
    std::size_t shown = 0;
    for (std::size_t i = 0; i < pieces.size(); ++i) {
      const CPiece& piece = pieces[i];
      // Without a bar there is no value.
      const bool isThere = !isBars || piece.high > 0;
      highest.push_back(isThere ? Rounded(piece.high) : nullptr);
      lowest.push_back(isThere ? Rounded(piece.low) : nullptr);
      if (!isThere) continue;
      ++shown;
      if (!range) range = piece;
      range->low = std::min(range->low, isBars ? piece.high : piece.low);
      range->high = std::max(range->high, piece.high);
      const double x = XOf((double(i) + 0.5) * framesPerPiece - 0.5);
      if (isBars) {
        path += Text("M%.1f %.0fV%.1f", x, height, YOf(piece.high));
        continue;
      }
      path += Text("%c%.1f %.1f", path.empty() ? 'M' : 'L', x,
                   YOf(piece.isRising ? piece.low : piece.high));
      if (framesPerPiece > 1) path += Text("V%.1f", YOf(piece.isRising ? piece.high : piece.low));
    }
    if (!range) return;
    const std::string wide = Text("%.2f", std::min(60.0, 0.8 * width / double(pieceCount)));
    values[isBars ? "bars" : "lines"].push_back(
        {{"color", line.cssClass}, {"path", path}, {"wide", wide}});
    values["legend"].push_back({{"color", line.cssClass}, {"name", line.name}});
    Json figures{{"name", line.name}, {"color", line.cssClass}, {"high", std::move(highest)}};
    if (framesPerPiece > 1 && !isBars) figures["low"] = std::move(lowest);
    data["series"].push_back(std::move(figures));
    description += Text("; %s: ", line.name.c_str());
    if (isBars && framesPerPiece <= 1) description += Text("%zu of them, ", shown);
    description += Text("%.*f to %.*f %s", plot.digits, range->low, plot.digits, range->high,
                        plot.unit.c_str());
  }

  const CPlot& plot;
  std::size_t frames = 0, pieceCount = 0;
  double low = 1e300, high = -1e300;
};

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

Json PlotValues(const CPlot& plot) {
  return CPlotMaker(plot).Values();
}
