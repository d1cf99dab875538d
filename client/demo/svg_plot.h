#pragma once

#include "client/tree_json.h"

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

// A value that is marked over all frames.
struct CPlotLevel {
  std::string cssClass;
  double value = 0;
};

// A part of the frames that is marked, from its first to its last.
struct CPlotSpan {
  double from = 0, to = 0;
  bool isOpen = true;  // goes on behind the last frame
};

// A plot over frames. The scale fits the values.
struct CPlot {
  std::string label;            // says what it shows
  std::string unit;             // of the values
  int digits = 1;               // behind the point, of the values at the pointer
  std::vector<CSeries> series;  // the first one at the back
  std::string frameUnit = "frame";
  double unitsPerFrame = 1;  // of the scale below
  std::vector<CPlotLevel> levels{};
  std::vector<CPlotSpan> spans{};
};

// The values of the page's part `plot`; null for less than two frames, which make no plot.
[[nodiscard]] Json PlotValues(const CPlot& plot);

// A text that stands in HTML as it is.
[[nodiscard]] std::string HtmlText(const std::string& text);
