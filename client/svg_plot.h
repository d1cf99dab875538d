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

// A plot over frame numbers as an inline SVG element, the first series at the back. The scale fits
// the values. Its colours come from the page's style sheet.
[[nodiscard]] std::string SvgPlot(std::span<const CSeries> series);

// A text that stands in HTML as it is.
[[nodiscard]] std::string HtmlText(const std::string& text);
