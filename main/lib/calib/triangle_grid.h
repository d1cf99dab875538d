#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace ztlib {

// x * factorX + y * factorY + constant within 32 bits.
struct CEdgeFunction {
  std::uint32_t factorX, factorY, constant;

  [[nodiscard]] std::uint32_t At(std::uint32_t x, std::uint32_t y) const {
    return factorX * x + factorY * y + constant;
  }
};

// The edge functions of a triangle from a to b, b to c and c to a.
struct CTriangleSides {
  CEdgeFunction ab, bc, ca;

  // Sides belong to the triangles on either hand. A triangle without area holds all of its line.
  [[nodiscard]] bool Hold(std::uint32_t x, std::uint32_t y) const {
    const auto first = static_cast<std::int32_t>(ab.At(x, y));
    const auto second = static_cast<std::int32_t>(bc.At(x, y));
    const auto third = static_cast<std::int32_t>(ca.At(x, y));
    return (first >= 0 && second >= 0 && third >= 0) || (first <= 0 && second <= 0 && third <= 0);
  }
};

// Which triangles of a mesh to look at for a pixel: a frame divided into cells, each with the
// triangles that may reach into it, in ascending order.
class CTriangleGrid {
 public:
  // In pixels, inclusive.
  struct CBox {
    std::int64_t left, top, right, bottom;
  };

  // `box` is where to look for pixels that the triangle holds.
  struct CArea {
    CBox box;
    CTriangleSides sides;
  };

  // Cells over a frame in which no edge function wraps, and which has all the boxes inside of it.
  void Build(const CBox& frame, std::span<const CArea> triangles);
  void Clear();

  [[nodiscard]] bool Covers(std::int64_t x, std::int64_t y) const {
    return x >= frame.left && x <= frame.right && y >= frame.top && y <= frame.bottom;
  }
  // The triangles of the cell that holds a pixel, which must be covered.
  [[nodiscard]] std::span<const std::uint32_t> At(std::int64_t x, std::int64_t y) const {
    const std::size_t cell = CellOf(x, y);
    return std::span(entries).subspan(starts[cell], starts[cell + 1] - starts[cell]);
  }

 private:
  [[nodiscard]] std::size_t CellOf(std::int64_t x, std::int64_t y) const {
    return static_cast<std::size_t>((y - frame.top) >> shiftY) * columns +
           static_cast<std::size_t>((x - frame.left) >> shiftX);
  }
  // Calls `visit` with each cell that the triangle may reach into.
  template <class Visit>
  void ForEachCell(const CArea& triangle, Visit&& visit) const;
  void Divide();
  // Leaves in `starts` the number of triangles of each cell, one place further on.
  [[nodiscard]] std::size_t Count(std::span<const CArea> triangles);

  CBox frame{0, 0, -1, -1};  // covers nothing
  int shiftX = 0, shiftY = 0;
  std::size_t columns = 0, rows = 0;
  std::vector<std::size_t> starts;  // of each cell in `entries`, and the end
  std::vector<std::uint32_t> entries;
};

}  // namespace ztlib
