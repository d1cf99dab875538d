#include "client/commands.h"
#include "client/console.h"
#include "client/heat_map.h"
#include "client/option_values.h"
#include "client/picture_io.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>

namespace {

struct CTriangulateOptions {
  std::string points;
  CFrameBox frame{};
  std::vector<std::array<std::int32_t, 2>> places;
  std::string png;  // empty: none
};

// The values between the points.
class CTriangulator {
 public:
  CTriangulator(const CFrameBox& frame, const std::vector<CScatteredPoint>& points)
      : dimensions(points.empty() ? 1 : points[0].values.size()),
        mesh({frame[0], frame[1], frame[2], frame[3]}, static_cast<std::int32_t>(dimensions)) {
    for (const CScatteredPoint& point : points)
      mesh.AddPoint(point.x, point.y, point.values);
    mesh.Finalize();
  }

  // The first value at a pixel.
  [[nodiscard]] float FirstAt(std::int32_t x, std::int32_t y) const {
    float value = 0;
    mesh.Estimate(x, y, {&value, 1});
    return value;
  }
  [[nodiscard]] std::vector<float> At(std::int32_t x, std::int32_t y) const {
    std::vector<float> values(dimensions);
    mesh.Estimate(x, y, values);
    return values;
  }

 private:
  std::size_t dimensions;
  ztlib::Triangulation mesh;
};

void PrintEstimate(const CTriangulator& triangulator, std::int32_t x, std::int32_t y) {
  std::string line = Text("%d,%d", x, y);
  for (const float value : triangulator.At(x, y))
    line += Text(",%g", double(value));
  Print(Output(), line + "\n");
}

struct CPointCheck {
  std::string complaint;  // names given points at whose place another value is estimated
  bool isAnySet;          // whether any estimate is not 0
};

CPointCheck CheckPoints(const CTriangulator& triangulator,
                        const std::vector<CScatteredPoint>& points, const std::string& file) {
  constexpr int mostNamed = 5;
  std::string named;
  std::int64_t missed = 0;
  bool isAnySet = false;
  for (const CScatteredPoint& point : points) {
    const std::vector<float> estimate = triangulator.At(point.x, point.y);
    isAnySet |= std::any_of(estimate.begin(), estimate.end(), [](float v) { return v != 0; });
    const bool isMet =
        std::equal(point.values.begin(), point.values.end(), estimate.begin(), estimate.end(),
                   [](float given, float estimated) {
                     return std::abs(given - estimated) <= 1e-3F * std::max(1.0F, std::abs(given));
                   });
    if (isMet) continue;
    if (++missed <= mostNamed) named += Text(" %d,%d", point.x, point.y);
  }
  if (missed == 0) return {{}, true};
  if (missed > mostNamed) named += " ...";
  return {Text("%s: the estimate is another value at %s:%s (a point joins the mesh only if it is "
               "close to the middle of a triangle's circumcircle)",
               file.c_str(), CountText(missed, "given point").c_str(), named.c_str()),
          isAnySet};
}

int Triangulate(const CTriangulateOptions& options) {
  COutputs outputs({options.points}, {options.png});
  const std::vector<CScatteredPoint> points = ReadPoints(options.points);
  const CTriangulator triangulator(options.frame, points);
  const CPointCheck check = CheckPoints(triangulator, points, options.points);
  for (const auto& [x, y] : options.places)
    PrintEstimate(triangulator, x, y);
  if (options.places.empty() && options.png.empty())
    for (const CScatteredPoint& point : points)
      PrintEstimate(triangulator, point.x, point.y);
  if (!options.png.empty()) {
    const CHeatMap map(options.frame,
                       [&](std::int32_t x, std::int32_t y) { return triangulator.FirstAt(x, y); });
    CCanvas canvas = map.Paint();
    for (const CScatteredPoint& point : points)
      map.DrawPoint(canvas, point, CHeatMap::EPoint::small);
    WritePng(outputs, options.png, *PictureOf(canvas));
    const std::string summary = options.png + ": " + map.Range() + "\n";
    outputs.Publish();
    Print(outputs.Texts(), summary);
  }
  if (!check.complaint.empty()) Complain(check.complaint);
  return check.isAnySet ? 0 : 1;
}

}  // namespace

CCommand TriangulateCommand() {
  const auto options = std::make_shared<CTriangulateOptions>();
  return {
      .name = "triangulate",
      .help = "Estimate values between points",
      .options = {PointsOption(options->points),
                  FrameOption(options->frame),
                  {.name = "--at",
                   .value = COption::ParseAll{[=](const std::vector<std::string>& texts) {
                     for (const std::string& text : texts)
                       ParseNumbers("--at", text, options->places.emplace_back());
                   }},
                   .help =
                       "Print the values there; at the points if neither this nor --png is given",
                   .form = "X,Y ..."},
                  {.name = "--png",
                   .value = &options->png,
                   .help = "Draw the first value over the frame",
                   .form = "FILE"}},
      .run = [=] { return Triangulate(*options); }};
}
