#pragma once

#include <span>
#include <string>
#include <vector>

enum class EPlot {
  line,
  bars,  // one per frame, from zero; none where the value is 0
};

struct CSeries {
  std::string name;
  std::string cssClass;        // colours it
  std::vector<double> values;  // one per frame
  EPlot kind = EPlot::line;
};

// A part of the frames that is marked, from its first to its last.
struct CPlotSpan {
  double from = 0, to = 0;
  bool isOpen = true;  // goes on behind the last frame
};

// What is below the values.
struct CPlotGround {
  double unitsPerFrame = 1;  // of the scale below
  std::span<const CPlotSpan> spans;
};

// A plot over frame numbers as an inline SVG element, the first series at the back. The scale fits
// the values. Its colours come from the page's style sheet.
[[nodiscard]] std::string SvgPlot(std::span<const CSeries> series, const CPlotGround& ground = {});

// A text that stands in HTML as it is.
[[nodiscard]] std::string HtmlText(const std::string& text);
