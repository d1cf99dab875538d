#include "client/scattered_points.h"

#include "client/option_values.h"
#include "client/text.h"
#include "client/whole_file.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <sstream>
#include <string_view>

namespace {

// A number at the start of `text`, which loses it and a comma behind it.
template <class T>
std::optional<T> TakeNumber(std::string_view& text) {
  while (!text.empty() && text.front() == ' ')
    text.remove_prefix(1);
  T value{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc()) return std::nullopt;
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
  if (text.starts_with(',') && text.size() > 1)
    text.remove_prefix(1);
  else if (!text.empty())
    return std::nullopt;
  return value;
}

std::optional<CScatteredPoint> ParsePoint(std::string_view line) {
  const auto x = TakeNumber<std::int32_t>(line), y = TakeNumber<std::int32_t>(line);
  if (!x || !y) return std::nullopt;
  CScatteredPoint point{*x, *y, {}};
  while (!line.empty()) {
    const auto value = TakeNumber<float>(line);
    if (!value) return std::nullopt;
    point.values.push_back(*value);
  }
  return point;
}

}  // namespace

std::vector<CScatteredPoint> ReadPoints(const std::string& path) {
  std::istringstream file(ReadWholeFile(path));
  std::vector<CScatteredPoint> points;
  std::string line;
  for (int number = 1; std::getline(file, line); ++number) {
    if (line.ends_with('\r')) line.pop_back();
    if (line.empty() || line.starts_with('#')) continue;
    const auto point = ParsePoint(line);
    if (!point) throw CError(path + Text(":%d: is no point like 120,80,1.5", number));
    points.push_back(*point);
  }
  if (points.empty() || points[0].values.empty()) throw CError(path + ": no point with a value");
  return points;
}

COption PointsOption(std::string& path) {
  return {.name = "points",
          .value = &path,
          .help = "Lines of x,y,value[,value...]",
          .isRequired = true};
}

COption FrameOption(CFrameBox& frame) {
  return {.name = "--rect",
          .value =
              COption::Parse{[&](const std::string& text) { ParseNumbers("--rect", text, frame); }},
          .help = "The frame; its right and bottom edge lie outside",
          .form = "X0,Y0,X1,Y1",
          .isRequired = true};
}
