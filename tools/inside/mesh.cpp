#include "client/mesh.h"

#include "main/lib/calib/triangulation.h"

std::vector<CMeshLine> MeshOf(const CFrameBox& frame, const std::vector<CScatteredPoint>& points) {
  CTriangulation triangulation;
  triangulation.Init(frame[0], frame[1], frame[2], frame[3], 0);
  for (const CScatteredPoint& point : points)
    triangulation.AddPoint(point.x, point.y, nullptr, 0);
  std::vector<CMeshLine> lines;
  const auto& vertices = triangulation.GetVertices();
  const auto add = [&](std::int32_t from, std::int32_t to) {
    const auto &a = vertices[static_cast<std::size_t>(from)],
               &b = vertices[static_cast<std::size_t>(to)];
    lines.push_back({a.x, a.y, b.x, b.y});
  };
  for (const CTriangulation::CTriangle& triangle : triangulation.GetTriangles()) {
    add(triangle.a, triangle.b);
    add(triangle.b, triangle.c);
    add(triangle.c, triangle.a);
  }
  return lines;
}
