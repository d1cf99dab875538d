#include "client/console.h"
#include "client/heat_map.h"
#include "client/picture_io.h"
#include "main/lib/calib/triangulation.h"
#include "tools/inside/commands.h"

#include <set>
#include <utility>

using namespace ztlib;

namespace {

struct CMeshOptions {
  std::string points, png;
  CFrameBox frame{};
};

void Triangulate(CTriangulation& triangulation, const CFrameBox& frame,
                 const std::vector<CScatteredPoint>& points) {
  triangulation.Init(frame[0], frame[1], frame[2], frame[3],
                     static_cast<std::int32_t>(points[0].values.size()));
  for (const CScatteredPoint& point : points)
    triangulation.AddPoint(point.x, point.y, point.values.data(),
                           static_cast<std::int32_t>(point.values.size()));
  triangulation.Finalize();
}

// Draws the sides of all triangles, the points at their corners, and dots for the points that did
// not join the mesh.
void DrawMesh(CCanvas& canvas, const CHeatMap& map, CTriangulation& triangulation,
              const std::vector<CScatteredPoint>& points) {
  std::set<std::pair<std::int64_t, std::int64_t>> joined;
  const auto& vertices = triangulation.GetVertices();
  const auto draw = [&](std::int32_t from, std::int32_t to) {
    const auto &a = vertices[static_cast<std::size_t>(from)],
               &b = vertices[static_cast<std::size_t>(to)];
    canvas.DrawLine(map.Place(a.x, a.y), map.Place(b.x, b.y), 1.2F, {{255, 255, 255}, 0, 0.35F});
    joined.insert({a.x, a.y});
  };
  for (const CTriangulation::CTriangle& triangle : triangulation.GetTriangles()) {
    draw(triangle.a, triangle.b);
    draw(triangle.b, triangle.c);
    draw(triangle.c, triangle.a);
  }
  for (const CScatteredPoint& point : points)
    map.DrawPoint(
        canvas, point,
        joined.contains({point.x, point.y}) ? CHeatMap::EPoint::large : CHeatMap::EPoint::small);
}

int Mesh(const CMeshOptions& options) {
  COutputs outputs({options.points}, {options.png});
  const std::vector<CScatteredPoint> points = ReadPoints(options.points);
  CTriangulation triangulation;
  Triangulate(triangulation, options.frame, points);
  const CHeatMap map(options.frame, [&](std::int32_t x, std::int32_t y) {
    float value = 0;
    triangulation.Estimate(x, y, &value, 1);
    return value;
  });
  CCanvas canvas = map.Paint();
  DrawMesh(canvas, map, triangulation, points);
  WritePng(outputs, options.png, *PictureOf(canvas));
  const std::string summary = options.png + ": " + map.Range() + "\n";
  outputs.Publish();
  Print(outputs.Texts(), summary);
  return 0;
}

}  // namespace

CCommand MeshCommand() {
  const auto options = std::make_shared<CMeshOptions>();
  return {.name = "mesh",
          .help = "Draw the triangles between points over the values that are estimated from them",
          .options = {PointsOption(options->points),
                      FrameOption(options->frame),
                      {.name = "--out",
                       .value = &options->png,
                       .help = "The picture",
                       .form = "FILE.png",
                       .isRequired = true}},
          .run = [=] { return Mesh(*options); }};
}
