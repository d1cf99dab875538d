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

// One row of pixels in a row of tiles. The addresses are those in the first tile: of the row's luma
// in the left half of the tile, of its U, and of the U of the nearer of the two chroma rows around
// it, which may lie in another row of tiles. Where the pixels take nothing from a second chroma
// row, `beside` equals `chroma`.
struct TileRow {
  const std::uint8_t* luma;
  const std::uint8_t* chroma;
  const std::uint8_t* beside;
};

// Two rows of pixels that share one row of chroma, by their addresses in the first tile. The chroma
// row above is blended into the upper row of pixels, the one below into the lower row; null where a
// row of pixels keeps the shared chroma as it is.
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

  // One function for even rows of the picture, whose sites are green and red, and one for odd rows,
  // blue and green.
  Mosaic bayerToRgb[2];   // without the first and the last pixel; `width` is at least 3
  Mosaic bayerToYuyv[2];  // `width` is even and at least 4

  // `count` groups in a row. Each of them has a neighbour on every side: the addresses in `rows`
  // are those of the second group of the picture's rows.
  Groups blockToGray;
  Groups blockToRgb;
  Groups blockToYuv;
  // Groups at the border, made without their neighbours. `left` and `right` say which luma of the
  // group, 0 or 1, its left and its right pixel take.
  void (*blockBorderToRgb)(std::uint8_t* target, const std::uint8_t* groups, int left, int right,
                           std::size_t count);

  // Chroma is smoothed inside of each tile (tilesToRgb, tilesToYuv), or across all tiles of the
  // row.
  Tiles tilesToRgb;
  Tiles tilesToYuv;
  Tiles tilesToYuvAcross;
  // The lower row of pixels gets the shared chroma and that below, three to one; the upper row gets
  // the same mix with the chroma which the pixels above it have already got.
  TilePairs tilesToYuyv;
  TilePairs tilesToUyvy;
  // Makes two rows of luma and one of chroma from two rows of pixels.
  ToTiles yuvToTiles;
  ToTiles yuyvToTiles;

  ZT_KERNEL_TABLES(CellKernels);
};

}  // namespace ztlib
