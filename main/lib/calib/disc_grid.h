#pragma once

#include "main/lib/imgproc/math_helper.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ztlib {

// Which discs of a mesh may hold a place: a frame divided into cells, each with the discs that reach
// into it. Discs that reach into many cells are looked at for every place.
class CDiscGrid {
 public:
  struct CDisc {
    float x, y, squaredRadius;

    // In single precision as it is written, so a disc may hold nothing, NaN included.
    [[nodiscard]] bool Holds(CPointF place) const {
      return squaredRadius > (place.x - x) * (place.x - x) + (place.y - y) * (place.y - y);
    }
  };
  struct CFrame {
    double left, top, right, bottom;
  };

  // Starts anew without discs; places are those of the frame.
  void Start(const CFrame& frame, std::size_t expectedDiscs);
  void Add(std::uint32_t number, const CDisc& disc);
  // Whether there are so many discs that smaller cells pay.
  [[nodiscard]] bool IsCrowded() const {
    return side < maxSide && entries.size() > maxEntriesPerCell * cells.size();
  }

  // Calls `visit` with the numbers of the discs that hold the place, in no order.
  template <class Visit>
  void ForEachAt(CPointF place, Visit visit) const {
    const std::size_t own = Row(place.y) * side + Column(place.x);
    for (const std::size_t cell : {own, cells.size() - 1})
      for (std::uint32_t i = cells[cell]; i != none; i = entries[i].next)
        if (entries[i].disc.Holds(place)) visit(entries[i].number);
  }

 private:
  struct CEntry {
    CDisc disc;
    std::uint32_t number;
    std::uint32_t next;  // in the list of its cell, or `none`
  };
  static constexpr std::uint32_t none = 0xffffffff;
  static constexpr std::size_t minSide = 8, maxSide = 256;
  static constexpr std::size_t maxEntriesPerCell = 8, maxCellsPerDisc = 16;

  // The places of cells ascend with those of pixels, and what is outside belongs to the cells at
  // the border. NaN is the first one's.
  [[nodiscard]] std::size_t Place(double offset) const {
    const double last = static_cast<double>(side - 1);
    return static_cast<std::size_t>(!(offset > 0) ? 0 : offset < last ? offset : last);
  }
  [[nodiscard]] std::size_t Column(double x) const { return Place((x - frame.left) * scaleX); }
  [[nodiscard]] std::size_t Row(double y) const { return Place((y - frame.top) * scaleY); }
  void Append(std::size_t cell, std::uint32_t number, const CDisc& disc);

  CFrame frame{};
  std::size_t side = 0;  // cells in a row and in a column
  double scaleX = 0, scaleY = 0;
  std::vector<std::uint32_t> cells;  // the first entry of each, and of the large discs
  std::vector<CEntry> entries;
};

}  // namespace ztlib
