#pragma once

#include "main/lib/imgproc/mask.h"

#include <compare>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace ztlib {

// Fills polygons into a picture of bits, at a cost that follows what they add to it. Polygons may
// come from outside by the hundred thousand, so none has a memory of the picture's size, equal
// edges of a polygon cancel before they are walked, equal polygons are filled once, and where all
// that a polygon could reach is set already, it is not walked at all.
class CPolygonFiller {
 public:
  CPolygonFiller(std::int32_t width, std::int32_t height);

  // Adds the pixels of polygons whose points are moved to the nearest pixel, each filled by the
  // even-odd rule. Filling a fan of triangles around the first point gives the same: its inner
  // edges are crossed twice.
  void Fill(const PolygonList& polygons);

  [[nodiscard]] CMask::Row RunsOf(std::size_t y) const;

  // How often an edge was followed through a row so far: the measure of the work.
  [[nodiscard]] std::uint64_t GetCrossingCount() const { return crossingCount; }

 private:
  using Word = std::uint64_t;
  static constexpr int wordBits = 64;
  // Rows that are filled at a time, so that what they take stays in the processor's nearest cache.
  static constexpr std::int64_t bandRows = 32;

  // An edge of a polygon, which crosses the rows from `top` to `bottom` - 1.
  struct Edge {
    std::int32_t top;
    std::int32_t bottom;
    std::int32_t topX;
    std::int32_t bottomX;
    auto operator<=>(const Edge&) const = default;
  };
  // The same edge as a line: the column in which it crosses a row, by the row's distance from
  // `top`.
  struct Line {
    std::int32_t top;
    std::int32_t bottom;
    float slope;
    float start;
    [[nodiscard]] std::int32_t CrossingOf(std::int32_t row, std::int32_t width) const;
    // Those of the `count` rows from `first` on.
    void GetCrossings(std::int32_t* crossings, std::int32_t first, std::int32_t count,
                      std::int32_t width) const;
  };
  // Rows, and the columns of the crossings in them; ends are exclusive.
  struct Extent {
    std::int64_t top, bottom;
    std::int32_t left, right;
  };

  void AppendEdges(std::vector<Edge>& edges, const CMaskPolygon& polygon) const;
  void FillShape(std::span<const Edge> edges);
  // The part of all active lines from row `top` to `bottom` - 1.
  void FillBand(std::int64_t top, std::int64_t bottom);
  [[nodiscard]] Extent Measure(std::int64_t top, std::int64_t bottom) const;
  [[nodiscard]] bool IsSolid(const Extent& extent) const;
  void Toggle(const Line& line, std::int64_t top, std::int64_t bottom);
  void UniteRow(std::int64_t row, std::size_t firstWord, std::size_t endWord);
  void RenewSolid(std::int64_t top, std::size_t firstWord, std::size_t endWord);

  std::int32_t width;
  std::int32_t height;
  std::size_t rowWords;  // with a column more than the picture has, for the ends of runs
  std::vector<Word> inside;
  std::vector<Word> solid;    // for each band the pixels that are set in all of its rows
  std::vector<Word> toggles;  // of one band: where edges cross; 0 between polygons
  std::vector<Line> active;   // those of the present polygon that reach the present band
  std::uint64_t crossingCount = 0;
};

}  // namespace ztlib
