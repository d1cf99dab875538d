#include "main/target/windll/image_convert/image_convert_yuv420.h"

#include "main/target/windll/image_convert/cell_kernels.h"
#include "main/target/windll/image_convert/image_convert_toyuv420block_impl.h"

#include <cstring>

namespace ztlib {

namespace {

constexpr std::int32_t tileSize = 16;

// The tiles that a picture of tiles and one of other samples have both.
struct TileCounts {
  template <class Pixel>
  TileCounts(const Yuv420ImageView& tiles, const TCImageView<Pixel>& picture)
      : dx(std::min(tiles.dx, picture.dx / (tileSize / PixelTraits<Pixel>::sampleDx))),
        dy(std::min(tiles.dy, picture.dy / tileSize)) {}
  [[nodiscard]] std::size_t Across() const { return static_cast<std::size_t>(dx); }
  std::int32_t dx, dy;
};

// Where a row of pixels begins in a row of tiles.
template <class Tile>
auto LumaOf(Tile* tile, std::int32_t row) {
  return tile->y[row / 8 * 2] + row % 8 * 8;
}
template <class Tile>
auto ChromaOf(Tile* tile, std::int32_t row) {
  return tile->u + row / 2 * 8;
}

// Fetches a part of the next row of tiles into the cache, in the order of memory: the rows of
// pixels jump from tile to tile, which the processor does not foresee.
template <int write>
void PrefetchNext(const Yuv420ImageView& tiles, std::int32_t y, std::size_t across,
                  std::int32_t rowsPerCall) {
  const std::int32_t next = y / tileSize + 1;
  if (next >= tiles.dy) return;
  const std::size_t size = across * sizeof(*tiles.data);
  const std::size_t part = size * static_cast<std::size_t>(rowsPerCall) / tileSize;
  const std::uint8_t* const begin =
      tiles.RowBytes(next) + part * static_cast<std::size_t>(y % tileSize / rowsPerCall);
  for (std::size_t i = 0; i < part; i += 64)
    __builtin_prefetch(begin + i, write);
}

// Calls `convert` with each row of the picture that lies in whole tiles, its first tile and its
// place in it.
template <class Pixel, class ConvertRow>
void ForTileRows(TCImageView<Pixel>& target, const Yuv420ImageView& source, ConvertRow convert) {
  const TileCounts tiles(source, target);
  if (tiles.dx <= 0) return;
  for (std::int32_t y = 0; y < tileSize * tiles.dy; ++y) {
    PrefetchNext<0>(source, y, tiles.Across(), 1);
    convert(target.RowBytes(y), source.PtrAt(0, y / tileSize), y % tileSize, tiles.Across());
  }
}

// Every tile is smoothed alone.
template <class Pixel>
void ConvertTilesAlone(TCImageView<Pixel>& target, const Yuv420ImageView& source,
                       CellKernels::Tiles kernel) {
  ForTileRows(
      target, source,
      [=](std::uint8_t* to, const auto* tile, std::int32_t row, std::size_t across) {
        const bool isEdge = row == 0 || row == tileSize - 1;
        const std::int32_t beside = isEdge ? row : row % 2 == 0 ? row - 1 : row + 1;
        kernel(to, {LumaOf(tile, row), ChromaOf(tile, row), ChromaOf(tile, beside)}, across);
      });
}

// Chroma is blended between rows 1 and 2, 3 and 4, 5 and 6 of a tile. The lower half keeps its
// steps: that is how these formats are, not an oversight.
template <class Pixel>
void ConvertToPairs(TCImageView<Pixel>& target, const Yuv420ImageView& source,
                    CellKernels::TilePairs kernel) {
  const TileCounts tiles(source, target);
  if (tiles.dx <= 0) return;
  for (std::int32_t y = 0; y < tileSize * tiles.dy; y += 2) {
    PrefetchNext<0>(source, y, tiles.Across(), 2);
    const auto* const tile = source.PtrAt(0, y / tileSize);
    const std::int32_t row = y % tileSize;
    kernel(target.RowBytes(y), target.RowBytes(y + 1),
           {LumaOf(tile, row), ChromaOf(tile, row),
            row >= 2 && row <= 6 ? ChromaOf(tile, row - 2) : nullptr,
            row <= 4 ? ChromaOf(tile, row + 2) : nullptr},
           tiles.Across());
  }
}

// Each call makes two rows of luma and one of chroma.
template <class Pixel>
void ConvertToTiles(Yuv420ImageView& target, const TCImageView<Pixel>& source,
                    CellKernels::ToTiles kernel) {
  const TileCounts tiles(target, source);
  if (tiles.dx <= 0) return;
  for (std::int32_t y = 0; y < tileSize * tiles.dy; y += 2) {
    PrefetchNext<1>(target, y, tiles.Across(), 2);
    auto* const tile = target.PtrAt(0, y / tileSize);
    kernel(LumaOf(tile, y % tileSize), ChromaOf(tile, y % tileSize), source.RowBytes(y),
           source.RowBytes(y + 1), tiles.Across());
  }
}

}  // namespace

void Convert(GrayImageView& target, const Yuv420ImageView& source) {
  ForTileRows(
      target, source, [](std::uint8_t* to, const auto* tile, std::int32_t row, std::size_t across) {
        for (std::size_t i = 0; i < across; ++i, ++tile)
          for (const int half : {0, 1})
            std::memcpy(to + 16 * i + 8 * half, tile->y[row / 8 * 2 + half] + row % 8 * 8, 8);
      });
}

// The smoothing pass knows no tiles, only the picture.
void Convert(YuvImageView& target, const Yuv420ImageView& source) {
  const TileCounts tiles(source, target);
  const std::int32_t last = tileSize * tiles.dy - 1;
  ForTileRows(
      target, source,
      [&, y = 0](std::uint8_t* to, const auto* tile, std::int32_t row, std::size_t across) mutable {
        const std::uint8_t* const chroma = ChromaOf(tile, row);
        const std::uint8_t* beside = chroma;
        if (y > 0 && y < last) {
          const std::int32_t neighbour = row % 2 == 0 ? y - 1 : y + 1;
          beside = ChromaOf(source.PtrAt(0, neighbour / tileSize), neighbour % tileSize);
        }
        KernelsFor<CellKernels>().tilesToYuvAcross(to, {LumaOf(tile, row), chroma, beside}, across);
        ++y;
      });
}

void ConvertTilesAlone(YuvImageView& target, const Yuv420ImageView& source) {
  ConvertTilesAlone(target, source, KernelsFor<CellKernels>().tilesToYuv);
}

void Convert(RgbImageView& target, const Yuv420ImageView& source) {
  ConvertTilesAlone(target, source, KernelsFor<CellKernels>().tilesToRgb);
}

void Convert(YuyvImageView& target, const Yuv420ImageView& source) {
  ConvertToPairs(target, source, KernelsFor<CellKernels>().tilesToYuyv);
}

void Convert(UyvyImageView& target, const Yuv420ImageView& source) {
  ConvertToPairs(target, source, KernelsFor<CellKernels>().tilesToUyvy);
}

void Convert(Yuv420ImageView& target, const YuvImageView& source) {
  ConvertToTiles(target, source, KernelsFor<CellKernels>().yuvToTiles);
}

void Convert(Yuv420ImageView& target, const YuyvImageView& source) {
  ConvertToTiles(target, source, KernelsFor<CellKernels>().yuyvToTiles);
}

}  // namespace ztlib
