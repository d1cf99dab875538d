#include "main/lib/calib/triangulation.h"

#include <cmath>
#include <cstdint>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <CGAL/Barycentric_coordinates_2/triangle_coordinates_2.h>
#include <CGAL/Delaunay_triangulation_2.h>
#include <CGAL/Exact_predicates_inexact_constructions_kernel.h>
#include <CGAL/Triangulation_vertex_base_with_info_2.h>
#include <benchmark/benchmark.h>

using namespace ztlib;

// Measures a million estimates of two values each, all over a frame with some points in its mesh.
// The peer is CGAL's Delaunay triangulation of the same points: its locate and barycentric
// coordinates. Locating starts at the last face, which is best for pixels that follow each other in
// rows.

namespace {

constexpr int side = 1024, estimates = 1'000'000;

struct Point {
  int x, y;
};

// Returns places at which a point joins the mesh: middles of circumcircles, chosen at random.
const std::vector<Point>& PointsOf(std::size_t count) {
  static std::vector<Point> points;
  static CTriangulation mesh;
  static std::mt19937 random(5);
  if (points.empty()) mesh.Init(0, 0, side, side, 2);
  while (points.size() < count) {
    const auto& triangles = mesh.GetTriangles();
    const auto& triangle = triangles[random() % triangles.size()];
    const Point point{static_cast<int>(std::lround(triangle.centerX)),
                      static_cast<int>(std::lround(triangle.centerY))};
    const float values[] = {static_cast<float>(point.x), static_cast<float>(point.y)};
    const std::size_t before = triangles.size();
    CTriangulation tried = mesh;
    tried.AddPoint(point.x, point.y, values, 2);
    if (tried.GetTriangles().size() == before) continue;
    mesh = std::move(tried);
    points.push_back(point);
  }
  static std::vector<Point> chosen;
  chosen.assign(points.begin(), points.begin() + static_cast<std::ptrdiff_t>(count));
  return chosen;
}

CTriangulation MeshOf(const std::vector<Point>& points) {
  CTriangulation mesh;
  mesh.Init(0, 0, side, side, 2);
  for (const Point& point : points) {
    const float values[] = {static_cast<float>(point.x), static_cast<float>(point.y)};
    mesh.AddPoint(point.x, point.y, values, 2);
  }
  mesh.Finalize();
  return mesh;
}

using Kernel = CGAL::Exact_predicates_inexact_constructions_kernel;
using VertexBase = CGAL::Triangulation_vertex_base_with_info_2<std::pair<float, float>, Kernel>;
using Delaunay =
    CGAL::Delaunay_triangulation_2<Kernel, CGAL::Triangulation_data_structure_2<VertexBase>>;

Delaunay DelaunayOf(const std::vector<Point>& points) {
  Delaunay delaunay;
  const auto add = [&](int x, int y) {
    delaunay.insert(Kernel::Point_2(x, y))->info() = {float(x), float(y)};
  };
  for (const auto& [x, y] : {std::pair{-1, -1}, {side, -1}, {side, side}, {-1, side}})
    add(x, y);
  for (const Point& point : points)
    add(point.x, point.y);
  return delaunay;
}

// Returns pixels in random order, or along the rows.
std::vector<Point> Pixels(bool inRows) {
  std::mt19937 random(9);
  std::vector<Point> pixels(estimates);
  for (int i = 0; i < estimates; ++i)
    pixels[static_cast<std::size_t>(i)] =
        inRows ? Point{i % side, i / side}
               : Point{static_cast<int>(random() % side), static_cast<int>(random() % side)};
  return pixels;
}

void Estimate(benchmark::State& state, bool inRows) {
  CTriangulation mesh = MeshOf(PointsOf(static_cast<std::size_t>(state.range(0))));
  const std::vector<Point> pixels = Pixels(inRows);
  for (auto _ : state) {
    float sum = 0;
    for (const Point& pixel : pixels) {
      float values[2];
      mesh.Estimate(pixel.x, pixel.y, values, 2);
      sum += values[0] + values[1];
    }
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * estimates);
}

void EstimateCgal(benchmark::State& state, bool inRows) {
  const Delaunay mesh = DelaunayOf(PointsOf(static_cast<std::size_t>(state.range(0))));
  const std::vector<Point> pixels = Pixels(inRows);
  for (auto _ : state) {
    float sum = 0;
    Delaunay::Face_handle face;
    for (const Point& pixel : pixels) {
      const Kernel::Point_2 place(pixel.x, pixel.y);
      face = mesh.locate(place, face);
      double shares[3];
      CGAL::Barycentric_coordinates::triangle_coordinates_2(
          face->vertex(0)->point(), face->vertex(1)->point(), face->vertex(2)->point(), place,
          shares, Kernel());
      for (int i = 0; i < 3; ++i) {
        const auto& [first, second] = face->vertex(i)->info();
        sum += static_cast<float>(shares[i]) * first + static_cast<float>(shares[i]) * second;
      }
    }
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * estimates);
}

void Build(benchmark::State& state) {
  const std::vector<Point> points = PointsOf(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state)
    benchmark::DoNotOptimize(MeshOf(points));
}

void BuildCgal(benchmark::State& state) {
  const std::vector<Point> points = PointsOf(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state)
    benchmark::DoNotOptimize(DelaunayOf(points));
}

void Register() {
  for (const int count : {10, 60, 1000}) {
    const std::string points = "/" + std::to_string(count) + "_points";
    const auto add = [&](const std::string& name, auto run) {
      benchmark::RegisterBenchmark(name.c_str(), run)->Arg(count)->Unit(benchmark::kMicrosecond);
    };
    for (const bool inRows : {false, true}) {
      const std::string what = (inRows ? "estimate_rows" : "estimate_random") + points;
      add(what + "/ztlib", [=](auto& state) { Estimate(state, inRows); });
      add(what + "/CGAL", [=](auto& state) { EstimateCgal(state, inRows); });
    }
    add("mesh" + points + "/ztlib", Build);
    add("mesh" + points + "/CGAL", BuildCgal);
  }
}
[[maybe_unused]] const bool registered = (Register(), true);

}  // namespace
