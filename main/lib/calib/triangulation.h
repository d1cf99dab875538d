#pragma once

#include "main/lib/calib/disc_grid.h"
#include "main/lib/calib/triangle_grid.h"

#include <cstdint>
#include <vector>

namespace ztlib {

// Scattered data on the image plane: points in pixels, each with a vector of floats, are joined
// into triangles, and a vector can be estimated at any pixel by interpolation within the triangle
// that holds it.
//
// The frame's corners are points without values until Finalize gives them some. Before Init every
// operation does nothing. Coordinates may be any: what is told to be exact wraps within 32 bits.
// For one thread at a time.
class CTriangulation {
 public:
  // Starts anew with the frame's two triangles. A point fits if x0 <= x < x1 and y0 <= y < y1.
  // Values are complete when there are `dimensions` of them.
  void Init(std::int64_t x0, std::int64_t y0, std::int64_t x1, std::int64_t y1,
            std::int32_t dimensions);

  // Ignores points outside of the frame and those at the place of another one. Throws CException
  // "Using null-pointer" for a point that fits but comes without the values it promises.
  void AddPoint(std::int64_t x, std::int64_t y, const float* values, std::int32_t count);

  // Gives each point whose values are not complete those of the nearest triangle that has all,
  // extrapolated. Does nothing on the two triangles of the frame alone. Stops where there is no
  // such triangle; true if all points have values now.
  bool Finalize();

  // Writes `count` floats: the first ones of the values at that pixel, as they are after Finalize
  // even if it was not called; zeros if there are none or fewer than `count`. Does not change what
  // later calls see. A null `out` with a `count` above 0 throws CException "Using null-pointer".
  void Estimate(std::int64_t x, std::int64_t y, float* out, std::int32_t count);

  struct CVertex {
    std::int64_t x, y;
    std::vector<float> values;
  };
  // The corners of the frame come first, then the points in the order in which they were added.
  [[nodiscard]] const std::vector<CVertex>& GetVertices() const { return vertices; }

  struct CTriangle {
    std::int32_t a, b, c;    // vertices
    float centerX, centerY;  // of the circumcircle
    float radiusRoot;        // square root of its radius
  };
  // The triangles in the order in which they were made, which is the order of all searches.
  [[nodiscard]] const std::vector<CTriangle>& GetTriangles() { return DropRemoved(); }

 private:
  struct CEdge {
    std::int32_t first, second;
  };
  // What an estimate needs of a triangle, in one line of the cache.
  struct CLookup {
    CTriangleSides sides;
    std::size_t values[3];  // of a, b and c in `known`, or `none` for all
  };
  static constexpr std::size_t none = static_cast<std::size_t>(-1);

  [[nodiscard]] const CVertex& At(std::int32_t vertex) const {
    return vertices[static_cast<std::size_t>(vertex)];
  }
  [[nodiscard]] CTriangle MakeTriangle(std::int32_t a, std::int32_t b, std::int32_t c) const;
  [[nodiscard]] CTriangleSides SidesOf(const CTriangle& triangle) const;
  [[nodiscard]] std::size_t PlaceOf(std::int64_t x, std::int64_t y) const;
  void GrowPlaces();
  const std::vector<CTriangle>& DropRemoved();
  void Index();
  void ReplaceHits(std::int32_t point);
  void Toggle(std::int32_t first, std::int32_t second);
  void FindHits(CPointF place);
  void Connect(std::int32_t added);
  [[nodiscard]] bool IsFull(const CVertex& vertex) const;
  [[nodiscard]] bool IsFull(const std::vector<CVertex>& list, const CTriangle& triangle) const;
  // Returns the nearest triangle that has all values, or null if there is none.
  [[nodiscard]] const CTriangle* FindSource(const std::vector<CVertex>& list,
                                            const CVertex& place) const;
  [[nodiscard]] bool Complete(std::vector<CVertex>& list) const;
  void Prepare();
  void BuildGrid();
  // The first triangle that holds the pixel, or null.
  [[nodiscard]] const CLookup* Find(std::int64_t x, std::int64_t y) const;

  bool initialised = false;
  std::int64_t left = 0, top = 0, right = 0, bottom = 0;
  std::int32_t dimensions = 0;
  std::vector<CVertex> vertices;
  std::vector<std::int32_t> places;  // hash table of the points; 0, a corner, where there is none
  std::vector<CTriangle> triangles;  // those that points have removed, until they are dropped, too
  std::size_t removed = 0;
  bool isIndexed = false;  // whether the discs are those of `triangles`
  CDiscGrid discs;
  std::vector<std::uint32_t> hits;  // triangles that a point removes
  std::vector<CEdge> edges;         // boundary of the hole that they leave

  // These are made by the first estimate after a change.
  bool isPrepared = false;
  std::vector<CLookup> lookups;  // in the order of the triangles
  std::vector<float> known;      // complete values, those that Finalize would give included
  CTriangleGrid grid;
};

}  // namespace ztlib
