#include "main/lib/calib/triangulation.h"

#include "main/lib/base/debug.h"
#include "main/lib/imgproc/math_helper.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace ztlib {

namespace {

constexpr char source[] = "main/lib/calib/triangulation";

std::uint32_t Bits(std::int64_t coordinate) {
  return static_cast<std::uint32_t>(coordinate);
}

std::int64_t Before(std::int64_t coordinate) {
  return static_cast<std::int64_t>(static_cast<std::uint64_t>(coordinate) - 1);
}

CPointF ToFloat(const CTriangulation::CVertex& v) {
  return {static_cast<float>(v.x), static_cast<float>(v.y)};
}

float SquaredDistance(CPointF p, float x, float y) {
  return (p.x - x) * (p.x - x) + (p.y - y) * (p.y - y);
}

CDiscGrid::CDisc DiscOf(const CTriangulation::CTriangle& triangle) {
  return {triangle.centerX, triangle.centerY, triangle.radiusRoot};
}

std::int32_t SquaredDistance(const CTriangulation::CVertex& p, const CTriangulation::CVertex& q) {
  const std::uint32_t dx = Bits(p.x) - Bits(q.x), dy = Bits(p.y) - Bits(q.y);
  return static_cast<std::int32_t>(dx * dx + dy * dy);
}

constexpr std::int32_t noVertex = -1;

bool IsRemoved(const CTriangulation::CTriangle& triangle) {
  return triangle.a == noVertex;
}

CEdgeFunction EdgeFunction(const CTriangulation::CVertex& p, const CTriangulation::CVertex& q) {
  const std::uint32_t px = Bits(p.x), py = Bits(p.y), qx = Bits(q.x), qy = Bits(q.y);
  return {py - qy, qx - px, px * qy - qx * py};
}

// The weight of each vertex at a pixel, as a share of `total`: the negated edge functions of the
// sides opposite of the vertices.
class CWeights {
 public:
  CWeights(const CTriangleSides& sides, std::int64_t x, std::int64_t y) {
    const std::uint32_t ab = sides.ab.At(Bits(x), Bits(y));
    const std::uint32_t bc = sides.bc.At(Bits(x), Bits(y));
    const std::uint32_t ca = sides.ca.At(Bits(x), Bits(y));
    a = ToFloat(0 - bc);
    b = ToFloat(0 - ca);
    c = ToFloat(0 - ab);
    total = ToFloat(0 - (ab + bc + ca));
  }

  [[nodiscard]] float Mean(float valueA, float valueB, float valueC) const {
    return total != 0 ? (a * valueA + b * valueB + c * valueC) / total : 0;
  }

 private:
  static float ToFloat(std::uint32_t weight) {
    return static_cast<float>(static_cast<std::int32_t>(weight));
  }

  float a, b, c, total;
};

}  // namespace

CTriangulation::CTriangle CTriangulation::MakeTriangle(std::int32_t a, std::int32_t b,
                                                       std::int32_t c) const {
  CLine first, second;
  Bisector(first, ToFloat(At(a)), ToFloat(At(b)));
  Bisector(second, ToFloat(At(b)), ToFloat(At(c)));
  // If the bisectors do not cross, the centre stays at the origin.
  CPointF center;
  static_cast<void>(Intersect(center, first, second));
  const float radius = std::sqrt(SquaredDistance(ToFloat(At(a)), center.x, center.y));
  return {a, b, c, center.x, center.y, std::sqrt(radius)};
}

CTriangleSides CTriangulation::SidesOf(const CTriangle& triangle) const {
  const CVertex &a = At(triangle.a), &b = At(triangle.b), &c = At(triangle.c);
  return {EdgeFunction(a, b), EdgeFunction(b, c), EdgeFunction(c, a)};
}

void CTriangulation::Init(std::int64_t x0, std::int64_t y0, std::int64_t x1, std::int64_t y1,
                          std::int32_t newDimensions) {
  *this = {};
  left = x0;
  top = y0;
  right = x1;
  bottom = y1;
  dimensions = newDimensions;
  vertices = {
      {Before(x0), Before(y0), {}}, {x1, Before(y0), {}}, {x1, y1, {}}, {Before(x0), y1, {}}};
  triangles = {MakeTriangle(0, 2, 3), MakeTriangle(0, 1, 2)};
  initialised = true;
}

void CTriangulation::AddPoint(std::int64_t x, std::int64_t y, const float* values,
                              std::int32_t count) {
  if (!initialised || x < left || x >= right || y < top || y >= bottom) return;
  if (2 * vertices.size() >= places.size()) GrowPlaces();
  const std::size_t place = PlaceOf(x, y);
  if (places[place] != 0) return;
  const std::int32_t length = std::max(count, 0);
  if (length > 0 && !values) ZT_THROW(CException, "Using null-pointer", "AddPoint", source, 105);
  isPrepared = false;
  const auto added = static_cast<std::int32_t>(vertices.size());
  vertices.push_back({x, y, std::vector<float>(values, values + length)});
  places[place] = added;
  Connect(added);
}

// Where in the table the point at (x, y) is, or where it would be.
std::size_t CTriangulation::PlaceOf(std::int64_t x, std::int64_t y) const {
  const std::size_t mask = places.size() - 1;
  std::uint64_t hash = static_cast<std::uint64_t>(x) * 0x9e3779b97f4a7c15;
  hash = ((hash ^ hash >> 32) + static_cast<std::uint64_t>(y)) * 0xd6e8feb86659fd93;
  std::size_t place = static_cast<std::size_t>(hash >> 32) & mask;
  while (places[place] != 0 && (At(places[place]).x != x || At(places[place]).y != y))
    place = (place + 1) & mask;
  return place;
}

void CTriangulation::GrowPlaces() {
  places.assign(std::max<std::size_t>(4 * places.size(), 64), 0);
  for (std::size_t i = 4; i < vertices.size(); ++i)
    places[PlaceOf(vertices[i].x, vertices[i].y)] = static_cast<std::int32_t>(i);
}

const std::vector<CTriangulation::CTriangle>& CTriangulation::DropRemoved() {
  if (removed > 0) {
    isIndexed = false;  // triangles get other numbers
    std::erase_if(triangles, IsRemoved);
    removed = 0;
  }
  return triangles;
}

// Sorts the small middles of all circumcircles into cells, and leaves room for more of them.
void CTriangulation::Index() {
  isIndexed = false;
  DropRemoved();
  discs.Start({static_cast<double>(left), static_cast<double>(top), static_cast<double>(right),
               static_cast<double>(bottom)},
              4 * triangles.size());
  for (std::size_t i = 0; i < triangles.size(); ++i)
    discs.Add(static_cast<std::uint32_t>(i), DiscOf(triangles[i]));
  isIndexed = true;
}

// Puts triangles of a point and the edges of the hole in the place of the hits. If memory fails,
// either all of that has happened or nothing.
void CTriangulation::ReplaceHits(std::int32_t point) {
  const std::size_t first = triangles.size(), needed = first + edges.size();
  if (needed > triangles.capacity()) triangles.reserve(std::max(needed, 2 * first));
  for (const std::uint32_t hit : hits)
    triangles[hit].a = noVertex;
  removed += hits.size();
  for (const CEdge& edge : edges)
    triangles.push_back(MakeTriangle(point, edge.first, edge.second));
  if (!std::exchange(isIndexed, false)) return;
  for (std::size_t i = first; i < needed; ++i)
    discs.Add(static_cast<std::uint32_t>(i), DiscOf(triangles[i]));
  isIndexed = true;
}

// An edge that belongs to two removed triangles lies inside of the hole.
void CTriangulation::Toggle(std::int32_t first, std::int32_t second) {
  const auto same = std::find_if(edges.begin(), edges.end(), [&](const CEdge& edge) {
    return (edge.first == first && edge.second == second) ||
           (edge.first == second && edge.second == first);
  });
  if (same != edges.end())
    edges.erase(same);
  else
    edges.push_back({first, second});
}

// Leaves in `hits` the triangles whose middles hold the place, in the order of the triangles.
void CTriangulation::FindHits(CPointF place) {
  hits.clear();
  const auto add = [this](std::uint32_t triangle) {
    if (!IsRemoved(triangles[triangle])) hits.push_back(triangle);
  };
  // A small mesh is searched faster than its discs are sorted.
  if (triangles.size() - removed < 128) {
    if (removed > 32) DropRemoved();
    for (std::uint32_t i = 0; i < triangles.size(); ++i)
      if (DiscOf(triangles[i]).Holds(place)) add(i);
    return;
  }
  if (!isIndexed || discs.IsCrowded() || removed > triangles.size() / 2 + 64) Index();
  discs.ForEachAt(place, add);
  std::sort(hits.begin(), hits.end());
}

// Joins a point with the boundary of the hole that it makes in the mesh. Of a circumcircle only a
// small middle counts: the squared distance is compared with the root of the radius, and many
// points make no hole. Results depend on that, so it stays.
void CTriangulation::Connect(std::int32_t added) {
  FindHits(ToFloat(At(added)));
  edges.clear();
  for (const std::uint32_t hit : hits) {
    const CTriangle& triangle = triangles[hit];
    Toggle(triangle.a, triangle.b);
    Toggle(triangle.a, triangle.c);
    Toggle(triangle.c, triangle.b);
  }
  ReplaceHits(added);
}

bool CTriangulation::IsFull(const CVertex& vertex) const {
  return static_cast<std::int64_t>(vertex.values.size()) == dimensions;
}

bool CTriangulation::IsFull(const std::vector<CVertex>& list, const CTriangle& triangle) const {
  const std::int32_t corners[] = {triangle.a, triangle.b, triangle.c};
  return std::all_of(std::begin(corners), std::end(corners), [&](std::int32_t corner) {
    return IsFull(list[static_cast<std::size_t>(corner)]);
  });
}

const CTriangulation::CTriangle* CTriangulation::FindSource(const std::vector<CVertex>& list,
                                                            const CVertex& place) const {
  const CTriangle* nearest = nullptr;
  std::int32_t best = 0;
  for (const CTriangle& triangle : triangles) {
    if (!IsFull(list, triangle)) continue;
    const auto distance = [&](std::int32_t corner) {
      return SquaredDistance(list[static_cast<std::size_t>(corner)], place);
    };
    const std::int32_t least =
        std::min({distance(triangle.a), distance(triangle.b), distance(triangle.c)});
    if (nearest && least >= best) continue;
    nearest = &triangle;
    best = least;
  }
  return nearest;
}

bool CTriangulation::Complete(std::vector<CVertex>& list) const {
  for (CVertex& vertex : list) {
    if (IsFull(vertex)) continue;
    vertex.values.clear();
    const CTriangle* const triangle = FindSource(list, vertex);
    if (!triangle) return false;
    const CWeights weights(SidesOf(*triangle), vertex.x, vertex.y);
    vertex.values.resize(static_cast<std::size_t>(dimensions));
    for (std::size_t i = 0; i < vertex.values.size(); ++i)
      vertex.values[i] = weights.Mean(list[static_cast<std::size_t>(triangle->a)].values[i],
                                      list[static_cast<std::size_t>(triangle->b)].values[i],
                                      list[static_cast<std::size_t>(triangle->c)].values[i]);
  }
  return true;
}

bool CTriangulation::Finalize() {
  DropRemoved();
  if (!initialised || triangles.size() < 3) return false;
  isPrepared = false;
  return Complete(vertices);
}

void CTriangulation::Prepare() {
  DropRemoved();
  std::vector<CVertex> completed;
  const auto isFull = [&](const CTriangle& triangle) { return IsFull(vertices, triangle); };
  if (triangles.size() > 2 && !std::all_of(triangles.begin(), triangles.end(), isFull)) {
    completed = vertices;
    if (!Complete(completed)) completed.clear();
  }
  known.clear();
  std::vector<std::size_t> places;
  for (const CVertex& vertex : completed.empty() ? vertices : completed) {
    places.push_back(IsFull(vertex) ? known.size() : none);
    if (IsFull(vertex)) known.insert(known.end(), vertex.values.begin(), vertex.values.end());
  }
  lookups.clear();
  for (const CTriangle& triangle : triangles) {
    CLookup& lookup = lookups.emplace_back(CLookup{SidesOf(triangle), {none, none, none}});
    const std::size_t a = places[static_cast<std::size_t>(triangle.a)];
    const std::size_t b = places[static_cast<std::size_t>(triangle.b)];
    const std::size_t c = places[static_cast<std::size_t>(triangle.c)];
    if (a != none && b != none && c != none) lookup = {lookup.sides, {a, b, c}};
  }
  BuildGrid();
  isPrepared = true;
}

void CTriangulation::BuildGrid() {
  grid.Clear();
  const auto extent = [](std::int64_t first, std::int64_t last) {
    return static_cast<std::uint64_t>(last) - static_cast<std::uint64_t>(first);
  };
  // Within these limits no edge function wraps between the corners of the frame.
  constexpr std::uint64_t limit = std::uint64_t{1} << 31;
  const CTriangleGrid::CBox frame{At(0).x, At(0).y, At(2).x, At(2).y};
  const std::uint64_t width = extent(frame.left, frame.right);
  const std::uint64_t height = extent(frame.top, frame.bottom);
  if (width == 0 || height == 0 || width >= limit || height >= limit || width * height >= limit)
    return;
  std::vector<CTriangleGrid::CArea> areas;
  areas.reserve(triangles.size());
  for (const CTriangle& triangle : triangles) {
    const CVertex &a = At(triangle.a), &b = At(triangle.b), &c = At(triangle.c);
    const CTriangleSides sides = SidesOf(triangle);
    const bool isLine = sides.ab.constant + sides.bc.constant + sides.ca.constant == 0;
    const CTriangleGrid::CBox box{std::min({a.x, b.x, c.x}), std::min({a.y, b.y, c.y}),
                                  std::max({a.x, b.x, c.x}), std::max({a.y, b.y, c.y})};
    areas.push_back({isLine ? frame : box, sides});
  }
  grid.Build(frame, areas);
}

const CTriangulation::CLookup* CTriangulation::Find(std::int64_t x, std::int64_t y) const {
  if (grid.Covers(x, y)) {
    for (const std::uint32_t i : grid.At(x, y))
      if (lookups[i].sides.Hold(Bits(x), Bits(y))) return &lookups[i];
    return nullptr;
  }
  const auto found = std::find_if(lookups.begin(), lookups.end(), [&](const CLookup& lookup) {
    return lookup.sides.Hold(Bits(x), Bits(y));
  });
  return found != lookups.end() ? &*found : nullptr;
}

void CTriangulation::Estimate(std::int64_t x, std::int64_t y, float* out, std::int32_t count) {
  if (!initialised || count <= 0) return;
  if (!out) ZT_THROW(CException, "Using null-pointer", "Estimate", source, 258);
  if (!isPrepared) Prepare();
  const CLookup* const found = count <= dimensions ? Find(x, y) : nullptr;
  if (!found || found->values[0] == none) {
    std::fill_n(out, count, 0.0f);
    return;
  }
  const CWeights weights(found->sides, x, y);
  const float* const a = &known[found->values[0]];
  const float* const b = &known[found->values[1]];
  const float* const c = &known[found->values[2]];
  for (std::int32_t i = 0; i < count; ++i)
    out[i] = weights.Mean(a[i], b[i], c[i]);
}

}  // namespace ztlib
