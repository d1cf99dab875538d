#include "client/commands.h"
#include "client/console.h"
#include "client/mesh.h"
#include "client/option_values.h"
#include "client/picture_io.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <fstream>
#include <limits>
#include <memory>
#include <optional>
#include <set>

namespace {

struct CTriangulateOptions {
  std::string points;
  CFrameBox frame{};
  std::vector<std::array<std::int32_t, 2>> places;
  std::string png;  // empty: none
};

constexpr int maxSide = 4096, comfortableSide = 640;

// The exports of a triangulation, with failures as exceptions.
class CTriangulator {
 public:
  CTriangulator(const CFrameBox& frame, const std::vector<CScatteredPoint>& points)
      : dimensions(points.empty() ? 1 : points[0].values.size()) {
    if (!handle) throw CError("no memory for a triangulation");
    ClearFailure();
    ztlib_triangulation_init(handle.get(), frame[0], frame[1], frame[2], frame[3],
                             static_cast<std::int32_t>(dimensions));
    for (const CScatteredPoint& point : points)
      ztlib_triangulation_addPoint(handle.get(), point.x, point.y, point.values.data(),
                                   static_cast<std::int32_t>(point.values.size()));
    ztlib_triangulation_finalize(handle.get());
    ThrowFailure();
  }

  // All values at a pixel, or as many as `out` has room for.
  void Estimate(std::int32_t x, std::int32_t y, std::span<float> out) const {
    ztlib_triangulation_estimate(handle.get(), x, y, out.data(),
                                 static_cast<std::int32_t>(out.size()));
  }
  [[nodiscard]] std::vector<float> At(std::int32_t x, std::int32_t y) const {
    std::vector<float> values(dimensions);
    Estimate(x, y, values);
    return values;
  }

 private:
  struct CDestroy {
    void operator()(void* triangulation) const { ztlib_triangulation_destroy(triangulation); }
  };

  std::unique_ptr<void, CDestroy> handle{ztlib_triangulation_create()};
  std::size_t dimensions;
};

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

// Lines of x, y and values; empty lines and those that begin with # do not count.
std::vector<CScatteredPoint> ReadPoints(const std::string& path) {
  std::ifstream file(path);
  if (!file) throw CError(path + ": cannot open");
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

void PrintEstimate(const CTriangulator& triangulator, std::int32_t x, std::int32_t y) {
  std::string line = Text("%d,%d", x, y);
  for (const float value : triangulator.At(x, y))
    line += Text(",%g", double(value));
  Print(Output(), line + "\n");
}

// From dark blue over green to yellow, for 0 to 1.
CColor Heat(float share) {
  static constexpr CColor stops[] = {
      {68, 1, 84}, {59, 82, 139}, {33, 145, 140}, {94, 201, 98}, {253, 231, 37}};
  constexpr int last = std::size(stops) - 1;
  const float place = std::clamp(share, 0.0F, 1.0F) * float(last);
  const int below = std::min(static_cast<int>(place), last - 1);
  const float part = place - float(below);
  const auto mix = [part](float a, float b) { return a + (b - a) * part; };
  const CColor &a = stops[below], &b = stops[below + 1];
  return {mix(a.red, b.red), mix(a.green, b.green), mix(a.blue, b.blue)};
}

// The first value over the frame, with the triangles, the points at their corners, and as dots
// those that did not join the mesh.
class CHeatMap {
 public:
  CHeatMap(const CFrameBox& box, const CTriangulator& triangulator)
      : frame(box), columns(Side(box[0], box[2])), rows(Side(box[1], box[3])) {
    factor = std::max(1, comfortableSide / std::max(columns, rows));
    field.resize(std::size_t(columns) * std::size_t(rows));
    float* value = field.data();
    for (int y = 0; y < rows; ++y) {
      // A map with half of its estimates would show a wrong field.
      ThrowIfInterrupted();
      for (int x = 0; x < columns; ++x)
        triangulator.Estimate(frame[0] + x, frame[1] + y, {value++, 1});
    }
    for (const float estimate : field)
      if (std::isfinite(estimate)) {
        least = std::min(least, estimate);
        most = std::max(most, estimate);
      }
  }

  [[nodiscard]] std::string Range() const {
    return least <= most ? Text("%g to %g", double(least), double(most)) : "no number at all";
  }

  [[nodiscard]] CCanvas Paint(const std::vector<CScatteredPoint>& points) const {
    CCanvas canvas(columns * factor, rows * factor);
    const float range = most > least ? most - least : 1;
    for (int y = 0; y < canvas.Height(); ++y)
      for (int x = 0; x < canvas.Width(); ++x) {
        const float value =
            field[std::size_t(y / factor) * std::size_t(columns) + std::size_t(x / factor)];
        canvas.At(x, y).color =
            std::isfinite(value) ? Heat((value - least) / range) : CColor{128, 128, 128};
      }
    std::set<std::pair<std::int64_t, std::int64_t>> joined;
    for (const auto& [x0, y0, x1, y1] : MeshOf(frame, points)) {
      canvas.DrawLine(Place(x0, y0), Place(x1, y1), 1.2F, {{255, 255, 255}, 0, 0.35F});
      joined.insert({x0, y0});
    }
    for (const CScatteredPoint& point : points) {
      const CPoint place = Place(point.x, point.y);
      const bool isJoined = joined.contains({point.x, point.y});
      if (isJoined) canvas.FillEllipse(place, 5, 5, {{255, 255, 255}});
      canvas.FillEllipse(place, isJoined ? 3.6F : 1.6F, isJoined ? 3.6F : 1.6F, {{20, 20, 20}});
    }
    return canvas;
  }

 private:
  static int Side(std::int64_t first, std::int64_t end) {
    if (end <= first || end - first > maxSide)
      throw CError(Text("--rect: a picture has 1 to %d pixels on each side", maxSide));
    return static_cast<int>(end - first);
  }
  // The middle of a pixel.
  [[nodiscard]] CPoint Place(std::int64_t x, std::int64_t y) const {
    const auto at = [this](std::int64_t value, std::int32_t origin) {
      return (float(value - origin) + 0.5F) * float(factor);
    };
    return {at(x, frame[0]), at(y, frame[1])};
  }

  CFrameBox frame;
  int columns, rows, factor = 1;
  std::vector<float> field;
  float least = std::numeric_limits<float>::infinity(), most = -least;
};

int Triangulate(const CTriangulateOptions& options) {
  COutputs outputs({options.points}, {options.png});
  const std::vector<CScatteredPoint> points = ReadPoints(options.points);
  const CTriangulator triangulator(options.frame, points);
  for (const auto& [x, y] : options.places)
    PrintEstimate(triangulator, x, y);
  if (options.places.empty() && options.png.empty())
    for (const CScatteredPoint& point : points)
      PrintEstimate(triangulator, point.x, point.y);
  if (!options.png.empty()) {
    const CHeatMap map(options.frame, triangulator);
    WritePng(outputs, options.png, *PictureOf(map.Paint(points)), *NewPngCoder());
    outputs.Publish();
    Print(Output(), options.png + ": " + map.Range() + "\n");
  }
  return 0;
}

}  // namespace

CCommand TriangulateCommand() {
  const auto options = std::make_shared<CTriangulateOptions>();
  return {
      .name = "triangulate",
      .help =
          "Estimate values between points, and draw them with the triangles (which no "
          "export gives: by the library's static twin)",
      .options =
          {{.name = "points",
            .value = &options->points,
            .help = "Lines of x,y,value[,value...]",
            .isRequired = true},
           {.name = "--rect",
            .value = [=](const std::string& text) { ParseNumbers("--rect", text, options->frame); },
            .help = "The frame; its right and bottom edge lie outside",
            .form = "X0,Y0,X1,Y1",
            .isRequired = true},
           {.name = "--at",
            .value =
                [=](const std::vector<std::string>& texts) {
                  for (const std::string& text : texts)
                    ParseNumbers("--at", text, options->places.emplace_back());
                },
            .help = "Print the values there; at the points if neither this nor --png is given",
            .form = "X,Y ..."},
           {.name = "--png",
            .value = &options->png,
            .help = "Draw the first value over the frame",
            .form = "FILE"}},
      .run = [=] { return Triangulate(*options); }};
}
