#pragma once

#include <cstdint>
#include <span>
#include <vector>

// x * factorX + y * factorY + constant within 32 bits.
struct CEdgeFunction {
  std::uint32_t factorX, factorY, constant;

  [[nodiscard]] std::uint32_t At(std::uint32_t x, std::uint32_t y) const {
    return factorX * x + factorY * y + constant;
  }
};

// Which triangles of a mesh to look at for a pixel: a frame divided into cells, each with the
// triangles whose bounding box touches it, in ascending order.
class CTriangleGrid {
 public:
  // In pixels, inclusive.
  struct CBox {
    std::int64_t left, top, right, bottom;
  };

  // Cells over `frame`, and the box of each triangle inside of it.
  void Build(const CBox& frame, std::span<const CBox> boxes);
  void Clear();

  [[nodiscard]] bool Covers(std::int64_t x, std::int64_t y) const {
    return x >= frame.left && x <= frame.right && y >= frame.top && y <= frame.bottom;
  }
  // For a covered pixel.
  [[nodiscard]] std::span<const std::uint32_t> At(std::int64_t x, std::int64_t y) const {
    const std::size_t cell = CellOf(x, y);
    return std::span(entries).subspan(starts[cell], starts[cell + 1] - starts[cell]);
  }

 private:
  [[nodiscard]] std::size_t CellOf(std::int64_t x, std::int64_t y) const {
    return static_cast<std::size_t>((y - frame.top) >> shiftY) * columns +
           static_cast<std::size_t>((x - frame.left) >> shiftX);
  }
  template <class Visit>
  void ForEachCell(const CBox& box, Visit&& visit) const;
  [[nodiscard]] std::size_t CountEntries(std::span<const CBox> boxes);

  CBox frame{0, 0, -1, -1};  // covers nothing
  int shiftX = 0, shiftY = 0;
  std::size_t columns = 0, rows = 0;
  std::vector<std::uint32_t> starts, entries;
};
