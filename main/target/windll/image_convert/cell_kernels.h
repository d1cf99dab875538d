#pragma once

#include "main/lib/base/processor.h"

#include <cstddef>
#include <cstdint>

namespace ztlib {

// The pixel work of the formats whose samples belong together in two dimensions: the mosaic of a
// sensor, groups of 2 by 2 and tiles of 16 by 16 pixels. One call makes one row of pixels or the
// two rows of a row of samples. Rows may lie at any address and must not overlap with targets.
// Four-byte RGB and YUV targets keep their fourth byte.

// A row of a sensor picture and its neighbours.
struct SensorRows {
  const std::uint8_t* above;
  const std::uint8_t* own;
  const std::uint8_t* below;
};

// One row of pixels in a row of tiles, by its addresses in the first tile: its luma in the left
// half, its U, and the U of the chroma row on its other side, perhaps in another row of tiles.
// Where the pixels keep the chroma of their own row, `beside` is `chroma`.
struct TileRow {
  const std::uint8_t* luma;
  const std::uint8_t* chroma;
  const std::uint8_t* beside;
};

// Two rows of pixels that share their chroma, in the same way. The chroma above goes into the upper
// row, that below into the lower one; null where a row keeps its own.
struct TileRowPair {
  const std::uint8_t* luma;
  const std::uint8_t* chroma;
  const std::uint8_t* above;
  const std::uint8_t* below;
};

struct CellKernels {
  using Mosaic = void (*)(std::uint8_t* target, const SensorRows& rows, std::size_t width);
  using Groups = void (*)(std::uint8_t* upper, std::uint8_t* lower, const SensorRows& rows,
                          std::size_t count);
  using Tiles = void (*)(std::uint8_t* target, const TileRow& row, std::size_t count);
  using TilePairs = void (*)(std::uint8_t* upper, std::uint8_t* lower, const TileRowPair& rows,
                             std::size_t count);
  using ToTiles = void (*)(std::uint8_t* luma, std::uint8_t* chroma, const std::uint8_t* upper,
                           const std::uint8_t* lower, std::size_t count);

  // By the parity of the row: even rows are green and red, odd rows blue and green.
  Mosaic bayerToRgb[2];   // without the first and the last pixel; `width` is at least 3
  Mosaic bayerToYuyv[2];  // `width` is even and at least 4

  // `count` groups that all have neighbours: the rows begin one group later than they are long.
  Groups blockToGray;
  Groups blockToRgb;
  Groups blockToYuv;
  // Groups alone, their left and right pixels with that luma (0 or 1) of the group.
  void (*blockBorderToRgb)(std::uint8_t* target, const std::uint8_t* groups, int left, int right,
                           std::size_t count);

  // Chroma is smoothed inside of each tile, or across the tiles of the row.
  Tiles tilesToRgb;
  Tiles tilesToYuv;
  Tiles tilesToYuvAcross;
  // Chroma is blended three to one with that below, and then with what those pixels have got.
  TilePairs tilesToYuyv;
  TilePairs tilesToUyvy;
  // Two rows of pixels to two rows of luma and one of chroma.
  ToTiles yuvToTiles;
  ToTiles yuyvToTiles;

  ZT_KERNEL_TABLES(CellKernels);
};

}  // namespace ztlib
