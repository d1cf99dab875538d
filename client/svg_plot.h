#pragma once

#include <span>
#include <string>
#include <vector>

struct CSeries {
  std::string name;
  std::string cssClass;        // colours the line
  std::vector<double> values;  // one per frame
};

enum class EPlot {
  lines,  // the scale fits the values
  area,   // filled, from zero
};

// A plot over frame numbers as an inline SVG element. Its colours come from the page's style sheet.
[[nodiscard]] std::string SvgPlot(std::span<const CSeries> series, EPlot kind);

// A text that stands in HTML as it is.
[[nodiscard]] std::string HtmlText(const std::string& text);
